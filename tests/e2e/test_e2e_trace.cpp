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

// The flush thread writes the files out every 10 ms: waits until the file holds at least aAtLeast bytes
// and has not grown for 50 ms (5 s at most).
void WaitForFlush(const fs::path& aFile, std::uintmax_t aAtLeast)
{
    std::uintmax_t last = 0;
    for (int stable = 0, i = 0; stable < 5 && i < 500; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const std::uintmax_t size = SizeOf(aFile);
        stable = size == last && size >= aAtLeast ? stable + 1 : 0;
        last = size;
    }
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

// The lines of golden/frequency_exchange.txt carry no time or date in front, and nothing in this exchange
// names the pseudo-terminal (only eOpen names the port), so nothing needs masking. Flow lines end in a blank
// line (the format's
// "\n" and the one the trace call adds); a dump line ends in its bytes and one "\n". The serial read has
// no entry line of its own, only its dump and its exit. The export's success is not traced. The answer
// frame comes in one read: the simulator writes it at once, well inside the 100 ms read time-out.

TEST_P(TraceFiles, OneFrequencyReadWritesExactlyTheseLines)
{
    ASSERT_TRUE(OpenSession());
    WaitForFlush("tmp/trace.txt", 1);
    const std::uintmax_t traceMark = SizeOf("tmp/trace.txt");
    const std::uintmax_t errorsMark = SizeOf("tmp/traceerrors.txt");
    ASSERT_GT(traceMark, 0u);

    char frequency[32] = {};
    ASSERT_EQ(eReadFrequency(0, frequency, err), 1);
    EXPECT_STREQ(frequency, "50.01");
    const std::string golden = ReadFrom(Q310_GOLDEN_DIR "/frequency_exchange.txt", 0);
    ASSERT_FALSE(golden.empty());
    WaitForFlush("tmp/trace.txt", traceMark + golden.size());
    EXPECT_EQ(ReadFrom("tmp/trace.txt", traceMark), golden);
    EXPECT_EQ(ReadFrom("tmp/traceerrors.txt", errorsMark), "");
    EXPECT_FALSE(fs::exists("tmp/trace_old.txt"));
}

INSTANTIATE_TEST_SUITE_P(Paths, TraceFiles, ::testing::Values(Path::Serial), e2e::PathName);

} // namespace
