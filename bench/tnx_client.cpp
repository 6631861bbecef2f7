// The library as an application uses it.
#include "tnx_client.h"

#include <algorithm>

#include "harness.h"

namespace TnxBench
{

TnxClient::TnxClient(const TnxOptions &options)
    : options_(options)
{
    configuration_.transfer.autoRedirect = true;
    configuration_.transfer.transferTimeout = TNX_NO_TIMEOUT;
    if (!options_.ca.empty()) {
        configuration_.security.remoteValidation = TNX_VALIDATION_CUSTOM;
        configuration_.security.customValidation1 = options_.ca.c_str();
    }
    configuration_.tracing.debugInfoKinds[TNX_DEBUG_HEADER_OUT] = options_.heads;
    sessionConfiguration_.requestConfiguration = &configuration_;
    sessionConfiguration_.maxConnectionsPerHost = options_.connections;
    sessionConfiguration_.maxTotalConnections = options_.connections;
    content_.type = TNX_CONTENT_STRING;
    content_.value.string.data = options_.body.data();
    content_.value.string.length = static_cast<uint32_t>(options_.body.size());
    uint32_t code = TNX_OK;
    session_ = OVX_Tnx_CreateSession(&sessionConfiguration_, &code);
    if (session_ == nullptr) {
        Fail("no session: " + std::to_string(code));
    }
}

TnxClient::~TnxClient()
{
    OVX_Tnx_CloseSession(&session_);
}

Tnx_Request *TnxClient::MakeRequest()
{
    Tnx_Request *request = OVX_Tnx_CreateRequest(options_.url.c_str());
    if (!options_.body.empty()) {
        request->method = "POST";
        request->content = &content_;
    }
    if (options_.onData != nullptr) {
        OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request, options_.onData, options_.usrCtx);
    }
    return request;
}

void TnxSync::Run(uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i) {
        Tnx_Request *request = client_.MakeRequest();
        uint32_t code = TNX_OK;
        Tnx_Response *response = OVX_Tnx_FetchSync(client_.Session(), request, &code);
        if (code != TNX_OK || response->bodyLength != expected_) {
            Fail("libtnx: error " + std::to_string(code));
        }
        response->destroyResponse(response);
        OVX_Tnx_DestroyRequest(request);
    }
}

void TnxParallel::Run(uint64_t count)
{
    toFinish_ = count;
    const uint64_t first = std::min<uint64_t>(width_, count);
    toStart_ = count - first;
    for (uint64_t i = 0; i < first; ++i) {
        Start();
    }
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return toFinish_ == 0; });
}

void TnxParallel::Start()
{
    const Tnx_ResponseCallbackObject callback{OnResponse, this};
    if (OVX_Tnx_Fetch(client_.Session(), client_.MakeRequest(), &callback) != TNX_OK) {
        Fail("libtnx: a fetch was not accepted");
    }
}

void TnxParallel::OnResponse(void *self, Tnx_Response *response, uint32_t code)
{
    auto &client = *static_cast<TnxParallel *>(self);
    if (code != TNX_OK) {
        Fail("libtnx: error " + std::to_string(code));
    }
    Tnx_Request *request = response->request;
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(request);
    bool next = false;
    {
        const std::lock_guard lock(client.mutex_);
        next = client.toStart_ > 0;
        client.toStart_ -= next ? 1 : 0;
        if (--client.toFinish_ == 0) {
            client.done_.notify_one();
        }
    }
    if (next) {
        client.Start();
    }
}

} // namespace TnxBench
