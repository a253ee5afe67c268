// Builds without the simulator (Windows): --sim is refused with a pointer to the Linux build.
#include "sim_host.h"

namespace q310cli
{

bool SimulatorAvailable()
{
    return false;
}

std::string StartSimulator(const std::string&, std::string& aError)
{
    aError = "--sim needs the Linux build; connect to zentor-sim with --tcp HOST:PORT";
    return "";
}

void StopSimulator() {}

} // namespace q310cli
