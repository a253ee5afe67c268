// Event journals over a scripted meter (decoding, empty entries, change detection, sorted lists), then
// the event and display adapters.
#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_utils_adapters.h"
#include "shared/kel_utils.h"

#include "scripted_channel.h"

#include <cstring>
#include <map>
#include <set>

namespace
{
// type, then hour minute second day month year in hex.
std::string Entry(const Kel_Zentor1Phase_EventRecord& aRecord)
{
    return std::to_string(aRecord.type) + " " + Hex(&aRecord.hour, 6);
}

struct EventsTest : ClientTest
{
    Kel_Zentor1Phase_EventRecord record{};
    Kel_Zentor1Phase_EventDayRecord day{};

    uint32_t Changed(uint32_t aJournal, uint32_t aPke = 0)
    {
        uint32_t changed = 99;
        EXPECT_EQ(Kel_Zentor1Phase_Client_IsJournalChange(&client, aJournal, aPke, &changed), Kel_Good);
        return changed;
    }
    // Entry aIndex of a journal, answered with aAnswer: the entry as text.
    using Reader = Kel_StatusCode (*)(Kel_Zentor1Phase_ClientContext*, uint8_t,
                                      Kel_Zentor1Phase_EventRecord*);
    std::string Read(Reader aRead, const char* pAnswer, uint8_t aIndex = 0, Kel_StatusCode aStatus = Kel_Good)
    {
        Answer(Hex(pAnswer));
        memset(&record, 7, sizeof(record));
        EXPECT_EQ(aRead(&client, aIndex, &record), aStatus);
        return Entry(record);
    }
    std::string Read1(const char* pAnswer, uint8_t aIndex = 0)
    {
        return Read(Kel_Zentor1Phase_Client_ReadEvent1, pAnswer, aIndex);
    }
};
} // namespace

TEST_F(EventsTest, JournalsDecodeTheirEntriesOrEmptyOnes)
{
    EXPECT_EQ(Read1("34 01 14 35 59 28 02 24", 5), "3 0E 23 3B 1C 02 18");
    EXPECT_EQ(meter.writes.back(), Frame({0x34, 0x05}));
    EXPECT_EQ(Read(Kel_Zentor1Phase_Client_ReadEvent2, "35 02 00 00 01 01 01 10", 63),
              "12 00 00 01 01 01 0A");
    EXPECT_EQ(meter.writes.back(), Frame({0x35, 0x3F}));
    EXPECT_EQ(Read(Kel_Zentor1Phase_Client_ReadEvent5, "3A 06 23 59 59 31 12 37", 1), "26 17 3B 3B 1F 0C 25");
    EXPECT_EQ(meter.writes.back(), Frame({0x3A, 0x01}));

    // All 0xFF, hour byte 0x3F, a 0xFF behind the hour, an event journal 1 does not have, hour 24,
    // month 13, not BCD: Good and empty. Hour 0x1A is 20 by the BCD tolerance.
    for (const char* answer :
         {"34 FF FF FF FF FF FF FF", "34 00 3F 10 10 10 10 10", "34 00 10 10 10 10 10 FF",
          "34 02 10 10 10 10 10 10", "34 00 24 00 00 01 01 10", "34 00 10 00 00 01 13 10",
          "34 00 10 A0 00 01 01 10"})
        EXPECT_EQ(Read1(answer), "0 00 00 00 00 00 00") << answer;
    EXPECT_EQ(Read1("34 00 1A 00 00 01 01 10"), "2 14 00 00 01 01 0A");

    // Journal 5: an empty entry, an event of another journal (refused), its own event 20.
    const Reader read5 = Kel_Zentor1Phase_Client_ReadEvent5;
    EXPECT_EQ(Read(read5, "3A FF 10 00 00 01 02 24"), "0 00 00 00 00 00 00");
    EXPECT_EQ(Changed(5), 0u);
    Read(read5, "3A 07 10 00 00 01 02 24", 0, Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(Read(read5, "3A 00 10 00 00 01 02 24"), "20 0A 00 00 01 02 18");
    EXPECT_EQ(Changed(5), 1u);
}

TEST_F(EventsTest, ChangeDetectionFollowsTheNewestEntryOnly)
{
    EXPECT_EQ(Changed(1), 0u);
    Read1("34 00 10 00 00 01 02 24");
    EXPECT_EQ(Changed(1), 1u);
    Read1("34 00 10 00 00 01 02 24");
    EXPECT_EQ(Changed(1), 0u);
    // A new newest entry sets the flag until it is reset; older entries never touch it.
    Read1("34 01 11 00 00 01 02 24");
    EXPECT_EQ(Changed(1), 1u);
    Read1("34 00 10 00 00 01 02 24", 5);
    EXPECT_EQ(Changed(1), 1u);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 1, 0), Kel_Good);
    EXPECT_EQ(Changed(1), 0u);
    Read1("34 00 12 00 00 01 02 24", 5);
    EXPECT_EQ(Changed(1), 0u);
    // An invalid newest entry leaves the state alone; the other journals have their own flags.
    Read1("34 FF FF FF FF FF FF FF");
    EXPECT_EQ(Changed(1) + Changed(2) + Changed(5), 0u);
}

TEST_F(EventsTest, JournalThreeDayRecordsAndJournalFourQualityEvents)
{
    // The same record again, then one flag differing.
    for (const auto& [last, changed] : {std::pair{0x55, 1u}, {0x55, 0u}, {0x56, 1u}})
    {
        Answer({0x36, 0x11, 0x22, 0x33, 0x44, uint8_t(last), 0x28, 0x02, 0x24});
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &day), Kel_Good);
        EXPECT_EQ(Changed(3), changed);
    }
    EXPECT_EQ(meter.writes.back(), Frame({0x36, 0x00}));
    EXPECT_EQ(Hex(&day, 8), "22 11 33 56 44 1C 02 18");
    for (const Bytes& date : {Bytes{0xFF, 0x02, 0x24}, Bytes{0x28, 0x13, 0x24}, Bytes{0x00, 0x01, 0x24}})
    {
        Answer({0x36, 0x11, 0x22, 0x33, 0x44, 0x55, date[0], date[1], date[2]});
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 1, &day), Kel_Good);
        EXPECT_EQ(Hex(&day, 8), "00 00 00 00 00 00 00 00");
    }

    Answer({0x39, 0x94, 0x35, 0x59, 0x28, 0x02, 0x24});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 200, 7, &record), Kel_Good);
    EXPECT_EQ(meter.writes.back(), Frame({0x39, 0xC8, 0x07, 0x00}));
    EXPECT_EQ(Entry(record), "57 0E 23 3B 1C 02 18");
    const uint32_t expected[8] = {40, 42, 44, 46, 50, 52, 54, 56};
    for (uint8_t pke = 0; pke < 8; ++pke)
    {
        Answer({0x39, 0x54, 0x35, 0x59, 0x28, 0x02, 0x24});
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, pke, &record), Kel_Good);
        EXPECT_EQ(record.type, expected[pke]);
        EXPECT_EQ(Changed(4, pke), 1u);
    }
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 4, 3), Kel_Good);
    EXPECT_EQ(Changed(4, 3) * 10 + Changed(4, 4), 1u);
    // Direction 0, hour field 0x3F, minute 0x3F, a 0xFF behind: empty.
    for (const char* answer :
         {"39 14 35 59 28 02 24", "39 7F 35 59 28 02 24", "39 54 3F 59 28 02 24", "39 54 35 59 28 FF 24"})
    {
        Answer(Hex(answer));
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 1, 0, &record), Kel_Good);
        EXPECT_EQ(record.type, 0u) << answer;
    }
}

TEST_F(EventsTest, RefusedArgumentsShortAnswersAndGoodNoData)
{
    TraceCapture trace;
    uint32_t changed = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 64, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 201, 0, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, 8, &record), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_IsJournalChange(&client, 6, 0, &changed), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ResetJournalChange(&client, 0, 0), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_TRUE(meter.writes.empty());
    for (const char* line : {"<-- ReturnError: Index > 63 is true! Return 0x80AB0000\n",
                             "<-- ReturnError: Index > 200 is true! Return 0x80AB0000\n",
                             "<-- ReturnError: Pke > 7 is true! Return 0x80AB0000\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;

    Answer({0x34, 0x00});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_BadDeviceUnknownResponse);
    meter.readStatus = Kel_GoodNoData;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &record), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent3(&client, 0, &day), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent4(&client, 0, 0, &record), Kel_GoodNoData);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent5(&client, 0, &record), Kel_GoodNoData);
}

namespace
{
Kel_Zentor1Phase_EventRecord Event(uint32_t aType, uint8_t aYear, uint8_t aMonth, uint8_t aDay, uint8_t aHour)
{
    return Kel_Zentor1Phase_EventRecord{aType, aHour, 0, 0, aDay, aMonth, aYear, {0, 0}};
}
} // namespace

TEST(Zentor1PhaseEvents, SortedListsNewestFirstWithoutDuplicates)
{
    Kel_Zentor1Phase_EventRecord list[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE]{};
    uint32_t added = 9;
    // Pushed: first, newer, older, newer again, same time with another type, an empty entry.
    const Kel_Zentor1Phase_EventRecord newer = Event(3, 24, 2, 11, 8);
    std::string adds;
    for (const auto& event : {Event(2, 24, 2, 10, 8), newer, Event(2, 24, 2, 9, 8), newer,
                              Event(3, 24, 2, 10, 8), Kel_Zentor1Phase_EventRecord{}})
    {
        EXPECT_EQ(Local_PushEvent1(list, &event, &added), Kel_Good);
        adds += std::to_string(added);
    }
    EXPECT_EQ(adds, "111011");
    std::string order;
    for (int i = 0; i < 5; ++i)
        order += std::to_string(list[i].type) + "/" + std::to_string(list[i].day) + " ";
    EXPECT_EQ(order, "3/11 3/10 2/10 2/9 0/0 ");

    Kel_Zentor1Phase_EventDayRecord days[KEL_ZENTOR1PHASE_EVENT_LIST_SIZE]{};
    const Kel_Zentor1Phase_EventDayRecord a{{1, 0, 0, 0, 0}, 10, 2, 24}, b{{2, 0, 0, 0, 0}, 10, 2, 24},
        c{{1, 0, 0, 0, 0}, 12, 2, 24};
    adds.clear();
    for (const auto* day : {&a, &b, &c, &b})
    {
        EXPECT_EQ(Local_PushEvent3(days, day, &added), Kel_Good);
        adds += std::to_string(added);
    }
    EXPECT_EQ(adds, "1110");
    EXPECT_EQ(
        Hex(days, 32),
        "01 00 00 00 00 0C 02 18 02 00 00 00 00 0A 02 18 01 00 00 00 00 0A 02 18 00 00 00 00 00 00 00 00");
}

namespace
{
// Where the meter flags each journal 3 event: flag byte, bit.
const std::map<uint32_t, std::set<std::pair<int, int>>> kPlaces = {
    {60, {{3, 0}, {4, 0}}}, {61, {{3, 1}}}, {62, {{3, 2}}}, {63, {{3, 3}}},         {64, {{3, 4}}},
    {65, {{3, 5}}},         {66, {{3, 6}}}, {67, {{3, 7}}}, {69, {{4, 1}, {0, 0}}}, {70, {{4, 2}}},
    {71, {{4, 3}}},         {72, {{4, 4}}}, {73, {{4, 5}}}, {75, {{4, 7}}},         {76, {{2, 0}}},
    {77, {{2, 1}, {1, 0}}}, {78, {{2, 2}}}, {79, {{2, 3}}}, {80, {{2, 4}}},         {85, {{0, 1}}},
    {86, {{0, 2}}},         {87, {{0, 3}}}, {88, {{0, 4}}}, {89, {{0, 5}}},         {93, {{1, 1}}},
    {94, {{1, 2}}},
};

// The event record made of a journal entry (aDay false) or a day record, as "journal/event date".
std::string Params(const void* pEntry, bool aDay)
{
    EventParams event;
    memset(&event, 0xEE, sizeof(event));
    const auto* bytes = static_cast<const uint8_t*>(pEntry);
    EXPECT_EQ(aDay ? Kel_Zentor1Phase_Utils_GetEventParams2(bytes, &event)
                   : Kel_Zentor1Phase_Utils_GetEventParams(bytes, &event),
              Kel_Good);
    EventParams cleared;
    memset(&cleared, 0, sizeof(cleared));
    if (memcmp(&event, &cleared, sizeof(cleared)) == 0)
        return "cleared";
    uint16_t year = 0, ms = 0;
    uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
    EXPECT_EQ(Kel_Utils_DecodeDateTime(&event.Time, &year, &month, &day, &hour, &minute, &second, &ms),
              Kel_Good);
    char text[64];
    snprintf(text, sizeof(text), "%u/%d %04u-%02u-%02u %02u:%02u:%02u %u %d", event.JournalType,
             event.EventType, year, month, day, hour, minute, second, event.Time.microseconds,
             event.DataLength);
    return text;
}
} // namespace

TEST(EventAdapters, EachFlagBitTellsExactlyItsEvents)
{
    for (uint32_t type = 58; type <= 96; ++type)
    {
        const auto found = kPlaces.find(type);
        for (int byte = 0; byte < 5; ++byte)
            for (int bit = 0; bit < 8; ++bit)
            {
                uint8_t flags[8] = {};
                flags[byte] = static_cast<uint8_t>(1u << bit);
                const uint32_t expected =
                    found != kPlaces.end() && found->second.count({byte, bit}) != 0 ? 1 : 0;
                EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(flags, type), expected)
                    << "type " << type << " byte " << byte << " bit " << bit;
            }
        // All flags set: exactly the types with a place answer 1 (68, 74, 81..84, 90..92 never do).
        const uint8_t all[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, 0x01, 0x18};
        EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(all, type), found != kPlaces.end() ? 1u : 0u) << type;
    }
    EXPECT_EQ(Kel_Zentor1Phase_Utils_IsEventType(nullptr, 60), 0u);
}

TEST(EventAdapters, JournalIsReadOnlyForWantedEvents)
{
    // (10, 56) is event 61 of journal 3, (5, 3) event 12 of journal 2; (4, 56) is no row.
    const Kel_Zentor1Phase_WantedEvent wanted[3] = {{10, 56, {}}, {5, 3, {}}, {4, 56, {}}};
    const struct
    {
        uint32_t journal, category;
        const Kel_Zentor1Phase_WantedEvent* pWanted;
        uint32_t count, expected;
    } cases[] = {{3, 4, nullptr, 0, 1}, {1, 10, nullptr, 0, 0},  {5, 0, nullptr, 0, 0},
                 {3, 4, wanted, 2, 0},  {3, 10, wanted, 2, 1},   {2, 0, wanted, 1, 0},
                 {2, 0, wanted, 0, 1},  {3, 0, wanted + 2, 1, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(Kel_Zentor1Phase_Utils_IsReadJournal(c.journal, c.category, c.pWanted, c.count), c.expected)
            << c.journal << " " << c.category << " " << c.count;
}

TEST(EventAdapters, EntriesBecomeEventRecords)
{
    Kel_Zentor1Phase_EventRecord record{11, 12, 34, 56, 15, 3, 24, {0, 0}};
    EXPECT_EQ(Params(&record, false), "10/13 2024-03-15 12:34:56 0 0");
    record.type = 45; // journal 4, quality parameter 2, direction 2
    EXPECT_EQ(Params(&record, false), "10/26 2024-03-15 12:34:56 0 0");
    // An empty entry, a journal 5 number (no row) and impossible dates give a cleared record.
    for (const Kel_Zentor1Phase_EventRecord& entry :
         {Kel_Zentor1Phase_EventRecord{}, Kel_Zentor1Phase_EventRecord{22, 12, 0, 0, 1, 1, 24, {0, 0}},
          Kel_Zentor1Phase_EventRecord{2, 12, 0, 0, 1, 13, 24, {0, 0}},
          Kel_Zentor1Phase_EventRecord{2, 24, 0, 0, 1, 1, 24, {0, 0}}})
        EXPECT_EQ(Params(&entry, false), "cleared") << entry.type;
    EventParams event;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetEventParams(nullptr, &event), Kel_BadInvalidArgument);

    // A day record: its first flagged event in the events array, at midnight. Events 76 (byte 2 bit 0)
    // and 62 (byte 3 bit 2): 62 comes first; then 69 through its second place, before 76.
    Kel_Zentor1Phase_EventDayRecord day{{0, 0, 0x01, 0x04, 0}, 29, 2, 24};
    EXPECT_EQ(Params(&day, true), "4/3 2024-02-29 00:00:00 0 0");
    day.flags[3] = 0;
    day.flags[0] = 0x01;
    EXPECT_EQ(Params(&day, true), "4/11 2024-02-29 00:00:00 0 0");
    for (const Kel_Zentor1Phase_EventDayRecord& entry :
         {Kel_Zentor1Phase_EventDayRecord{},
          Kel_Zentor1Phase_EventDayRecord{{0x40, 0x80, 0xE0, 0, 0x40}, 1, 1, 24},
          Kel_Zentor1Phase_EventDayRecord{{0, 0, 0, 0x01, 0}, 1, 13, 24}})
        EXPECT_EQ(Params(&entry, true), "cleared");
}

namespace
{
std::string Entries(const LcdValueList& aList)
{
    std::string text;
    for (uint32_t i = 0; i < aList.ValuesCount; ++i)
        text += std::to_string(aList.Values[i].ValueType) + "/" + std::to_string(aList.Values[i].TariffRate) +
                " ";
    return text;
}

LcdValueList List(std::initializer_list<LcdValue> aValues)
{
    LcdValueList list{};
    for (const LcdValue value : aValues)
        list.Values[list.ValuesCount++] = value;
    return list;
}
} // namespace

TEST(LcdAdapters, DisplayBytesToValuesAndBack)
{
    LcdValueList list{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0x11, &list), Kel_Good);
    EXPECT_EQ(Entries(list), "1/1 1/0 ");
    // Appended behind what the list holds, lowest bit first.
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0xEE, &list), Kel_Good);
    EXPECT_EQ(Entries(list), "1/1 1/0 1/2 1/3 1/4 79/0 216/0 215/0 ");
    LcdValueList additional{};
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(0xFF, &additional), Kel_Good);
    EXPECT_EQ(Entries(additional), "167/0 163/0 178/0 25/0 205/0 ");

    uint8_t byte = 0;
    const LcdValueList two = List({{1, 2}, {215, 0}});
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&two, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x82);
    // Skipped: energy with tariff 5, the other kinds with a tariff, unknown kinds.
    const LcdValueList skipped = List({{1, 5}, {79, 1}, {216, 2}, {215, 3}, {25, 0}, {2, 0}});
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&skipped, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x00);
    // Any one of 163, 167, 178 sets bit 1; a tariff other than 0 is skipped.
    const LcdValueList one = List({{178, 0}, {205, 1}, {1, 0}});
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(&one, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x02);
    // Back: every main bit; of the additional bits only those the setter knows.
    ASSERT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(&list, &byte), Kel_Good);
    EXPECT_EQ(byte, 0xFF);
    ASSERT_EQ(Kel_Zentor1Phase_Utils_SetAdditionalLcdValues(&additional, &byte), Kel_Good);
    EXPECT_EQ(byte, 0x46);
    EXPECT_EQ(Kel_Zentor1Phase_Utils_SetMainLcdValues(nullptr, &byte), Kel_BadInvalidArgument);

    // A full list ends the call at the first failing append.
    list.ValuesCount = KEL_ENERGYSHARED_LCD_VALUES_MAX - 1;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetAdditionalLcdValues(0x02, &list), Kel_BadOutOfRange);
    EXPECT_EQ(list.ValuesCount, KEL_ENERGYSHARED_LCD_VALUES_MAX);
    EXPECT_EQ(list.Values[KEL_ENERGYSHARED_LCD_VALUES_MAX - 1].ValueType, 167u);
    list.ValuesCount = KEL_ENERGYSHARED_LCD_VALUES_MAX - 1;
    EXPECT_EQ(Kel_Zentor1Phase_Utils_GetMainLcdValues(0x03, &list), Kel_BadOutOfRange);
    EXPECT_EQ(list.Values[KEL_ENERGYSHARED_LCD_VALUES_MAX - 1].TariffRate, 1);
}
