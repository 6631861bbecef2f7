// Sums up the periods in which nothing moved.
#include "quiet_watch.h"

#include <algorithm>
#include <chrono>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr int LOOKS = 8;

std::chrono::milliseconds Shortest(const Limits &limits)
{
    const uint64_t shortest = limits.idleTime == 0    ? limits.firstByte
                              : limits.firstByte == 0 ? limits.idleTime
                                                      : std::min(limits.idleTime, limits.firstByte);
    return std::chrono::milliseconds(shortest);
}

} // namespace

std::unique_ptr<QuietWatch> QuietWatch::For(const Limits *limits)
{
    const bool wanted = limits != nullptr && (limits->idleTime > 0 || limits->firstByte > 0);
    return wanted ? std::make_unique<QuietWatch>(*limits) : nullptr;
}

QuietWatch::QuietWatch(const Limits &limits)
    : limits_(limits)
    , period_(Clock::duration(Shortest(limits)) / LOOKS)
{
}

void QuietWatch::Start()
{
    start_ = last_ = Clock::now();
    quiet_ = {};
    moved_ = 0;
}

// The request itself waits then.
bool QuietWatch::AheadOfRate(uint64_t sent) const
{
    const std::chrono::duration<double> passed = last_ - start_;
    return limits_.rateUp > 0 &&
           static_cast<double>(sent) > passed.count() * static_cast<double>(limits_.rateUp);
}

std::string QuietWatch::Look(uint64_t moved, bool ours, bool answered)
{
    last_ = Clock::now();
    const bool goesOn = moved != moved_ || ours || (!answered && AheadOfRate(moved));
    quiet_ = goesOn ? Clock::duration() : quiet_ + period_;
    moved_ = moved;
    const auto passed = [this](uint64_t limit) {
        return limit > 0 && quiet_ >= std::chrono::milliseconds(limit);
    };
    if (!answered && passed(limits_.firstByte)) {
        return "Timed out: no byte of an answer came for " + std::to_string(limits_.firstByte) +
               " ms";
    }
    if (passed(limits_.idleTime)) {
        return "Timed out: no byte came or went for " + std::to_string(limits_.idleTime) + " ms";
    }
    return {};
}

} // namespace OHOS::Pelloria::Tnx
