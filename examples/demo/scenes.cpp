// The scenes of the demo.
#include "scenes.h"

#include "stage.h"

namespace
{

constexpr size_t PARALLEL = 10;

// Adds a header to each request that passes.
void AddHeader(Tnx_Request *request)
{
    OVX_Tnx_SetHeaderValue(request->headers, "X-One", "added by an interceptor");
}

uint32_t Intercept(Tnx_Request *request, const Tnx_RequestHandler *next,
                   const Tnx_ResponseCallbackObject *callback)
{
    AddHeader(request);
    return OVX_Tnx_CallNextRequestHandler(request, next, callback);
}

Tnx_Response *InterceptSync(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                            uint32_t *errCode)
{
    AddHeader(request);
    return OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
}

RequestPtr MakeRequest(const std::string &url)
{
    return RequestPtr(OVX_Tnx_CreateRequest(url.c_str()));
}

Outcome FetchSync(const SessionPtr &session, const RequestPtr &request)
{
    Outcome outcome;
    outcome.response.reset(OVX_Tnx_FetchSync(session.get(), request.get(), &outcome.code));
    return outcome;
}

// Fetches and waits. The wait is the demo's: an application would go on with something else.
Outcome Fetch(const SessionPtr &session, const RequestPtr &request)
{
    Inbox inbox;
    const auto callback = inbox.Callback();
    const uint32_t code = OVX_Tnx_Fetch(session.get(), request.get(), &callback);
    if (code != TNX_OK) {
        return {nullptr, code};
    }
    auto outcomes = inbox.Wait(1);
    return outcomes.empty() ? Outcome{nullptr, TNX_ERR_TIMEOUT} : std::move(outcomes.front());
}

} // namespace

bool ShowSynchronous(const Servers &servers)
{
    Title("A synchronous fetch, through an interceptor that adds a header");
    Setup setup;
    Tnx_SyncInterceptor interceptor{InterceptSync};
    setup.session.syncInterceptors = {&interceptor, 1};
    const auto session = setup.Open();
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const auto request = MakeRequest(servers.nginx + "/fields");
    request->headers = headers.get();
    const Outcome outcome = FetchSync(session, request);
    Print("GET /fields", outcome);
    PrintLines(outcome, {"GET", "x-one"});
    return IsOk(outcome) && Body(outcome).find("added by") != std::string_view::npos;
}

bool ShowAsynchronous(const Servers &servers)
{
    Title("An asynchronous fetch, through the same");
    Setup setup;
    Tnx_Interceptor interceptor{Intercept};
    setup.session.interceptors = {&interceptor, 1};
    const auto session = setup.Open();
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const auto request = MakeRequest(servers.nginx + "/fields");
    request->headers = headers.get();
    const Outcome outcome = Fetch(session, request);
    Print("GET /fields", outcome);
    PrintLines(outcome, {"GET", "x-one"});
    return IsOk(outcome) && Body(outcome).find("added by") != std::string_view::npos;
}

bool ShowPost(const Servers &servers)
{
    Title("A POST whose echo comes back");
    Setup setup;
    const auto session = setup.Open();
    const std::string body = R"({"question": "does it arrive?"})";
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    OVX_Tnx_SetHeaderValue(headers.get(), "Content-Type", "application/json");
    Tnx_RequestContent content{};
    content.type = TNX_CONTENT_STRING;
    content.value.string.data = body.data();
    content.value.string.length = static_cast<uint32_t>(body.size());
    const auto request = MakeRequest(servers.nginx + "/echo");
    request->method = "POST";
    request->headers = headers.get();
    request->content = &content;
    const Outcome outcome = FetchSync(session, request);
    Print("POST /echo", outcome);
    PrintLines(outcome, {"POST", "content-type", "Content-Type", "{"});
    return IsOk(outcome) && Body(outcome).find(body) != std::string_view::npos;
}

bool ShowParallel(const Servers &servers)
{
    Title("Ten requests in parallel");
    Setup setup;
    const auto session = setup.Open();
    Inbox inbox;
    const auto callback = inbox.Callback();
    std::vector<RequestPtr> requests;
    for (size_t i = 0; i < PARALLEL; ++i) {
        requests.push_back(MakeRequest(servers.nginx + "/1k"));
        OVX_Tnx_Fetch(session.get(), requests.back().get(), &callback);
    }
    const auto outcomes = inbox.Wait(PARALLEL);
    bool good = outcomes.size() == PARALLEL;
    for (const auto &outcome : outcomes) {
        Print("GET /1k", outcome);
        good = good && IsOk(outcome) && Body(outcome).size() == 1024;
    }
    return good;
}

bool ShowTls(const Servers &servers)
{
    Title("HTTP/2 over TLS, with an own authority");
    Setup setup;
    setup.requests.security.remoteValidation = TNX_VALIDATION_CUSTOM;
    setup.requests.security.customValidation1 = servers.ca.c_str();
    const auto session = setup.Open();
    const auto request = MakeRequest(servers.tls + "/fields");
    const Outcome outcome = FetchSync(session, request);
    Print("GET /fields", outcome);
    PrintLines(outcome, {"GET"});
    return IsOk(outcome) && Body(outcome).find("HTTP/2") != std::string_view::npos;
}

bool ShowCancel(const Servers &servers)
{
    Title("A cancel while the server keeps silent");
    Setup setup;
    const auto session = setup.Open();
    Inbox inbox;
    const auto callback = inbox.Callback();
    const auto request = MakeRequest(servers.scripted + "/stall?ms=60000");
    if (OVX_Tnx_Fetch(session.get(), request.get(), &callback) != TNX_OK) {
        return false;
    }
    OVX_Tnx_CancelRequest(session.get(), request.get());
    const auto outcomes = inbox.Wait(1);
    if (outcomes.empty()) {
        return false;
    }
    Print("GET /stall", outcomes.front());
    Note("the callback got no response and TNX_ERR_REQUEST_CANCELED, at once");
    return outcomes.front().code == TNX_ERR_REQUEST_CANCELED && !outcomes.front().response;
}

bool ShowRefused(const Servers &)
{
    Title("A connection that is refused");
    Setup setup;
    const auto session = setup.Open();
    const auto request = MakeRequest("http://127.0.0.1:1/");
    const Outcome outcome = FetchSync(session, request);
    Print("GET http://127.0.0.1:1/", outcome);
    const char *cause = OVX_Tnx_GetFailureText(outcome.response.get());
    Note(cause == nullptr ? "no cause was told" : cause);
    return outcome.code == TNX_ERR_CONNECT && cause != nullptr;
}
