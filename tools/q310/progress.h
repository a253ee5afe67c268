// A progress bar on stderr for transfers of many frames, fed by the frames the library sends (counted
// from its trace, see trace_tap.h). Drawn only when stderr is a terminal; cleared when done.
#pragma once

#include "trace_tap.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace q310cli
{

class Progress
{
public:
    // aExpected: the frames the whole transfer sends when nothing is repeated.
    Progress(const TraceTap& aTap, std::string aLabel, unsigned aExpected, bool aEnabled);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void Draw(unsigned aDone);

    const TraceTap& tap_;
    std::string label_;
    unsigned expected_;
    unsigned start_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread drawer_;
};

} // namespace q310cli
