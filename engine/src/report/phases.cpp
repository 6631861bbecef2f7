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

int64_t GetTime(CURL *easy, CURLINFO info)
{
    curl_off_t microseconds = 0;
    curl_easy_getinfo(easy, info, &microseconds);
    return microseconds;
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

void Phases::HopEnded(CURL *easy)
{
    const int64_t offset = SinceStart(performStart_);
    const auto take = [easy, offset](CURLINFO info) {
        const int64_t time = GetTime(easy, info);
        return time > 0 ? offset + time : 0;
    };
    long connections = 0;
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &connections);
    if (connections > 0) {
        times_.nameLookup = resolved_ ? times_.nameLookup : take(CURLINFO_NAMELOOKUP_TIME_T);
        times_.connect = take(CURLINFO_CONNECT_TIME_T);
        times_.tls = take(CURLINFO_APPCONNECT_TIME_T);
    } else {
        times_.nameLookup = 0;
    }
    times_.firstSend = take(CURLINFO_PRETRANSFER_TIME_T);
    times_.firstReceive = static_cast<double>(take(CURLINFO_STARTTRANSFER_TIME_T));
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
