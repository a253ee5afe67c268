// Calendar arithmetic of the simulated meter. The meter keeps local wall-clock time without a time
// zone, so times here are "naive" seconds: seconds since 1970-01-01 00:00:00 of the wall clock.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zentor_sim
{

struct Civil
{
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

int64_t DaysFromCivil(int year, int month, int day);
int64_t ToSeconds(const Civil& civil);
Civil FromSeconds(int64_t seconds);
// 1 = Monday .. 7 = Sunday, as the meter numbers its weekdays.
int Weekday(int64_t seconds);
int DaysInMonth(int year, int month);
bool IsValidCivil(const Civil& civil);
// The computer's local wall-clock time as naive seconds.
int64_t ComputerLocalNow();

// "YYYY-MM-DD HH:MM:SS", "YYYY-MM-DDTHH:MM:SS" or "YYYY-MM-DD" (midnight).
std::optional<int64_t> ParseTime(std::string_view text);
std::string FormatTime(int64_t seconds);
std::string FormatDate(int64_t seconds);

} // namespace zentor_sim
