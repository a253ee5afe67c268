// The trace files of the exports, pinned for one whole eReadFrequency exchange with the simulated meter
// on the serial path: the lines the request writes to tmp/trace.txt (every level) and to
// tmp/traceerrors.txt (errors and notices only; none for a good exchange), relative to the working
// directory, as the POSIX build writes them (LF line ends; the Windows build writes the same lines to
// tmp\trace.txt with CRLF).
#include "e2e_support.h"

#include "shared/platform/kel_p_trace.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace
{
namespace fs = std::filesystem;
using e2e::Path;

std::string ReadFrom(const fs::path& aFile, std::uintmax_t aOffset)
{
    std::ifstream in(aFile, std::ios::binary);
    if (!in)
        return "";
    in.seekg(static_cast<std::streamoff>(aOffset));
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::uintmax_t SizeOf(const fs::path& aFile)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(aFile, error);
    return error ? 0 : size;
}

// The flush thread writes the files out every 10 ms while the first session of the process runs.
void WaitForFlush()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

class TraceFiles : public e2e::SessionTest
{
protected:
    void SetUp() override
    {
        e2e::SessionTest::SetUp();
        fs::remove_all("tmp");
        fs::create_directory("tmp");
        // No rotation to trace_old.txt while the test reads the file.
        Kel_P_Trace_File_Set_Size(64 * 1024 * 1024);
    }
    void TearDown() override
    {
        e2e::SessionTest::TearDown();
        Kel_P_Trace_File_Set_Size(102400);
    }
};

// The lines carry no time or date in front, and nothing in this exchange names the pseudo-terminal
// (only eOpen names the port), so nothing needs masking. Flow lines end in a blank line (the format's
// "\n" and the one the trace call adds); a dump line ends in its bytes and one "\n". The serial read has
// no entry line of its own, only its dump and its exit. The export's success is not traced. The answer
// frame comes in one read: the simulator writes it at once, well inside the 100 ms read time-out.
const char* const kFrequencyExchange =
    "--> Kel_Module_ZentorProtocolClient::_eReadFrequency (0x00000101)\n\n"
    "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Client_ReadExtendedNetParams (0x00000101)\n\n"
    "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_Read (0x00000101)\n\n"
    "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Application_ReadA (0x00000101)\n\n"
    "--> Kel_Module_ZentorProtocolClient::sendAndReceiveAnswer (0x00000101)\n\n"
    "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_TransmitFrame (0x00000101)\n\n"
    "--> Kel_Module_SerialChannel::Kel_SerialChannel_ClearBuffer (0x00000009)\n\n"
    "--> Kel_Module_Serial::Kel_P_Serial_Clear_Buffer (0x00000001)\n\n"
    "<-- \"Kel_P_Serial_Clear_Buffer\" = 0x00000000 (GOOD).\n\n"
    "<-- \"Kel_SerialChannel_ClearBuffer\" = 0x00000000 (GOOD).\n\n"
    "--> Kel_Module_SerialChannel::Kel_SerialChannel_Write (0x00000009)\n\n"
    "Kel_SerialChannel_Write, Timeout=1000 Data=[7] 00 00 00 01 81 E5 F0 \n"
    "--> Kel_Module_Serial::Kel_P_Serial_Write (0x00000001)\n\n"
    "Write:[7] 00 00 00 01 81 E5 F0 \n"
    "<-- \"Kel_P_Serial_Write\" = 0x00000000 (GOOD).\n\n"
    "Kel_SerialChannel_Write - OK, Written=7\n"
    "<-- \"Kel_SerialChannel_Write\" = 0x00000000 (GOOD).\n\n"
    "<-- \"Kel_Zentor1Phase_Transport_TransmitFrame\" = 0x00000000 (GOOD).\n\n"
    "--> Kel_Module_ZentorProtocolClient::Kel_Zentor1Phase_Transport_ReceiveFrame (0x00000101)\n\n"
    "--> Kel_Module_SerialChannel::Kel_SerialChannel_Read (0x00000009)\n\n"
    "Kel_SerialChannel_Read, Size=128, Timeout=100\n"
    "Read:[17] 00 00 00 01 81 50 01 00 00 00 00 00 00 00 00 1E 93 \n"
    "<-- \"Kel_P_Serial_Read\" = 0x00000000 (GOOD).\n\n"
    "Kel_SerialChannel_Read - OK, Data=[17] 00 00 00 01 81 50 01 00 00 00 00 00 00 00 00 1E 93 \n"
    "<-- \"Kel_SerialChannel_Read\" = 0x00000000 (GOOD).\n\n"
    "<-- \"Kel_Zentor1Phase_Transport_ReceiveFrame\" = 0x00000000 (GOOD).\n\n"
    "<-- \"sendAndReceiveAnswer\" = 0x00000000 (GOOD).\n\n"
    "<-- \"Kel_Zentor1Phase_Application_ReadA\" = 0x00000000 (GOOD).\n\n"
    "<-- \"Kel_Zentor1Phase_Application_Read\" = 0x00000000 (GOOD).\n\n"
    "ReadExtendedNetParams\n"
    "<-- \"Kel_Zentor1Phase_Client_ReadExtendedNetParams\" = 0x00000000 (GOOD).\n\n";

TEST_P(TraceFiles, OneFrequencyReadWritesExactlyTheseLines)
{
    ASSERT_TRUE(OpenSession());
    WaitForFlush();
    const std::uintmax_t traceMark = SizeOf("tmp/trace.txt");
    const std::uintmax_t errorsMark = SizeOf("tmp/traceerrors.txt");
    ASSERT_GT(traceMark, 0u);

    char frequency[32] = {};
    ASSERT_EQ(eReadFrequency(0, frequency, err), 1);
    EXPECT_STREQ(frequency, "50.01");
    WaitForFlush();

    const std::string lines = ReadFrom("tmp/trace.txt", traceMark);
    EXPECT_EQ(lines, kFrequencyExchange);
    EXPECT_EQ(ReadFrom("tmp/traceerrors.txt", errorsMark), "");
    EXPECT_FALSE(fs::exists("tmp/trace_old.txt"));
}

INSTANTIATE_TEST_SUITE_P(Paths, TraceFiles, ::testing::Values(Path::Serial), e2e::PathName);

} // namespace
