// Tells when a transfer has been too slow for too long.
#ifndef TNX_CLI_SPEED_WATCH_H
#define TNX_CLI_SPEED_WATCH_H

#include <chrono>
#include <cstdint>

namespace TnxTool
{

class SpeedWatch
{
public:
    using Time = std::chrono::steady_clock::time_point;

    // Fewer than `slowest` bytes a second on average over `time`; 0 seconds: never too slow.
    SpeedWatch(uint64_t slowest, std::chrono::seconds time)
        : slowest_(slowest)
        , time_(time)
    {
    }

    // Takes how many bytes came until now. True when that is too slow.
    bool IsSlow(uint64_t bytes, Time now)
    {
        if (time_.count() == 0 || begin_ == Time{} || bytes < bytes_) {
            Begin(bytes, now);
            return false;
        }
        if (now - begin_ < time_) {
            return false;
        }
        const double seconds = std::chrono::duration<double>(now - begin_).count();
        const bool slow =
            static_cast<double>(bytes - bytes_) / seconds < static_cast<double>(slowest_);
        Begin(bytes, now);
        return slow;
    }

private:
    void Begin(uint64_t bytes, Time now)
    {
        begin_ = now;
        bytes_ = bytes;
    }

    uint64_t slowest_;
    std::chrono::seconds time_;
    Time begin_{};
    uint64_t bytes_ = 0;
};

} // namespace TnxTool

#endif
