// Switches of what is recorded, and the bridges through which the engine reports a transfer.
// `onCanceled` is not among them: the session calls it.
#include "translate/tnx_events.h"

#include "translate/tnx_http_response.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace OHOS::Pelloria::TnxC
{
namespace
{

void TranslateSwitches(Tnx::TracingConfiguration &out, const Tnx_TracingConfiguration &tracing)
{
    static_assert(std::tuple_size_v<decltype(out.debugKinds)> == TNX_DEBUG_KINDS);
    std::copy(std::begin(tracing.debugInfoKinds), std::end(tracing.debugInfoKinds),
              out.debugKinds.begin());
    out.collectTimeInfo = tracing.collectTimeInfo;
    // The kinds alone decide: neither the record's own switch nor the times take part.
    if (std::any_of(out.debugKinds.begin(), out.debugKinds.end(), [](bool kind) { return kind; })) {
        out.debug = true;
    }
}

template <class Slot> auto BridgeProgress(const Slot &slot)
{
    return
        [slot = &slot](uint64_t total, uint64_t now) { slot->callback(slot->usrCtx, total, now); };
}

template <class Slot> auto BridgeData(const Slot &slot)
{
    return [slot = &slot](const std::shared_ptr<std::string> &data) -> size_t {
        if (data == nullptr) {
            return 0;
        }
        const size_t taken = slot->callback(slot->usrCtx, data->c_str());
        return taken == data->find('\0') ? data->size() : taken; // the callback saw no more
    };
}

template <class Slot> auto BridgeHeaders(const Slot &slot)
{
    return [slot = &slot](const Tnx::HeaderFields &headers) {
        slot->callback(slot->usrCtx, TnxToCHeaders(headers));
    };
}

template <class Slot> auto BridgeEvent(const Slot &slot)
{
    return [slot = &slot]() { slot->callback(slot->usrCtx); };
}

} // namespace

void TnxToCppHttpEventsHandler(Tnx::TracingConfiguration &out,
                               const Tnx_TracingConfiguration &tracing)
{
    TranslateSwitches(out, tracing);
    const Tnx_HttpEventsHandler &handler = tracing.eventsHandler;
    if (handler.onDataReceive.callback != nullptr) {
        out.eventsHandler.onDataReceive = BridgeData(handler.onDataReceive);
    }
    if (handler.onProgress1.callback != nullptr) {
        out.eventsHandler.onDownloadProgress = BridgeProgress(handler.onProgress1);
    }
    if (handler.onProgress2.callback != nullptr) {
        out.eventsHandler.onUploadProgress = BridgeProgress(handler.onProgress2);
    }
    if (handler.onHeaderReceive.callback != nullptr) {
        out.eventsHandler.onHeadersReceive = BridgeHeaders(handler.onHeaderReceive);
    }
    if (handler.onEvent.callback != nullptr) {
        out.eventsHandler.onDataEnd = BridgeEvent(handler.onEvent);
    }
}

} // namespace OHOS::Pelloria::TnxC
