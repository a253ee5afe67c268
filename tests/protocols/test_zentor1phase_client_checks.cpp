// Client argument checks (refused before anything is written, the condition quoted in the trace) and
// the commands with rules of their own: profiles, maxima, model texts, the modem's three tries, the
// raw pass-through, a silent meter.
#include "client_test_support.h"

#include <functional>
#include <string>

namespace
{
using C = Kel_Zentor1Phase_ClientContext*;

struct Refusal
{
    const char* text; // the condition as quoted in the trace line
    std::function<Kel_StatusCode(C)> call;
};

uint8_t buffer[64];
Kel_Zentor1Phase_MaximumRecord maximum;
Kel_Zentor1Phase_EnergyArchiveRecord archive;
Kel_Zentor1Phase_PowerProfileRecord profile;
Kel_Zentor1Phase_SwitchPoint points[16];
uint32_t values[4];
} // namespace

TEST_F(ClientTest, RefusedArgumentsWriteNothingAndQuoteTheCondition)
{
    const std::vector<Refusal> refusals = {
        {"aSerialNumberSizeInBytes < 9",
         [](C c) { return Kel_Zentor1Phase_Client_ReadSerial(c, reinterpret_cast<char*>(buffer), 8); }},
        {"(aValue < 1) || (aValue > 4)",
         [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsNumber(c, 0); }},
        {"(aValue < 1) || (aValue > 4)",
         [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsNumber(c, 5); }},
        {"(aValue < 1) || (aValue > 4)", [](C c) { return Kel_Zentor1Phase_Client_WriteActiveTariff(c, 5); }},
        {"aValue & 0xE0", [](C c) { return Kel_Zentor1Phase_Client_WriteTimeCorrection1(c, 32); }},
        {"baudRate > KEL_ZENTOR1PHASE_BAUD_600",
         [](C c) { return Kel_Zentor1Phase_Client_WriteBaudRate(c, 5); }},
        {"(aPart != 0) && (aPart != 1)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadHolidaysTable(c, 2, buffer); }},
        {"(aPart != 0) && (aPart != 1)",
         [](C c) { return Kel_Zentor1Phase_Client_WriteHolidaysTable(c, 2, buffer); }},
        {"Month > 11", [](C c) { return Kel_Zentor1Phase_Client_ReadTariffsTable(c, 12, 0, points); }},
        {"WDay > 7", [](C c) { return Kel_Zentor1Phase_Client_ReadTariffsTable(c, 0, 8, points); }},
        {"Month > 11", [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsTable(c, 12, 0, points); }},
        {"WDay > 7", [](C c) { return Kel_Zentor1Phase_Client_WriteTariffsTable(c, 0, 8, points); }},
        {"Maximum > 2", [](C c) { return Kel_Zentor1Phase_Client_WriteMaximumReset(c, 3, 0); }},
        {"pValue->T3 < 4",
         [](C c)
         {
             const Kel_Zentor1Phase_DisplayDelay delay{4, 4, 3, 4};
             return Kel_Zentor1Phase_Client_WriteDisplayDelay(c, &delay);
         }},
        {"pValue->T1 < 4",
         [](C c)
         {
             const Kel_Zentor1Phase_DisplayDelay delay{0, 4, 4, 4};
             return Kel_Zentor1Phase_Client_WriteDisplayDelay(c, &delay);
         }},
        {"(Type != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY) && (Type != KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergy(c, 0x28, values); }},
        {"(Month > 11) && (Month != 15)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth12(c, 12, 0x32, values); }},
        {"(aCommand != KEL_ZENTOR1PHASE_RCMD_ACTIVE_ENERGY_MONTH) && (aCommand != "
         "KEL_ZENTOR1PHASE_RCMD_REACTIVE_ENERGY_MONTH)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth12(c, 1, 0x27, values); }},
        {"Year > 99", [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth48(c, 100, 1, &archive); }},
        {"(Month == 0) || (Month > 12)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyMonth48(c, 1, 0, &archive); }},
        {"(Month == 0) || (Month > 12)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyDay48(c, 1, 13, 1, &archive); }},
        {"(Day == 0) || (Day > 31)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadEnergyDay48(c, 1, 1, 32, &archive); }},
        {"(Day == 0) || (Day > 31)",
         [](C c) { return Kel_Zentor1Phase_Client_ReadPowerUnit48(c, 1, 1, 0, 0, 0, &profile); }},
        {"Hour > 23",
         [](C c) { return Kel_Zentor1Phase_Client_ReadPowerUnit48(c, 1, 1, 1, 24, 0, &profile); }},
        {"Minute > 59",
         [](C c) { return Kel_Zentor1Phase_Client_ReadPowerUnit48(c, 1, 1, 1, 0, 60, &profile); }},
        {"Maximum > KEL_ZENTOR1PHASE_MAXIMUM_POWER",
         [](C c) { return Kel_Zentor1Phase_Client_ReadMaximum(c, 3, &maximum); }},
    };
    for (const Refusal& refusal : refusals)
    {
        SCOPED_TRACE(refusal.text);
        Reset();
        TraceCapture trace;
        EXPECT_EQ(refusal.call(&client), Kel_BadInvalidArgument);
        const std::string text = trace.Stop();
        EXPECT_TRUE(meter.writes.empty());
        EXPECT_NE(
            text.find(std::string("<-- ReturnError: ") + refusal.text + " is true! Return 0x80AB0000\n"),
            std::string::npos)
            << text;
    }
}

TEST_F(ClientTest, NullArgumentsAndUnencodableValues)
{
    TraceCapture trace;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadGroupAddress(&client, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTariffEnergyLimit(&client, nullptr), Kel_BadInvalidArgument);
    uint32_t value = 0;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadUIP(&client, &value, nullptr, &value), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadRunningTime(&client, &value, nullptr), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(nullptr, reinterpret_cast<char*>(buffer), 9),
              Kel_BadInvalidArgument);
    // Values that do not fit a BCD byte.
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteEnergyLimit(&client, 10000), Kel_BadInvalidArgument);
    const Kel_Zentor1Phase_MeterTime7 time{{1, 2, 3, 100, 5, 6, 7}};
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteDateTime(&client, &time), Kel_BadInvalidArgument);
    EXPECT_EQ(Kel_Zentor1Phase_Client_WritePowerLimit(&client, -5.0), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_NE(text.find("<-- ReturnError: Arg address is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg tariffEnergyLimit is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg i is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: Arg offTime is NULL!\n"), std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: 0x80AB0000\n"), std::string::npos);
}

TEST_F(ClientTest, SilentMeterEndsAsUnknownResponseWithClearedResult)
{
    TraceCapture trace;
    meter.Silent();
    meter.Silent();
    char serial[9];
    memset(serial, 'x', sizeof(serial));
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(std::string(serial, 9), std::string(9, '\0'));
    EXPECT_EQ(meter.writes.size(), 2u);
    EXPECT_NE(
        trace.Stop().find("<-- ReturnError: pContext->ApplicationContext.inBufferIndex != 5 is true! Return "
                          "0x8A050000\n"),
        std::string::npos);
}

TEST_F(ClientTest, ProfileAsksForTheBlockAndChecksEverySlot)
{
    Bytes answer{0x37};
    for (uint8_t i = 0; i < 8; ++i)
    {
        const uint8_t p0 = static_cast<uint8_t>(0x10 + i);
        const uint8_t p1 = i;
        const uint8_t checked[6] = {static_cast<uint8_t>(40 + i), 0x28, 0x02, 0x24, p0, p1};
        uint16_t crc = 0;
        Kel_Memory_CrcModbusCalc(checked, 6, &crc);
        answer.push_back(p0);
        answer.push_back(p1);
        answer.push_back(static_cast<uint8_t>(i == 3 ? ~crc : crc)); // slot 3 is damaged
        answer.push_back(static_cast<uint8_t>(crc >> 8));
    }
    Answer(answer);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadPowerUnit48(&client, 24, 2, 28, 23, 59, &profile), Kel_Good);
    ASSERT_EQ(meter.writes.size(), 1u);
    EXPECT_EQ(meter.writes[0], Frame({0x37, 0x15, 0x28, 0x02, 0x24}));
    EXPECT_EQ(profile.year, 24);
    EXPECT_EQ(profile.month, 2);
    EXPECT_EQ(profile.day, 28);
    EXPECT_EQ(profile.hour, 20);
    for (uint32_t i = 0; i < 8; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(profile.slots[i].valid, i == 3 ? 0u : 1u);
        EXPECT_EQ(profile.slots[i].power, i == 3 ? 0u : ((0x10 + i) + i * 256) * 4);
    }
    // 03:59 is still block 0.
    Reset();
    meter.Silent();
    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadPowerUnit48(&client, 1, 12, 31, 3, 59, &profile),
              Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(meter.writes[0], Frame({0x37, 0x10, 0x31, 0x12, 0x01}));
}

TEST_F(ClientTest, MaximaRejectImpossibleTimeStamps)
{
    const Bytes good = {0x33, 0x12, 0x34, 0x14, 0x35, 0x59, 0x28, 0x02, 0x24};
    struct Damage
    {
        size_t index;
        uint8_t byte;
        const char* text;
    };
    const Damage damages[] = {{3, 0x24, "aByte > 23"}, {4, 0x60, "aByte > 59"}, {5, 0x60, "aByte > 59"},
                              {6, 0x00, "aByte == 0"}, {6, 0x32, "aByte > 31"}, {7, 0x00, "aByte == 0"},
                              {7, 0x13, "aByte > 12"}};
    for (const Damage& damage : damages)
    {
        SCOPED_TRACE(damage.text);
        Reset();
        Bytes answer = good;
        for (size_t i = 1; i < 9; ++i)
            answer.push_back(good[i]);
        answer[8 + damage.index] = damage.byte; // the second entry
        Answer(answer);
        TraceCapture trace;
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadMaximum(&client, 0, &maximum), Kel_BadDeviceUnknownResponse);
        EXPECT_NE(trace.Stop().find(std::string("<-- ReturnError: ") + damage.text +
                                    " is true! Return 0x8A050000\n"),
                  std::string::npos);
        EXPECT_EQ(maximum.entries[0].value, 0);
    }
    Reset();
    TraceCapture trace;
    Answer({0x33, 0x12});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadMaximum(&client, 0, &maximum), Kel_BadDeviceUnknownResponse);
    EXPECT_NE(trace.Stop().find("Maxixmum, inBufferIndex = 2 (should be 17)\n"), std::string::npos);
}

TEST_F(ClientTest, ModelTexts)
{
    const Bytes relay = {0xF0, 0xE5, 0xEB, 0xE5};
    struct ModelCase
    {
        uint8_t model;
        uint8_t variant;
        Bytes text;
        uint32_t relayFlag;
    };
    auto text = [](const char* pText, std::initializer_list<Bytes> aTail)
    {
        Bytes bytes = TextBytes(pText);
        for (const Bytes& part : aTail)
            for (uint8_t byte : part)
                bytes.push_back(byte);
        return bytes;
    };
    const ModelCase cases[] = {
        {2, 0, TextBytes("Zentor 310"), 0},
        {4, 1, text("Zentor 313.2T, ", {relay}), 1},
        {4, 3, TextBytes("Zentor 313.2T, 120(L)"), 0},
        {6, 2, TextBytes("Zentor 313.2TR"), 0},
        {8, 1, TextBytes("Zentor 316, RS485"), 0},
        {8, 3, text("Zentor 316, PLC, ", {relay}), 1},
        {8, 5, text("Zentor 316, PLC, ", {relay, TextBytes(", "), {0xE0, 0xE2, 0xF2, '.', 0xE2, 0xEA, 0xEB}}),
         1},
        {10, 3, text("Zentor 311.8TLO, ", {relay}), 0},
        {12, 1, Bytes{}, 0},
    };
    for (const ModelCase& model : cases)
    {
        SCOPED_TRACE(static_cast<int>(model.model * 10 + model.variant));
        Reset();
        Answer({0x86, 0xFF, model.model, model.variant});
        Kel_Zentor1Phase_ModelRecord record{};
        EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModel(&client, &record), Kel_Good);
        EXPECT_EQ(TextBytes(record.text), model.text);
        EXPECT_EQ(record.relay, model.relayFlag);
    }
    Reset();
    Answer({0x86, 0x00, 0x08, 0x01});
    Kel_Zentor1Phase_ModelRecord record{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModel(&client, &record), Kel_BadDeviceUnknownResponse);
}

TEST_F(ClientTest, ModemAddressLevelTriesThreeTimes)
{
    for (int i = 0; i < 6; ++i)
        meter.Silent();
    uint16_t address = 1;
    uint8_t level = 1;
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModemAddressLevel(&client, &address, &level),
              Kel_BadDeviceUnknownResponse);
    EXPECT_EQ(meter.writes.size(), 6u); // three reads, each with its one repetition
    EXPECT_EQ(address, 0);
    Reset();
    meter.Silent();
    meter.Silent();
    Answer({0x6C, 0x00, 0x07, 0x1F});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModemAddressLevel(&client, &address, &level), Kel_Good);
    EXPECT_EQ(meter.writes.size(), 3u);
    EXPECT_EQ(address, 7);
    EXPECT_EQ(level, 0x1F);
}

TEST_F(ClientTest, ParametersCheckEchoAndSelector)
{
    Kel_Zentor1Phase_ParametersRecord parameters{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters2(&client, 3, &parameters), Kel_Good);
    EXPECT_TRUE(meter.writes.empty());
    EXPECT_EQ(parameters.value0, 0u);
    TraceCapture trace;
    Answer({0x86, 0x01, 0x12, 0x34, 0x56});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters2(&client, 0, &parameters), Kel_BadDeviceUnknownResponse);
    Answer({0x86, 0x00, 0x12, 0x34, 0xA0});
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters2(&client, 0, &parameters), Kel_BadInvalidArgument);
    const std::string text = trace.Stop();
    EXPECT_NE(
        text.find(
            "<-- ReturnError: pContext->ApplicationContext.inBuffer[1] != 0 is true! Return 0x8A050000\n"),
        std::string::npos);
    EXPECT_NE(text.find("<-- ReturnError: 0x80AB0000\n"), std::string::npos);
}

TEST_F(ClientTest, SendCommandFailures)
{
    const uint8_t command[] = {0x2F};
    uint8_t answer[4];
    uint32_t received = 9;
    TraceCapture trace;
    Answer({0x2F, 1, 2, 3, 4});
    EXPECT_EQ(Kel_Zentor1Phase_Client_SendCommand(&client, command, 1, answer, 4, &received),
              Kel_BadOutOfRange);
    EXPECT_EQ(Bytes(answer, answer + 4), Bytes(4, 0));
    EXPECT_EQ(received, 0u);
    meter.Silent();
    EXPECT_EQ(Kel_Zentor1Phase_Client_SendCommand(&client, command, 1, answer, 4, &received),
              Kel_BadDeviceNoAnswer);
    const std::string text = trace.Stop();
    EXPECT_NE(text.find("--- GotoError: Kel_BadOutOfRange. Statuscode 0x803C0000\n"), std::string::npos);
    EXPECT_NE(text.find("SendCommand - Fail, Tx: [1] 2F , File="), std::string::npos);
    EXPECT_NE(text.find("SendCommand - Fail, Rx: [5] 2F 01 02 03 04 , File="), std::string::npos);
}

// The whole trace of one client command, line by line: the client, the application layer, the
// transport and the channel calls beneath them.
TEST_F(ClientTest, TraceOfOneReadSerial)
{
    Answer({0x2F, 0x00, 0x00, 0x00, 0x01});
    TraceCapture trace;
    char serial[9];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_Good);
    const std::string text = trace.Stop();
    const Bytes request = Frame({0x2F});
    const Bytes answer = Frame({0x2F, 0x00, 0x00, 0x00, 0x01});
    auto hex = [](const Bytes& aBytes)
    {
        std::string out = "[" + std::to_string(aBytes.size()) + "] ";
        char byte[4];
        for (uint8_t value : aBytes)
        {
            snprintf(byte, sizeof(byte), "%02X ", value);
            out += byte;
        }
        return out;
    };
    const std::string expected =
        "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Client_ReadSerial (0x00000101)\n\n"
        "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_Read (0x00000101)\n\n"
        "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_ReadA (0x00000101)\n\n"
        "--> Kel_Module_ZentorProtocolClient::sendAndReceiveAnswer (0x00000101)\n\n"
        "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_TransmitFrame (0x00000101)\n\n"
        "--> Kel_Module_SerialChannel::Kel_SerialChannel_ClearBuffer (0x00000009)\n\n"
        "<-- \"Kel_SerialChannel_ClearBuffer\" = 0x00000000 (GOOD).\n\n"
        "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)\n\n"
        "Kel_SerialChannel_Write, Timeout=100 Data=" +
        hex(request) +
        "\n"
        "Kel_SerialChannel_Write - OK, Written=7\n"
        "<-- \"Kel_SerialChannel_Write\" = 0x00000000 (GOOD).\n\n"
        "<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x00000000 (GOOD).\n\n"
        "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_ReceiveFrame (0x00000101)\n\n"
        "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)\n\n"
        "Kel_SerialChannel_Read, Size=128, Timeout=2\n"
        "Kel_SerialChannel_Read - OK, Data=" +
        hex(answer) +
        "\n"
        "<-- \"Kel_SerialChannel_Read\" = 0x00000000 (GOOD).\n\n"
        "<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x00000000 (GOOD).\n\n"
        "<-- \"sendAndReceiveAnswer\" = 0x00000000 (GOOD).\n\n"
        "<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x00000000 (GOOD).\n\n"
        "<-- \"Kel_Zentor1Phase_Application_Read\" = 0x00000000 (GOOD).\n\n"
        "ReadSerial, SerialNumber= (00000001)\n"
        "<-- \"Kel_Zentor1Phase_Client_ReadSerial\" = 0x00000000 (GOOD).\n\n";
    EXPECT_EQ(text, expected);
}
