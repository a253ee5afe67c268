// Event journals over a scripted meter: decoding, invalid entries, change detection on the newest
// entry, journal 5's own rules, the events array and the sorted entry lists. Then the event and display
// adapters: every flag bit of a journal 3 day record against every event type, the journal selection
// by category and wanted events, journal entries to event records, and the main and additional display
// bytes to LCD value lists and back.
#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils_adapters.h"
#include "shared/kel_utils.h"

#include "client_test_support.h"

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{
Bytes Fields(const Kel_Zentor1Phase_EventRecord& aRecord)
{
    return {aRecord.hour, aRecord.minute, aRecord.second, aRecord.day, aRecord.month, aRecord.year};
}

uint32_t Changed(Kel_Zentor1Phase_ClientContext* pClient, uint32_t aJournal, uint32_t aPke = 0)
{
    uint32_t changed = 99;
    EXPECT_EQ(Kel_Zentor1Phase_Client_IsJournalChange(pClient, aJournal, aPke, &changed), Kel_Good);
    return changed;
}

Kel_Zentor1Phase_EventRecord Event(uint32_t aType, uint8_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour)
{
    Kel_Zentor1Phase_EventRecord record{};
    record.type = aType;
    record.year = aYear;
    record.month = aMonth;
    record.day = aDay;
    record.hour = aHour;
    return record;
}
} // namespace

TEST_F(ClientTest, JournalsOneTwoAndFiveDecodeTheirEntries)
{
    Kel_Zentor1Phase_EventRecord record{};
    Answer({0x34, 0x01, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 5, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x34, 0x05}));
    EXPECT_EQ(record.type, 3u);
    EXPECT_EQ(Fields(record), (Bytes{14, 35, 59, 28, 2, 24}));

    Answer({0x35, 0x02, 0x00, 0x00, 0x01, 0x01, 0x01, 0x10});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent2(&client, 63, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x35, 0x3F}));
    EXPECT_EQ(record.type, 12u);
    EXPECT_EQ(Fields(record), (Bytes{0, 0, 1, 1, 1, 10}));

    Answer({0x3A, 0x06, 0x23, 0x59, 0x59, 0x31, 0x12, 0x37});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 1, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x3A, 0x01}));
    EXPECT_EQ(record.type, 26u);
    EXPECT_EQ(Fields(record), (Bytes{23, 59, 59, 31, 12, 37}));
}

TEST_F(ClientTest, UnusableEntriesAreGoodAndEmpty)
{
    const Bytes entries[] = {
        {0x34, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, // all 0xFF
        {0x34, 0x00, 0x3F, 0x10, 0x10, 0x10, 0x10, 0x10}, // hour byte 0x3F
        {0x34, 0x00, 0x10, 0x10, 0x10, 0x10, 0x10, 0xFF}, // a 0xFF behind the hour
        {0x34, 0x02, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10}, // an event this journal does not have
        {0x34, 0x00, 0x24, 0x00, 0x00, 0x01, 0x01, 0x10}, // hour 24
        {0x34, 0x00, 0x1A, 0x00, 0x00, 0x01, 0x01, 0x10}, // hour 20 by the BCD tolerance: valid
        {0x34, 0x00, 0x10, 0x00, 0x00, 0x01, 0x13, 0x10}, // month 13
        {0x34, 0x00, 0x10, 0xA0, 0x00, 0x01, 0x01, 0x10}, // not BCD
    };
    for (const Bytes& entry : entries)
    {
        SCOPED_TRACE(static_cast<int>(entry[2]));
        Answer(entry);
        Kel_Zentor1Phase_EventRecord record = Event(7, 7, 7, 7, 7);
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 1, &record), Kel_Good);
        if (entry[2] == 0x1A)
        {
            EXPECT_EQ(record.type, 2u);
            EXPECT_EQ(record.hour, 20);
            continue;
        }
        EXPECT_EQ(record.type, 0u);
        EXPECT_EQ(Fields(record), Bytes(6, 0));
    }
}

TEST_F(ClientTest, ChangeDetectionFollowsTheNewestEntryOnly)
{
    Kel_Zentor1Phase_EventRecord record{};
    const Bytes first = {0x34, 0x00, 0x10, 0x00, 0x00, 0x01, 0x02, 0x24};
    const Bytes second = {0x34, 0x01, 0x11, 0x00, 0x00, 0x01, 0x02, 0x24};
    EXPECT_EQ(Changed(&client, 1), 0u);
    Answer(first);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 1u);
    Answer(first);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 0u);
    // A new newest entry sets the flag until it is reset; older entries never touch it.
    Answer(second);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 1u);
    Answer(first);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 5, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 1u);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 1, 0), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 0u);
    Answer({0x34, 0x00, 0x12, 0x00, 0x00, 0x01, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 5, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 0u);
    // An invalid newest entry leaves the state alone; the other journals have their own flags.
    Answer({0x34, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 1), 0u);
    EXPECT_EQ(Changed(&client, 2), 0u);
    EXPECT_EQ(Changed(&client, 5), 0u);
}

TEST_F(ClientTest, JournalFiveEmptyAndForeignEvents)
{
    Kel_Zentor1Phase_EventRecord record = Event(7, 7, 7, 7, 7);
    Answer({0x3A, 0xFF, 0x10, 0x00, 0x00, 0x01, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 0, &record), Kel_Good);
    EXPECT_EQ(record.type, 0u);
    EXPECT_EQ(Fields(record), Bytes(6, 0));
    EXPECT_EQ(Changed(&client, 5), 0u);
    Answer({0x3A, 0x07, 0x10, 0x00, 0x00, 0x01, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 0, &record), Kel_BadDeviceUnknownResponse);
    Answer({0x3A, 0x00, 0x10, 0x00, 0x00, 0x01, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 0, &record), Kel_Good);
    EXPECT_EQ(record.type, 20u);
    EXPECT_EQ(Changed(&client, 5), 1u);
    EXPECT_EQ(meter.writes.size(), 3u);
}

TEST_F(ClientTest, JournalThreeDayRecords)
{
    Kel_Zentor1Phase_EventDayRecord record{};
    Answer({0x36, 0x11, 0x22, 0x33, 0x44, 0x55, 0x28, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x36, 0x00}));
    EXPECT_EQ(Bytes(record.flags, record.flags + 5), (Bytes{0x22, 0x11, 0x33, 0x55, 0x44}));
    EXPECT_EQ(Bytes({record.day, record.month, record.year}), (Bytes{28, 2, 24}));
    EXPECT_EQ(Changed(&client, 3), 1u);
    Answer({0x36, 0x11, 0x22, 0x33, 0x44, 0x55, 0x28, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 3), 0u);
    Answer({0x36, 0x11, 0x22, 0x33, 0x44, 0x56, 0x28, 0x02, 0x24}); // one flag differs
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &record), Kel_Good);
    EXPECT_EQ(Changed(&client, 3), 1u);
    for (const Bytes& date : {Bytes{0xFF, 0x02, 0x24}, Bytes{0x28, 0x13, 0x24}, Bytes{0x00, 0x01, 0x24}})
    {
        Answer({0x36, 0x11, 0x22, 0x33, 0x44, 0x55, date[0], date[1], date[2]});
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 1, &record), Kel_Good);
        EXPECT_EQ(Bytes(reinterpret_cast<uint8_t*>(&record), reinterpret_cast<uint8_t*>(&record) + 8),
                  Bytes(8, 0));
    }
}

TEST_F(ClientTest, JournalFourQualityEvents)
{
    Kel_Zentor1Phase_EventRecord record{};
    Answer({0x39, 0x94, 0x35, 0x59, 0x28, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 200, 7, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x39, 0xC8, 0x07, 0x00}));
    EXPECT_EQ(record.type, 57u);
    EXPECT_EQ(Fields(record), (Bytes{14, 35, 59, 28, 2, 24}));
    const uint32_t expected[8] = {40, 42, 44, 46, 50, 52, 54, 56};
    for (uint8_t pke = 0; pke < 8; ++pke)
    {
        Answer({0x39, 0x54, 0x35, 0x59, 0x28, 0x02, 0x24});
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, pke, &record), Kel_Good);
        EXPECT_EQ(record.type, expected[pke]);
        EXPECT_EQ(Changed(&client, 4, pke), 1u);
    }
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 4, 3), Kel_Good);
    EXPECT_EQ(Changed(&client, 4, 3), 0u);
    EXPECT_EQ(Changed(&client, 4, 4), 1u);
    for (const Bytes& entry : {Bytes{0x39, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24},  // direction 0
                               Bytes{0x39, 0x7F, 0x35, 0x59, 0x28, 0x02, 0x24},  // hour field 0x3F
                               Bytes{0x39, 0x54, 0x3F, 0x59, 0x28, 0x02, 0x24},  // minute 0x3F
                               Bytes{0x39, 0x54, 0x35, 0x59, 0x28, 0xFF, 0x24}}) // 0xFF behind
    {
        Answer(entry);
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 1, 0, &record), Kel_Good);
        EXPECT_EQ(record.type, 0u);
    }
}

TEST_F(ClientTest, JournalArgumentsAndGoodNoData)
{
    TraceCapture trace;
    Kel_Zentor1Phase_EventRecord record{};
    Kel_Zentor1Phase_EventDayRecord day{};
    uint32_t changed = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 64, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 64, &day), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 64, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 201, 0, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, 8, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_IsJournalChange(&client, 6, 0, &changed), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_IsJournalChange(&client, 4, 8, &changed), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 0, 0), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_NE(text.find("<-- ReturnError: Index > 63 is true! Return 0x80AB0000\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Index > 200 is true! Return 0x80AB0000\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Pke > 7 is true! Return 0x80AB0000\n"), std::string::npos);

    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &day), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, 0, &record), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 0, &record), Kel_GoodNoData);
    meter.readStatus = Kel_Good;
    Answer({0x34, 0x00});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_BadDeviceUnknownResponse);
}

TEST(Zentor1PhaseEvents, EventsArrayRows)
{
    uint32_t perJournal[6] = {};
    for (const auto& row : Kel_Zentor1Phase_EventsArray)
    {
        ASSERT_GE(row[2], 1);
        ASSERT_LE(row[2], 4);
        ++perJournal[row[2]];
    }
    EXPECT_EQ(perJournal[1], 2u);
    EXPECT_EQ(perJournal[2], 4u);
    EXPECT_EQ(perJournal[3], 26u);
    EXPECT_EQ(perJournal[4], 16u);
    auto find = [](uint8_t aEvent)
    {
        for (const auto& row : Kel_Zentor1Phase_EventsArray)
            if (row[3] == aEvent)
                return Bytes(row, row + 4);
        return Bytes{};
    };
    EXPECT_EQ(find(2), (Bytes{3, 2, 1, 2}));
    EXPECT_EQ(find(13), (Bytes{10, 12, 2, 13}));
    EXPECT_EQ(find(57), (Bytes{10, 48, 4, 57}));
    EXPECT_EQ(find(66), (Bytes{4, 68, 3, 66}));
    EXPECT_EQ(find(94), (Bytes{10, 70, 3, 94}));
    EXPECT_EQ(find(68), Bytes{});
}

TEST(Zentor1PhaseEvents, SortedListNewestFirstWithoutDuplicates)
{
    Kel_Zentor1Phase_EventRecord list[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE]{};
    uint32_t added = 9;
    const Kel_Zentor1Phase_EventRecord first = Event(2, 24, 2, 10, 8);
    EXPECT_EQ(Local_PushEvent1(list, &first, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    const Kel_Zentor1Phase_EventRecord newer = Event(3, 24, 2, 11, 8);
    const Kel_Zentor1Phase_EventRecord older = Event(2, 24, 2, 9, 8);
    const Kel_Zentor1Phase_EventRecord sameTimeOtherType = Event(3, 24, 2, 10, 8);
    EXPECT_EQ(Local_PushEvent1(list, &newer, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    EXPECT_EQ(Local_PushEvent1(list, &older, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    EXPECT_EQ(Local_PushEvent1(list, &newer, &added), Kel_Good);
    EXPECT_EQ(added, 0u);
    EXPECT_EQ(Local_PushEvent1(list, &sameTimeOtherType, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    const Kel_Zentor1Phase_EventRecord empty{};
    EXPECT_EQ(Local_PushEvent1(list, &empty, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    EXPECT_EQ(list[0].day, 11);
    EXPECT_EQ(list[1].day, 10);
    EXPECT_EQ(list[1].type, 3u);
    EXPECT_EQ(list[2].day, 10);
    EXPECT_EQ(list[2].type, 2u);
    EXPECT_EQ(list[3].day, 9);
    EXPECT_EQ(list[4].type, 0u);

    // A full list drops its oldest entry for a newer one and refuses one older than all.
    for (uint8_t i = 0; i < KEL_ZENTOR1PHASE_EVENT_LIST_SIZE; ++i)
        list[i] = Event(2, 23, 1, static_cast<uint8_t>(1 + i / 24), static_cast<uint8_t>(23 - i % 24));
    const Kel_Zentor1Phase_EventRecord oldest = Event(2, 22, 1, 1, 0);
    EXPECT_EQ(Local_PushEvent1(list, &oldest, &added), Kel_Good);
    EXPECT_EQ(added, 0u);
    const Kel_Zentor1Phase_EventRecord last = list[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE - 2];
    EXPECT_EQ(Local_PushEvent1(list, &newer, &added), Kel_Good);
    EXPECT_EQ(added, 1u);
    EXPECT_EQ(list[0].year, 24);
    EXPECT_EQ(memcmp(&list[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE - 1], &last, sizeof(last)), 0);
}

TEST(Zentor1PhaseEvents, SortedDayList)
{
    Kel_Zentor1Phase_EventDayRecord list[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE]{};
    const Kel_Zentor1Phase_EventDayRecord a{{1, 0, 0, 0, 0}, 10, 2, 24};
    const Kel_Zentor1Phase_EventDayRecord b{{2, 0, 0, 0, 0}, 10, 2, 24};
    const Kel_Zentor1Phase_EventDayRecord c{{1, 0, 0, 0, 0}, 12, 2, 24};
    uint32_t added = 9;
    for (const auto* record : {&a, &b, &c})
    {
        EXPECT_EQ(Local_PushEvent3(list, record, &added), Kel_Good);
        EXPECT_EQ(added, 1u);
    }
    EXPECT_EQ(Local_PushEvent3(list, &b, &added), Kel_Good);
    EXPECT_EQ(added, 0u);
    EXPECT_EQ(list[0].day, 12);
    EXPECT_EQ(list[1].flags[0], 2);
    EXPECT_EQ(list[2].flags[0], 1);
    EXPECT_EQ(list[3].year, 0);
}

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
