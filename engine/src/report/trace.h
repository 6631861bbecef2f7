// Tells the application what happens while it happens, and keeps nothing of it.
#ifndef TNX_ENGINE_TRACE_H
#define TNX_ENGINE_TRACE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/clock.h"
#include "event/delivery.h"
#include "tnx_native/trace_event.h"

namespace OHOS::Pelloria::Tnx
{

class Trace
{
public:
    Trace(const TraceCallback &callback, Delivery &delivery)
        : callback_(callback)
        , delivery_(delivery)
        , start_(Wanted() ? Clock::now() : TimePoint())
    {
    }

    bool Wanted() const { return static_cast<bool>(callback_); }

    // A DebugKind or a TracePhase. Debug information is left out, and that is told, where too much
    // waits to be heard.
    void Tell(uint32_t kind, std::string_view data = {});

    // Whether nothing should be received because of what waits; then the transfer is woken when
    // that can go on, which Resume tells once.
    bool Holds();
    bool Resume();

    // It was told so, and has not gone on yet.
    bool Held() const { return holds_; }

private:
    bool Full() const;
    void Push(uint32_t kind, std::string_view data);
    void Hear(const TraceEvent &event);

    const TraceCallback &callback_;
    Delivery &delivery_;
    const TimePoint start_;
    std::atomic<size_t> waiting_ = 0; // bytes
    size_t left_ = 0;                 // out, bytes
    bool holds_ = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
