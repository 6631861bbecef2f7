// Builds and releases response records. Only the record itself must be had: any other part that
// memory does not suffice for is left out.
#include "translate/tnx_http_response.h"

#include "common/c_ptr.h"
#include "common/log.h"
#include "objects/tnx_headers.h"
#include "tnx_c_ext/errors.h"
#include "translate/tnx_connection_info.h"
#include "translate/tnx_response_cookies.h"

#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// What a record points to without owning it, behind `engineResponse`.
struct ResponseHandle {
    std::shared_ptr<Tnx::Response> response;
    std::unique_ptr<Tnx_ResponseCallbackObject> callback;
    std::unique_ptr<const ConnectionRecord> connection;
};

void FreeDebugInfo(Tnx_DebugInfo *info)
{
    while (info != nullptr) {
        std::free(std::exchange(info, info->next));
    }
}

Tnx_DebugInfo *ListDebugInfo(const std::vector<Tnx::DebugInfo> &entries)
{
    Tnx_DebugInfo *first = nullptr;
    Tnx_DebugInfo **end = &first;
    for (const Tnx::DebugInfo &entry : entries) {
        *end = AllocateRecord<Tnx_DebugInfo>().release();
        if (*end == nullptr) {
            TNX_LOGE("failed to alloc memory for Tnx_DebugInfo");
            break;
        }
        **end = {entry.type, entry.text.data(), static_cast<uint32_t>(entry.text.size()), nullptr};
        end = &(*end)->next;
    }
    return first;
}

// The start of the transfer by the wall clock is the engine's own.
Tnx_TimeInfo *CopyTimeInfo(const std::optional<Tnx::TimeInfo> &times)
{
    CPtr<Tnx_TimeInfo> copy;
    if (times.has_value()) {
        copy = AllocateRecord<Tnx_TimeInfo>();
    }
    if (copy != nullptr) {
        *copy = {times->nameLookup,   times->connect, times->tls,      times->firstSend,
                 times->firstReceive, times->total,   times->redirect, times->queue};
    }
    return copy.release();
}

// Null for a record that the library has not made.
const ResponseHandle *HandleOf(const Tnx_Response *response)
{
    const bool own = response != nullptr && response->destroyResponse == TnxDestroyResponse;
    return own ? static_cast<const ResponseHandle *>(response->engineResponse) : nullptr;
}

} // namespace

Tnx_Headers *TnxToCHeaders(const Tnx::HeaderFields &headers) noexcept
{
    size_t room = 0;
    for (const auto &[name, value] : headers) {
        room += RoomForHeader(name.size(), value.size());
    }
    HeadersPtr copy(CreateHeaders(room));
    if (copy == nullptr) {
        return nullptr;
    }
    for (const auto &[name, value] : headers) {
        AddHeader(copy->fields, name, value);
    }
    return copy.release();
}

Tnx_Response *TnxToCResponse(const std::shared_ptr<Tnx::Response> &response, Tnx_Request *request,
                             std::unique_ptr<Tnx_ResponseCallbackObject> callback) noexcept
{
    if (response == nullptr) {
        return nullptr;
    }
    CPtr<Tnx_Response> record = AllocateRecord<Tnx_Response>();
    std::unique_ptr<ResponseHandle> handle(new (std::nothrow) ResponseHandle);
    if (record == nullptr || handle == nullptr) {
        TNX_LOGE("failed to alloc memory for tnx response");
        return nullptr;
    }
    record->request = request;
    record->effectiveUrl = strdup(response->GetEffectiveUrl().c_str());
    if (record->effectiveUrl == nullptr) {
        TNX_LOGI("failed to alloc memory for effectiveUrl");
    }
    record->statusCode = response->GetStatusCode();
    record->headers = TnxToCHeaders(response->GetHeaders());
    record->body = response->GetBody().data();
    record->bodyLength = static_cast<uint32_t>(response->GetBody().size());
    record->debugInfo = ListDebugInfo(response->GetDebugInfo());
    record->timeInfo = CopyTimeInfo(response->GetTimeInfo());
    record->cookies = TnxToCResponseCookies(response->GetCookie());
    record->responseCallbackObject = callback.get();
    record->destroyResponse = TnxDestroyResponse;
    handle->response = response;
    handle->connection = TnxToCConnectionInfo(response->GetConnectionInfo());
    handle->callback = std::move(callback);
    record->engineResponse = handle.release();
    return record.release();
}

void TnxDestroyResponse(Tnx_Response *response) noexcept
{
    if (response == nullptr) {
        return;
    }
    std::free(response->effectiveUrl);
    OVX_Tnx_DestroyHeaders(response->headers);
    FreeDebugInfo(response->debugInfo);
    std::free(response->timeInfo);
    TnxDestroyResponseCookies(response->cookies);
    delete static_cast<ResponseHandle *>(response->engineResponse);
    std::free(response);
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

const char *OVX_Tnx_GetFailureText(const Tnx_Response *response) noexcept
{
    const ResponseHandle *handle = HandleOf(response);
    const std::string *cause = handle == nullptr ? nullptr : handle->response->GetCause();
    return cause == nullptr ? nullptr : cause->c_str();
}

const Tnx_ConnectionInfo *OVX_Tnx_GetConnectionInfo(const Tnx_Response *response) noexcept
{
    const ResponseHandle *handle = HandleOf(response);
    return handle != nullptr && handle->connection != nullptr ? &handle->connection->info : nullptr;
}
