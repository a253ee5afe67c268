// The exports when the line misbehaves: a silent meter (the request and its one repetition, then the
// export's message), a corrupted CRC, an answer cut by gaps just under and just over the answer
// time-out, a dropped TCP connection, the simulator gone in the middle of an answer and between
// exchanges. Each ends in its result within its time, measured on the monotonic
// clock, with no descriptor left open.
#include "fault/fault_support.h"

#include "Q310/q310_export_support.h"

#include <string>
#include <thread>

namespace
{
using e2e::Path;
using fault::Elapsed;

// The protocol client of eReadSerialNumber waits 1000 ms for an answer.
constexpr int64_t kAnswerTimeOutMs = 1000;
// One channel read waits at most 300 ms here (the host's read constant, and the socket read time-out);
// a read that is already waiting when the answer time passes still ends, and may still complete the
// frame, that much later.
constexpr int64_t kReadTimeOutMs = 300;
// Each wait for an answer ends between the answer time-out and one read later.
constexpr int64_t kWaitMaxMs = kAnswerTimeOutMs + kReadTimeOutMs;

constexpr auto kFrequencyText = Kel_Cp1251("Запрос на чтение частоты сети: Нет ответа.");

int64_t Count(const std::vector<std::string>& aLines, const std::string& aPrefix)
{
    int64_t count = 0;
    for (const std::string& line : aLines)
        if (line.rfind(aPrefix, 0) == 0)
            ++count;
    return count;
}

// The end-to-end session against the in-process simulator; TearDown closes everything and checks that
// the descriptors open before the test are all that is open after it.
class FaultTest : public e2e::SessionTest
{
protected:
    void SetUp() override
    {
        descriptors = fault::OpenDescriptors();
        e2e::SessionTest::SetUp();
    }
    void TearDown() override
    {
        CloseAll();
        simulator.reset();
        EXPECT_EQ(fault::OpenDescriptors(), descriptors);
    }
    // The trace files stay open across eClose (tracing ends, the files are reopened by the next
    // session); they are closed here so that the count compares like with like.
    void CloseAll()
    {
        if (opened)
        {
            Kel_P_Trace_File_Disable();
            Kel_P_Trace_File_Errors_Disable();
            EXPECT_EQ(eClose(0, err), 1);
            opened = false;
        }
        if (simulator)
            simulator->Stop();
    }
    bool Open()
    {
        const bool ok = OpenSession();
        Kel_P_Trace_Console_Disable();
        return ok;
    }
    // eReadFrequency, timed.
    int32_t ReadFrequency(int64_t& rElapsedMs)
    {
        ClearErr();
        frequency[0] = '\0';
        const Elapsed elapsed;
        const int32_t result = eReadFrequency(0, frequency, err);
        rElapsedMs = elapsed.Ms();
        return result;
    }
    std::string Err() const { return std::string(err); }

    size_t descriptors = 0;
    char frequency[32] = {};
};

class Faults : public FaultTest
{
};

// A meter that stays silent, or answers with a corrupted CRC, gets the request once more; then the
// export gives its message, after both answer time-outs.
// One session through a meter that misbehaves in each of these ways in turn. A silent meter, or one
// whose answers have a corrupted CRC, gets the request once more, then the export gives its message after
// both answer time-outs; a single corrupted answer is made good by the repetition. An answer in two
// pieces (9 and 8 bytes) is taken when it is complete just under the answer time-out, and not just over
// it (later than the last read that can still take it; the last case, as its rest arrives later).
TEST_P(Faults, EachMisbehaviourEndsInItsResult)
{
    const struct
    {
        const char* name;
        int silent, badCrc;
        unsigned chunkGapMs;
        int32_t result;
        const char* note;
        int64_t notes, transmissions, minMs;
    } cases[] = {
        {"silent", zentor_sim::kAlways, 0, 0, 0, "-- fault: silent", 2, 2, 2 * kAnswerTimeOutMs},
        {"corrupted", 0, zentor_sim::kAlways, 0, 0, "-- fault: corrupted CRC", 2, 2, 2 * kAnswerTimeOutMs},
        {"corrupted once", 0, 1, 0, 1, "-- fault: corrupted CRC", 1, 2, kAnswerTimeOutMs},
        {"just under", 0, 0, 850, 1, "-- fault:", 0, 1, 850},
        {"just over", 0, 0, static_cast<unsigned>(kWaitMaxMs + 150), 0, "-- fault:", 0, 2,
         2 * kAnswerTimeOutMs},
    };
    ASSERT_TRUE(Open());
    for (const auto& c : cases)
    {
        {
            auto lock = simulator->Lock();
            simulator->GetFaults().silent = c.silent;
            simulator->GetFaults().badCrc = c.badCrc;
            simulator->GetFaults().chunkSize = c.chunkGapMs != 0 ? 9 : 0;
            simulator->GetFaults().chunkGapMs = c.chunkGapMs;
        }
        ClearTrace();
        int64_t ms = 0;
        EXPECT_EQ(ReadFrequency(ms), c.result) << c.name;
        if (c.result == 1)
            EXPECT_STREQ(frequency, "50.01") << c.name;
        else
            EXPECT_EQ(Err(), kFrequencyText.text) << c.name;
        EXPECT_EQ(Count(Trace(), c.note), c.notes) << c.name;
        EXPECT_EQ(Count(Trace(), "rx "), c.transmissions) << c.name;
        EXPECT_GE(ms, c.minMs) << c.name;
    }
}

class TcpFaults : public FaultTest
{
};

// A closed connection is a failed read, not a silent meter: no repetition and no waiting for the
// answer time; the next export on the dead connection fails as fast (and a send to it raises no
// signal).
TEST_P(TcpFaults, DroppedConnectionFailsAtOnce)
{
    ASSERT_TRUE(Open());
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().drop = 1;
    }
    ClearTrace();
    int64_t ms = 0;
    EXPECT_EQ(ReadFrequency(ms), 0);
    EXPECT_EQ(Err(), kFrequencyText.text);
    EXPECT_EQ(Count(Trace(), "-- fault: connection dropped"), 1);
    EXPECT_LT(ms, kAnswerTimeOutMs);
    EXPECT_EQ(ReadFrequency(ms), 0);
    EXPECT_EQ(Err(), kFrequencyText.text);
    EXPECT_LT(ms, kAnswerTimeOutMs);
}

INSTANTIATE_TEST_SUITE_P(Paths, TcpFaults, ::testing::Values(Path::Tcp), e2e::PathName);

// The simulator stopped in the middle of the answer of eReadFrequency (its answers in pieces of 8 bytes
// 300 ms apart, stopped 150 ms after the first piece), and a line that went away between two exchanges.
// A closed connection or a hung-up line fails the read at once: no answer time-out, no repetition.
TEST_P(Faults, SimulatorGoneInTheMiddleOfAnAnswerAndBetweenExchanges)
{
    ASSERT_TRUE(Open());
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().chunkSize = 8;
        simulator->GetFaults().chunkGapMs = 300;
    }
    ClearTrace();
    std::thread stopper(
        [this]
        {
            for (int i = 0; i < 500 && Count(Trace(), "tx ") == 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            simulator->Stop();
        });
    int64_t ms = 0;
    const int32_t result = ReadFrequency(ms);
    stopper.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Err(), kFrequencyText.text);
    EXPECT_LT(ms, kAnswerTimeOutMs);
    // Gone for good: the next export fails as well.
    EXPECT_EQ(ReadFrequency(ms), 0);
    EXPECT_EQ(Err(), kFrequencyText.text);
}

INSTANTIATE_TEST_SUITE_P(Paths, Faults, e2e::kBothPaths, e2e::PathName);

} // namespace
