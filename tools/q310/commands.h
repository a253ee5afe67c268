// The host's subcommands over an open session. Each returns its result as JSON (ordered as it should
// be shown); render.h turns that into text for a terminal.
#pragma once

#include "session.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace q310cli
{

using Json = nlohmann::ordered_json;

// Options of the commands that need more than their positional arguments.
struct CommandOptions
{
    bool progress = false;   // draw progress bars
    std::vector<int> months; // read: months 1..12 for the month energies (empty: all)
    std::string plc1Request = "00 00 00 00 00 00 00 00";
    unsigned zones = 16; // schedule: 16 zones a day (tariff table commands) or 8 (raw form)
};

// The read items in report order, and their names for --help.
const std::vector<std::string>& ReadItems();

Json Info(Session& aSession);
Json Read(Session& aSession, const std::vector<std::string>& aItems, const CommandOptions& aOptions);
// set NAME VALUES...; throws UsageError for a wrong name or count, InputError for a bad value.
Json Set(Session& aSession, const std::string& aName, const std::vector<std::string>& aValues);
const std::vector<std::string>& SetNames();

// The schedule text in UTF-8 (what the meter holds) and its JSON form.
// For the report on a terminal: months with the same tables merged into ranges, and within them the
// day kinds that share a day schedule, e.g. {"Январь – Декабрь": {"Понедельник, …": "00:00 T2, …"}}.
Json ScheduleSummary(const Json& aMonths);
Json ScheduleGet(Session& aSession, const CommandOptions& aOptions);
Json SchedulePut(Session& aSession, const std::string& aText, const CommandOptions& aOptions);
Json HolidaysGet(Session& aSession);
Json HolidaysPut(Session& aSession, const std::string& aText);
Json HolidaysClear(Session& aSession);
Json Journal(Session& aSession, unsigned aJournal, unsigned aFirst, unsigned aCount, int aQualityParameter,
             const CommandOptions& aOptions);
// aDate "YYYY-MM-DD"; aBlock -1 for the whole day.
Json Profile(Session& aSession, const std::string& aDate, int aBlock, bool aNumbers,
             const CommandOptions& aOptions);
Json Raw(Session& aSession, const std::string& aHex, unsigned aAnswerSize);

// Hex text ("01 2F", "012f", "01:2f") to bytes; InputError when it is not.
std::vector<uint8_t> ParseHex(const std::string& aText);
// UTF-8 (or already Windows-1251) text for the library; InputError for characters it cannot carry.
std::string ToLibraryText(const std::string& aText);

} // namespace q310cli
