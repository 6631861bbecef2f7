// What other HTTP libraries do in ./dev bench peers, each in a file of its own.
#ifndef TNX_BENCH_PEER_H
#define TNX_BENCH_PEER_H

#include <cstdint>
#include <functional>
#include <string>

#include "harness.h"

namespace TnxBench
{

struct Task {
    std::string url;
    uint64_t expected = 0; // bytes of each answer
    std::string ca{};      // with it the request is HTTP/2 over TLS
    std::string body{};    // with it the request is a POST
    size_t width = 1;      // requests in flight
};

struct Peer {
    std::string name;
    std::function<Run(const Task &)> sync;
    std::function<Run(const Task &)> parallel;
    std::function<Run(const Task &)> stream; // one large answer, piece by piece
    bool http2 = true;
};

Peer Beast();
Peer Soup();

} // namespace TnxBench

#endif
