#include "bench_session.h"

#include "zentor_sim/calendar.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr int32_t kComNumber = 7;
constexpr uint32_t kAddress = 1;

std::string scratchDir;
FILE* reportStream = nullptr;

// A fixed moment, 2024-03-15 12:00:00, with the meter's clock standing still there, so that every
// run reads the same answers.
zentor_sim::MeterState FrozenMeter()
{
    const int64_t now = zentor_sim::ToSeconds(zentor_sim::Civil{2024, 3, 15, 12, 0, 0});
    zentor_sim::MeterState state = zentor_sim::MeterState::Default(now);
    state.clockRunning = false;
    state.clockFrozen = now;
    return state;
}

// Bytes of a "rx .." or "tx .." trace line: two hex digits each, a space between.
size_t HexBytes(const std::string& aLine)
{
    return aLine.size() > 3 ? (aLine.size() - 3 + 1) / 3 : 0;
}

// Argument buffers of the read exports (the exports write texts without a length check).
char err[256];
char text1[1024], text2[1024], text3[1024], text4[1024];
char table[20000];
uint32_t u1, u2, u3, u4, u5, u6, u7, u8, u9;
uint8_t byte1;
uint32_t values[48];

} // namespace

std::string LineSetup::Name() const
{
    if (tcp)
        return "tcp";
    std::string name =
        baud == 0 ? "pty" : "pty " + std::to_string(baud) + (bitsPerByte == 11 ? " 8E1" : " 8N1");
    if (timeOuts[0] != 0xFFFFFFFFu)
        name += " i" + std::to_string(timeOuts[0]);
    return name;
}

double FloorMs(const LineSetup& aLine, const Exchange& aExchange)
{
    if (aLine.tcp || aLine.baud == 0)
        return kSettleMs;
    const double wire = aLine.WireMs(aExchange.request) + aLine.turnaroundMs + aLine.WireMs(aExchange.answer);
    return std::max(kSettleMs, wire);
}

void WireLog::Attach(zentor_sim::Simulator& rSimulator)
{
    rSimulator.SetTrace([this](const std::string& aLine) { Add(aLine); });
}

void WireLog::Add(const std::string& aLine)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (aLine.rfind("rx ", 0) == 0)
        pendingRequest_ += HexBytes(aLine);
    else if (aLine.rfind("tx ", 0) == 0)
    {
        exchanges_.push_back(Exchange{pendingRequest_, HexBytes(aLine)});
        pendingRequest_ = 0;
    }
}

std::vector<Exchange> WireLog::Take()
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Exchange> taken;
    taken.swap(exchanges_);
    pendingRequest_ = 0;
    return taken;
}

void EnterScratch(bool aTraceFiles)
{
    char pattern[] = "/tmp/q310-bench-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
    {
        perror("q310-bench: mkdtemp");
        exit(1);
    }
    scratchDir = pattern;
    if (aTraceFiles)
        std::filesystem::create_directories(scratchDir + "/tmp");
    if (chdir(scratchDir.c_str()) != 0)
    {
        perror("q310-bench: chdir");
        exit(1);
    }
    setenv("Q310_SERIAL_DIR", scratchDir.c_str(), 1);
    // The report keeps the original standard output; the trace's console lines go to /dev/null.
    fflush(stdout);
    const int original = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    if (original < 0 || null < 0 || dup2(null, STDOUT_FILENO) < 0)
    {
        perror("q310-bench: stdout");
        exit(1);
    }
    close(null);
    reportStream = fdopen(original, "w");
    setvbuf(reportStream, nullptr, _IOLBF, 0);
}

void LeaveScratch()
{
    if (!scratchDir.empty())
    {
        std::error_code ignored;
        std::filesystem::remove_all(scratchDir, ignored);
        scratchDir.clear();
    }
    if (reportStream != nullptr)
        fflush(reportStream);
}

FILE* Report()
{
    return reportStream != nullptr ? reportStream : stdout;
}

Session::Session(const LineSetup& aLine) : line_(aLine), simulator_(FrozenMeter())
{
    wires_.Attach(simulator_);
    auto lock = simulator_.Lock();
    zentor_sim::Pacing& pacing = simulator_.GetPacing();
    pacing.baud = aLine.tcp ? 0 : aLine.baud;
    pacing.bitsPerByte = aLine.bitsPerByte;
    pacing.turnaroundUs = static_cast<unsigned>(aLine.turnaroundMs * 1000.0 + 0.5);
}

Session::~Session()
{
    if (opened_)
        eClose(0, err);
    simulator_.Stop();
}

bool Session::Open()
{
    int32_t result = 0;
    opened_ = true;
    if (line_.tcp)
    {
        const uint16_t port = simulator_.StartTcp();
        result = eTcpOpen(port, "127.0.0.1", 0, line_.timeOuts[2] != 0 ? line_.timeOuts[2] : 300, err);
    }
    else
    {
        const std::string link = scratchDir + "/COM" + std::to_string(kComNumber);
        simulator_.StartPty(link);
        char mode[128];
        snprintf(mode, sizeof(mode), "baud=%u parity=%s data=8 stop=1 dtr=on rts=on",
                 line_.baud != 0 ? line_.baud : 9600, line_.bitsPerByte == 11 ? "Even" : "None");
        result = eOpen(kComNumber, mode, line_.timeOuts, err);
    }
    if (result == 1)
        result = eReadSerialNumber(kAddress, text1, err);
    if (result != 1)
        fprintf(Report(), "q310-bench: %s: the session did not open (%d)\n", line_.Name().c_str(),
                static_cast<int>(result));
    wires_.Take();
    return result == 1;
}

const std::vector<ExportCall>& ReadExports()
{
    // clang-format off
    static const std::vector<ExportCall> calls = {
        {"eReadSerialNumber", [] { return eReadSerialNumber(kAddress, text1, err); }},
        {"eReadVoltageCurrentPower", [] { return eReadVoltageCurrentPower(0, text1, text2, text3, err); }},
        {"eReadFrequency", [] { return eReadFrequency(0, text1, err); }},
        {"eReadCurrentPower_Q316", [] { return eReadCurrentPower_Q316(0, text1, err); }},
        {"eReadCOS_Q316", [] { return eReadCOS_Q316(0, text1, err); }},
        {"eReadStorageBattery", [] { return eReadStorageBattery(0, &u1, &u2, &u3, &u4, err); }},
        {"eReadStorageBattery_Q316", [] { return eReadStorageBattery_Q316(0, &u1, &u2, &u3, &u4, err); }},
        {"eReadMonthEnergy", [] { return eReadMonthEnergy(0, 3, &u1, &u2, &u3, &u4, err); }},
        {"eReadMonthEnergy_Q316", [] { return eReadMonthEnergy_Q316(0, 3, &u1, &u2, &u3, &u4, err); }},
        {"eReadMaxVoltage", [] { return eReadMaxVoltage(0, text1, text2, text3, text4, err); }},
        {"eReadMaxCurrent", [] { return eReadMaxCurrent(0, text1, text2, text3, text4, err); }},
        {"eReadMaxPower", [] { return eReadMaxPower(0, text1, text2, text3, text4, err); }},
        {"eReadSoftVersion", [] { return eReadSoftVersion(0, text1, text2, err); }},
        {"eReadIdentPo", [] { return eReadIdentPo(0, text1, err); }},
        {"eReadOutputDate", [] { return eReadOutputDate(0, text1, err); }},
        {"eReadRunningTime", [] { return eReadRunningTime(0, text1, text2, err); }},
        {"eReadVoltageLiBattery", [] { return eReadVoltageLiBattery(0, text1, err); }},
        {"eReadTypeState", [] { return eReadTypeState(0, &u1, &u2, err); }},
        {"eReadVariantExecution", [] { return eReadVariantExecution(0, &u1, &u2, err); }},
        {"eReadPLC1Config", [] { return eReadPLC1Config(0, 1, 0, 5, 0x10, 0, 0, 1, 0, &u1, &u2, &u3, &u4,
                                                        &u5, &u6, &u7, &u8, err); }},
        {"eReadCurrentTime", [] { return eReadCurrentTime(0, text1, text2, text3, err); }},
        {"eReadTimeOnOff", [] { return eReadTimeOnOff(0, 43, text1, text2, err); }},
        {"eReadParamDisplay", [] { return eReadParamDisplay(0, text1, &u1, &u2, &u3, err); }},
        {"eReadAddParamDisplay", [] { return eReadAddParamDisplay(0, &u1, &u2, &u3, &u4, &u5, &u6, &u7,
                                                                  &u8, &u9, err); }},
        {"eReadIndicationTime", [] { return eReadIndicationTime(0, &u1, &u2, &u3, &u4, err); }},
        {"eReadCorrectionTime", [] { return eReadCorrectionTime(0, &u1, err); }},
        {"eReadSeasonFlag", [] { return eReadSeasonFlag(0, &u1, err); }},
        {"eReadPowerLimit", [] { return eReadPowerLimit(0, &u1, err); }},
        {"eReadPowerLimitMode", [] { return eReadPowerLimitMode(0, &u1, &u2, &u3, &u4, err); }},
        {"eReadEnergyLimit", [] { return eReadEnergyLimit(0, &u1, err); }},
        {"eReadEnergyRateLimit", [] { return eReadEnergyRateLimit(0, text1, text2, &u1, err); }},
        {"eReadReleMode", [] { return eReadReleMode(0, &u1, err); }},
        {"eReadReleMode_2a", [] { return eReadReleMode_2a(0, &u1, err); }},
        {"eReadOutputFunction", [] { return eReadOutputFunction(0, &u1, err); }},
        {"eReadMultMode", [] { return eReadMultMode(0, &byte1, err); }},
        {"eReadRateQuantity", [] { return eReadRateQuantity(0, &u1, err); }},
        {"eReadRateScale_4", [] { table[0] = '\0'; return eReadRateScale_4(0, table, err); }},
        {"eReadWeekendScale2", [] { table[0] = '\0'; return eReadWeekendScale2(0, table, err); }},
        {"eReadModeTariffProfile", [] { return eReadModeTariffProfile(0, &u1, &u2); }},
        {"eReadJournal", [] { return eReadJournal(0, 1, 0, 1, table, err); }},
        {"eReadPKE_2", [] { return eReadPKE_2(0, 0, 0, 1, table, err); }},
        {"eReadSecPowerProfile", [] { return eReadSecPowerProfile(0, 14, 3, 2024, table, err); }},
        {"eReadSecPowerProfile_21", [] { return eReadSecPowerProfile_21(0, 14, 3, 2024, 0, table, err); }},
        {"eReadSecPowerProfile_22", [] { return eReadSecPowerProfile_22(0, 14, 3, 2024, values, err); }},
        {"eReadSecPowerProfile_23", [] { return eReadSecPowerProfile_23(0, 14, 3, 2024, 0, values, err); }},
    };
    // clang-format on
    return calls;
}

const ExportCall* FindExport(const std::string& aName)
{
    for (const ExportCall& call : ReadExports())
        if (aName == call.name)
            return &call;
    return nullptr;
}

Summary Summarise(std::vector<double> aValues)
{
    Summary summary;
    if (aValues.empty())
        return summary;
    std::sort(aValues.begin(), aValues.end());
    auto at = [&](double aFraction)
    {
        const size_t index = static_cast<size_t>(aFraction * static_cast<double>(aValues.size() - 1) + 0.5);
        return aValues[index];
    };
    summary.count = aValues.size();
    summary.median = at(0.5);
    summary.p10 = at(0.1);
    summary.p90 = at(0.9);
    summary.min = aValues.front();
    summary.max = aValues.back();
    double sum = 0;
    for (double value : aValues)
        sum += value;
    summary.mean = sum / static_cast<double>(aValues.size());
    return summary;
}

} // namespace bench
