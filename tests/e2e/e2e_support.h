// End-to-end fixture: the exports against the meter simulator running in this process, reached over a
// pseudo-terminal behind a COM name (eOpen) or over TCP (eTcpOpen). The meter state is set through
// Meter() (under the simulator's lock while a session runs); OpenSession opens the path and calls
// eReadSerialNumber, which creates the protocol client every other export needs.
#pragma once

#include "e2e/e2e_host.h"
#include "zentor_sim/calendar.h"
#include "zentor_sim/codec.h"
#include "zentor_sim/simulator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>
#include <string>
#include <unistd.h>

namespace e2e
{

enum class Path
{
    Serial, // eOpen on COM<kComNumber>, a link to the simulator's pseudo-terminal
    Tcp     // eTcpOpen to the simulator's TCP listener
};

constexpr int32_t kComNumber = 7;
constexpr uint32_t kAddress = 1;
using host::kTimeOuts;
using host::kUntouched;
constexpr size_t kErrSize = 256;

inline const auto kBothPaths = ::testing::Values(Path::Serial, Path::Tcp);
inline std::string PathName(const ::testing::TestParamInfo<Path>& aInfo)
{
    return aInfo.param == Path::Serial ? "Serial" : "Tcp";
}

// The bytes of the "rx" lines of a simulator trace, in the order received.
inline host::Bytes ReceivedBytes(const std::vector<std::string>& aTrace)
{
    host::Bytes bytes;
    for (const std::string& line : aTrace)
        if (line.rfind("rx ", 0) == 0)
            if (const auto parsed = zentor_sim::ParseHex(line.substr(3)))
                bytes.insert(bytes.end(), parsed->begin(), parsed->end());
    return bytes;
}

// A fixed simulated moment: 2024-03-15 12:00:00, clock stopped there.
inline zentor_sim::MeterState FrozenMeter()
{
    const int64_t now = zentor_sim::ToSeconds(zentor_sim::Civil{2024, 3, 15, 12, 0, 0});
    zentor_sim::MeterState state = zentor_sim::MeterState::Default(now);
    state.clockRunning = false;
    state.clockFrozen = now;
    return state;
}

// The Q310_SERIAL_DIR folder of this process, where COM links to pseudo-terminals are made.
inline std::string SerialDir()
{
    static const std::string dir = []
    {
        const std::string path =
            (std::filesystem::temp_directory_path() / ("q310-e2e-" + std::to_string(getpid()))).string();
        std::filesystem::create_directories(path);
        setenv("Q310_SERIAL_DIR", path.c_str(), 1);
        return path;
    }();
    return dir;
}

// Starts a simulator on a pseudo-terminal linked as COM<aNumber>; returns the link path.
inline std::string StartPtyAsCom(zentor_sim::Simulator& aSimulator, int32_t aNumber)
{
    const std::string link = SerialDir() + "/COM" + std::to_string(aNumber);
    std::filesystem::remove(link);
    aSimulator.StartPty(link);
    return link;
}

class SessionTest : public ::testing::TestWithParam<Path>, public host::ErrBuffer
{
protected:
    void SetUp() override
    {
        simulator = std::make_unique<zentor_sim::Simulator>(FrozenMeter());
        simulator->SetTrace(
            [this](const std::string& aLine)
            {
                std::lock_guard<std::mutex> lock(traceMutex);
                trace.push_back(aLine);
            });
        ClearErr();
    }
    void TearDown() override
    {
        if (opened)
            eClose(0, err);
        simulator->Stop();
    }

    zentor_sim::Meter& Meter() { return simulator->GetMeter(); }

    // Opens the path of the test parameter and creates the protocol client.
    bool OpenSession(const char* aMode = "baud=9600 parity=None data=8 stop=1 dtr=on rts=on")
    {
        if (!OpenPath(aMode))
            return false;
        char serial[64] = {};
        const int32_t result = eReadSerialNumber(kAddress, serial, err);
        EXPECT_EQ(result, 1) << serial;
        return result == 1;
    }
    bool OpenPath(const char* aMode = "baud=9600 parity=None data=8 stop=1 dtr=on rts=on")
    {
        StartOnce();
        const int32_t result = GetParam() == Path::Serial
                                   ? eOpen(kComNumber, aMode, kTimeOuts, err)
                                   : eTcpOpen(tcpPort, "127.0.0.1", 0, kTimeOuts[2], err);
        opened = true;
        EXPECT_EQ(result, 1) << err;
        return result == 1;
    }
    // The simulator on the path of the test parameter, started by the first open of the test.
    void StartOnce()
    {
        if (started)
            return;
        started = true;
        if (GetParam() == Path::Serial)
            StartPtyAsCom(*simulator, kComNumber);
        else
            tcpPort = simulator->StartTcp();
    }

    // The simulator's trace lines ("rx <hex>", "tx <hex>", "-- <note>") since the last ClearTrace.
    std::vector<std::string> Trace()
    {
        std::lock_guard<std::mutex> lock(traceMutex);
        return trace;
    }
    void ClearTrace()
    {
        std::lock_guard<std::mutex> lock(traceMutex);
        trace.clear();
    }
    // The bytes the meter received while aAction ran.
    host::Bytes Sent(const std::function<void()>& aAction)
    {
        ClearTrace();
        aAction();
        return ReceivedBytes(Trace());
    }
    void Silence(int aCount = 1000)
    {
        auto lock = simulator->Lock();
        simulator->GetFaults().silent = aCount;
    }

    std::unique_ptr<zentor_sim::Simulator> simulator;
    bool started = false;
    uint16_t tcpPort = 0;
    bool opened = false;
    std::mutex traceMutex;
    std::vector<std::string> trace;
};

} // namespace e2e
