// Explains a transfer phase by phase, and where it failed.
#include "explain.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "answer/phases.h"
#include "base/url.h"
#include "base/values.h"
#include "certificates.h"

namespace TnxTool
{

namespace
{

constexpr double MILLISECOND = 1000;

std::string Milliseconds(double microseconds)
{
    char text[48];
    std::snprintf(text, sizeof(text), "%.1f ms", microseconds / MILLISECOND);
    return text;
}

std::string Line(const char *label, const std::string &text)
{
    char start[16];
    std::snprintf(start, sizeof(start), "  %-9s ", label);
    return start + text + "\n";
}

std::vector<Phase> PhasesOf(const Outcome &outcome)
{
    const Tnx_TimeInfo *times = outcome.response ? outcome.response->timeInfo : nullptr;
    return times == nullptr ? std::vector<Phase>{} : ReadPhases(*times, outcome.errorCode);
}

// How long a phase took, in brackets; nothing for one that did not happen.
std::string Took(const std::vector<Phase> &phases, Phase::Kind kind)
{
    for (const Phase &phase : phases) {
        if (phase.kind == kind) {
            return " (" + Milliseconds(phase.end - phase.begin) + ")";
        }
    }
    return {};
}

std::string ExplainHops(const Outcome &outcome)
{
    std::string text;
    std::string url = outcome.url;
    const auto exchanges = outcome.conversation.Exchanges();
    for (size_t at = 0; at + 1 < exchanges.size(); ++at) {
        text += Line("hop", url + " answered " + std::to_string(exchanges[at]->status));
        if (const std::string location = exchanges[at]->AnswerField("location");
            exchanges[at]->status / 100 == 3 && !location.empty()) {
            url = ResolveUrl(url, location);
        }
    }
    return text;
}

std::string Reason(int error)
{
    return error == ETIMEDOUT   ? "no answer"
           : error == ECANCELED ? "another one was faster"
                                : std::strerror(error);
}

std::string ExplainConnection(const Outcome &outcome, const std::vector<Phase> &phases)
{
    std::string text;
    const auto proxy = outcome.conversation.Proxy();
    if (proxy) {
        const bool own = proxy->namedBy == "the configuration";
        text += Line("proxy", proxy->url + ", named by " + (own ? "-x" : proxy->namedBy));
    }
    const std::string lookup = Took(phases, Phase::LOOKUP);
    if (!lookup.empty()) {
        const bool failed =
            outcome.errorCode == TNX_ERR_RESOLVE_HOST || outcome.errorCode == TNX_ERR_RESOLVE_PROXY;
        const bool ofServer = !proxy || outcome.errorCode == TNX_ERR_RESOLVE_HOST;
        const std::string url = ofServer ? outcome.EffectiveUrl() : proxy->url;
        text += Line("lookup", std::string(UrlHost(url)) +
                                   (failed ? " has no address" : " resolved") + lookup);
    }
    const Tnx_ConnectionInfo *info = OVX_Tnx_GetConnectionInfo(outcome.response.get());
    for (const auto *one = info == nullptr ? nullptr : info->attempts; one != nullptr;
         one = one->next) {
        text += Line("connect", (proxy ? "the proxy " : "") + std::string(one->address) + " port " +
                                    std::to_string(one->port) + ": " +
                                    (one->error == 0 ? "connected" + Took(phases, Phase::CONNECT)
                                                     : Reason(one->error)));
    }
    if (info != nullptr && info->reused) {
        text += Line("connect", "a kept connection was used");
    }
    return text;
}

std::string ExplainTls(const Outcome &outcome, const std::vector<Phase> &phases)
{
    std::string text;
    for (const std::string &entry : outcome.conversation.texts) {
        constexpr std::string_view marks[] = {"SSL connection using ", "ALPN: server "};
        for (const std::string_view mark : marks) {
            if (entry.starts_with(mark)) {
                text += Line("TLS", mark == marks[0]
                                        ? entry.substr(mark.size()) + Took(phases, Phase::TLS)
                                        : entry);
            }
        }
    }
    return text;
}

std::string ExplainCertificates(const Server &server, const Tnx_SecurityConfiguration &security)
{
    const bool custom = security.remoteValidation == TNX_VALIDATION_CUSTOM;
    const CertificateChain chain =
        LookAtCertificates(server, custom ? security.customValidation1 : nullptr,
                           custom ? security.customValidation2 : nullptr);
    std::string text = Line("chain", "seen on a second connection to " + server.address + " port " +
                                         std::to_string(server.port));
    if (!chain.failure.empty()) {
        return text + Line("", chain.failure);
    }
    for (size_t depth = 0; depth < chain.certificates.size(); ++depth) {
        const Certificate &certificate = chain.certificates[depth];
        text += Line("", std::to_string(depth) + " " + certificate.subject);
        text += Line("", "  issued by " + certificate.issuer);
        text += Line("", "  good from " + certificate.notBefore + " to " + certificate.notAfter);
        if (!certificate.problem.empty()) {
            text += Line("", "  refused here: " + certificate.problem);
        }
        if (!certificate.names.empty()) {
            text += Line("", "  it is for " + certificate.names);
        }
    }
    return text + Line("pin", "--pinnedpubkey '" + chain.pin + "'");
}

// The server whose certificates there are to see: one that was reached directly, over TLS.
std::optional<Server> TlsServer(const Outcome &outcome)
{
    const Tnx_ConnectionInfo *info = OVX_Tnx_GetConnectionInfo(outcome.response.get());
    const std::string url = outcome.EffectiveUrl();
    if (info == nullptr || UrlScheme(url) != "https" || outcome.conversation.Proxy()) {
        return std::nullopt;
    }
    const Tnx_AddressAttempt *reached = nullptr;
    for (const auto *one = info->attempts; one != nullptr; one = one->next) {
        reached = one->error == 0 ? one : reached;
    }
    return reached == nullptr
               ? std::nullopt
               : std::optional(Server{std::string(UrlHost(url)), reached->address, reached->port});
}

std::string ExplainEnd(const Outcome &outcome, const std::vector<Phase> &phases)
{
    std::string text;
    if (outcome.HttpStatus() != 0) {
        const auto exchanges = outcome.conversation.Exchanges();
        const std::string version = exchanges.empty() ? "" : exchanges.back()->version;
        text += Line("answer", std::to_string(outcome.HttpStatus()) + " over HTTP/" + version +
                                   Took(phases, Phase::WAIT));
    }
    if (outcome.errorCode != TNX_OK) {
        const std::string phase =
            phases.empty() ? "" : std::string(" in ") + PhaseName(phases.back().kind);
        text += Line("failed",
                     "code " + std::to_string(outcome.errorCode) + phase + ": " + outcome.error);
    }
    return text;
}

} // namespace

std::string Explain(const Outcome &outcome, const Tnx_Configuration &configuration)
{
    const std::vector<Phase> phases = PhasesOf(outcome);
    std::string text = outcome.method + " " + outcome.EffectiveUrl() + "\n";
    text += ExplainHops(outcome);
    text += ExplainConnection(outcome, phases);
    text += ExplainTls(outcome, phases);
    if (const auto server = TlsServer(outcome)) {
        text += ExplainCertificates(*server, configuration.security);
    } else if (UrlScheme(outcome.EffectiveUrl()) == "https") {
        text += Line("chain", "not looked at: no connection led straight to the server");
    }
    return text + ExplainEnd(outcome, phases);
}

} // namespace TnxTool
