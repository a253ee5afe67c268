// Journal and power-profile reads of the exported interface, and the raw exchange:
// - eReadJournal: entries of one of the five event journals as host text, one line per entry;
// - eReadPKE_2: entries of the power-quality journal for one quality parameter, in the same layout;
// - eReadSecPowerProfile (day as text), _21 (one four-hour block as text), _22 (day as 48 numbers),
//   _23 (one block as 8 numbers): the half-hour power profile;
// - eWriteData: the host's bytes written through the session channel, the answer read back.
// All follow the common frame: null checks in argument order, then outErr; 1 on success; 0 with the
// export's fixed message for a failed exchange or a value the meter's commands refuse.
#define KEL_TRACE_FILE "Q310/q310_exports_journals"

#include "Q310/q310_exports_journals.h"

#include <cstdio>
#include <cstring>

#include "Q310/q310_export_support.h"
#include "Q310/q310_export_texts.h"
#include "Q310/q310_session.h"
#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"
#include "shared/kel_serialchannel.h"
#include "shared/platform/kel_p_stopwatch.h"

namespace
{
constexpr uint32_t kBlocks = 6;
constexpr uint32_t kSlotsPerBlock = 8;
constexpr uint32_t kJournalLastIndex = 63;
constexpr uint32_t kQualityLastIndex = 200;
constexpr uint32_t kQualityParameters = 8;

// Raw exchange: each channel read waits up to 100 ms, the whole answer up to 1000 ms (the time-outs
// eReadSerialNumber gives the protocol client); the answer ends when a read brings nothing after the
// first bytes have arrived, or when the host's buffer is full.
constexpr uint32_t kRawWriteTimeout = 1000;
constexpr uint32_t kRawReadTimeout = 100;
constexpr uint64_t kRawAnswerTimeout = 1000;

// Meter year of century from the host's year: 2000..2099 or already 0..99.
uint8_t MeterYear(uint32_t aYear)
{
    return static_cast<uint8_t>(aYear >= 2000 ? aYear - 2000 : aYear);
}

char* AppendDateTime(char* pEnd, uint32_t aHour, uint32_t aMinute, uint32_t aSecond, uint32_t aDay,
                     uint32_t aMonth, uint32_t aYear)
{
    return pEnd + sprintf(pEnd, "%02u:%02u:%02u %02u.%02u.%04u ", aHour, aMinute, aSecond, aDay, aMonth,
                          2000 + aYear);
}
} // namespace

// Event texts: journal 1 power, journal 2 covers, journal 5 settings changes, journal 4 the quality
// parameters leaving (direction 1) and re-entering (direction 2) their limits.
const char* Q310_EventText(uint32_t aType)
{
    switch (aType)
    {
        case 2:
            return "POWER OFF";
        case 3:
            return "POWER ON";
        case 10:
            return "COVER OPEN";
        case 12:
            return "COVER CLOSE";
        case 11:
            return "TERMINAL COVER OPEN";
        case 13:
            return "TERMINAL COVER CLOSE";
        case 20:
            return "TIME SET";
        case 21:
            return "TIME CORRECTED";
        case 22:
            return "TARIFF SCHEDULE WRITTEN";
        case 23:
            return "HOLIDAYS WRITTEN";
        case 24:
            return "SETTINGS WRITTEN";
        case 25:
            return "ADDRESS WRITTEN";
        case 26:
            return "MAXIMA RESET";
        default:
            return KEL_NULL;
    }
}

char* Q310_AppendEventLine(char* pEnd, const Kel_Zentor1Phase_EventRecord& aRecord)
{
    if (aRecord.type == 0)
        return pEnd;
    pEnd = AppendDateTime(pEnd, aRecord.hour, aRecord.minute, aRecord.second, aRecord.day, aRecord.month,
                          aRecord.year);
    const char* text = Q310_EventText(aRecord.type);
    if (text != KEL_NULL)
        return pEnd + sprintf(pEnd, "%s\n", text);
    if (aRecord.type >= 40 && aRecord.type <= 57)
    {
        // 40 + 2 * parameter (+ 10 from parameter 4 on), one more for direction 2.
        const uint32_t offset = aRecord.type - 40;
        const uint32_t parameter = (offset >= 10 ? offset - 2 : offset) / 2;
        return pEnd + sprintf(pEnd, "QUALITY %u %s\n", parameter,
                              (offset % 2) == 0 ? "OUT OF LIMITS" : "BACK IN LIMITS");
    }
    return pEnd + sprintf(pEnd, "EVENT %u\n", aRecord.type);
}

char* Q310_AppendDayLine(char* pEnd, const Kel_Zentor1Phase_EventDayRecord& aRecord)
{
    if (aRecord.day == 0)
        return pEnd;
    pEnd = AppendDateTime(pEnd, 0, 0, 0, aRecord.day, aRecord.month, aRecord.year);
    return pEnd + sprintf(pEnd, "DAY FLAGS %02X %02X %02X %02X %02X\n", aRecord.flags[0], aRecord.flags[1],
                          aRecord.flags[2], aRecord.flags[3], aRecord.flags[4]);
}

char* Q310_AppendProfileLines(char* pEnd, const Kel_Zentor1Phase_PowerProfileRecord& aRecord)
{
    for (uint32_t i = 0; i < kSlotsPerBlock; ++i)
    {
        const uint32_t minutes = aRecord.hour * 60u + i * 30u;
        if (aRecord.slots[i].valid != 0)
            pEnd += sprintf(pEnd, "%02u:%02u %u\n", minutes / 60, minutes % 60, aRecord.slots[i].power);
        else
            pEnd += sprintf(pEnd, "%02u:%02u -\n", minutes / 60, minutes % 60);
    }
    return pEnd;
}

// Journal 4 takes the quality parameters 0..7 in turn for each index.
int32_t Q310_CALL eReadJournal(uint32_t adr, uint32_t journal, uint32_t first, uint32_t count, char* text,
                               char* outErr)
{
    Q310_EXPORT_ENTER(eReadJournal);
    (void)adr;
    Q310_REJECT_NULL(text);
    Q310_REJECT_NULL(outErr);
    text[0] = '\0';
    const uint32_t lastIndex = journal == 4 ? kQualityLastIndex : kJournalLastIndex;
    if (journal < 1 || journal > 5 || (count != 0 && (first > lastIndex || count - 1 > lastIndex - first)))
        return Q310_FailWith(kelScope, __LINE__, Kel_BadInvalidArgument, outErr, kReadJournal);
    char* end = text;
    for (uint32_t index = first; index < first + count; ++index)
    {
        const uint8_t i = static_cast<uint8_t>(index);
        Kel_Zentor1Phase_EventRecord record{};
        switch (journal)
        {
            case 1:
                Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent1(&clientContext, i, &record), kReadJournal);
                break;
            case 2:
                Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent2(&clientContext, i, &record), kReadJournal);
                break;
            case 3:
            {
                Kel_Zentor1Phase_EventDayRecord day{};
                Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent3(&clientContext, i, &day), kReadJournal);
                end = Q310_AppendDayLine(end, day);
                continue;
            }
            case 4:
                for (uint8_t parameter = 0; parameter < kQualityParameters; ++parameter)
                {
                    Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent4(&clientContext, i, parameter, &record),
                                 kReadJournal);
                    end = Q310_AppendEventLine(end, record);
                }
                continue;
            default:
                Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent5(&clientContext, i, &record), kReadJournal);
                break;
        }
        end = Q310_AppendEventLine(end, record);
    }
    return Q310_RESULT_OK;
}

int32_t Q310_CALL eReadPKE_2(uint32_t adr, uint32_t parameter, uint32_t first, uint32_t count, char* text,
                             char* outErr)
{
    Q310_EXPORT_ENTER(eReadPKE_2);
    (void)adr;
    Q310_REJECT_NULL(text);
    Q310_REJECT_NULL(outErr);
    text[0] = '\0';
    if (parameter >= kQualityParameters ||
        (count != 0 && (first > kQualityLastIndex || count - 1 > kQualityLastIndex - first)))
        return Q310_FailWith(kelScope, __LINE__, Kel_BadInvalidArgument, outErr, kReadPke);
    char* end = text;
    for (uint32_t index = first; index < first + count; ++index)
    {
        Kel_Zentor1Phase_EventRecord record{};
        Q310_REQUEST(Kel_Zentor1Phase_Client_ReadEvent4(&clientContext, static_cast<uint8_t>(index),
                                                        static_cast<uint8_t>(parameter), &record),
                     kReadPke);
        end = Q310_AppendEventLine(end, record);
    }
    return Q310_RESULT_OK;
}

namespace
{
// One block of the day's profile; a block outside 0..5 is refused by the client (hour over 23).
Kel_StatusCode ReadBlock(uint32_t aDay, uint32_t aMonth, uint32_t aYear, uint32_t aBlock,
                         Kel_Zentor1Phase_PowerProfileRecord* pRecord)
{
    return Kel_Zentor1Phase_Client_ReadPowerUnit48(
        &clientContext, MeterYear(aYear), static_cast<uint8_t>(aMonth), static_cast<uint8_t>(aDay),
        static_cast<uint8_t>(aBlock > 0xFF ? 0xFF : aBlock * 4), 0, pRecord);
}

void StoreBlock(const Kel_Zentor1Phase_PowerProfileRecord& aRecord, uint32_t* pValues)
{
    for (uint32_t i = 0; i < kSlotsPerBlock; ++i)
        pValues[i] = aRecord.slots[i].valid != 0 ? aRecord.slots[i].power : Q310_PROFILE_INVALID;
}
} // namespace

int32_t Q310_CALL eReadSecPowerProfile(uint32_t adr, uint32_t day, uint32_t month, uint32_t year, char* text,
                                       char* outErr)
{
    Q310_EXPORT_ENTER(eReadSecPowerProfile);
    (void)adr;
    Q310_REJECT_NULL(text);
    Q310_REJECT_NULL(outErr);
    text[0] = '\0';
    Kel_Zentor1Phase_PowerProfileRecord blocks[kBlocks];
    for (uint32_t b = 0; b < kBlocks; ++b)
        Q310_REQUEST(ReadBlock(day, month, year, b, &blocks[b]), kReadProfile);
    char* end = text;
    for (uint32_t b = 0; b < kBlocks; ++b)
        end = Q310_AppendProfileLines(end, blocks[b]);
    return Q310_RESULT_OK;
}

int32_t Q310_CALL eReadSecPowerProfile_21(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                          uint32_t block, char* text, char* outErr)
{
    Q310_EXPORT_ENTER(eReadSecPowerProfile_21);
    (void)adr;
    Q310_REJECT_NULL(text);
    Q310_REJECT_NULL(outErr);
    text[0] = '\0';
    Kel_Zentor1Phase_PowerProfileRecord record{};
    Q310_REQUEST(ReadBlock(day, month, year, block, &record), kReadProfile);
    Q310_AppendProfileLines(text, record);
    return Q310_RESULT_OK;
}

int32_t Q310_CALL eReadSecPowerProfile_22(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                          uint32_t* values, char* outErr)
{
    Q310_EXPORT_ENTER(eReadSecPowerProfile_22);
    (void)adr;
    Q310_REJECT_NULL(values);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_PowerProfileRecord blocks[kBlocks];
    for (uint32_t b = 0; b < kBlocks; ++b)
        Q310_REQUEST(ReadBlock(day, month, year, b, &blocks[b]), kReadProfile);
    for (uint32_t b = 0; b < kBlocks; ++b)
        StoreBlock(blocks[b], values + b * kSlotsPerBlock);
    return Q310_RESULT_OK;
}

int32_t Q310_CALL eReadSecPowerProfile_23(uint32_t adr, uint32_t day, uint32_t month, uint32_t year,
                                          uint32_t block, uint32_t* values, char* outErr)
{
    Q310_EXPORT_ENTER(eReadSecPowerProfile_23);
    (void)adr;
    Q310_REJECT_NULL(values);
    Q310_REJECT_NULL(outErr);
    Kel_Zentor1Phase_PowerProfileRecord record{};
    Q310_REQUEST(ReadBlock(day, month, year, block, &record), kReadProfile);
    StoreBlock(record, values);
    return Q310_RESULT_OK;
}

namespace
{
// For the length of a raw exchange the RS-485 echo is the raw request, the frame last transmitted on
// the line, rather than the protocol client's last frame (there may be no client yet).
class RawEchoReference
{
public:
    RawEchoReference(const uint8_t* pRequest, const uint32_t* pLength)
        : savedFrame(q310Session.echoRS485.pEchoFrame), savedLength(q310Session.echoRS485.pEchoFrameLength)
    {
        q310Session.echoRS485.pEchoFrame = pRequest;
        q310Session.echoRS485.pEchoFrameLength = pLength;
    }
    ~RawEchoReference()
    {
        q310Session.echoRS485.pEchoFrame = savedFrame;
        q310Session.echoRS485.pEchoFrameLength = savedLength;
    }
    RawEchoReference(const RawEchoReference&) = delete;
    RawEchoReference& operator=(const RawEchoReference&) = delete;

private:
    const uint8_t* savedFrame;
    const uint32_t* savedLength;
};
} // namespace

// The host's bytes go out unchanged (a whole frame: address, command, data, CRC); pending input is
// cleared first. No answer at all is a failure; a partial answer is handed back as it came. Once bytes
// have arrived, a read that brings nothing more ends the answer, whether the channel reports that as
// an empty read or (the echo and gateway variants, which expect their echo or packet in every read) as
// a failed one.
int32_t Q310_CALL eWriteData(uint32_t adr, const uint8_t* request, uint32_t requestLength, uint8_t* answer,
                             uint32_t* answerLength, char* outErr)
{
    Q310_EXPORT_ENTER(eWriteData);
    (void)adr;
    Q310_REJECT_NULL(request);
    Q310_REJECT_NULL(answer);
    Q310_REJECT_NULL(answerLength);
    Q310_REJECT_NULL(outErr);
    const uint32_t size = *answerLength;
    *answerLength = 0;
    const RawEchoReference echoReference(request, &requestLength);
    uint32_t written = 0;
    Q310_REQUEST(Kel_SerialChannel_ClearBuffer(&q310Session.channel, 1), kWriteData);
    Q310_REQUEST(
        Kel_SerialChannel_Write(&q310Session.channel, request, requestLength, kRawWriteTimeout, &written),
        kWriteData);
    Kel_P_Stopwatch_Context stopwatch{};
    Q310_REQUEST(Kel_P_Stopwatch_Restart(&stopwatch), kWriteData);
    uint32_t received = 0;
    while (received < size)
    {
        uint32_t got = 0;
        const Kel_StatusCode status = Kel_SerialChannel_Read(&q310Session.channel, answer + received,
                                                             size - received, kRawReadTimeout, &got);
        if (Kel_IsBad(status) && received > 0)
            break;
        Q310_REQUEST(status, kWriteData);
        received += got;
        if (got == 0 && received > 0)
            break;
        uint64_t elapsed = 0;
        Q310_REQUEST(Kel_P_Stopwatch_GetMSecElapsed(&stopwatch, &elapsed), kWriteData);
        if (elapsed >= kRawAnswerTimeout)
            break;
    }
    *answerLength = received;
    if (received == 0)
        return Q310_FailWith(kelScope, __LINE__, Kel_GoodNoResponse, outErr, kWriteData);
    return Q310_RESULT_OK;
}
