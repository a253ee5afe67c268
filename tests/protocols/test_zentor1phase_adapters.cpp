// Event and display adapters: every flag bit of a journal 3 day record against every event type, the
// journal selection by category and wanted events, journal entries to event records, and the main and
// additional display bytes to LCD value lists and back.
#include "protocols/orlenta/1phase/kel_zentor1phase_utils_adapters.h"

#include "shared/kel_utils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace
{
using Place = std::pair<int, int>; // flag byte, bit

// Where the meter flags each journal 3 event, as the meter documents it.
const std::map<uint32_t, std::set<Place>> kPlaces = {
    {60, {{3, 0}, {4, 0}}}, {61, {{3, 1}}}, {62, {{3, 2}}}, {63, {{3, 3}}},         {64, {{3, 4}}},
    {65, {{3, 5}}},         {66, {{3, 6}}}, {67, {{3, 7}}}, {69, {{4, 1}, {0, 0}}}, {70, {{4, 2}}},
    {71, {{4, 3}}},         {72, {{4, 4}}}, {73, {{4, 5}}}, {75, {{4, 7}}},         {76, {{2, 0}}},
    {77, {{2, 1}, {1, 0}}}, {78, {{2, 2}}}, {79, {{2, 3}}}, {80, {{2, 4}}},         {85, {{0, 1}}},
    {86, {{0, 2}}},         {87, {{0, 3}}}, {88, {{0, 4}}}, {89, {{0, 5}}},         {93, {{1, 1}}},
    {94, {{1, 2}}},
};

TEST(EventAdapters, EachFlagBitTellsExactlyItsEvents)
{
    for (uint32_t type = 58; type <= 96; ++type)
    {
        const auto found = kPlaces.find(type);
        for (int byte = 0; byte < 5; ++byte)
        {
            for (int bit = 0; bit < 8; ++bit)
            {
                uint8_t flags[8] = {};
                flags[byte] = static_cast<uint8_t>(1u << bit);
                const uint32_t expected =
                    found != kPlaces.end() && found->second.count({byte, bit}) != 0 ? 1 : 0;
                EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(flags, type), expected)
                    << "type " << type << " byte " << byte << " bit " << bit;
            }
        }
        // All flags set: exactly the types with a place answer 1 (68, 74, 81..84, 90..92 never do).
        const uint8_t all[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, 0x01, 0x18};
        EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(all, type), found != kPlaces.end() ? 1u : 0u) << type;
    }
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(nullptr, 60), 0u);
}

TEST(EventAdapters, JournalIsReadOnlyForWantedEvents)
{
    // No wanted list: any row of the journal (and category) will do.
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(1, 0, nullptr, 0), 1u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(3, 4, nullptr, 0), 1u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(1, 10, nullptr, 0), 0u); // journal 1 has category 3 only
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(5, 0, nullptr, 0), 0u);  // journal 5 has no rows
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(6, 0, nullptr, 0), 0u);

    const Kel_Zentor1Phase_WantedEvent wanted[2] = {{10, 56, {}}, {5, 3, {}}};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(3, 0, wanted, 2), 1u); // (10, 56) is event 61
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(3, 4, wanted, 2), 0u); // but not of category 4
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(3, 10, wanted, 2), 1u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(2, 0, wanted, 2), 1u); // (5, 3) is event 12
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(2, 0, wanted, 1), 0u); // only the first wanted
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(4, 0, wanted, 2), 0u);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(2, 0, wanted, 0), 1u); // count 0: no list
    // The code alone does not match: (4, 56) is no row.
    const Kel_Zentor1Phase_WantedEvent other[1] = {{4, 56, {}}};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(3, 0, other, 1), 0u);
}

DateTime Date(uint16_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour, uint8_t aMinute, uint8_t aSecond)
{
    DateTime date{};
    EXPECT_EQ(Kel_Utils_CreateDateTime(aYear, aMonth, aDay, aHour, aMinute, aSecond, 0, &date), Kel_Good);
    return date;
}

bool IsCleared(const EventParams& aEvent)
{
    EventParams cleared;
    memset(&cleared, 0, sizeof(cleared));
    return memcmp(&aEvent, &cleared, sizeof(cleared)) == 0;
}

TEST(EventAdapters, JournalEntryBecomesEventRecord)
{
    EventParams event;
    Kel_Zentor1Phase_EventRecord record{11, 12, 34, 56, 15, 3, 24, {0, 0}};
    memset(&event, 0xEE, sizeof(event));
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(reinterpret_cast<const uint8_t*>(&record), &event),
              Kel_Good);
    EXPECT_EQ(event.JournalType, 10u);
    EXPECT_EQ(event.EventType, 13);
    EXPECT_EQ(event.Time.seconds, Date(2024, 3, 15, 12, 34, 56).seconds);
    EXPECT_EQ(event.Time.microseconds, 0u);
    EXPECT_EQ(event.DataLength, 0);

    record.type = 45; // journal 4, quality parameter 2, direction 2
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(reinterpret_cast<const uint8_t*>(&record), &event),
              Kel_Good);
    EXPECT_EQ(event.JournalType, 10u);
    EXPECT_EQ(event.EventType, 26);

    // An empty entry, a journal 5 number (no row) and an impossible date all give a cleared record.
    for (const Kel_Zentor1Phase_EventRecord& entry :
         {Kel_Zentor1Phase_EventRecord{}, Kel_Zentor1Phase_EventRecord{22, 12, 0, 0, 1, 1, 24, {0, 0}},
          Kel_Zentor1Phase_EventRecord{2, 12, 0, 0, 1, 13, 24, {0, 0}},
          Kel_Zentor1Phase_EventRecord{2, 24, 0, 0, 1, 1, 24, {0, 0}}})
    {
        memset(&event, 0xEE, sizeof(event));
        EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(reinterpret_cast<const uint8_t*>(&entry), &event),
                  Kel_Good);
        EXPECT_TRUE(IsCleared(event)) << entry.type;
    }
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(nullptr, &event), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(reinterpret_cast<const uint8_t*>(&record), nullptr),
              Kel_BadInvalidArgument);
}

TEST(EventAdapters, DayRecordBecomesItsFirstFlaggedEventAtMidnight)
{
    EventParams event;
    // Events 76 (byte 2 bit 0) and 62 (byte 3 bit 2): 62 comes first in the events array.
    Kel_Zentor1Phase_EventDayRecord record{{0, 0, 0x01, 0x04, 0}, 29, 2, 24};
    memset(&event, 0xEE, sizeof(event));
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams2(reinterpret_cast<const uint8_t*>(&record), &event),
              Kel_Good);
    EXPECT_EQ(event.JournalType, 4u);
    EXPECT_EQ(event.EventType, 3);
    EXPECT_EQ(event.Time.seconds, Date(2024, 2, 29, 0, 0, 0).seconds);

    record.flags[3] = 0;
    record.flags[0] = 0x01; // event 69 through its second place, before 76 in the array
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams2(reinterpret_cast<const uint8_t*>(&record), &event),
              Kel_Good);
    EXPECT_EQ(event.JournalType, 4u);
    EXPECT_EQ(event.EventType, 11);

    for (const Kel_Zentor1Phase_EventDayRecord& entry :
         {Kel_Zentor1Phase_EventDayRecord{},
          Kel_Zentor1Phase_EventDayRecord{{0x40, 0x80, 0xE0, 0, 0x40}, 1, 1, 24},
          Kel_Zentor1Phase_EventDayRecord{{0, 0, 0, 0x01, 0}, 1, 13, 24}})
    {
        memset(&event, 0xEE, sizeof(event));
        EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams2(reinterpret_cast<const uint8_t*>(&entry), &event),
                  Kel_Good);
        EXPECT_TRUE(IsCleared(event));
    }
}

std::vector<std::pair<uint32_t, uint8_t>> Entries(const LcdValueList& aList)
{
    std::vector<std::pair<uint32_t, uint8_t>> entries;
    for (uint32_t i = 0; i < aList.ValuesCount; ++i)
        entries.emplace_back(aList.Values[i].ValueType, aList.Values[i].TariffRate);
    return entries;
}

using LcdEntries = std::vector<std::pair<uint32_t, uint8_t>>;

TEST(LcdAdapters, MainByteToValuesAndBack)
{
    LcdValueList list{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0x11, &list), Kel_Good);
    EXPECT_EQ(Entries(list), (LcdEntries{{1, 1}, {1, 0}}));
    // Appended behind what the list holds, lowest bit first.
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0xEE, &list), Kel_Good);
    EXPECT_EQ(Entries(list),
              (LcdEntries{{1, 1}, {1, 0}, {1, 2}, {1, 3}, {1, 4}, {79, 0}, {216, 0}, {215, 0}}));

    uint8_t byte = 0;
    LcdValueList two{};
    two.Values[0] = LcdValue{1, 2};
    two.Values[1] = LcdValue{215, 0};
    two.ValuesCount = 2;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&two, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x82);

    // Skipped: energy with tariff 5, the other kinds with a tariff, unknown kinds.
    LcdValueList skipped{};
    for (const LcdValue value : {LcdValue{1, 5}, LcdValue{79, 1}, LcdValue{216, 2}, LcdValue{215, 3},
                                 LcdValue{25, 0}, LcdValue{2, 0}})
        skipped.Values[skipped.ValuesCount++] = value;
    byte = 0xFF;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&skipped, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x00);

    for (uint32_t value = 0; value < 256; ++value)
    {
        LcdValueList round{};
        ASSERT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(static_cast<uint8_t>(value), &round), Kel_Good);
        ASSERT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&round, &byte), Kel_Good);
        EXPECT_EQ(byte, value);
    }
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(nullptr, &byte), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&two, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0x01, nullptr), Kel_BadInvalidArgument);
}

TEST(LcdAdapters, AdditionalByteToValuesAndBack)
{
    LcdValueList list{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(0xFF, &list), Kel_Good);
    EXPECT_EQ(Entries(list), (LcdEntries{{167, 0}, {163, 0}, {178, 0}, {25, 0}, {205, 0}}));

    uint8_t byte = 0;
    for (uint32_t value = 0; value < 256; ++value)
    {
        LcdValueList round{};
        ASSERT_EQ(Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(static_cast<uint8_t>(value), &round),
                  Kel_Good);
        ASSERT_EQ(Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(&round, &byte), Kel_Good);
        EXPECT_EQ(byte, value & 0x46) << value;
    }
    // Any one of 163, 167, 178 sets bit 1; a tariff other than 0 is skipped.
    LcdValueList one{};
    one.Values[0] = LcdValue{178, 0};
    one.Values[1] = LcdValue{205, 1};
    one.Values[2] = LcdValue{1, 0};
    one.ValuesCount = 3;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(&one, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x02);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(nullptr, &byte), Kel_BadInvalidArgument);
}

TEST(LcdAdapters, FullListEndsTheCallAtTheFirstFailingAppend)
{
    LcdValueList list{};
    list.ValuesCount = KEL_ENERGYSHARED_LCD_VALUES_MAX - 1;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(0x02, &list), Kel_BadOutOfRange);
    EXPECT_EQ(list.ValuesCount, KEL_ENERGYSHARED_LCD_VALUES_MAX);
    EXPECT_EQ(list.Values[KEL_ENERGYSHARED_LCD_VALUES_MAX - 1].ValueType, 167u);

    list.ValuesCount = KEL_ENERGYSHARED_LCD_VALUES_MAX - 1;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0x03, &list), Kel_BadOutOfRange);
    EXPECT_EQ(list.Values[KEL_ENERGYSHARED_LCD_VALUES_MAX - 1].TariffRate, 1);
}
} // namespace
