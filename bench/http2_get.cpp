// bench_http2_get TLS CA: GETs of 1 KiB, 64 streams of HTTP/2 over TLS.
#include <memory>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr size_t STREAMS = 64;

int main(int, char **argv)
{
    const std::string url = std::string(argv[1]) + "/1k";
    const std::string ca = argv[2];
    Compare({.title = "HTTP/2, 64 streams", .count = 20000, .warmUp = 2000, .aim = 1.15},
            {{"libcurl",
              [&]() -> Run {
                  auto client =
                      std::make_shared<CurlParallel>(CurlOptions{.url = url, .ca = ca}, STREAMS);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto client =
                      std::make_shared<TnxParallel>(TnxOptions{.url = url, .ca = ca}, STREAMS);
                  return [client](uint64_t count) { client->Run(count); };
              }}});
}
