#!/usr/bin/env python3
"""Writes the seed corpora in fuzz/corpus/<target>/. Each seed is a small, meaningful input: a valid
answer frame, an echoed request, a gateway answer, the default schedule, ISO times, padded blocks, eOpen mode
texts, schedule and holiday texts."""
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))


def crc16_modbus(data):
    crc = 0xFFFF
    for b in data:
        crc ^= b
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def frame(address, payload):
    body = address.to_bytes(4, "big") + bytes(payload)
    crc = crc16_modbus(body)
    return body + bytes([crc & 0xFF, crc >> 8])  # low byte first on the wire


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(bytes(data))


MONTHS = ["Январь", "Февраль", "Март", "Апрель", "Май", "Июнь", "Июль", "Август", "Сентябрь", "Октябрь",
          "Ноябрь", "Декабрь"]
DAY_KINDS = ["Понедельник", "Вторник", "Среда", "Четверг", "Пятница", "Суббота", "Воскресенье", "Праздник"]
GENITIVE = ["января", "февраля", "марта", "апреля", "мая", "июня", "июля", "августа", "сентября", "октября",
            "ноября", "декабря"]


def schedule_text(zones_per_day, zones):
    """The schedule text as the reads write it, the same (hour, minute, tariff) zones every day."""
    text = ""
    for month in MONTHS:
        text += month + "\n"
        for day in DAY_KINDS:
            text += "\t" + day + "\n"
            for hour, minute, tariff in zones[:zones_per_day]:
                text += "\t%02d:%02d,T%d\n" % (hour, minute, tariff)
        text += "\n"
    return (text + "\tEnd").encode("cp1251")


def main():
    # Receive loop: capacity, flags (bit 0: entry answer size, bits 1..: how the stream ends), chunk seed.
    write("fuzz_transport_receive", "short_answer", [128, 0, 0] + list(frame(1, [0x2F])))
    write("fuzz_transport_receive", "data_answer", [128, 0, 7] + list(frame(1, [0x28, 0x00, 0x12, 0x34, 0x56])))
    write("fuzz_transport_receive", "other_address", [128, 0, 1] + list(frame(2, [0x2F, 0x01])))
    write("fuzz_transport_receive", "garbage_first", [128, 2, 3] + [0xAA] + list(frame(1, [0x2F])))
    write("fuzz_transport_receive", "too_long", [3, 4, 5] + list(frame(1, list(range(20)))))
    write("fuzz_transport_receive", "entry_size", [128, 1, 0] + list(frame(1, [0x2F]))[:5])
    # Echo removal: echo size selector, capacity, received bytes (the echo first).
    request = list(frame(1, [0x2F]))
    write("fuzz_echo_remove", "echo_then_answer", [7, 128] + request + list(frame(1, [0x2F, 0x01])))
    write("fuzz_echo_remove", "echo_only", [7, 128] + request)
    write("fuzz_echo_remove", "short", [7, 4] + request[:3])
    # Gateway answer: awaited packet number, capacity, the answer (8 header bytes, data, checksum).
    data = list(frame(1, [0x2F, 0x01]))
    header = [0x11, 0x22, 0x33, 0x05, 0x00, len(data), 0x00, 0x00]
    checksum = (sum(data) - 1) & 0xFF
    write("fuzz_gateway_answer", "answer", [0x05, 128] + header + data + [checksum])
    write("fuzz_gateway_answer", "other_number", [0x06, 128] + header + data + [checksum])
    write("fuzz_gateway_answer", "empty", [0x05, 128] + header + [0xFF])
    # Schedule: counts and entries, one byte each.
    default = [1, 1, 1, 1] + [1, 1, 1, 1, 1, 1, 1, 1] + [1, 1, 0, 0, 1] + [0]
    write("fuzz_schedule_decode", "default", default)
    two = ([2, 1, 1, 1, 6, 1, 2] + [2, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1]
           + [3, 1, 0, 0, 1, 1, 7, 0, 2, 2, 0, 0, 1] + [2, 1, 1, 2, 12, 25, 2])
    write("fuzz_schedule_decode", "two_seasons", two)
    write("fuzz_schedule_decode", "too_many", [13] + [1, 1, 1] * 13)
    # ISO time.
    write("fuzz_iso_time", "full", b"2024-03-15T10:20:30.000Z")
    write("fuzz_iso_time", "no_ms", b"2024-03-15T10:20:30Z")
    write("fuzz_iso_time", "out_of_range", b"2024-257-15T10:20:30.000Z")
    # Padding: plain text as it comes out of the cipher.
    write("fuzz_decrypt_unpad", "pad_16", [16] * 16)
    write("fuzz_decrypt_unpad", "pad_3", list(b"energy meter!") + [3, 3, 3])
    write("fuzz_decrypt_unpad", "bad_pad", list(b"0123456789ABCDEF") + [0] * 15 + [17])
    # eOpen mode texts.
    write("fuzz_open_mode", "full", b"baud=9600 parity=Even data=8 stop=1 dtr=on rts=on")
    write("fuzz_open_mode", "baud_only", b"baud=9600")
    write("fuzz_open_mode", "long_word", b"baud=4800 parity=Spaaaaaaaaaaaaaaaaaace data=7 stop=2 dtr=off rts=off")
    write("fuzz_open_mode", "blank", b" \t\n")
    # Schedule texts (Windows-1251): byte 0 bit 0 chooses 16 zones a day, else 8.
    write("fuzz_schedule_text", "raw_two_zones", b"\0" + schedule_text(8, [(7, 0, 1), (23, 0, 2)]))
    write("fuzz_schedule_text", "client_full_day", b"\1" + schedule_text(16, [(h, 30, h % 4 + 1) for h in range(16)]))
    write("fuzz_schedule_text", "empty_days", b"\0" + schedule_text(8, []))
    write("fuzz_schedule_text", "out_of_range", b"\1" + schedule_text(16, [(24, 0, 1), (7, 60, 2), (8, 0, 5)]))
    # Holiday texts (Windows-1251).
    write("fuzz_holiday_text", "three", "1 января\n7 января\n8 марта\n".encode("cp1251"))
    write("fuzz_holiday_text", "sixteen", "".join("%d %s\n" % (d, GENITIVE[d % 12]) for d in range(1, 18)).encode("cp1251"))
    write("fuzz_holiday_text", "nominative", "25 декабрь\n1 мая\n".encode("cp1251"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
