// The answer as JSON, for programs.
#include "json.h"

#include <cstring>

#include <nlohmann/json.hpp>

namespace TnxTool
{

namespace
{

using Json = nlohmann::ordered_json;

Json TextOrNull(const char *text)
{
    return text == nullptr ? Json() : Json(text);
}

Json HeadersToJson(const Tnx_Headers *headers)
{
    nlohmann::json fields = nlohmann::json::object(); // sorted: the map has no order to keep
    const HeaderEntriesHandle entries(headers == nullptr ? nullptr
                                                         : OVX_Tnx_GetHeaderEntries(headers));
    for (const Tnx_HeaderEntry *entry = entries.get(); entry != nullptr; entry = entry->next) {
        nlohmann::json &values = fields[entry->key] = nlohmann::json::array();
        for (auto *value = static_cast<Tnx_HeaderValue *>(entry->value); value != nullptr;
             value = value->next) {
            values.push_back(value->value);
        }
    }
    return fields;
}

Json AttributesToJson(const Tnx_CookieAttributes *attributes)
{
    nlohmann::json fields = nlohmann::json::object();
    const AttributeEntriesHandle entries(
        attributes == nullptr ? nullptr : OVX_Tnx_GetResponseCookieAttrEntries(attributes));
    for (const Tnx_HeaderEntry *entry = entries.get(); entry != nullptr; entry = entry->next) {
        const auto *value = static_cast<const char *>(entry->value);
        fields[entry->key] = value == nullptr ? "" : value;
    }
    return fields;
}

Json CookiesToJson(const Tnx_ResponseCookies *cookie)
{
    Json cookies = Json::array();
    for (; cookie != nullptr; cookie = cookie->next) {
        const Json attributes = AttributesToJson(cookie->cookieAttributes);
        Json one;
        one["name"] = TextOrNull(cookie->name);
        one["value"] = TextOrNull(cookie->value);
        one["domain"] = TextOrNull(cookie->domain);
        one["path"] = TextOrNull(cookie->path);
        one["expires"] = TextOrNull(cookie->expires);
        one["maxAge"] = attributes.contains("max-age") ? Json(cookie->maxAge) : Json();
        one["secure"] = cookie->secure;
        one["httpOnly"] = cookie->httpOnly;
        one["sameSite"] = TextOrNull(cookie->sameSite);
        one["attributes"] = attributes;
        cookies.push_back(std::move(one));
    }
    return cookies;
}

Json ConnectionToJson(const Tnx_ConnectionInfo *info)
{
    if (info == nullptr) {
        return {};
    }
    Json attempts = Json::array();
    for (const auto *one = info->attempts; one != nullptr; one = one->next) {
        attempts.push_back({{"address", one->address},
                            {"port", one->port},
                            {"error", one->error == 0 ? Json() : Json(std::strerror(one->error))}});
    }
    return {{"httpVersion", info->httpVersion},
            {"reused", info->reused},
            {"remoteAddress", TextOrNull(info->remoteAddress)},
            {"remotePort", info->remotePort},
            {"localAddress", TextOrNull(info->localAddress)},
            {"localPort", info->localPort},
            {"proxy", TextOrNull(info->proxy)},
            {"tlsVersion", TextOrNull(info->tlsVersion)},
            {"cipher", TextOrNull(info->cipher)},
            {"peerChain", TextOrNull(info->peerChain)},
            {"bytesSent", info->bytesSent},
            {"bytesReceived", info->bytesReceived},
            {"attempts", attempts}};
}

Json HopsToJson(const Tnx_ConnectionInfo *info)
{
    Json hops = Json::array();
    for (const auto *hop = info == nullptr ? nullptr : info->hops; hop != nullptr;
         hop = hop->next) {
        hops.push_back({{"url", TextOrNull(hop->url)}, {"status", hop->statusCode}});
    }
    return hops;
}

Json TimesToJson(const Tnx_TimeInfo *times)
{
    Json all = Json::object();
    if (times != nullptr) {
        all["nameLookup"] = times->nameLookup;
        all["connect"] = times->connect;
        all["tls"] = times->tls;
        all["firstSend"] = times->firstSend;
        all["firstReceive"] = times->firstReceive;
        all["total"] = times->total;
        all["redirect"] = times->redirect;
        all["queue"] = times->queue;
    }
    return all;
}

// Headers may carry credentials: they are shown only where they were asked for.
Json DebugToJson(const Tnx_DebugInfo *info, bool headers)
{
    static constexpr const char *kinds[TNX_DEBUG_KINDS] = {
        "text", "headerIn", "headerOut", "dataIn", "dataOut", "tlsDataIn", "tlsDataOut"};
    Json all = Json::array();
    for (; info != nullptr; info = info->next) {
        if (info->type != TNX_DEBUG_TEXT && !headers) {
            continue;
        }
        const char *kind = info->type < TNX_DEBUG_KINDS ? kinds[info->type] : "unknown";
        all.push_back({{"kind", kind}, {"data", std::string(DebugBytes(*info))}});
    }
    return all;
}

} // namespace

std::string ToJsonLine(const Outcome &outcome, bool debug)
{
    const Tnx_Response *response = outcome.response.get();
    Json object;
    object["status"] = outcome.HttpStatus();
    object["errorCode"] = outcome.errorCode;
    object["effectiveUrl"] = TextOrNull(response == nullptr ? nullptr : response->effectiveUrl);
    object["headers"] = HeadersToJson(response == nullptr ? nullptr : response->headers);
    object["bodyLength"] = outcome.bodyLength;
    object["cookies"] = CookiesToJson(response == nullptr ? nullptr : response->cookies);
    object["times"] = TimesToJson(response == nullptr ? nullptr : response->timeInfo);
    object["connection"] = ConnectionToJson(OVX_Tnx_GetConnectionInfo(response));
    object["hops"] = HopsToJson(OVX_Tnx_GetConnectionInfo(response));
    object["failure"] = TextOrNull(outcome.error.empty() ? nullptr : outcome.error.c_str());
    object["debug"] = DebugToJson(response == nullptr ? nullptr : response->debugInfo, debug);
    // Header fields may hold any bytes; JSON is UTF-8.
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace TnxTool
