// bench_peers NGINX TLS CA: other HTTP libraries, and this one, beside hand-written libcurl. They
// do not promise the same, so their ratios tell what promises cost, not who is better.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "curl_client.h"
#include "peer.h"
#include "tnx_client.h"

using namespace TnxBench;

namespace
{

constexpr size_t WIDTH = 64;
constexpr uint64_t GIBIBYTE = 1024 * 1024 * 1024;

template <class Client, class... Arguments> Run RunOf(const Arguments &...arguments)
{
    auto client = std::make_shared<Client>(arguments...);
    return [client](uint64_t count) { client->Run(count); };
}

CurlOptions ForCurl(const Task &task)
{
    return {.url = task.url, .ca = task.ca, .body = task.body};
}

TnxOptions ForTnx(const Task &task)
{
    return {.url = task.url, .ca = task.ca, .body = task.body};
}

Peer Libcurl()
{
    return {"libcurl",
            [](const Task &task) { return RunOf<CurlSync>(ForCurl(task), task.expected); },
            [](const Task &task) { return RunOf<CurlParallel>(ForCurl(task), task.width); },
            [](const Task &task) {
                CurlOptions options = ForCurl(task);
                options.buffer = 256 * 1024;
                return RunOf<CurlSync>(options, task.expected);
            }};
}

Peer Libtnx()
{
    return {"libtnx", [](const Task &task) { return RunOf<TnxSync>(ForTnx(task), task.expected); },
            [](const Task &task) { return RunOf<TnxParallel>(ForTnx(task), task.width); },
            [](const Task &task) {
                TnxOptions options = ForTnx(task);
                options.onData = [](void *, const Tnx_Buffer *data) -> size_t {
                    return data->length;
                };
                return RunOf<TnxSync>(options, 0);
            }};
}

std::vector<Peer> Peers()
{
    std::vector<Peer> peers{Libcurl(), Libtnx()};
#ifdef TNX_BENCH_BEAST
    peers.push_back(Beast());
#else
    std::printf("Boost.Beast is missing (libboost-dev).\n");
#endif
#ifdef TNX_BENCH_SOUP
    peers.push_back(Soup());
#else
    std::printf("libsoup3 is missing (libsoup-3.0-dev).\n");
#endif
    return peers;
}

void Compare(const Workload &workload, const std::vector<Peer> &peers,
             std::function<Run(const Task &)> Peer::*kind, const Task &task)
{
    std::vector<Contestant> contestants;
    for (const Peer &peer : peers) {
        if (peer.http2 || task.ca.empty()) {
            contestants.push_back({peer.name, [&peer, kind, &task] { return (peer.*kind)(task); }});
        }
    }
    CompareRatios(workload, contestants);
}

} // namespace

int main(int, char **argv)
{
    const std::string nginx = argv[1];
    const std::vector<Peer> peers = Peers();
    Compare({.title = "Synchronous GET, 1 KiB", .count = 5000, .warmUp = 500}, peers, &Peer::sync,
            {.url = nginx + "/1k", .expected = 1024});
    Compare({.title = "64 in flight, 1 KiB", .count = 10000, .warmUp = 1000}, peers,
            &Peer::parallel, {.url = nginx + "/1k", .expected = 1024, .width = WIDTH});
    Compare({.title = "HTTP/2, 64 streams", .count = 10000, .warmUp = 1000}, peers, &Peer::parallel,
            {.url = argv[2] + std::string("/1k"), .expected = 1024, .ca = argv[3], .width = WIDTH});
    Compare({.title = "POST of 64 KiB", .count = 2000, .warmUp = 200}, peers, &Peer::sync,
            {.url = nginx + "/sink", .body = std::string(65536, 'b')});
    Compare({.title = "1 GiB streamed to a callback", .count = 1, .rounds = 3}, peers,
            &Peer::stream, {.url = nginx + "/big", .expected = GIBIBYTE});
}
