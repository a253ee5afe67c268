// The host's failures and its exit codes.
#pragma once

#include <stdexcept>
#include <string>

namespace q310cli
{

enum ExitCode : int
{
    kExitOk = 0,
    kExitMeter = 1, // the meter or the connection failed; the library's message is shown
    kExitUsage = 2, // bad command line
    kExitInput = 3  // bad input: a file, a text or a value the command cannot use
};

struct MeterError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};
struct UsageError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};
struct InputError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

} // namespace q310cli
