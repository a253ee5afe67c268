#include "zentor_sim/meter.h"

#include "zentor_sim/calendar.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zentor_sim
{

namespace
{

// Answer data lengths are fixed by the command; argument counts likewise.
void AppendU16(Bytes& out, uint16_t value)
{
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

// Day of week, hour, minute, second, day, month, year of century, all BCD.
void AppendTime7(Bytes& out, int64_t time)
{
    const Civil c = FromSeconds(time);
    out.push_back(ToBcd(static_cast<unsigned>(Weekday(time))));
    out.push_back(ToBcd(c.hour));
    out.push_back(ToBcd(c.minute));
    out.push_back(ToBcd(c.second));
    out.push_back(ToBcd(c.day));
    out.push_back(ToBcd(c.month));
    out.push_back(ToBcd(static_cast<unsigned>(c.year % 100)));
}

// Hour, minute, second, day, month, year of century, all BCD.
void AppendStamp6(Bytes& out, int64_t time)
{
    const Civil c = FromSeconds(time);
    out.push_back(ToBcd(c.hour));
    out.push_back(ToBcd(c.minute));
    out.push_back(ToBcd(c.second));
    out.push_back(ToBcd(c.day));
    out.push_back(ToBcd(c.month));
    out.push_back(ToBcd(static_cast<unsigned>(c.year % 100)));
}

int64_t DayStart(int64_t time)
{
    const Civil c = FromSeconds(time);
    return DaysFromCivil(c.year, c.month, c.day) * 86400;
}

// Decodes BCD bytes into a number; nothing when one byte is not BCD.
std::optional<uint32_t> BcdNumber(const uint8_t* data, size_t count)
{
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const auto digits = FromBcd(data[i]);
        if (!digits)
            return std::nullopt;
        value = value * 100 + *digits;
    }
    return value;
}

Bytes EmptyEntry(size_t size)
{
    return Bytes(size, 0xFF);
}

Bytes JournalAnswer(const std::vector<JournalEntry>& journal, size_t index)
{
    if (index >= journal.size() || journal[index].empty)
        return EmptyEntry(7);
    const JournalEntry& entry = journal[index];
    if (entry.raw)
        return *entry.raw;
    Bytes out{entry.code};
    AppendStamp6(out, entry.time);
    return out;
}

} // namespace

std::optional<Zone> ParseZone(const std::string& text)
{
    unsigned hour = 0, minute = 0, tariff = 0;
    int consumed = 0;
    if (std::sscanf(text.c_str(), "%2u:%2u,T%1u%n", &hour, &minute, &tariff, &consumed) != 3 ||
        static_cast<size_t>(consumed) != text.size() || hour > 23 || minute > 59 || tariff < 1 || tariff > 4)
        return std::nullopt;
    return Zone{static_cast<uint8_t>((tariff - 1) << 6 | ToBcd(hour)), ToBcd(minute)};
}

std::string FormatZone(const Zone& zone)
{
    char text[16];
    const auto hour = FromBcd(zone[0] & 0x3F);
    const auto minute = FromBcd(zone[1]);
    std::snprintf(text, sizeof text, "%02u:%02u,T%u", hour.value_or(99), minute.value_or(99),
                  (zone[0] >> 6) + 1);
    return text;
}

MeterState MeterState::Default(int64_t now)
{
    MeterState s;
    const int64_t today = DayStart(now);
    const int64_t day = 86400;
    s.productionDate = ToSeconds(Civil{2021, 3, 15});
    s.firmwareDate = ToSeconds(Civil{2020, 11, 5});
    s.clockFrozen = now;

    s.tariffEnergyLimits = {TariffEnergyLimit{5000, 0x55}, TariffEnergyLimit{3000, 0x55},
                            TariffEnergyLimit{0, 0x55}, TariffEnergyLimit{0, 0x55}};
    for (unsigned m = 0; m < 12; ++m)
    {
        // Consumption of each month: more in winter than in summer.
        const unsigned season = (m < 3 || m > 9) ? 3 : (m < 5 || m > 7) ? 2 : 1;
        s.monthActive[m] = {18000 + 4000 * season + 137 * m, 9000 + 2000 * season + 61 * m, 0, 0};
        s.monthReactive[m] = {3000 + 500 * season + 17 * m, 1500 + 250 * season + 9 * m, 0, 0};
        for (unsigned t = 0; t < 4; ++t)
        {
            s.month15Active[t] += s.monthActive[m][t];
            s.month15Reactive[t] += s.monthReactive[m][t];
        }
    }

    s.maxima[0] = {MaximumEntry{2465, now - 3 * day - 7200}, MaximumEntry{2398, now - 12 * day - 300}};
    s.maxima[1] = {MaximumEntry{3120, now - 2 * day - 3600}, MaximumEntry{2875, now - 9 * day - 5400}};
    s.maxima[2] = {MaximumEntry{715, now - 2 * day - 3600}, MaximumEntry{640, now - 9 * day - 5400}};

    s.journal1 = {JournalEntry{1, now - 2 * day, false, {}}, JournalEntry{0, now - 2 * day - 3725, false, {}},
                  JournalEntry{1, now - 15 * day + 600, false, {}},
                  JournalEntry{0, now - 15 * day, false, {}}};
    s.journal2 = {JournalEntry{1, now - 5 * day, false, {}}, JournalEntry{0, now - 5 * day - 610, false, {}},
                  // A damaged entry as meters keep after a power cut during the write: hour 25.
                  JournalEntry{0, 0, false, Bytes{0x01, 0x25, 0x61, 0x00, 0x32, 0x13, 0x24}},
                  JournalEntry{3, now - 40 * day, false, {}}};
    s.journal3 = {DayJournalEntry{{0x01, 0x00, 0x00, 0x00, 0x00}, today - day, false, {}},
                  DayJournalEntry{{0x00, 0x02, 0x00, 0x10, 0x00}, today - 3 * day, false, {}}};
    s.journal4[0] = {JournalEntry{2, now - 3 * day + 120, false, {}},
                     JournalEntry{1, now - 3 * day, false, {}}};
    s.journal4[1] = {JournalEntry{1, now - 6 * day, false, {}}};
    s.journal5 = {JournalEntry{0, now - day - 4000, false, {}}, JournalEntry{3, now - 20 * day, false, {}}};

    s.lastOffTime = s.journal1[1].time;
    s.lastOnTime = s.journal1[0].time;
    s.lastCoverOpenTime = now - 30 * day;
    s.lastCoverCloseTime = now - 30 * day + 900;
    s.lastWriteAccessTime = now - 30 * day + 600;

    const Zone night{0x40, 0x00}, morning{0x07, 0x00}, evening{0x63, 0x00};
    for (auto& month : s.zones)
        for (auto& dayZones : month)
        {
            dayZones.fill(EmptyZone());
            dayZones[0] = night;
            dayZones[1] = morning;
            dayZones[2] = evening;
        }
    s.holidays.fill(EmptyZone());
    const Zone days[] = {{0x01, 0x01}, {0x07, 0x01}, {0x08, 0x03}, {0x01, 0x05},
                         {0x09, 0x05}, {0x12, 0x06}, {0x04, 0x11}};
    std::copy(std::begin(days), std::end(days), s.holidays.begin());
    return s;
}

Meter::Meter() : state_(MeterState::Default(ComputerLocalNow())) {}

int64_t Meter::Now() const
{
    return state_.clockRunning ? ComputerLocalNow() + state_.clockOffset : state_.clockFrozen;
}

void Meter::SetNow(int64_t time)
{
    if (state_.clockRunning)
        state_.clockOffset = time - ComputerLocalNow();
    else
        state_.clockFrozen = time;
}

bool Meter::Accepts(uint32_t address) const
{
    return state_.acceptAnyAddress || address == state_.address ||
           (state_.groupAddress != 0 && address == state_.groupAddress);
}

uint32_t Meter::SlotPower(int64_t dayStart, int slot) const
{
    // A household day: low at night, peaks in the morning and the evening, some variation from
    // day to day. Multiples of 4 W, the resolution of the profile.
    static const unsigned shape[24] = {5,  4, 4, 4, 4,  5,  8,  15, 14, 10, 9,  9,
                                       10, 9, 9, 9, 10, 12, 18, 20, 19, 16, 12, 8};
    const int64_t dayIndex = dayStart / 86400;
    const unsigned variation = static_cast<unsigned>((dayIndex * 37 + slot * 11) % 17);
    const uint32_t watts = state_.profileBaseWatts * shape[slot / 2] / 10 + variation * 8;
    return watts / 4 * 4;
}

Bytes Meter::ArchiveRecord(int year, int month, int day, bool isMonth) const
{
    const Civil wanted{2000 + year, month, day};
    if (!IsValidCivil(wanted))
        return EmptyEntry(24);
    const int64_t start = ToSeconds(wanted);
    const int64_t today = DayStart(Now());
    if (start > today || start < DayStart(state_.productionDate))
        return EmptyEntry(24);
    // Registers at 00:00 of the day (of the 1st for a month): today's registers less the daily
    // consumption of every day since.
    const int64_t days = (today - start) / 86400;
    Bytes record;
    for (unsigned t = 0; t < 4; ++t)
    {
        const int64_t used = static_cast<int64_t>(state_.dailyConsumption[t]) * days;
        const int64_t value = std::max<int64_t>(0, static_cast<int64_t>(state_.energyActive[t]) - used);
        AppendBcd(record, static_cast<uint64_t>(value), 4);
    }
    record.push_back(ToBcd(static_cast<unsigned>(day)));
    record.push_back(ToBcd(static_cast<unsigned>(month)));
    record.push_back(ToBcd(static_cast<unsigned>(year)));
    record.push_back(0x00);
    AppendCrc16(record);
    const bool damaged =
        isMonth ? state_.damagedMonths.count(start) != 0 : state_.damagedDays.count(start) != 0;
    if (damaged)
        record[20] ^= 0x5A;
    record.push_back(0x00);
    record.push_back(0x00);
    return record;
}

Bytes Meter::ProfileBlock(int year, int month, int day, int block) const
{
    Bytes out;
    const Civil wanted{2000 + year, month, day};
    const bool validDay = IsValidCivil(wanted);
    const int64_t start = validDay ? ToSeconds(wanted) : 0;
    const int64_t now = Now();
    for (int i = 0; i < 8; ++i)
    {
        const int slot = block * 8 + i;
        const int64_t slotStart = start + slot * 1800;
        if (!validDay || slotStart + 1800 > now || start < DayStart(state_.productionDate))
        {
            out.insert(out.end(), {0xFF, 0xFF, 0xFF, 0xFF});
            continue;
        }
        const uint32_t units = SlotPower(start, slot) / 4;
        const uint8_t p0 = static_cast<uint8_t>(units & 0xFF), p1 = static_cast<uint8_t>(units >> 8);
        const uint8_t check[] = {static_cast<uint8_t>(slot),
                                 ToBcd(static_cast<unsigned>(day)),
                                 ToBcd(static_cast<unsigned>(month)),
                                 ToBcd(static_cast<unsigned>(year)),
                                 p0,
                                 p1};
        const uint16_t crc = Crc16Modbus(check, sizeof check);
        uint8_t c0 = static_cast<uint8_t>(crc & 0xFF);
        if (state_.damagedSlots.count(slotStart) != 0)
            c0 ^= 0x5A;
        out.insert(out.end(), {p0, p1, c0, static_cast<uint8_t>(crc >> 8)});
    }
    return out;
}

std::optional<Bytes> Meter::Handle(const Bytes& request)
{
    if (request.empty())
        return std::nullopt;
    const uint8_t command = request[0];
    const Bytes args(request.begin() + 1, request.end());
    if (command == 0x37)
        return HandleArchive(args);
    if (auto answer = HandleRead(command, args))
        return answer;
    return HandleWrite(command, args);
}

// Command 0x37 serves the archive and profile reads, the tariff-profile mode read and the
// tariff-profile mode write (mode, BCD day, month, year of century of the host's date). The
// argument bytes tell them apart, in this order:
//  1. E0 01 12 19 exactly: mode read.
//  2. first byte 0x10..0x15: profile block 0..5 of the date in bytes 1..3 (modes 0x10..0x15 cannot
//     be written).
//  3. 00 dd mm yy (day archive) or 01 01 mm yy (month archive), unless bytes 1..3 are today's date
//     by the meter's clock or the computer's: then it is a mode write of mode 0 or 1 (today's day
//     record and the current month's record are still open, so nobody reads them).
//  4. anything else: mode write.
std::optional<Bytes> Meter::HandleArchive(const Bytes& args)
{
    if (args.size() != 4)
        return std::nullopt;
    if (args == Bytes{0xE0, 0x01, 0x12, 0x19})
        return Bytes{0x37, state_.tariffProfileMode};
    auto isToday = [&](int64_t time)
    {
        const Civil c = FromSeconds(time);
        return args[1] == ToBcd(c.day) && args[2] == ToBcd(c.month) &&
               args[3] == ToBcd(static_cast<unsigned>(c.year % 100));
    };
    const bool profile = args[0] >= 0x10 && args[0] <= 0x15;
    const bool archive = args[0] == 0x00 || (args[0] == 0x01 && args[1] == 0x01);
    if (!profile && (!archive || isToday(Now()) || isToday(ComputerLocalNow())))
    {
        state_.tariffProfileMode = args[0];
        state_.lastWriteAccessTime = Now();
        return Bytes{0x37};
    }
    const auto day = FromBcd(args[1]);
    const auto month = FromBcd(args[2]);
    const auto year = FromBcd(args[3]);
    if (!day || !month || !year)
        return std::nullopt;
    Bytes answer{0x37};
    Bytes data;
    if (args[0] == 0x00)
        data =
            ArchiveRecord(static_cast<int>(*year), static_cast<int>(*month), static_cast<int>(*day), false);
    else if (args[0] == 0x01)
        data = ArchiveRecord(static_cast<int>(*year), static_cast<int>(*month), 1, true);
    else
        data = ProfileBlock(static_cast<int>(*year), static_cast<int>(*month), static_cast<int>(*day),
                            args[0] - 0x10);
    answer.insert(answer.end(), data.begin(), data.end());
    return answer;
}

std::optional<Bytes> Meter::HandleRead(uint8_t command, const Bytes& args)
{
    MeterState& s = state_;
    Bytes out{command};
    auto noArgs = [&] { return args.empty(); };
    switch (command)
    {
        case 0x21:
            if (!noArgs())
                return std::nullopt;
            AppendTime7(out, Now());
            return out;
        case 0x66:
        {
            if (!noArgs())
                return std::nullopt;
            const Civil c = FromSeconds(s.productionDate);
            out.insert(out.end(), {ToBcd(c.day), ToBcd(c.month), ToBcd(static_cast<unsigned>(c.year % 100))});
            return out;
        }
        case 0x22:
            if (!noArgs())
                return std::nullopt;
            out.push_back(ToBcd(std::min<uint32_t>(99, s.powerLimitWatts / 1000)));
            out.push_back(ToBcd(s.powerLimitWatts % 1000 / 10));
            return out;
        case 0x6E:
            if (!noArgs())
                return std::nullopt;
            for (const auto& limit : s.tariffEnergyLimits)
            {
                AppendBcd(out, limit.value, 3);
                out.push_back(limit.flag);
            }
            return out;
        case 0x28:
        {
            if (!noArgs())
                return std::nullopt;
            const Civil c = FromSeconds(s.firmwareDate);
            out.insert(out.end(), {s.firmwareMajor, s.firmwareMinor, 0x20,
                                   ToBcd(static_cast<unsigned>(c.year % 100)), ToBcd(c.month), ToBcd(c.day)});
            return out;
        }
        case 0x87:
            if (!noArgs())
                return std::nullopt;
            AppendU16(out, s.firmwareCrc);
            // The rest of the block: version and date of the image, then zeros.
            out.insert(out.end(), {s.firmwareMajor, s.firmwareMinor});
            out.resize(17, 0x00);
            return out;
        case 0x2B:
        case 0x2C:
        case 0x61:
        case 0x62:
            if (!noArgs())
                return std::nullopt;
            AppendTime7(out, command == 0x2B   ? s.lastOffTime
                             : command == 0x2C ? s.lastOnTime
                             : command == 0x61 ? s.lastCoverOpenTime
                                               : s.lastCoverCloseTime);
            return out;
        case 0x6B:
            if (!noArgs())
                return std::nullopt;
            AppendStamp6(out, s.lastWriteAccessTime);
            out.push_back(0x00);
            return out;
        case 0x30:
            if (args.size() != 1 || args[0] > 1)
                return std::nullopt;
            for (unsigned i = 0; i < 8; ++i)
                out.insert(out.end(), s.holidays[args[0] * 8 + i].begin(), s.holidays[args[0] * 8 + i].end());
            return out;
        case 0x31:
        {
            if (args.size() != 1 || (args[0] >> 4) > 11 || (args[0] & 0x0F) > 7)
                return std::nullopt;
            const DayZones& day = s.zones[args[0] >> 4][args[0] & 0x0F];
            const unsigned count = s.zoneTableReadZones == 8 ? 8 : 16;
            for (unsigned i = 0; i < count; ++i)
                out.insert(out.end(), day[i].begin(), day[i].end());
            return out;
        }
        case 0x27:
        case 0x85:
            if (!noArgs())
                return std::nullopt;
            for (uint32_t value : command == 0x27 ? s.energyActive : s.energyReactive)
                AppendBcd(out, value, 4);
            return out;
        case 0x32:
        case 0x38:
        {
            if (args.size() != 1 || (args[0] > 11 && args[0] != 15))
                return std::nullopt;
            const bool active = command == 0x32;
            const auto& values = args[0] == 15 ? (active ? s.month15Active : s.month15Reactive)
                                               : (active ? s.monthActive : s.monthReactive)[args[0]];
            for (uint32_t value : values)
                AppendBcd(out, value, 4);
            return out;
        }
        case 0x33:
            if (args.size() != 1 || args[0] > 2)
                return std::nullopt;
            for (const auto& entry : s.maxima[args[0]])
            {
                AppendBcd(out, entry.value, 2);
                AppendStamp6(out, entry.time);
            }
            return out;
        case 0x86:
        {
            if (args.size() != 1)
                return std::nullopt;
            out.push_back(args[0]);
            if (args[0] == 0x00)
                AppendBcd(out, s.parameter0, 3);
            else if (args[0] == 0x01)
                out.push_back(s.parameter1);
            else if (args[0] == 0x02)
            {
                // Bit 7 set means a positive value.
                const uint32_t magnitude = static_cast<uint32_t>(std::abs(s.parameter2Milli)) % 10000;
                out.push_back(
                    static_cast<uint8_t>(ToBcd(magnitude / 100) | (s.parameter2Milli >= 0 ? 0x80 : 0x00)));
                out.push_back(ToBcd(magnitude % 100));
                AppendBcd(out, s.parameter2b, 3);
            }
            else if (args[0] == 0xFF)
            {
                out.push_back(s.modelCode);
                out.push_back(s.modelVariant);
                out.resize(18, 0x00);
            }
            else
                return std::nullopt;
            return out;
        }
        case 0x34:
        case 0x35:
        case 0x3A:
        {
            if (args.size() != 1 || args[0] > 63)
                return std::nullopt;
            const auto& journal = command == 0x34 ? s.journal1 : command == 0x35 ? s.journal2 : s.journal5;
            const Bytes data = JournalAnswer(journal, args[0]);
            out.insert(out.end(), data.begin(), data.end());
            return out;
        }
        case 0x36:
        {
            if (args.size() != 1 || args[0] > 63)
                return std::nullopt;
            Bytes data = EmptyEntry(8);
            if (args[0] < s.journal3.size() && !s.journal3[args[0]].empty)
            {
                const DayJournalEntry& entry = s.journal3[args[0]];
                if (entry.raw)
                    data = *entry.raw;
                else
                {
                    const Civil c = FromSeconds(entry.date);
                    data.assign(entry.flags.begin(), entry.flags.end());
                    data.insert(data.end(),
                                {ToBcd(c.day), ToBcd(c.month), ToBcd(static_cast<unsigned>(c.year % 100))});
                }
            }
            out.insert(out.end(), data.begin(), data.end());
            return out;
        }
        case 0x39:
        {
            if (args.size() != 3 || args[0] > 200 || args[1] > 7 || args[2] != 0)
                return std::nullopt;
            const auto& journal = s.journal4[args[1]];
            Bytes data = EmptyEntry(6);
            if (args[0] < journal.size() && !journal[args[0]].empty)
            {
                const JournalEntry& entry = journal[args[0]];
                if (entry.raw)
                    data = *entry.raw;
                else
                {
                    data.clear();
                    AppendStamp6(data, entry.time);
                    data[0] = static_cast<uint8_t>(data[0] | (entry.code << 6));
                }
            }
            out.insert(out.end(), data.begin(), data.end());
            return out;
        }
        case 0x79:
            // The eight request bytes select what a PLC modem reports; this meter has one
            // configuration block and answers it whatever they hold.
            if (args.size() != 8)
                return std::nullopt;
            out.insert(out.end(), s.plc1Config.begin(), s.plc1Config.end());
            if (s.plc1AnswerLength == 11)
                out.insert(out.end(), {0x00, 0x00});
            return out;
        default:
            return ReadSetting(s, command, args);
    }
}

std::optional<Bytes> Meter::HandleWrite(uint8_t command, const Bytes& args)
{
    MeterState& s = state_;
    auto bcd = [&](size_t from, size_t count) { return BcdNumber(args.data() + from, count); };
    bool accepted = false;
    switch (command)
    {
        case 0x02:
            if (args.size() == 7)
            {
                const auto hour = bcd(1, 1), minute = bcd(2, 1), second = bcd(3, 1), day = bcd(4, 1),
                           month = bcd(5, 1), year = bcd(6, 1);
                if (hour && minute && second && day && month && year)
                {
                    const Civil c{2000 + static_cast<int>(*year), static_cast<int>(*month),
                                  static_cast<int>(*day),         static_cast<int>(*hour),
                                  static_cast<int>(*minute),      static_cast<int>(*second)};
                    if (IsValidCivil(c))
                    {
                        SetNow(ToSeconds(c));
                        accepted = true;
                    }
                }
            }
            break;
        case 0x03:
            if (args.size() == 2)
                if (const auto kw = bcd(0, 1), tens = bcd(1, 1); kw && tens)
                {
                    s.powerLimitWatts = *kw * 1000 + *tens * 10;
                    accepted = true;
                }
            break;
        case 0x72:
            if (args.size() == 16)
            {
                std::array<TariffEnergyLimit, 4> limits;
                accepted = true;
                for (unsigned t = 0; t < 4 && accepted; ++t)
                {
                    const auto value = bcd(t * 4, 3);
                    accepted = value.has_value();
                    limits[t] = TariffEnergyLimit{value.value_or(0), args[t * 4 + 3]};
                }
                if (accepted)
                    s.tariffEnergyLimits = limits;
            }
            break;
        case 0x0C:
            if (args.size() == 2)
            {
                s.batteryFlags = 0;
                accepted = true;
            }
            break;
        case 0x14:
            if (args.size() == 4)
            {
                s.batteryHours = 0;
                accepted = true;
            }
            break;
        case 0x10:
            if (args.size() == 17 && args[16] <= 1)
            {
                for (unsigned i = 0; i < 8; ++i)
                    s.holidays[args[16] * 8 + i] = Zone{args[i * 2], args[i * 2 + 1]};
                accepted = true;
            }
            break;
        case 0x11:
            // 16 zones (the client's form) or 8 zones (the raw form); the selector comes last.
            if (args.size() == 33 || args.size() == 17)
            {
                const uint8_t selector = args.back();
                if ((selector >> 4) <= 11 && (selector & 0x0F) <= 7)
                {
                    DayZones& day = s.zones[selector >> 4][selector & 0x0F];
                    day.fill(EmptyZone());
                    for (size_t i = 0; i + 1 < args.size(); i += 2)
                        day[i / 2] = Zone{args[i], args[i + 1]};
                    accepted = true;
                }
            }
            break;
        case 0x12:
        case 0x13:
            if (args.size() == 9 && args[8] <= 2)
            {
                for (auto& entry : s.maxima[args[8]])
                    entry = MaximumEntry{0, Now()};
                accepted = true;
            }
            break;
        case 0x78:
            if (args.size() == 35)
            {
                s.fastTariffBlock = args;
                accepted = true;
            }
            break;
        default:
            accepted = WriteSetting(s, command, args);
            break;
    }
    if (!accepted)
        return std::nullopt;
    s.lastWriteAccessTime = Now();
    return Bytes{command};
}

} // namespace zentor_sim
