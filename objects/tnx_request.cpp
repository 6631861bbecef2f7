// The request record and its identifiers.
#include "common/c_ptr.h"
#include "common/log.h"
#include "objects/request_extension.h"
#include "objects/tnx_headers.h"
#include "tnx_c_ext/errors.h"
#include "tnx_c_ext/header_fields.h"
#include "tnx_c_ext/request_target.h"
#include "tnx_platform/bounded.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>
#include <utility>

#include <strings.h>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// Unique as long as the process lives: a number is never given twice, also when creation fails.
constinit std::atomic<unsigned long> g_nextId{0};

void FreeRequest(Tnx_Request *request) noexcept
{
    std::free(std::exchange(request->url, nullptr));
    std::free(request->onDataRecvCallback);
    delete reinterpret_cast<ExtendedRequest *>(request)->extras;
    std::free(request);
}

Tnx_Request *CreateRequest(const char *url)
{
    CPtr<ExtendedRequest> extended = AllocateRecord<ExtendedRequest>();
    if (extended == nullptr) {
        TNX_LOGE("failed to alloc memory for request");
        return nullptr;
    }
    std::unique_ptr<Tnx_Request, DestroyWith<&FreeRequest>> request(&extended.release()->record);
    request->onDataRecvCallback = AllocateRecord<Tnx_DataRecvCallbackObject>().release();
    if (request->onDataRecvCallback == nullptr) {
        return nullptr;
    }
    request->url = strdup(url);
    if (request->url == nullptr) {
        return nullptr;
    }
    request->method = "GET";
    if (sprintf_s(request->id, sizeof(request->id), "%lu", g_nextId.fetch_add(1)) < 0) {
        TNX_LOGE("failed to assign request id");
        return nullptr;
    }
    TNX_LOGD("create reqeust %{public}s", request->id);
    return request.release();
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_Request *OVX_Tnx_CreateRequest(const char *url) noexcept
{
    if (url == nullptr) {
        TNX_LOGE("create request failed: invalid url");
        return nullptr;
    }
    return CreateRequest(url);
}

void OVX_Tnx_DestroyRequest(Tnx_Request *request) noexcept
{
    if (request == nullptr) {
        return;
    }
    TNX_LOGD("destroy request %{public}s", request->id);
    FreeRequest(request);
}

uint32_t OVX_Tnx_SetRequestOnBinaryDataRecvCallback(Tnx_Request *request,
                                                    Tnx_OnBinaryDataRecvCallback callback,
                                                    void *usrCtx) noexcept
{
    if (request == nullptr || request->onDataRecvCallback == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    if (callback != nullptr) {
        *request->onDataRecvCallback = {callback, usrCtx};
    }
    return TNX_OK;
}

uint32_t OVX_Tnx_SetRequestFailOnHttpError(Tnx_Request *request, bool fail) noexcept
{
    ExtendedRequest *extended = ExtensionOf(request);
    if (extended == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    extended->failOnHttpError = fail;
    return TNX_OK;
}

uint32_t OVX_Tnx_SetRequestTarget(Tnx_Request *request, const char *target) noexcept
{
    const std::string_view text = target == nullptr ? "*" : target;
    const bool fits =
        std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 127; });
    if (text.empty() || !fits) {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(request, [target](RequestExtras &extras) {
        extras.target = target == nullptr ? "" : target;
        return uint32_t{TNX_OK};
    });
}

uint32_t OVX_Tnx_OmitRequestHeader(Tnx_Request *request, const char *name) noexcept
{
    if (name == nullptr || !IsToken(name) || strcasecmp(name, "content-length") == 0 ||
        strcasecmp(name, "transfer-encoding") == 0) {
        return TNX_ERR_PARAMETER;
    }
    return ChangeExtras(request, [name](RequestExtras &extras) {
        std::string &lower = extras.omittedHeaders.emplace_back(name);
        for (char &c : lower) {
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
        return uint32_t{TNX_OK};
    });
}
