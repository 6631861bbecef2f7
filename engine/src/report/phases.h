// When the phases of a fetch were over.
#ifndef TNX_ENGINE_PHASES_H
#define TNX_ENGINE_PHASES_H

#include <chrono>
#include <cstdint>
#include <string>

#include "base/clock.h"
#include "tnx_native/response.h"

namespace OHOS::Pelloria::Tnx
{

// The phases of a hop on the wire, in microseconds since it started there; 0 where it did not get
// so far.
struct HopTimes {
    bool connected = false; // over a new connection: else there are the last two only
    int64_t lookup = 0;
    int64_t connect = 0;
    int64_t tls = 0;
    int64_t send = 0;
    int64_t receive = 0;
};

class Phases
{
public:
    // The request starts to wait, and leaves the queue, which it may do again at a later hop: that
    // wait counts as queue too and moves time 0, so that no time-out runs meanwhile.
    void Queued();
    void LeftQueue();

    // Another attempt begins, whose times these are from now on: all before it counts as queue.
    void StartOver();

    void HopStarted(bool redirected); // a hop leaves for its lookup
    void HopResolved();
    void HopSentAgain(); // to other addresses
    void HopEnded(const HopTimes &times);

    TimePoint Start() const { return start_; }
    TimePoint HopStart() const { return hopStart_; }
    TimeInfo Result() const;

    // The times of a hop that is followed by another, for those who ask for texts: the record has
    // room for the last one's only.
    std::string HopText() const;

    // What the hop was at when it ended, for the text of a failure. `reached`: a connection stood,
    // which libcurl tells with its address rather than a time when the TLS handshake fails.
    const char *HopPhase(bool secure, bool reached) const;

private:
    int64_t SinceStart(TimePoint at) const;

    TimePoint queuedAt_;
    TimePoint start_;
    TimePoint hopStart_;
    TimePoint performStart_;
    bool started_ = false;
    bool resolved_ = false;
    TimeInfo times_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
