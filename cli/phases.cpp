// The phases of a transfer.
#include "phases.h"

#include <algorithm>

namespace TnxTool
{

const char *PhaseName(Phase::Kind kind)
{
    static constexpr const char *names[] = {"redirects", "lookup", "connect", "TLS",
                                            "send",      "wait",   "receive"};
    return names[kind];
}

std::vector<Phase> ReadPhases(const Tnx_TimeInfo &times, bool secure, bool failed)
{
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
    Phase::Kind last = Phase::REDIRECTS;
    for (const Mark &mark : marks) {
        if (mark.kind == Phase::RECEIVE && failed && times.firstReceive == 0) {
            break;
        }
        if (mark.end > 0) {
            phases.push_back({mark.kind, begin, std::max(begin, mark.end)});
            begin = phases.back().end;
            last = mark.kind;
        }
    }
    if (failed && last != Phase::RECEIVE) {
        // It broke off in the phase that would have ended next.
        auto next = static_cast<Phase::Kind>(last + 1);
        next = next == Phase::TLS && !secure ? Phase::SEND : next;
        phases.push_back({next, begin, std::max(begin, times.total)});
    }
    if (failed && !phases.empty()) {
        phases.back().failed = true;
    }
    return phases;
}

} // namespace TnxTool
