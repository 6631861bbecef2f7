// bench_sync_get NGINX: GETs of 1 KiB, one after another on the calling thread.
#include <memory>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

int main(int, char **argv)
{
    const std::string url = std::string(argv[1]) + "/1k";
    Compare({.title = "Synchronous GET, 1 KiB", .count = 10000, .warmUp = 1000, .aim = 1.05},
            {{"libcurl",
              [&]() -> Run {
                  auto client = std::make_shared<CurlSync>(CurlOptions{.url = url}, 1024);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto client = std::make_shared<TnxSync>(TnxOptions{.url = url}, 1024);
                  return [client](uint64_t count) { client->Run(count); };
              }}});
}
