// The phases of a transfer, one after another, from the times of its response.
#ifndef TNX_CLI_PHASES_H
#define TNX_CLI_PHASES_H

#include <vector>

#include "tnx_c.h"

namespace TnxTool
{

// Microseconds since the request left the queue.
struct Phase {
    enum Kind { REDIRECTS, LOOKUP, CONNECT, TLS, SEND, WAIT, RECEIVE, CONNECT_AND_TLS };
    Kind kind;
    double begin;
    double end;
    bool failed = false;
};

const char *PhaseName(Phase::Kind kind);

// The phases that happened, in order. Of a transfer that failed, the last one is where it did.
std::vector<Phase> ReadPhases(const Tnx_TimeInfo &times, uint32_t errorCode);

} // namespace TnxTool

#endif
