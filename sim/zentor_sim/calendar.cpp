#include "zentor_sim/calendar.h"

#include <cstdio>
#include <ctime>

namespace zentor_sim
{

int64_t DaysFromCivil(int year, int month, int day)
{
    // Days since 1970-01-01 in the proleptic Gregorian calendar (era-based method).
    const int64_t y = static_cast<int64_t>(year) - (month <= 2 ? 1 : 0);
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t mp = (month + 9) % 12;
    const int64_t doy = (153 * mp + 2) / 5 + day - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

int64_t ToSeconds(const Civil& c)
{
    return DaysFromCivil(c.year, c.month, c.day) * 86400 + c.hour * 3600 + c.minute * 60 + c.second;
}

Civil FromSeconds(int64_t seconds)
{
    int64_t days = seconds / 86400;
    int64_t rest = seconds % 86400;
    if (rest < 0)
    {
        rest += 86400;
        --days;
    }
    const int64_t z = days + 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    Civil c;
    c.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    c.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    c.year = static_cast<int>(yoe + era * 400 + (c.month <= 2 ? 1 : 0));
    c.hour = static_cast<int>(rest / 3600);
    c.minute = static_cast<int>(rest / 60 % 60);
    c.second = static_cast<int>(rest % 60);
    return c;
}

int Weekday(int64_t seconds)
{
    int64_t days = seconds / 86400;
    if (seconds % 86400 < 0)
        --days;
    // 1970-01-01 was a Thursday.
    return static_cast<int>(((days % 7) + 7 + 3) % 7) + 1;
}

int DaysInMonth(int year, int month)
{
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == 2 && ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0))
        return 29;
    return days[month - 1];
}

bool IsValidCivil(const Civil& c)
{
    return c.month >= 1 && c.month <= 12 && c.day >= 1 && c.day <= DaysInMonth(c.year, c.month) &&
           c.hour >= 0 && c.hour <= 23 && c.minute >= 0 && c.minute <= 59 && c.second >= 0 && c.second <= 59;
}

int64_t ComputerLocalNow()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    Civil c{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
    if (c.second > 59)
        c.second = 59;
    return ToSeconds(c);
}

std::optional<int64_t> ParseTime(std::string_view text)
{
    Civil c;
    const std::string s(text);
    char separator = ' ';
    int consumed = 0;
    if (std::sscanf(s.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%n", &c.year, &c.month, &c.day, &separator, &c.hour,
                    &c.minute, &c.second, &consumed) == 7 &&
        static_cast<size_t>(consumed) == s.size() && (separator == ' ' || separator == 'T'))
    {
        if (!IsValidCivil(c))
            return std::nullopt;
        return ToSeconds(c);
    }
    c = Civil{};
    consumed = 0;
    if (std::sscanf(s.c_str(), "%4d-%2d-%2d%n", &c.year, &c.month, &c.day, &consumed) == 3 &&
        static_cast<size_t>(consumed) == s.size() && IsValidCivil(c))
        return ToSeconds(c);
    return std::nullopt;
}

std::string FormatTime(int64_t seconds)
{
    const Civil c = FromSeconds(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                  c.minute, c.second);
    return text;
}

std::string FormatDate(int64_t seconds)
{
    const Civil c = FromSeconds(seconds);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", c.year, c.month, c.day);
    return text;
}

} // namespace zentor_sim
