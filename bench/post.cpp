// bench_post NGINX: POSTs of 64 KiB, one after another.
#include <memory>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

int main(int, char **argv)
{
    const std::string url = std::string(argv[1]) + "/sink";
    const std::string body(65536, 'b');
    Compare({.title = "POST of 64 KiB", .count = 5000, .warmUp = 500, .aim = 1.05},
            {{"libcurl",
              [&]() -> Run {
                  auto client =
                      std::make_shared<CurlSync>(CurlOptions{.url = url, .body = body}, 0);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto client = std::make_shared<TnxSync>(TnxOptions{.url = url, .body = body}, 0);
                  return [client](uint64_t count) { client->Run(count); };
              }}});
}
