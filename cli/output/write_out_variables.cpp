// The variables of --write-out.
#include "write_out_variables.h"

#include <algorithm>
#include <cmath>

#include "base/url.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

constexpr double MICROSECONDS = 1e6;

const Hop *LastExchange(const Outcome &outcome)
{
    const auto exchanges = outcome.conversation.Exchanges();
    return exchanges.empty() ? nullptr : exchanges.back();
}

// A moment of the record, in seconds.
template <auto Member> Json Seconds(const Outcome &outcome)
{
    const Tnx_TimeInfo *times = outcome.response ? outcome.response->timeInfo : nullptr;
    const double value = times == nullptr ? 0 : static_cast<double>(times->*Member);
    return std::round(value) / MICROSECONDS;
}

Json Speed(const Outcome &outcome, uint64_t bytes)
{
    const double seconds = Seconds<&Tnx_TimeInfo::total>(outcome).get<double>();
    return seconds > 0 ? static_cast<uint64_t>(static_cast<double>(bytes) / seconds) : 0;
}

template <size_t Hop::*Size> Json SumOfHops(const Outcome &outcome)
{
    size_t sum = 0;
    for (const Hop &hop : outcome.conversation.hops) {
        sum += hop.*Size;
    }
    return sum;
}

const Tnx_ConnectionInfo *Connection(const Outcome &outcome)
{
    return OVX_Tnx_GetConnectionInfo(outcome.response.get());
}

template <auto Member> Json Address(const Outcome &outcome)
{
    const Tnx_ConnectionInfo *info = Connection(outcome);
    return info == nullptr || info->*Member == nullptr ? Json("") : Json(info->*Member);
}

template <auto Member> Json Port(const Outcome &outcome)
{
    const Tnx_ConnectionInfo *info = Connection(outcome);
    return info == nullptr ? 0 : info->*Member;
}

Json TextOrNull(const std::string &text)
{
    return text.empty() ? Json() : Json(text);
}

Json Status(const Outcome &outcome)
{
    return outcome.HttpStatus();
}

Json ContentType(const Outcome &outcome)
{
    const Hop *last = LastExchange(outcome);
    return last == nullptr ? Json() : TextOrNull(last->AnswerField("content-type"));
}

Json ConnectStatus(const Outcome &outcome)
{
    int status = 0;
    for (const Hop &hop : outcome.conversation.hops) {
        status = hop.method == "CONNECT" ? hop.status : status;
    }
    return status;
}

Json RedirectCount(const Outcome &outcome)
{
    const auto exchanges = outcome.conversation.Exchanges();
    const auto followed = exchanges.empty() ? exchanges.end() : exchanges.end() - 1;
    return std::count_if(exchanges.begin(), followed,
                         [](const Hop *hop) { return hop->status / 100 == 3; });
}

Json RedirectUrl(const Outcome &outcome)
{
    const Hop *last = LastExchange(outcome);
    const std::string location = last == nullptr ? "" : last->AnswerField("location");
    const bool redirect = last != nullptr && last->status / 100 == 3 && !location.empty();
    return redirect ? Json(ResolveUrl(outcome.EffectiveUrl(), location)) : Json();
}

Json HttpVersion(const Outcome &outcome)
{
    const Hop *last = LastExchange(outcome);
    return last == nullptr || last->version.empty() ? "0" : last->version;
}

Json Referer(const Outcome &outcome)
{
    const Hop *last = LastExchange(outcome);
    return last == nullptr ? Json() : TextOrNull(last->RequestField("referer"));
}

Json FieldCount(const Outcome &outcome)
{
    const Hop *last = LastExchange(outcome);
    return last == nullptr ? 0 : last->fields.size();
}

constexpr Variable VARIABLES[] = {
    {"content_type", "The content type of the answer", &ContentType},
    {"errormsg", "Why the transfer failed", [](const Outcome &o) { return TextOrNull(o.error); }},
    {"exitcode", "The exit status that this transfer asks for",
     [](const Outcome &o) { return Json(o.status); }},
    {"filename_effective", "The file that the body went to",
     [](const Outcome &o) { return TextOrNull(o.file); }},
    {"http_code", "The status of the last answer", &Status},
    {"http_connect", "The status of the proxy's last answer to CONNECT", &ConnectStatus},
    {"http_version", "The version of HTTP that was spoken", &HttpVersion},
    {"local_ip", "The address that it came from", &Address<&Tnx_ConnectionInfo::localAddress>},
    {"local_port", "The port that it came from", &Port<&Tnx_ConnectionInfo::localPort>},
    {"method", "The method of the request", [](const Outcome &o) { return Json(o.method); }},
    {"num_headers", "How many fields the last answer had", &FieldCount},
    {"num_redirects", "How many redirects were followed", &RedirectCount},
    {"num_retries", "How often it was tried again",
     [](const Outcome &o) { return Json(o.retries); }},
    {"redirect_url", "Where a redirect leads that was not followed", &RedirectUrl},
    {"referer", "The referring URL that was sent", &Referer},
    {"remote_ip", "The address that it went to", &Address<&Tnx_ConnectionInfo::remoteAddress>},
    {"remote_port", "The port that it went to", &Port<&Tnx_ConnectionInfo::remotePort>},
    {"response_code", "The same as http_code", &Status},
    {"scheme", "The scheme of the last URL",
     [](const Outcome &o) { return Json(std::string(UrlScheme(o.EffectiveUrl()))); }},
    {"size_download", "Bytes of the body that came",
     [](const Outcome &o) { return Json(o.bodyLength); }},
    {"size_header", "Bytes of all header sections that came", &SumOfHops<&Hop::size>},
    {"size_request", "Bytes of all header sections that were sent", &SumOfHops<&Hop::requestSize>},
    {"size_upload", "Bytes of the body that were sent",
     [](const Outcome &o) { return Json(o.uploaded); }},
    {"speed_download", "Bytes of the body that came, a second",
     [](const Outcome &o) { return Speed(o, o.bodyLength); }},
    {"speed_upload", "Bytes of the body that were sent, a second",
     [](const Outcome &o) { return Speed(o, o.uploaded); }},
    {"ssl_verify_result", "0, or 1 where the certificate was refused",
     [](const Outcome &o) { return Json(o.errorCode == TNX_ERR_PEER_VERIFICATION ? 1 : 0); }},
    {"time_appconnect", "Seconds until TLS was set up", &Seconds<&Tnx_TimeInfo::tls>},
    {"time_connect", "Seconds until the connection stood", &Seconds<&Tnx_TimeInfo::connect>},
    {"time_namelookup", "Seconds until the name was resolved", &Seconds<&Tnx_TimeInfo::nameLookup>},
    {"time_pretransfer", "Seconds until sending began", &Seconds<&Tnx_TimeInfo::firstSend>},
    {"time_queue", "Seconds of waiting for a free connection, before all the others",
     &Seconds<&Tnx_TimeInfo::queue>},
    {"time_redirect", "Seconds of all hops that were followed", &Seconds<&Tnx_TimeInfo::redirect>},
    {"time_starttransfer", "Seconds until the first byte came",
     &Seconds<&Tnx_TimeInfo::firstReceive>},
    {"time_total", "Seconds of the whole transfer", &Seconds<&Tnx_TimeInfo::total>},
    {"url", "The URL that was asked for", [](const Outcome &o) { return Json(o.url); }},
    {"url_effective", "The URL that answered",
     [](const Outcome &o) { return Json(o.EffectiveUrl()); }},
    {"urlnum", "The number of the URL, from 0", [](const Outcome &o) { return Json(o.urlNumber); }},
};

} // namespace

std::span<const Variable> Variables()
{
    return VARIABLES;
}

const Variable *FindVariable(std::string_view name)
{
    const auto found = std::find_if(std::begin(VARIABLES), std::end(VARIABLES),
                                    [name](const Variable &v) { return name == v.name; });
    return found == std::end(VARIABLES) ? nullptr : found;
}

Json LastFields(const Outcome &outcome)
{
    Json fields = Json::object();
    if (const Hop *last = LastExchange(outcome)) {
        for (const Field &field : last->fields) {
            fields[ToLower(field.name)].push_back(field.value);
        }
    }
    return fields;
}

} // namespace TnxTool
