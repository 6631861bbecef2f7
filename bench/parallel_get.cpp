// bench_parallel_get NGINX: GETs of 1 KiB, 64 in flight, over HTTP/1.1.
#include <memory>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr size_t WIDTH = 64;

int main(int, char **argv)
{
    const std::string url = std::string(argv[1]) + "/1k";
    Compare({.title = "64 in flight, 1 KiB", .count = 20000, .warmUp = 2000, .aim = 1.15},
            {{"libcurl",
              [&]() -> Run {
                  auto client = std::make_shared<CurlParallel>(CurlOptions{.url = url}, WIDTH);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto client = std::make_shared<TnxParallel>(TnxOptions{.url = url}, WIDTH);
                  return [client](uint64_t count) { client->Run(count); };
              }}});
}
