// Soak: 2 000 exchanges of eReadFrequency over TCP with the simulator on a thread of its own and the
// session's trace at its full level, so that the trace file rotates dozens of times. The transport's pause of
// 10 ms after each request makes it last about half a minute. At the end: every exchange
// succeeded, the live heap (and, without AddressSanitizer, the resident memory) is where it was after
// the warm-up, every exchange's trace lines are in the files (each rotated generation is counted as it
// is made), and no descriptor is left open. Run it alone with `ctest -L soak`.
#include "fault/fault_support.h"

#include <malloc.h>
#include <sys/stat.h>

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime's count of live heap bytes (its header is not installed with every compiler).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace
{
constexpr int kExchanges = 2000;
constexpr int kWarmUp = 200;
const char* const kTraceFile = "tmp/trace.txt";
const char* const kTraceOldFile = "tmp/trace_old.txt";

// Bytes in use on the heap: AddressSanitizer's own count when it owns the heap, the C library's
// otherwise.
size_t LiveHeapBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

size_t ResidentBytes()
{
    long pages = 0;
    long resident = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file == nullptr)
        return 0;
    if (fscanf(file, "%ld %ld", &pages, &resident) != 2)
        resident = 0;
    fclose(file);
    return static_cast<size_t>(resident) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

ino_t InodeOf(const char* pPath)
{
    struct stat info
    {
    };
    return stat(pPath, &info) == 0 ? info.st_ino : 0;
}

// Trace lines that each exchange writes exactly once: the export's entry line, the good exit of the
// client's read under it, and the channel's successful write.
struct Counts
{
    size_t entries = 0;
    size_t reads = 0;
    size_t writes = 0;
    void Add(const std::string& aPath)
    {
        entries += fault::LinesOf(aPath, "--> Kel_Module_ZentorProtocolClient::_eReadFrequency (");
        reads += fault::LinesOf(aPath,
                                "<-- \"Kel_Zentor1Phase_Client_ReadExtendedNetParams\" = 0x00000000 (GOOD)");
        writes += fault::LinesOf(aPath, "Kel_SerialChannel_Write - OK");
    }
};

TEST(Soak, TwoThousandExchangesWithRotatingTrace)
{
    std::filesystem::create_directories("tmp");
    std::filesystem::remove(kTraceFile);
    std::filesystem::remove(kTraceOldFile);
    const size_t descriptors = fault::OpenDescriptors();
    auto simulator = std::make_unique<zentor_sim::Simulator>(e2e::FrozenMeter());
    const uint16_t port = simulator->StartTcp();
    char err[e2e::kErrSize] = {};
    ASSERT_EQ(eTcpOpen(port, "127.0.0.1", 0, e2e::kTimeOuts[2], err), 1);
    Kel_P_Trace_Console_Disable();
    char serial[64] = {};
    ASSERT_EQ(eReadSerialNumber(e2e::kAddress, serial, err), 1) << err;

    Counts counts;
    size_t rotations = 0;
    int failures = 0;
    size_t heapAfterWarmUp = 0;
    size_t residentAfterWarmUp = 0;
    ino_t current = InodeOf(kTraceFile);
    const fault::Elapsed elapsed;
    for (int i = 0; i < kExchanges; ++i)
    {
        char frequency[32] = {};
        if (eReadFrequency(0, frequency, err) != 1)
            ++failures;
        // One exchange writes a few kilobytes, far less than a generation (51 200 bytes), so at most one
        // rotation happens between two looks; the generation it made is complete and closed.
        const ino_t now = InodeOf(kTraceFile);
        if (now != current)
        {
            ++rotations;
            counts.Add(kTraceOldFile);
            current = now;
        }
        if (i + 1 == kWarmUp)
        {
            heapAfterWarmUp = LiveHeapBytes();
            residentAfterWarmUp = ResidentBytes();
        }
    }
    const int64_t ms = elapsed.Ms();
    const size_t heapAtEnd = LiveHeapBytes();
    const size_t residentAtEnd = ResidentBytes();
    Kel_P_Trace_File_Disable();
    Kel_P_Trace_File_Errors_Disable();
    EXPECT_EQ(eClose(0, err), 1);
    counts.Add(kTraceFile);
    simulator.reset();

    printf("%d exchanges in %lld ms, %zu rotations; heap %zu -> %zu bytes, resident %zu -> %zu bytes\n",
           kExchanges, static_cast<long long>(ms), rotations, heapAfterWarmUp, heapAtEnd, residentAfterWarmUp,
           residentAtEnd);
    EXPECT_EQ(failures, 0);
    EXPECT_GT(rotations, 10u);
    EXPECT_EQ(counts.entries, static_cast<size_t>(kExchanges));
    EXPECT_EQ(counts.reads, static_cast<size_t>(kExchanges));
    // The serial number read wrote once more.
    EXPECT_EQ(counts.writes, static_cast<size_t>(kExchanges) + 1);
    // Nothing is allocated per exchange: the heap in use is the same, give or take the stream buffers of
    // the trace file that a rotation frees and allocates again.
    EXPECT_LE(heapAtEnd, heapAfterWarmUp + 16 * 1024);
#if !defined(__SANITIZE_ADDRESS__)
    // AddressSanitizer keeps freed blocks in quarantine, so resident memory is compared only without it.
    EXPECT_LE(residentAtEnd, residentAfterWarmUp + 1024 * 1024);
#endif
    EXPECT_EQ(fault::OpenDescriptors(), descriptors);
}

} // namespace
