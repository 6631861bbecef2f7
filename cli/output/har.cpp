// An HTTP archive (HAR 1.2) of a run.
#include "har.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "answer/bodies.h"
#include "answer/hop_times.h"
#include "base/url.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr const char *REDACTED = "[redacted]";
constexpr std::array SECRET_FIELDS = {"authorization", "proxy-authorization", "cookie",
                                      "set-cookie"};

std::string IsoTime(std::chrono::system_clock::time_point at)
{
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count();
    const std::time_t seconds = milliseconds / 1000;
    std::tm date{};
    gmtime_r(&seconds, &date);
    char text[64];
    const size_t length = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &date);
    std::snprintf(text + length, sizeof(text) - length, ".%03dZ",
                  static_cast<int>(milliseconds % 1000));
    return text;
}

bool IsSecret(const std::string &name)
{
    return std::find(SECRET_FIELDS.begin(), SECRET_FIELDS.end(), ToLower(name)) !=
           SECRET_FIELDS.end();
}

Json FieldsToJson(const std::vector<Field> &fields, bool secrets)
{
    Json all = Json::array();
    for (const Field &field : fields) {
        const bool hidden = !secrets && IsSecret(field.name);
        all.push_back({{"name", field.name}, {"value", hidden ? REDACTED : field.value}});
    }
    return all;
}

// The pairs of a Cookie field, or the leading pair of each Set-Cookie field.
Json CookiesToJson(const std::vector<Field> &fields, std::string_view fieldName, bool secrets)
{
    Json all = Json::array();
    for (const Field &field : fields) {
        if (ToLower(field.name) != fieldName) {
            continue;
        }
        for (const std::string &pair : Split(field.value, ';')) {
            const std::string_view cookie = Trim(pair);
            const size_t mark = std::min(cookie.find('='), cookie.size());
            const std::string value(cookie.substr(std::min(mark + 1, cookie.size())));
            all.push_back({{"name", std::string(cookie.substr(0, mark))},
                           {"value", secrets ? value : REDACTED}});
            if (fieldName == "set-cookie") {
                break; // attributes follow
            }
        }
    }
    return all;
}

Json QueryToJson(const std::string &url)
{
    Json all = Json::array();
    const std::string query(UrlQuery(url));
    for (const std::string &pair : query.empty() ? std::vector<std::string>{} : Split(query, '&')) {
        const size_t mark = std::min(pair.find('='), pair.size());
        all.push_back({{"name", UrlDecode(pair.substr(0, mark))},
                       {"value", UrlDecode(pair.substr(std::min(mark + 1, pair.size())))}});
    }
    return all;
}

std::string Version(const std::string &number)
{
    return "HTTP/" + (number.empty() ? "1.1" : number);
}

// What the format can hold: UTF-8. A NUL tells that it is none, whatever its letters.
bool IsText(const std::string &bytes)
{
    try {
        static_cast<void>(Json(bytes).dump());
    } catch (const Json::exception &) {
        return false;
    }
    return bytes.find('\0') == std::string::npos;
}

// -1 stands for what is not known.
Json SizeToJson(std::optional<uint64_t> size)
{
    return size ? Json(*size) : Json(-1);
}

Json RequestToJson(const Hop &hop, const std::string &url, bool secrets)
{
    const std::optional<uint64_t> size = SentSize(hop);
    Json request = {{"method", hop.method},
                    {"url", url},
                    {"httpVersion", Version(hop.requestVersion)},
                    {"cookies", CookiesToJson(hop.requestFields, "cookie", secrets)},
                    {"headers", FieldsToJson(hop.requestFields, secrets)},
                    {"queryString", QueryToJson(url)},
                    {"headersSize", hop.requestSize},
                    {"bodySize", SizeToJson(size)}};
    if (size != 0U) {
        const std::optional<std::string> body = SentBody(hop);
        const bool shown = body && IsText(*body);
        Json &data = request["postData"] = {{"mimeType", hop.RequestField("content-type")},
                                            {"text", shown ? *body : ""}};
        if (!shown) {
            data["comment"] = body ? "not text" : "above 1 MiB";
        }
    }
    return request;
}

// `wire`: the size of the body before its codings were undone; `body`: after that, where known.
Json ResponseToJson(const Hop &hop, std::optional<uint64_t> wire, uint64_t bodyLength,
                    const std::optional<std::string> &body, const std::string &error, bool secrets)
{
    Json content = {{"size", bodyLength}, {"mimeType", hop.AnswerField("content-type")}};
    if (body && IsText(*body)) {
        content["text"] = *body;
    }
    Json response = {{"status", hop.status},
                     {"statusText", hop.reason},
                     {"httpVersion", hop.version.empty() ? "" : Version(hop.version)},
                     {"cookies", CookiesToJson(hop.fields, "set-cookie", secrets)},
                     {"headers", FieldsToJson(hop.fields, secrets)},
                     {"content", content},
                     {"redirectURL", hop.AnswerField("location")},
                     {"headersSize", hop.size},
                     {"bodySize", SizeToJson(wire)}};
    if (!error.empty()) {
        response["_error"] = error;
    }
    return response;
}

// The body of an answer that another one follows is nowhere but on the wire.
Json FollowedResponse(const Hop &hop, bool secrets)
{
    const std::optional<uint64_t> size = AnnouncedSize(hop);
    return ResponseToJson(hop, size, size.value_or(0), std::nullopt, "", secrets);
}

Json LastResponse(const Hop &hop, const Outcome &outcome, bool secrets)
{
    const bool whole = outcome.errorCode == TNX_OK;
    std::optional<uint64_t> size = whole ? AnnouncedSize(hop) : std::nullopt;
    if (!size && hop.AnswerField("content-encoding").empty()) {
        size = outcome.bodyLength;
    }
    return ResponseToJson(hop, size, outcome.bodyLength, outcome.body, outcome.error, secrets);
}

// Milliseconds; -1 where a phase did not happen, as the format has it. `connect` holds `ssl` too.
Json TimingsToJson(const HopTimes &times)
{
    const auto milliseconds = [](double microseconds) { return std::round(microseconds) / 1000; };
    const auto orNone = [&](const std::optional<double> &phase) {
        return phase ? milliseconds(*phase) : -1;
    };
    std::optional<double> connect = times.connect;
    if (connect && times.tls) {
        *connect += *times.tls;
    }
    return {{"blocked", orNone(times.blocked)},
            {"dns", orNone(times.lookup)},
            {"connect", orNone(connect)},
            {"ssl", orNone(times.tls)},
            {"send", milliseconds(times.send)},
            {"wait", milliseconds(times.wait)},
            {"receive", milliseconds(times.receive)}};
}

} // namespace

void HttpArchive::Add(const Outcome &outcome, bool secrets)
{
    auto exchanges = outcome.conversation.Exchanges();
    Hop unsent; // nothing was sent: the entry tells of the attempt
    unsent.method = outcome.method;
    if (exchanges.empty()) {
        exchanges.push_back(&unsent);
    }
    const std::vector<HopTimes> times = ReadHopTimes(outcome, exchanges.size());
    std::string url = outcome.url;
    for (size_t at = 0; at < exchanges.size(); ++at) {
        const Hop &hop = *exchanges[at];
        const bool last = at + 1 == exchanges.size();
        const HopTimes &time = times[at];
        const auto begin =
            outcome.started + std::chrono::microseconds(static_cast<int64_t>(time.begin));
        entries_.push_back({{"startedDateTime", IsoTime(begin)},
                            {"time", std::round(time.Total()) / 1000},
                            {"request", RequestToJson(hop, url, secrets)},
                            {"response", last ? LastResponse(hop, outcome, secrets)
                                              : FollowedResponse(hop, secrets)},
                            {"cache", Json::object()},
                            {"timings", TimingsToJson(time)}});
        if (const std::string location = hop.AnswerField("location");
            hop.status / 100 == 3 && !location.empty()) {
            url = ResolveUrl(url, location);
        }
    }
}

std::string HttpArchive::Text() const
{
    const Json archive = {{"log",
                           {{"version", "1.2"},
                            {"creator", {{"name", "tnx"}, {"version", TNX_TOOL_VERSION}}},
                            {"entries", entries_}}}};
    return archive.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace TnxTool
