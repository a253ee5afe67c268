// The whole trace of one client command over a scripted meter, line by line: the client, the
// application layer, the transport and the channel calls beneath them.
#include "client_test_support.h"

#include <string>

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
        "ReadSerial, SerialNumber= (00000001)\n"
        "<-- \"Kel_Zentor1Phase_Client_ReadSerial\" = 0x00000000 (GOOD).\n\n";
    EXPECT_EQ(text, expected);
}
