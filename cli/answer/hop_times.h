// How long each phase of each hop took.
#ifndef TNX_CLI_HOP_TIMES_H
#define TNX_CLI_HOP_TIMES_H

#include <optional>
#include <vector>

#include "outcome.h"
#include "phases.h"

namespace TnxTool
{

// Microseconds. A phase that did not happen has no value.
struct HopTimes {
    double begin = 0; // since the fetch was started
    std::optional<double> blocked;
    std::optional<double> lookup;
    std::optional<double> connect;
    std::optional<double> tls;
    double send = 0;
    double wait = 0;
    double receive = 0;

    double Total() const
    {
        return blocked.value_or(0) + lookup.value_or(0) + connect.value_or(0) + tls.value_or(0) +
               send + wait + receive;
    }
};

// One for each of `hops` exchanges.
std::vector<HopTimes> ReadHopTimes(const Outcome &outcome, size_t hops);

// A hop that was followed by another, with its phases on the axis of the whole transfer.
struct FollowedHop {
    std::string method;
    std::string url;
    int status = 0;
    std::vector<Phase> phases;
};
std::vector<FollowedHop> ReadFollowedHops(const Outcome &outcome);

} // namespace TnxTool

#endif
