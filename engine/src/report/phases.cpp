// Keeps time.
#include "phases.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

int64_t Microseconds(Clock::duration duration)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
}

} // namespace

void Phases::Queued()
{
    queuedAt_ = Clock::now();
}

void Phases::LeftQueue()
{
    const TimePoint now = Clock::now();
    times_.queue += Microseconds(now - queuedAt_);
    if (started_) {
        start_ += now - queuedAt_;
        return;
    }
    started_ = true;
    start_ = now;
    const auto wall = std::chrono::system_clock::now().time_since_epoch();
    times_.startedAt = std::chrono::duration_cast<std::chrono::microseconds>(wall).count();
}

void Phases::StartOver()
{
    const TimePoint now = Clock::now();
    times_.queue += Microseconds(now - (started_ ? start_ : queuedAt_));
    queuedAt_ = now;
    started_ = false;
}

int64_t Phases::SinceStart(TimePoint at) const
{
    return Microseconds(at - start_);
}

void Phases::HopStarted(bool redirected)
{
    hopStart_ = Clock::now();
    performStart_ = hopStart_;
    times_.redirect = redirected ? SinceStart(hopStart_) : 0;
    times_.nameLookup = times_.connect = times_.tls = times_.firstSend = 0;
    times_.firstReceive = 0;
    resolved_ = false;
}

void Phases::HopResolved()
{
    performStart_ = Clock::now();
    resolved_ = true;
    times_.nameLookup = SinceStart(performStart_);
}

void Phases::HopSentAgain()
{
    performStart_ = Clock::now();
}

void Phases::HopEnded(const HopTimes &times)
{
    const int64_t offset = SinceStart(performStart_);
    const auto since = [offset](int64_t time) { return time > 0 ? offset + time : 0; };
    if (!times.connected) {
        times_.nameLookup = 0;
    } else if (!resolved_) {
        times_.nameLookup = since(times.lookup);
    }
    times_.connect = since(times.connect);
    times_.tls = since(times.tls);
    times_.firstSend = since(times.send);
    times_.firstReceive = static_cast<double>(since(times.receive));
}

TimeInfo Phases::Result() const
{
    TimeInfo result = times_;
    if (!started_) {
        result.queue = Microseconds(Clock::now() - queuedAt_);
        return result;
    }
    result.total = static_cast<double>(SinceStart(Clock::now()));
    return result;
}

std::string Phases::HopText() const
{
    const auto text = [](int64_t microseconds) { return std::to_string(microseconds); };
    return "hop over: begin " + text(times_.redirect) + ", lookup " + text(times_.nameLookup) +
           ", connect " + text(times_.connect) + ", tls " + text(times_.tls) + ", send " +
           text(times_.firstSend) + ", first byte " +
           text(static_cast<int64_t>(times_.firstReceive)) + ", end " +
           text(SinceStart(Clock::now())) + " (microseconds)";
}

const char *Phases::HopPhase(bool secure, bool reached) const
{
    if (times_.firstReceive > 0) {
        return "receiving";
    }
    if (times_.firstSend > 0) {
        return "sending and waiting for the answer";
    }
    return secure && reached ? "TLS handshake" : "connecting";
}

} // namespace OHOS::Pelloria::Tnx
