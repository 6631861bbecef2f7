// bench_in_flight SCRIPTED: 10,000 requests in flight at once on a silent server, each with its own
// connection; how much memory one takes.
#include <memory>

#include <sys/resource.h>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr uint64_t COUNT = 10000;

int main(int, char **argv)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    const std::string url = std::string(argv[1]) + "/stall?ms=6000";
    Compare({.title = "10,000 in flight", .count = COUNT, .rounds = 3, .memory = true, .aim = 1.2},
            {{"libcurl",
              [&]() -> Run {
                  auto client = std::make_shared<CurlParallel>(CurlOptions{.url = url}, COUNT);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto client = std::make_shared<TnxParallel>(
                      TnxOptions{.url = url, .connections = COUNT}, COUNT);
                  return [client](uint64_t count) { client->Run(count); };
              }}});
}
