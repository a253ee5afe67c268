#!/usr/bin/env python3
"""Writes the seed corpora in fuzz/corpus/<target>/. Each seed is a small, meaningful input: a valid
answer frame, an echoed request, a gateway answer, the default schedule, ISO times, padded blocks."""
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
    return 0


if __name__ == "__main__":
    sys.exit(main())
