// The in-process simulator of --sim: the default meter (or a state file) behind a pseudo-terminal,
// which the host then opens through the library's ordinary serial path.
#include "sim_host.h"

#include "zentor_sim/simulator.h"
#include "zentor_sim/state_json.h"

#include <exception>
#include <memory>

namespace q310cli
{
namespace
{
std::unique_ptr<zentor_sim::Simulator> simulator;
}

bool SimulatorAvailable()
{
    return true;
}

std::string StartSimulator(const std::string& aStateFile, std::string& aError)
{
    try
    {
        simulator = std::make_unique<zentor_sim::Simulator>();
        if (!aStateFile.empty())
            zentor_sim::LoadStateFile(simulator->GetMeter(), aStateFile);
        return simulator->StartPty();
    }
    catch (const std::exception& error)
    {
        aError = error.what();
        simulator.reset();
        return "";
    }
}

void StopSimulator()
{
    if (simulator)
        simulator->Stop();
    simulator.reset();
}

} // namespace q310cli
