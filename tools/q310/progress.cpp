#include "progress.h"

#include <chrono>
#include <cstdio>

namespace q310cli
{

Progress::Progress(const TraceTap& aTap, std::string aLabel, unsigned aExpected, bool aEnabled)
    : tap_(aTap), label_(std::move(aLabel)), expected_(aExpected == 0 ? 1 : aExpected), start_(aTap.Frames())
{
    if (!aEnabled)
        return;
    drawer_ = std::thread(
        [this]
        {
            std::unique_lock<std::mutex> lock(mutex_);
            while (!done_)
            {
                Draw(tap_.Frames() - start_);
                wake_.wait_for(lock, std::chrono::milliseconds(100));
            }
        });
}

Progress::~Progress()
{
    if (!drawer_.joinable())
        return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
    }
    wake_.notify_all();
    drawer_.join();
    fprintf(tap_.Err(), "\r%*s\r", static_cast<int>(label_.size()) + 48, "");
    fflush(tap_.Err());
}

void Progress::Draw(unsigned aDone)
{
    constexpr unsigned kWidth = 32;
    // A repeated request may carry the count past the plan: hold at the last step until done.
    const unsigned shown = aDone < expected_ ? aDone : expected_ - (expected_ > 1 ? 1 : 0);
    const unsigned filled = shown * kWidth / expected_;
    char bar[kWidth + 1];
    for (unsigned i = 0; i < kWidth; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[kWidth] = '\0';
    fprintf(tap_.Err(), "\r%s [%s] %u/%u", label_.c_str(), bar, shown, expected_);
    fflush(tap_.Err());
}

} // namespace q310cli
