// --sim: the meter simulator in this process, on a pseudo-terminal (Linux build only).
#pragma once

#include <string>

namespace q310cli
{

// Whether this build carries the simulator.
bool SimulatorAvailable();
// Starts it (with the JSON state file when one is given) and returns the pseudo-terminal's path; an
// empty path and the reason in aError when it cannot start.
std::string StartSimulator(const std::string& aStateFile, std::string& aError);
void StopSimulator();

} // namespace q310cli
