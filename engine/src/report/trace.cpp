// One callback an event: so each keeps its place among the other callbacks of the request.
#include "trace.h"

#include <chrono>
#include <string>
#include <utility>

#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_WAITING = 1024 * 1024;
constexpr size_t OVERHEAD = 128; // of an event, so that many small ones count too

} // namespace

void Trace::Tell(uint32_t kind, std::string_view data)
{
    if (!Wanted()) {
        return;
    }
    if (kind < DEBUG_KINDS && Full()) {
        left_ += data.size();
        return;
    }
    if (const size_t left = std::exchange(left_, 0); left > 0) {
        Push(DEBUG_TEXT, std::to_string(left) + " bytes left out: the trace was not heard");
    }
    Push(kind, data);
}

void Trace::Push(uint32_t kind, std::string_view data)
{
    using std::chrono::microseconds;
    const int64_t time = std::chrono::duration_cast<microseconds>(Clock::now() - start_).count();
    waiting_ += data.size() + OVERHEAD;
    delivery_.Deliver([this, kind, time, copy = std::string(data)] { Hear({kind, time, copy}); });
}

void Trace::Hear(const TraceEvent &event)
{
    delivery_.Call([&] { callback_(event); });
    const size_t heard = event.data.size() + OVERHEAD;
    const size_t before = waiting_.fetch_sub(heard);
    if (before > MAX_WAITING && before - heard <= MAX_WAITING) {
        delivery_.Wake();
    }
}

bool Trace::Full() const
{
    return waiting_ > MAX_WAITING;
}

bool Trace::Holds()
{
    holds_ = Full();
    return holds_;
}

bool Trace::Resume()
{
    return !Full() && std::exchange(holds_, false);
}

} // namespace OHOS::Pelloria::Tnx
