// The client end to end against the meter simulator, over a pseudo-terminal (plain serial channel)
// and over TCP (the TCP bridge channel): one command of each answer layout, a silent first answer
// and an answer split into chunks. The simulator exists on Linux only.
#include "client_test_support.h"

#ifdef ZENTOR_SIM_EXECUTABLE
#include "protocols/orlenta/1phase/kel_zentor1phase_events.h"
#include "Q310/q310_channels.h"
#include "Q310/q310_session.h"
#include "shared/kel_utils.h"
#include "zentor_sim/calendar.h"
#include "zentor_sim/simulator.h"

#include <memory>
#include <string>

namespace
{
enum class Path
{
    Pty,
    Tcp
};

class SimulatorTest : public ::testing::TestWithParam<Path>
{
protected:
    void SetUp() override
    {
        const int64_t now = zentor_sim::ToSeconds(zentor_sim::Civil{2024, 3, 15, 12, 0, 0});
        zentor_sim::MeterState state = zentor_sim::MeterState::Default(now);
        state.clockRunning = false;
        state.clockFrozen = now;
        simulator = std::make_unique<zentor_sim::Simulator>(state);
        if (GetParam() == Path::Pty)
        {
            const std::string path = simulator->StartPty();
            Kel_P_Serial_CreateContext(&port);
            ASSERT_EQ(Kel_P_Serial_Open(path.c_str(), 1, &port), Kel_Good);
            // A read returns 20 ms after the last byte, or after 100 ms.
            const Kel_P_Serial_CommTimeouts timeouts{20, 0, 100, 0, 0};
            ASSERT_NE(Kel_P_Serial_SetCommTimeouts(port.port_fd, &timeouts), 0);
            ASSERT_EQ(Kel_SerialChannel_CreateContext(&port, &channel), Kel_Good);
        }
        else
        {
            const uint16_t tcpPort = simulator->StartTcp();
            ASSERT_EQ(Kel_P_Tcp_Create_Context(&socket), Kel_Good);
            ASSERT_EQ(Kel_P_Tcp_Client_Create(&socket, "127.0.0.1", tcpPort, 1000), Kel_Good);
            ASSERT_EQ(Kel_SerialChannel_CreateContextTcpClient(&socket, &channel), Kel_Good);
            glCommTimeOuts.ReadTotalTimeoutConstant = 100;
        }
        ASSERT_EQ(
            Kel_Zentor1Phase_Client_CreateContext(&client, &channel, 1, 1000, 100, 1000, 9600, 0, 8, 0, 0),
            Kel_Good);
    }
    void TearDown() override
    {
        simulator->Stop();
        if (GetParam() == Path::Pty)
        {
            Kel_SerialChannel_Delete(&channel);
            Kel_P_Serial_Close(&port);
        }
        else
        {
            Kel_P_Tcp_Close(&socket);
            glCommTimeOuts = Kel_P_Serial_CommTimeouts{};
        }
    }

    std::unique_ptr<zentor_sim::Simulator> simulator;
    Kel_P_Serial_Context port{};
    Kel_P_Tcp_Context socket{};
    Kel_SerialChannel_Context channel{};
    Kel_Zentor1Phase_ClientContext client{};
};
} // namespace

TEST_P(SimulatorTest, OneCommandOfEachAnswerLayout)
{
    char serial[9];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_Good);
    EXPECT_STREQ(serial, "21000417");

    DateTime now{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadTime(&client, &now), Kel_Good);
    DateTime expected{};
    ASSERT_EQ(Kel_Utils_CreateDateTime(2024, 3, 15, 12, 0, 0, 0, &expected), Kel_Good);
    EXPECT_EQ(now.seconds, expected.seconds);

    uint32_t energy[4];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEnergy(&client, 0x27, energy), Kel_Good);
    EXPECT_EQ(energy[0], 12345670u);
    EXPECT_EQ(energy[1], 4567890u);

    Kel_Zentor1Phase_ModelRecord model{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadModel(&client, &model), Kel_Good);
    Bytes text = TextBytes("Zentor 316, RS485, ");
    for (uint8_t byte : {0xF0, 0xE5, 0xEB, 0xE5}) // "реле"
        text.push_back(byte);
    EXPECT_EQ(TextBytes(model.text), text);
    EXPECT_EQ(model.relay, 1u);

    Kel_Zentor1Phase_ParametersRecord parameters{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadParameters(&client, &parameters), Kel_Good);
    EXPECT_EQ(parameters.value0, 123u);
    EXPECT_EQ(parameters.state1, 1u);
    EXPECT_DOUBLE_EQ(parameters.value2a, 0.985);
    EXPECT_EQ(parameters.value2b, 450u);

    Kel_Zentor1Phase_EnergyArchiveRecord archive{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEnergyDay48(&client, 24, 3, 14, &archive), Kel_Good);
    EXPECT_EQ(archive.valid, 1);

    Kel_Zentor1Phase_PowerProfileRecord profile{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadPowerUnit48(&client, 24, 3, 15, 8, 30, &profile), Kel_Good);
    EXPECT_EQ(profile.hour, 8);
    for (const auto& slot : profile.slots)
        EXPECT_EQ(slot.valid, 1u);

    Kel_Zentor1Phase_MaximumRecord maximum{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadMaximum(&client, 0, &maximum), Kel_Good);

    Kel_Zentor1Phase_EventRecord event{};
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEvent1(&client, 0, &event), Kel_Good);
    EXPECT_TRUE(event.type == 2 || event.type == 3);

    uint8_t flag = 9;
    EXPECT_EQ(Kel_Zentor1Phase_Client_WriteSummerTimeFlag(&client, 0), Kel_Good);
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSummerTimeFlag(&client, &flag), Kel_Good);
    EXPECT_EQ(flag, 0);
}

TEST_P(SimulatorTest, SilentFirstAnswerAndChunkedAnswer)
{
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().silent = 1;
    }
    char serial[9];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_Good);
    EXPECT_STREQ(serial, "21000417");
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().chunkSize = 3;
        simulator->GetFaults().chunkGapMs = 30;
    }
    uint32_t energy[4];
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadEnergy(&client, 0x27, energy), Kel_Good);
    EXPECT_EQ(energy[0], 12345670u);
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().chunkSize = 0;
        simulator->GetFaults().silent = 2;
    }
    EXPECT_EQ(Kel_Zentor1Phase_Client_ReadSerial(&client, serial, 9), Kel_BadDeviceUnknownResponse);
}

INSTANTIATE_TEST_SUITE_P(Paths, SimulatorTest, ::testing::Values(Path::Pty, Path::Tcp));
#endif
