// No heap allocation per exchange: once a session runs and an export has been called once, further
// calls allocate nothing on the host's thread, over the pseudo-terminal and over TCP, with the trace at
// level 4 writing its console lines and its files as eOpen sets it (the run is long enough for the
// trace file to pass its size limit and rotate). The simulator's own thread is not counted.
#include "alloc/alloc_counter.h"
#include "e2e/e2e_support.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

namespace
{

class AllocTest : public e2e::SessionTest
{
protected:
    void SetUp() override
    {
        // The trace files of eOpen and eTcpOpen go to tmp/ under the working directory.
        std::filesystem::remove_all("tmp");
        std::filesystem::create_directories("tmp");
        e2e::SessionTest::SetUp();
    }

    // Allocations of aCount calls after a first one; every call must succeed.
    size_t SteadyAllocations(const std::function<int32_t()>& aCall, int aCount)
    {
        EXPECT_EQ(aCall(), 1) << err;
        int good = 0;
        AllocCounter_Start();
        for (int i = 0; i < aCount; ++i)
            good += aCall() == 1 ? 1 : 0;
        const AllocCount count = AllocCounter_Stop();
        EXPECT_EQ(good, aCount) << err;
        return count.allocations;
    }

    char text[4][256] = {};
    uint32_t words[8] = {};
    std::vector<char> table = std::vector<char>(20000, '\0');
};

TEST_P(AllocTest, MeasurementReads)
{
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(SteadyAllocations([&] { return eReadFrequency(0, text[0], err); }, 40), 0u);
    EXPECT_EQ(
        SteadyAllocations([&] { return eReadVoltageCurrentPower(0, text[0], text[1], text[2], err); }, 10),
        0u);
    EXPECT_EQ(
        SteadyAllocations(
            [&] { return eReadStorageBattery(0, &words[0], &words[1], &words[2], &words[3], err); }, 10),
        0u);
    EXPECT_EQ(SteadyAllocations([&] { return eReadCurrentTime(0, text[0], text[1], text[2], err); }, 10), 0u);
    EXPECT_EQ(
        SteadyAllocations([&] { return eReadMaxPower(0, text[0], text[1], text[2], text[3], err); }, 10), 0u);
    // The calls wrote enough trace to rotate the trace file at least once.
    EXPECT_TRUE(std::filesystem::exists("tmp/trace_old.txt"));
}

TEST_P(AllocTest, SettingsJournalsAndWrites)
{
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(SteadyAllocations(
                  [&] { return eReadParamDisplay(0, text[0], &words[0], &words[1], &words[2], err); }, 10),
              0u);
    EXPECT_EQ(
        SteadyAllocations([&] { return eReadEnergyRateLimit(0, text[0], text[1], &words[0], err); }, 10), 0u);
    EXPECT_EQ(SteadyAllocations([&] { return eReadJournal(0, 2, 0, 4, table.data(), err); }, 5), 0u);
    EXPECT_EQ(SteadyAllocations([&] { return eReadSecPowerProfile(0, 14, 3, 2024, table.data(), err); }, 3),
              0u);
    EXPECT_EQ(SteadyAllocations([&] { return eWritePowerLimit(0, 1500, err); }, 10), 0u);
    EXPECT_EQ(SteadyAllocations([&] { return eSynchronizaionTime(0, err); }, 10), 0u);
}

TEST_P(AllocTest, WholeTariffScheduleReadAndWrite)
{
    ASSERT_TRUE(OpenSession());
    EXPECT_EQ(SteadyAllocations(
                  [&]
                  {
                      table[0] = '\0';
                      return eReadRateScale_4(0, table.data(), err);
                  },
                  2),
              0u);
    const std::string schedule(table.data());
    EXPECT_EQ(SteadyAllocations([&] { return eWriteRateScale_4(0, schedule.c_str(), err); }, 2), 0u);
    EXPECT_EQ(SteadyAllocations(
                  [&]
                  {
                      table[0] = '\0';
                      return eReadWeekendScale2(0, table.data(), err);
                  },
                  5),
              0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, AllocTest, e2e::kBothPaths, e2e::PathName);

// The counter itself: it sees this thread's malloc, calloc, realloc and new, and nothing of another
// thread's. The blocks pass through a volatile pointer so that the compiler keeps every call.
void* volatile sink = nullptr;

TEST(AllocCounter, CountsThisThreadOnly)
{
    AllocCounter_Start();
    sink = malloc(100);
    void* block = sink;
    sink = calloc(4, 8);
    void* zeroed = sink;
    sink = realloc(block, 300);
    block = sink;
    sink = new int[10];
    int* array = static_cast<int*>(sink);
    const AllocCount mine = AllocCounter_Stop();
    free(block);
    free(zeroed);
    delete[] array;
    EXPECT_EQ(mine.allocations, 4u);
    EXPECT_EQ(mine.bytes, 100u + 32u + 300u + 10u * sizeof(int));

    // Starting a thread allocates a little on this thread; the other thread's megabyte is not counted.
    AllocCounter_Start();
    std::thread other(
        []
        {
            sink = malloc(size_t{1} << 20);
            free(sink);
        });
    other.join();
    const AllocCount whileOtherRan = AllocCounter_Stop();
    EXPECT_LT(whileOtherRan.bytes, size_t{1} << 20);
}

} // namespace
