// bench_download NGINX: 1 GiB streamed to a callback.
#include <memory>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr uint64_t SIZE = 1024 * 1024 * 1024;

namespace
{

size_t Count(void *received, const Tnx_Buffer *data)
{
    *static_cast<uint64_t *>(received) += data->length;
    return data->length;
}

} // namespace

int main(int, char **argv)
{
    const std::string url = std::string(argv[1]) + "/big";
    Compare({.title = "1 GiB streamed to a callback", .count = 1, .rounds = 7, .aim = 1.10},
            {{"libcurl",
              [&]() -> Run {
                  auto client = std::make_shared<CurlSync>(
                      CurlOptions{.url = url, .buffer = 256 * 1024}, SIZE);
                  return [client](uint64_t count) { client->Run(count); };
              }},
             {"libtnx", [&]() -> Run {
                  auto received = std::make_shared<uint64_t>(0);
                  auto client = std::make_shared<TnxSync>(
                      TnxOptions{.url = url, .onData = Count, .usrCtx = received.get()}, 0);
                  return [client, received](uint64_t count) {
                      client->Run(count);
                      if (*received != SIZE * count) {
                          Fail("libtnx: the body is not whole");
                      }
                  };
              }}});
}
