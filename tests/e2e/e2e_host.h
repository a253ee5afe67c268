// What a test host of the exports needs on either side: the library linked in (the native end-to-end
// tests) or Q310.dll loaded under wine (tests/dll). Request frames built here on their own, the
// Windows-1251 form of the expected messages converted here on its own, the error buffer that tells
// untouched bytes apart, and the null-argument rule checked for every export of the list.
#pragma once

#include "Q310/Q310.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace host
{

using Bytes = std::vector<uint8_t>;

constexpr int32_t kBad = static_cast<int32_t>(0x80AB0000u);
constexpr int32_t kUnknownResponse = static_cast<int32_t>(0x8A050000u);
// A read returns 20 ms after the last byte or after 300 ms.
inline const uint32_t kTimeOuts[5] = {20, 0, 300, 0, 0};
inline const char* const kMode = "baud=9600 parity=None data=8 stop=1 dtr=on rts=on";
// What stands between the host and the meter: the meter's own line, an RS-485 line that echoes every
// request, a GSM modem (AT commands, then a data call with the modem's echo), a GSM gateway.
enum class Line
{
    Plain,
    Echo,
    Modem,
    Gateway
};
// Error buffers are filled with this byte first, so that untouched bytes can be told apart.
constexpr char kUntouched = '\x7E';

// CRC-16/MODBUS (polynomial 0xA001 reflected, initial 0xFFFF), sent low byte first.
inline uint16_t Crc16(const Bytes& aBytes)
{
    uint16_t crc = 0xFFFF;
    for (uint8_t byte : aBytes)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc =
                (crc & 1) != 0 ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

// The request frame to meter 1: address (4 bytes, high first), command and data, CRC.
inline Bytes Frame(const Bytes& aPayload)
{
    Bytes frame{0x00, 0x00, 0x00, 0x01};
    frame.insert(frame.end(), aPayload.begin(), aPayload.end());
    const uint16_t crc = Crc16(frame);
    frame.push_back(static_cast<uint8_t>(crc & 0xFF));
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    return frame;
}

inline Bytes Concat(const std::vector<Bytes>& aParts)
{
    Bytes all;
    for (const Bytes& part : aParts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// Texts and numbers compared as one list.
using Strings = std::vector<std::string>;
inline Strings Texts(std::initializer_list<const char*> aTexts)
{
    return Strings(aTexts.begin(), aTexts.end());
}
using Words = std::vector<uint32_t>;

inline Bytes Ascii(const std::string& aText)
{
    return Bytes(aText.begin(), aText.end());
}

// The Windows-1251 form of a UTF-8 text of ASCII and Cyrillic letters (А..я, Ё, ё).
inline std::string Cp1251(const char* pUtf8)
{
    std::string out;
    const auto* p = reinterpret_cast<const unsigned char*>(pUtf8);
    while (*p != 0)
    {
        if (*p < 0x80)
        {
            out.push_back(static_cast<char>(*p++));
            continue;
        }
        const unsigned code = ((p[0] & 0x1Fu) << 6) | (p[1] & 0x3Fu);
        p += 2;
        if (code >= 0x410 && code <= 0x44F)
            out.push_back(static_cast<char>(0xC0 + (code - 0x410)));
        else if (code == 0x401)
            out.push_back(static_cast<char>(0xA8));
        else if (code == 0x451)
            out.push_back(static_cast<char>(0xB8));
        else
            out.push_back('?');
    }
    return out;
}

// The schedule text of the tariff exports: each month with each day kind and the zone lines that
// aLines(month, day kind) gives, counted from 0.
inline std::string ScheduleText(const std::function<std::string(int, int)>& aLines)
{
    static const char* const months[12] = {"Январь", "Февраль", "Март",     "Апрель",  "Май",    "Июнь",
                                           "Июль",   "Август",  "Сентябрь", "Октябрь", "Ноябрь", "Декабрь"};
    static const char* const days[8] = {"Понедельник", "Вторник", "Среда",       "Четверг",
                                        "Пятница",     "Суббота", "Воскресенье", "Праздник"};
    std::string text;
    for (int m = 0; m < 12; ++m)
    {
        text += Cp1251(months[m]) + "\n";
        for (int d = 0; d < 8; ++d)
            text += "\t" + Cp1251(days[d]) + "\n" + aLines(m, d);
        text += "\n";
    }
    return text + "\tEnd";
}

// The host's outErr buffer.
struct ErrBuffer
{
    char err[256];

    void ClearErr() { memset(err, kUntouched, sizeof(err)); }
    bool ErrUntouched() const
    {
        for (char c : err)
            if (c != kUntouched)
                return false;
        return true;
    }
    // The message and its terminator, and nothing written behind them.
    void ExpectMessage(const char* pUtf8, const std::string& aWhat) const
    {
        const std::string expected = Cp1251(pUtf8);
        EXPECT_EQ(std::string(err, expected.size() + 1), expected + '\0') << aWhat;
        EXPECT_EQ(err[expected.size() + 1], kUntouched) << aWhat;
    }
};

// Every export, in the order of Q310/exports.txt.
// clang-format off
#define Q310_EXPORT_LIST(X) \
    X(eOpen) X(eTcpOpen) X(eClose) X(eSetEchoFlag) X(eSetGSMFlag) X(eSetTcpFlag) X(eDisconnectGSM) \
    X(eSetEchoMode) X(eWriteATZtoGSM) X(eWriteATCBSTtoGSM) X(eWriteATD2toGSM) X(eWriteATS7toGSM) \
    X(eWriteATDtoGSM) X(eWriteParamGSMLock) X(eReadSerialNumber) X(eReadVoltageCurrentPower) \
    X(eReadFrequency) X(eReadCurrentPower_Q316) X(eReadCOS_Q316) X(eReadStorageBattery) \
    X(eReadStorageBattery_Q316) X(eReadMonthEnergy) X(eReadMonthEnergy_Q316) X(eReadMaxVoltage) \
    X(eReadMaxCurrent) X(eReadMaxPower) X(eResertMaxParam) X(eReadSoftVersion) X(eReadIdentPo) \
    X(eReadOutputDate) X(eReadRunningTime) X(eReadVoltageLiBattery) X(eReadTypeState) \
    X(eReadVariantExecution) X(eReadPLC1Config) X(eReadCurrentTime) X(eReadTimeOnOff) X(eReadParamDisplay) \
    X(eWriteParamDisplay) X(eReadAddParamDisplay) X(eWriteAddParamDisplay) X(eReadIndicationTime) \
    X(eWriteIndicationTime) X(eReadCorrectionTime) X(eWriteCorrectionTime) X(eReadSeasonFlag) \
    X(eWriteSeasonFlag) X(eSynchronizaionTime) X(eReadPowerLimit) X(eWritePowerLimit) \
    X(eReadPowerLimitMode) X(eWritePowerLimitMode) X(eReadEnergyLimit) X(eWriteEnergyLimit) \
    X(eReadEnergyRateLimit) X(eWriteEnergyRateLimit) X(eReadReleMode) X(eReadReleMode_2a) \
    X(eWriteReleMode) X(eReadOutputFunction) X(eWriteOutputFunction) X(eWriteSpeed) X(eWriteAddress) \
    X(eReadMultMode) X(eWriteMultMode) X(eResetDeviceBat) X(eReadRateQuantity) X(eWriteRateQuantity) \
    X(eReadRateScale_1) X(eWriteRateScale_1) X(eReadRateScale_4) X(eWriteRateScale_4) X(eReadRateScale) \
    X(eReadRateScale_2) X(eWriteRateScale) X(eWriteRateScale_2) X(eReadWeekendScale) X(eWriteWeekendScale) \
    X(eReadWeekendScale2) X(eWriteWeekendScale2) X(eWriteTSFast) X(eReadModeTariffProfile) \
    X(eWriteModeTariffProfile) X(eReadJournal) X(eReadSecPowerProfile) X(eReadSecPowerProfile_21) \
    X(eReadSecPowerProfile_22) X(eReadSecPowerProfile_23) X(eReadPKE_2) X(eWriteData)
// clang-format on

inline std::vector<std::string> ExportNames()
{
#define Q310_NAME(name) #name,
    return {Q310_EXPORT_LIST(Q310_NAME)};
#undef Q310_NAME
}

// The null-argument rule for one export: for each pointer parameter a call with that one null and every
// other argument valid (numbers 0, pointers into aScratch, which is filled with kUntouched and ends in a
// terminator) gives Kel_BadInvalidArgument. aUnchecked is a bit set of the parameters the export
// deliberately leaves to the layers below. Returns the number of calls made.
template <typename T> T Argument(size_t aIndex, size_t aNull, char* pScratch)
{
    if constexpr (std::is_pointer_v<T>)
        return aIndex == aNull ? nullptr : reinterpret_cast<T>(pScratch);
    else
        return T{};
}
template <typename R, typename... A, size_t... I>
R CallWithNull(R (*pFunction)(A...), size_t aNull, char* pScratch, std::index_sequence<I...>)
{
    return pFunction(Argument<A>(I, aNull, pScratch)...);
}
template <typename R, typename... A>
int ExpectNullChecks(const char* pName, R (*pFunction)(A...), char* pScratch, uint32_t aUnchecked = 0)
{
    constexpr bool kPointer[] = {std::is_pointer_v<A>..., false};
    int calls = 0;
    for (size_t i = 0; i < sizeof...(A); ++i)
    {
        if (!kPointer[i] || (i < 32 && (aUnchecked >> i & 1) != 0))
            continue;
        EXPECT_EQ(CallWithNull(pFunction, i, pScratch, std::index_sequence_for<A...>{}), kBad)
            << pName << " with argument " << i << " null";
        ++calls;
    }
    return calls;
}

// The pointer parameters that an export passes on unchecked: the timeout multiplier's cell (the client
// refuses it with the export's message).
inline uint32_t UncheckedArguments(const std::string& aName)
{
    return aName == "eReadMultMode" ? 1u << 1 : 0u;
}

} // namespace host
