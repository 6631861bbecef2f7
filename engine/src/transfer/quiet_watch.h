// How long an exchange has stood still for want of the peer. It looks eight times within the
// shortest time that is allowed: what happens in between need not be told to anybody.
#ifndef TNX_ENGINE_QUIET_WATCH_H
#define TNX_ENGINE_QUIET_WATCH_H

#include <cstdint>
#include <memory>
#include <string>

#include "base/clock.h"
#include "tnx_native/limits.h"

namespace OHOS::Pelloria::Tnx
{

class QuietWatch
{
public:
    // Null where neither time is limited; `limits` may be null, and outlives the watch.
    static std::unique_ptr<QuietWatch> For(const Limits *limits);

    explicit QuietWatch(const Limits &limits);

    // The request goes out, at the earliest.
    void Start();

    TimePoint NextLook() const { return last_ + period_; }

    // `moved`: bytes so far. `ours`: the peer is not what the exchange waits for. `answered`:
    // something of a response has come. The failure in words, empty where there is none.
    std::string Look(uint64_t moved, bool ours, bool answered);

private:
    bool AheadOfRate(uint64_t sent) const;

    const Limits &limits_;
    const Clock::duration period_;
    TimePoint start_;
    TimePoint last_;
    Clock::duration quiet_{}; // a look that came late counts as one
    uint64_t moved_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
