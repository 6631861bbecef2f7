// The phases of a transfer.
#include "phases.h"

#include <algorithm>

namespace TnxTool
{

const char *PhaseName(Phase::Kind kind)
{
    static constexpr const char *names[] = {"redirects", "lookup", "connect", "TLS",
                                            "send",      "wait",   "receive", "connect+TLS"};
    return names[kind];
}

namespace
{

// Failures of the handshake or of the check of certificates. With an older libcurl the library has
// no time for the connection then: it is told with its handshake or not at all.
bool IsTlsFailure(uint32_t errorCode)
{
    switch (errorCode) {
    case TNX_ERR_TLS_CONNECT:
    case TNX_ERR_CLIENT_CERTIFICATE:
    case TNX_ERR_PEER_VERIFICATION:
    case TNX_ERR_TRUST_STORE:
    case TNX_ERR_PIN_MISMATCH:
        return true;
    default:
        return false;
    }
}

// The phase that would have ended next after the last one that did.
Phase::Kind BrokenPhase(const Tnx_TimeInfo &times, uint32_t errorCode)
{
    if (times.firstReceive > 0) {
        return Phase::RECEIVE;
    }
    if (times.firstSend > 0) {
        return Phase::WAIT;
    }
    if (errorCode == TNX_ERR_RESOLVE_HOST || errorCode == TNX_ERR_RESOLVE_PROXY) {
        return Phase::LOOKUP;
    }
    if (IsTlsFailure(errorCode)) {
        return times.connect > 0 ? Phase::TLS : Phase::CONNECT_AND_TLS;
    }
    return times.connect > 0 ? Phase::SEND : Phase::CONNECT;
}

} // namespace

std::vector<Phase> ReadPhases(const Tnx_TimeInfo &times, uint32_t errorCode)
{
    const bool failed = errorCode != TNX_OK;
    const Phase::Kind broken = BrokenPhase(times, errorCode);
    struct Mark {
        Phase::Kind kind;
        double end; // 0: it did not happen, or did not end
    };
    const Mark marks[] = {
        {Phase::REDIRECTS, static_cast<double>(times.redirect)},
        {Phase::LOOKUP, static_cast<double>(times.nameLookup)},
        {Phase::CONNECT, static_cast<double>(times.connect)},
        {Phase::TLS, static_cast<double>(times.tls)},
        {Phase::SEND, static_cast<double>(times.firstSend)},
        {Phase::WAIT, times.firstReceive},
        {Phase::RECEIVE, times.total},
    };
    std::vector<Phase> phases;
    double begin = 0;
    for (const Mark &mark : marks) {
        if (mark.end > 0 && (!failed || mark.kind < broken)) {
            phases.push_back({mark.kind, begin, std::max(begin, mark.end)});
            begin = phases.back().end;
        }
    }
    if (failed) {
        phases.push_back({broken, begin, std::max(begin, times.total), true});
    }
    return phases;
}

} // namespace TnxTool
