// No heap allocation per exchange: once a session runs and an export has been called once, further
// calls allocate nothing on the host's thread, over the pseudo-terminal and over TCP, with the trace at
// level 4 writing its console lines and its files as eOpen sets it (the run is long enough for the
// trace file to pass its size limit and rotate). The simulator's own thread is not counted.
#include "alloc/alloc_counter.h"
#include "e2e/e2e_support.h"

#include <cstdlib>
#include <filesystem>
#include <functional>

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

TEST_P(AllocTest, NoAllocationPerExchange)
{
    ASSERT_TRUE(OpenSession());
    std::string schedule;
    const struct
    {
        const char* name;
        std::function<int32_t()> call;
        int count;
    } calls[] = {
        {"eReadFrequency", [&] { return eReadFrequency(0, text[0], err); }, 40},
        {"eReadVoltageCurrentPower",
         [&] { return eReadVoltageCurrentPower(0, text[0], text[1], text[2], err); }, 5},
        {"eReadStorageBattery",
         [&] { return eReadStorageBattery(0, &words[0], &words[1], &words[2], &words[3], err); }, 5},
        {"eReadCurrentTime", [&] { return eReadCurrentTime(0, text[0], text[1], text[2], err); }, 5},
        {"eReadMaxPower", [&] { return eReadMaxPower(0, text[0], text[1], text[2], text[3], err); }, 5},
        {"eReadParamDisplay",
         [&] { return eReadParamDisplay(0, text[0], &words[0], &words[1], &words[2], err); }, 5},
        {"eReadEnergyRateLimit", [&] { return eReadEnergyRateLimit(0, text[0], text[1], &words[0], err); },
         5},
        {"eReadJournal", [&] { return eReadJournal(0, 2, 0, 4, table.data(), err); }, 3},
        {"eReadSecPowerProfile", [&] { return eReadSecPowerProfile(0, 14, 3, 2024, table.data(), err); }, 2},
        {"eWritePowerLimit", [&] { return eWritePowerLimit(0, 1500, err); }, 5},
        {"eSynchronizaionTime", [&] { return eSynchronizaionTime(0, err); }, 5},
        {"eReadRateScale_4",
         [&]
         {
             table[0] = '\0';
             const int32_t result = eReadRateScale_4(0, table.data(), err);
             schedule = table.data();
             return result;
         },
         2},
        {"eWriteRateScale_4", [&] { return eWriteRateScale_4(0, schedule.c_str(), err); }, 2},
        {"eReadWeekendScale2",
         [&]
         {
             table[0] = '\0';
             return eReadWeekendScale2(0, table.data(), err);
         },
         3},
    };
    for (const auto& entry : calls)
        EXPECT_EQ(SteadyAllocations(entry.call, entry.count), 0u) << entry.name;
    // The calls wrote enough trace to rotate the trace file at least once.
    EXPECT_TRUE(std::filesystem::exists("tmp/trace_old.txt"));
}

INSTANTIATE_TEST_SUITE_P(Paths, AllocTest, e2e::kBothPaths, e2e::PathName);

// The counter itself: it sees this thread's malloc, calloc, realloc and new. The blocks pass through a
// volatile pointer so that the compiler keeps every call.
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
}

} // namespace
