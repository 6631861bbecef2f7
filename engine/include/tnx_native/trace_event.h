// What is told of a fetch while it goes on.
#ifndef TNX_NATIVE_TRACE_EVENT_H
#define TNX_NATIVE_TRACE_EVENT_H

#include <cstdint>
#include <functional>
#include <string_view>

namespace OHOS::Pelloria::Tnx
{

// The steps of a fetch, as TraceEvent::kind beside a DebugKind, in the order in which they come
// where nothing comes twice.
enum TracePhase : uint32_t {
    TRACE_QUEUED = 16,
    TRACE_LEFT_QUEUE,
    TRACE_LOOKED_UP,
    TRACE_CONNECTING,
    TRACE_NOT_CONNECTED,
    TRACE_CONNECTED,
    TRACE_TLS_DONE,
    TRACE_REUSED,
    TRACE_SENT,
    TRACE_FIRST_BYTE,
    TRACE_REDIRECTED,
    TRACE_RETRIED,
    TRACE_DONE
};

struct TraceEvent {
    uint32_t kind;
    int64_t time; // microseconds since the fetch began
    std::string_view data;
};

using TraceCallback = std::function<void(const TraceEvent &event)>;

} // namespace OHOS::Pelloria::Tnx

#endif
