// q310-bench: the exports' exchange path against the in-process meter simulator.
//
//   q310-bench exchange [--baud B [--parity] [--turnaround MS] | --tcp] [--timeouts I,M,C,WM,WC]
//                       [--count N] [EXPORT...]
//       time per call of each named export (default eReadFrequency) beside its floor
//   q310-bench readout [--baud B [--turnaround MS] | --tcp] [--runs N]
//       every read export once, the whole tariff schedule read among them, beside the sum of floors
//   q310-bench instructions [--tcp] [--count N] [--trace-off] [EXPORT]
//       N calls inside q310_bench_measured(), for valgrind --tool=callgrind --toggle-collect
//   q310-bench alloc [--tcp] [--count N]
//       heap allocations of the host thread per call of every read export, after a first call
//
// Without --baud the pseudo-terminal is not paced. --timeouts sets eOpen's five serial time-outs (default:
// read interval all-ones, the rest 0, 0, 10, 1000); --no-trace-files leaves the trace on the console
// only. Figures are milliseconds; a ratio is the figure
// over its floor. scripts/bench.sh runs the set that docs/performance.md reports.
#include "bench_session.h"

#include "alloc/alloc_counter.h"
#include "shared/kel_trace.h"
#include "shared/platform/kel_p_trace.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace bench;

namespace
{

struct Options
{
    LineSetup line;
    int count = 200;
    int runs = 5;
    bool traceOff = false;
    bool traceFiles = true;
    std::vector<std::string> exports;
};

[[noreturn]] void Usage(const char* pProblem)
{
    fprintf(stderr, "q310-bench: %s\n", pProblem);
    fprintf(stderr, "usage: q310-bench exchange|readout|instructions|alloc [--baud B] [--parity] "
                    "[--turnaround MS] [--tcp] [--timeouts I,M,C,WM,WC] [--count N] [--runs N] [--trace-off] "
                    "[--no-trace-files] [EXPORT...]\n");
    exit(2);
}

Options Parse(int argc, char** argv)
{
    Options options;
    for (int i = 2; i < argc; ++i)
    {
        const std::string option = argv[i];
        auto value = [&]() -> const char*
        {
            if (i + 1 >= argc)
                Usage((option + " needs a value").c_str());
            return argv[++i];
        };
        if (option == "--baud")
            options.line.baud = static_cast<unsigned>(atoi(value()));
        else if (option == "--parity")
            options.line.bitsPerByte = 11;
        else if (option == "--turnaround")
            options.line.turnaroundMs = atof(value());
        else if (option == "--timeouts")
        {
            unsigned words[5];
            if (sscanf(value(), "%u,%u,%u,%u,%u", &words[0], &words[1], &words[2], &words[3], &words[4]) != 5)
                Usage("--timeouts takes five numbers: interval,multiplier,constant,write multiplier,write "
                      "constant");
            for (int w = 0; w < 5; ++w)
                options.line.timeOuts[w] = words[w];
        }
        else if (option == "--tcp")
            options.line.tcp = true;
        else if (option == "--count")
            options.count = atoi(value());
        else if (option == "--runs")
            options.runs = atoi(value());
        else if (option == "--no-trace-files")
            options.traceFiles = false;
        else if (option == "--trace-off")
            options.traceOff = true;
        else if (option.rfind("--", 0) == 0)
            Usage(("unknown option " + option).c_str());
        else if (FindExport(option) == nullptr)
            Usage(("no read export " + option).c_str());
        else
            options.exports.push_back(option);
    }
    if (options.count < 1 || options.runs < 1)
        Usage("--count and --runs take a positive number");
    return options;
}

double MsSince(Clock::time_point aStart)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - aStart).count();
}

// The time of each call and the exchanges it made; false when a call failed.
bool TimeCalls(Session& rSession, const ExportCall& aCall, int aCount, std::vector<double>& rTimes,
               std::vector<Exchange>& rExchanges)
{
    for (int i = 0; i < aCount; ++i)
    {
        const auto start = Clock::now();
        const int32_t result = aCall.call();
        rTimes.push_back(MsSince(start));
        if (result != 1)
        {
            fprintf(Report(), "q310-bench: %s returned %d\n", aCall.name, static_cast<int>(result));
            return false;
        }
    }
    rExchanges = rSession.Wires().Take();
    return true;
}

int RunExchange(const Options& aOptions)
{
    Session session(aOptions.line);
    if (!session.Open())
        return 1;
    const LineSetup& line = session.Line();
    std::vector<std::string> names = aOptions.exports;
    if (names.empty())
        names.push_back("eReadFrequency");
    fprintf(Report(), "# %-16s %-24s %5s %9s %4s %4s %8s %8s %8s %8s %8s %7s %9s\n", "line", "export", "n",
            "turn(ms)", "req", "ans", "floor", "median", "p10", "p90", "max", "ratio", "med-floor");
    for (const std::string& name : names)
    {
        const ExportCall& call = *FindExport(name);
        std::vector<double> times;
        std::vector<Exchange> exchanges;
        // Warm-up: the first calls open the trace files' buffers and settle the caches.
        if (!TimeCalls(session, call, 5, times, exchanges))
            return 1;
        times.clear();
        if (!TimeCalls(session, call, aOptions.count, times, exchanges))
            return 1;
        if (exchanges.size() != static_cast<size_t>(aOptions.count))
        {
            fprintf(Report(), "q310-bench: %s made %zu exchanges in %d calls; use readout for it\n",
                    call.name, exchanges.size(), aOptions.count);
            return 1;
        }
        const Exchange& exchange = exchanges.front();
        const double floor = FloorMs(line, exchange);
        const Summary summary = Summarise(times);
        fprintf(Report(), "  %-16s %-24s %5zu %9.2f %4zu %4zu %8.3f %8.3f %8.3f %8.3f %8.3f %7.3f %+9.3f\n",
                line.Name().c_str(), call.name, summary.count, line.tcp ? 0.0 : line.turnaroundMs,
                exchange.request, exchange.answer, floor, summary.median, summary.p10, summary.p90,
                summary.max, summary.median / floor, summary.median - floor);
    }
    return 0;
}

int RunReadout(const Options& aOptions)
{
    Session session(aOptions.line);
    if (!session.Open())
        return 1;
    const LineSetup& line = session.Line();
    const std::vector<ExportCall>& calls = ReadExports();
    // Per export: times of each run, and the floor of its exchanges (the same in every run).
    std::vector<std::vector<double>> times(calls.size());
    std::vector<double> floors(calls.size(), 0.0);
    std::vector<size_t> exchangeCounts(calls.size(), 0);
    std::vector<double> totals;
    for (int run = 0; run <= aOptions.runs; ++run) // run 0 warms up and is not counted
    {
        double total = 0;
        for (size_t i = 0; i < calls.size(); ++i)
        {
            const auto start = Clock::now();
            const int32_t result = calls[i].call();
            const double spent = MsSince(start);
            const std::vector<Exchange> exchanges = session.Wires().Take();
            if (result != 1)
            {
                fprintf(Report(), "q310-bench: %s returned %d\n", calls[i].name, static_cast<int>(result));
                return 1;
            }
            double floor = 0;
            for (const Exchange& exchange : exchanges)
                floor += FloorMs(line, exchange);
            floors[i] = floor;
            exchangeCounts[i] = exchanges.size();
            total += spent;
            if (run > 0)
                times[i].push_back(spent);
        }
        if (run > 0)
            totals.push_back(total);
    }
    double floorSum = 0;
    size_t exchangeSum = 0;
    fprintf(Report(), "# read-out on %s, turnaround %.2f ms, %d runs: per export the median of the runs\n",
            line.Name().c_str(), line.tcp ? 0.0 : line.turnaroundMs, aOptions.runs);
    fprintf(Report(), "# %-26s %9s %10s %10s %7s\n", "export", "exchanges", "floor", "median", "ratio");
    for (size_t i = 0; i < calls.size(); ++i)
    {
        const Summary summary = Summarise(times[i]);
        floorSum += floors[i];
        exchangeSum += exchangeCounts[i];
        fprintf(Report(), "  %-26s %9zu %10.3f %10.3f %7.3f\n", calls[i].name, exchangeCounts[i], floors[i],
                summary.median, floors[i] > 0 ? summary.median / floors[i] : 0.0);
    }
    const Summary total = Summarise(totals);
    fprintf(Report(), "  %-26s %9zu %10.3f %10.3f %7.3f   (whole read-out; runs min %.3f max %.3f)\n",
            "TOTAL", exchangeSum, floorSum, total.median, total.median / floorSum, total.min, total.max);
    return 0;
}

} // namespace

// The calls that callgrind counts (--toggle-collect=q310_bench_measured): outside it nothing is
// collected, so the session's start and the warm-up calls stay out of the figures.
extern "C" __attribute__((noinline)) int q310_bench_measured(const ExportCall* pCall, int aCount)
{
    int good = 0;
    for (int i = 0; i < aCount; ++i)
        good += pCall->call() == 1 ? 1 : 0;
    return good;
}

namespace
{

int RunInstructions(const Options& aOptions)
{
    Session session(aOptions.line);
    if (!session.Open())
        return 1;
    const ExportCall& call =
        *FindExport(aOptions.exports.empty() ? "eReadFrequency" : aOptions.exports.front());
    if (aOptions.traceOff)
        Kel_Trace_Initialize(0);
    for (int i = 0; i < 5; ++i)
        call.call();
    session.Wires().Take();
    const int good = q310_bench_measured(&call, aOptions.count);
    const std::vector<Exchange> exchanges = session.Wires().Take();
    fprintf(Report(), "instructions: %s on %s, %d calls, %d good, %zu exchanges, trace %s\n", call.name,
            session.Line().Name().c_str(), aOptions.count, good, exchanges.size(),
            aOptions.traceOff ? "off" : "level 4");
    return good == aOptions.count ? 0 : 1;
}

int RunAlloc(const Options& aOptions)
{
    Session session(aOptions.line);
    if (!session.Open())
        return 1;
    fprintf(Report(),
            "# heap allocations of the host thread on %s: first call, then per call over %d calls\n",
            session.Line().Name().c_str(), aOptions.count);
    fprintf(Report(), "# %-26s %6s %8s %12s %12s\n", "export", "first", "bytes", "steady/call", "bytes/call");
    int failures = 0;
    for (const ExportCall& call : ReadExports())
    {
        AllocCounter_Start();
        const int32_t firstResult = call.call();
        const AllocCount first = AllocCounter_Stop();
        size_t good = firstResult == 1 ? 1 : 0;
        AllocCounter_Start();
        for (int i = 0; i < aOptions.count; ++i)
            good += call.call() == 1 ? 1 : 0;
        const AllocCount steady = AllocCounter_Stop();
        if (good != static_cast<size_t>(aOptions.count) + 1)
            ++failures;
        fprintf(Report(), "  %-26s %6zu %8zu %12.3f %12.1f%s\n", call.name, first.allocations, first.bytes,
                static_cast<double>(steady.allocations) / aOptions.count,
                static_cast<double>(steady.bytes) / aOptions.count,
                good != static_cast<size_t>(aOptions.count) + 1 ? "  (calls failed)" : "");
    }
    session.Wires().Take();
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        Usage("which benchmark?");
    const std::string command = argv[1];
    const Options options = Parse(argc, argv);
    EnterScratch(options.traceFiles);
    int result = 2;
    if (command == "exchange")
        result = RunExchange(options);
    else if (command == "readout")
        result = RunReadout(options);
    else if (command == "instructions")
        result = RunInstructions(options);
    else if (command == "alloc")
        result = RunAlloc(options);
    else
        fprintf(Report(), "q310-bench: no benchmark %s\n", command.c_str());
    LeaveScratch();
    return result;
}
