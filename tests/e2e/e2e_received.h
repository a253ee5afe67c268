// The bytes the simulated meter received, collected from its line trace, for the tests of the settings,
// tariff and journal exports.
#pragma once

#include "zentor_sim/codec.h"
#include "zentor_sim/simulator.h"

#include <mutex>
#include <string>

namespace e2e
{

class Received
{
public:
    void Attach(zentor_sim::Simulator& aSimulator)
    {
        aSimulator.SetTrace(
            [this](const std::string& aLine)
            {
                if (aLine.rfind("rx ", 0) != 0)
                    return;
                const auto bytes = zentor_sim::ParseHex(aLine.substr(3));
                if (!bytes)
                    return;
                std::lock_guard<std::mutex> guard(mutex_);
                bytes_.insert(bytes_.end(), bytes->begin(), bytes->end());
            });
    }
    // What arrived since the last call.
    zentor_sim::Bytes Take()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        zentor_sim::Bytes out;
        out.swap(bytes_);
        return out;
    }

private:
    std::mutex mutex_;
    zentor_sim::Bytes bytes_;
};

// The request frame of a payload (command and data) to the test meter.
inline zentor_sim::Bytes Frame(const zentor_sim::Bytes& aPayload)
{
    return zentor_sim::BuildFrame(1, aPayload);
}

} // namespace e2e
