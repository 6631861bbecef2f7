// URL, method, merged fields, body, ranges and configuration of a request.
#include "translate/tnx_http_request.h"

#include "objects/request_extension.h"
#include "translate/text.h"
#include "translate/tnx_configuration.h"
#include "translate/tnx_http_request_content.h"
#include "translate/tnx_http_request_fields.h"
#include "translate/tnx_limits.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

constexpr std::string_view CONTENT_TYPE = "content-type";

// Indexed by the kind of content.
constexpr std::array<const char *, 4> DEFAULT_CONTENT_TYPES = {
    "text/plain", "application/x-www-form-urlencoded", "multipart/form-data",
    "application/octet-stream"};

// Exactly one slash stands where base and URL meet, unless the base is empty.
std::string JoinUrl(const Tnx_SessionConfiguration *session, const char *url)
{
    if (session == nullptr || session->baseAddress == nullptr) {
        return TextOf(url);
    }
    std::string joined(session->baseAddress);
    if (url == nullptr) {
        return joined;
    }
    if (!joined.empty()) {
        const bool slashBefore = joined.back() == '/';
        const bool slashAfter = *url == '/';
        if (slashBefore && slashAfter) {
            ++url;
        } else if (!slashBefore && !slashAfter) {
            joined += '/';
        }
    }
    return joined += url;
}

// What stands in for the content, or null.
const RequestBody *OwnBodyOf(const Tnx_Request &request)
{
    const ExtendedRequest *extended = ExtensionOf(&request);
    const bool given =
        extended != nullptr && extended->extras != nullptr && extended->extras->body.Given();
    return given ? &extended->extras->body : nullptr;
}

void SetTarget(Tnx::Request &out, const Tnx_Request &request)
{
    const ExtendedRequest *extended = ExtensionOf(&request);
    if (extended != nullptr && extended->extras != nullptr) {
        out.SetTarget(extended->extras->target);
    }
}

// Marks the fields that are to be left out.
void OmitHeaders(Tnx::Headers &headers, const Tnx_Request &request)
{
    const ExtendedRequest *extended = ExtensionOf(&request);
    if (extended == nullptr || extended->extras == nullptr) {
        return;
    }
    for (const std::string &name : extended->extras->omittedHeaders) {
        Tnx::FieldValues none;
        none.source = Tnx::FieldSource::OMITTED;
        headers.emplace_back(name, std::move(none));
    }
}

Tnx::Headers MakeHeaders(const Tnx_SessionConfiguration *session, const Tnx_Request &request)
{
    Tnx::Headers headers =
        TnxToCppHeaders(request.headers, session == nullptr ? nullptr : session->headers);
    OmitHeaders(headers, request);
    // The spelling is compared exactly, and the method does not matter.
    const size_t kind = OwnBodyOf(request) != nullptr ? size_t{TNX_CONTENT_GET_DATA}
                        : request.content != nullptr  ? request.content->type
                                                      : DEFAULT_CONTENT_TYPES.size();
    if (kind < DEFAULT_CONTENT_TYPES.size()) {
        const bool given = std::any_of(headers.begin(), headers.end(), [](const auto &field) {
            return field.first == CONTENT_TYPE;
        });
        if (!given) {
            Tnx::FieldValues values = {DEFAULT_CONTENT_TYPES[kind]};
            values.source = Tnx::FieldSource::DEFAULT;
            headers.emplace_back(CONTENT_TYPE, std::move(values));
        }
    }
    return headers;
}

Tnx::RequestCookies MakeCookies(const Tnx_SessionConfiguration *session, const Tnx_Request &request)
{
    Tnx::RequestCookies cookies;
    TnxToCppRequestCookies(request.cookies, cookies);
    if (session != nullptr) {
        TnxToCppRequestCookies(session->cookies, cookies);
    }
    return cookies;
}

// A bound is given when it is not zero or its flag is set.
std::optional<int64_t> MakeBound(int64_t value, bool given)
{
    return given || value != 0 ? std::optional(value) : std::nullopt;
}

Tnx::TransferRange MakeRange(const Tnx_TransferRange *node)
{
    Tnx::TransferRange range;
    for (; node != nullptr; node = node->next) {
        range.push_back({MakeBound(node->from, node->hasFrom), MakeBound(node->to, node->hasTo)});
    }
    return range;
}

// The request's configuration stands in for the session's as a whole.
void TranslateConfiguration(Tnx::Configuration &configuration,
                            const Tnx_SessionConfiguration *session, const Tnx_Request &request)
{
    const Tnx_Configuration *record = request.configuration;
    if (record == nullptr && session != nullptr) {
        record = session->requestConfiguration;
    }
    TnxToCppConfiguration(configuration, record);
    TnxUpdateDataRecvCallback(configuration, &request);
    const ExtendedRequest *extended = ExtensionOf(&request);
    configuration.failOnHttpError = extended != nullptr && extended->failOnHttpError;
    configuration.tracing.collectConnectionInfo = extended != nullptr &&
                                                  extended->extras != nullptr &&
                                                  extended->extras->collectConnectionInfo;
    if (extended != nullptr && extended->extras != nullptr) {
        TnxToCppLimits(configuration, extended->extras->limits);
    }
}

Tnx::TraceCallback MakeTrace(const Tnx_Request &request)
{
    const ExtendedRequest *extended = ExtensionOf(&request);
    if (extended == nullptr || extended->extras == nullptr ||
        extended->extras->trace.callback == nullptr) {
        return {};
    }
    return [trace = extended->extras->trace](const Tnx::TraceEvent &event) {
        const Tnx_TraceEvent record = {event.kind, event.time, event.data.data(),
                                       event.data.size()};
        trace.callback(trace.usrCtx, &record);
    };
}

bool CarriesBody(std::string_view method)
{
    return method != "GET" && method != "HEAD";
}

} // namespace

void TnxUpdateDataRecvCallback(Tnx::Configuration &configuration, const Tnx_Request *request)
{
    const Tnx_DataRecvCallbackObject *object = request->onDataRecvCallback;
    if (object == nullptr || object->callback == nullptr) {
        return;
    }
    configuration.tracing.eventsHandler.onDataReceive =
        [object](const std::shared_ptr<std::string> &data) -> size_t {
        if (data == nullptr) {
            return 0;
        }
        const Tnx_Buffer buffer = {data->data(), static_cast<uint32_t>(data->size())};
        return object->callback(object->usrCtx, &buffer);
    };
}

std::shared_ptr<Tnx::Request> TnxToCppRequest(const Tnx_SessionConfiguration *sessionConfiguration,
                                              const Tnx_Request *request)
{
    if (request == nullptr) {
        return nullptr;
    }
    auto out = std::make_shared<Tnx::Request>(TextIn(request->id),
                                              JoinUrl(sessionConfiguration, request->url));
    out->Gate().SetOwner(request);
    if (request->method != nullptr) { // the engine's default is GET
        out->SetMethod(request->method);
    }
    SetTarget(*out, *request);
    out->SetHeaders(MakeHeaders(sessionConfiguration, *request));
    out->SetRequestCookies(MakeCookies(sessionConfiguration, *request));
    if (CarriesBody(out->GetMethod())) {
        const RequestBody *const own = OwnBodyOf(*request);
        out->SetContent(own != nullptr                ? TnxToCppRequestBody(*own)
                        : request->content == nullptr ? nullptr
                                                      : TnxToCppRequestContent(*request->content));
    }
    out->SetTransferRange(MakeRange(request->transferRange));
    out->SetOnTrace(MakeTrace(*request));
    TranslateConfiguration(out->MutableConfiguration(), sessionConfiguration, *request);
    return out;
}

} // namespace OHOS::Pelloria::TnxC
