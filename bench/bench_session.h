// The benchmarks' set-up: one session of the exports against the in-process meter simulator, over a
// pseudo-terminal whose answers the simulator paces at a baud rate, or over TCP; the bytes of every
// exchange as the simulator saw them; and each exchange's floor, the least time it can take.
//
// A session runs as a host would: eOpen (or eTcpOpen) starts the trace at level 4 with console output
// and the files tmp/trace.txt and tmp/traceerrors.txt, then eReadSerialNumber creates the protocol
// client. The bench works in a scratch folder of its own (the trace files go there) and sends the
// console trace to /dev/null, so that the figures do not depend on a terminal; its report goes to
// the original standard output.
#pragma once

#include "Q310/Q310.h"
#include "zentor_sim/simulator.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace bench
{

using Clock = std::chrono::steady_clock;

// The transport sleeps this long after writing a request, before it looks for the answer.
constexpr double kSettleMs = 10.0;

// How the session reaches the simulator.
struct LineSetup
{
    bool tcp = false;          // eTcpOpen instead of eOpen
    unsigned baud = 0;         // serial: the simulator's pace (0: unpaced) and eOpen's baud rate
    unsigned bitsPerByte = 10; // 10 for 8N1, 11 with parity
    double turnaroundMs = 0;   // the simulated meter's pause between request and answer
    // eOpen's five serial time-outs (read interval, read multiplier, read constant, write multiplier,
    // write constant). The default is the set the library's own port set-up uses
    // (Kel_P_Serial_Set_Params): a read returns at once with what is queued. A read interval other
    // than all-ones makes every read wait that long after the answer's last byte, as the Windows
    // driver does; eTcpOpen takes the read constant as its socket time-out (300 ms when it is 0).
    uint32_t timeOuts[5] = {0xFFFFFFFFu, 0, 0, 10, 1000};

    std::string Name() const;
    double WireMs(size_t aBytes) const { return baud == 0 ? 0.0 : aBytes * bitsPerByte * 1000.0 / baud; }
};

// One request and its answer, in bytes on the line (whole frames).
struct Exchange
{
    size_t request = 0;
    size_t answer = 0;
};

// The least time an exchange can take on this line. The transport writes the request and then
// sleeps the settle time; meanwhile the request crosses the line, the meter turns round and its answer
// crosses back into the port's input queue, where the first read after the settle finds it. So the
// exchange ends at the later of the settle's end and the answer's last byte:
//   floor = max(settle, wire(request) + turnaround + wire(answer)).
// Over TCP (no pace) that is the settle alone.
double FloorMs(const LineSetup& aLine, const Exchange& aExchange);

// Collects the exchanges from the simulator's trace: "rx" lines are request bytes, a "tx" line is the
// whole answer to them.
class WireLog
{
public:
    void Attach(zentor_sim::Simulator& rSimulator);
    std::vector<Exchange> Take();

private:
    void Add(const std::string& aLine);
    std::mutex mutex_;
    std::vector<Exchange> exchanges_;
    size_t pendingRequest_ = 0;
};

// The bench's scratch folder (current directory from then on, with tmp/ for the trace files), the
// console trace sent to /dev/null and the report stream. Removed again by Leave().
// aTraceFiles false: no tmp/ folder, so the trace files cannot be opened and the trace goes to the
// console only.
void EnterScratch(bool aTraceFiles = true);
void LeaveScratch();
FILE* Report();

// One open session; eClose and the simulator's stop on destruction.
class Session
{
public:
    explicit Session(const LineSetup& aLine);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Opens the path and creates the protocol client; false (with the error text on the report) when
    // either fails.
    bool Open();
    zentor_sim::Simulator& Simulator() { return simulator_; }
    WireLog& Wires() { return wires_; }
    const LineSetup& Line() const { return line_; }

private:
    LineSetup line_;
    zentor_sim::Simulator simulator_;
    WireLog wires_;
    bool opened_ = false;
};

// One export call of the benchmarks: its name and how to call it (1 is success).
struct ExportCall
{
    const char* name;
    int32_t (*call)();
};

// Every read export with arguments the simulated meter answers, in the order of the exported
// interface; the whole tariff schedule read (eReadRateScale_4) among them.
const std::vector<ExportCall>& ReadExports();
// One export by name from ReadExports(); null when there is none.
const ExportCall* FindExport(const std::string& aName);

struct Summary
{
    size_t count = 0;
    double median = 0, p10 = 0, p90 = 0, min = 0, max = 0, mean = 0;
};
Summary Summarise(std::vector<double> aValues);

} // namespace bench
