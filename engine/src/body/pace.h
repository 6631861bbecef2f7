// Holds a download to a rate. libcurl's own limit lets the first megabytes through before it looks.
#ifndef TNX_ENGINE_PACE_H
#define TNX_ENGINE_PACE_H

#include <algorithm>
#include <chrono>
#include <cstddef>

#include "base/clock.h"

namespace OHOS::Pelloria::Tnx
{

class Pace
{
public:
    // Bytes a second; 0: as fast as it comes.
    explicit Pace(double rate)
        : rate_(rate)
    {
    }

    bool Limited() const { return rate_ > 0; }

    // When the next piece may be taken.
    TimePoint Next() const { return next_; }
    bool Waits() const { return Limited() && Clock::now() < next_; }

    // What a slow server leaves unused is not made up for.
    void Took(size_t bytes)
    {
        if (Limited()) {
            const std::chrono::duration<double> time(static_cast<double>(bytes) / rate_);
            next_ = std::max(next_, Clock::now()) +
                    std::chrono::duration_cast<Clock::duration>(std::min(time, LONGEST));
        }
    }

private:
    static constexpr std::chrono::duration<double> LONGEST = std::chrono::hours(24);

    const double rate_;
    TimePoint next_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
