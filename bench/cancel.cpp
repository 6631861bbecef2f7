// bench_cancel: how long a cancel takes with 1,000 requests in flight.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "harness.h"
#include "scripted_server.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr size_t COUNT = 1000;

namespace
{

void Ignore(void *, Tnx_Response *response, uint32_t)
{
    if (response != nullptr) {
        response->destroyResponse(response);
    }
}

} // namespace

int main()
{
    const OHOS::Pelloria::TnxTest::ScriptedServer server;
    TnxClient client({.url = server.Url("/stall?ms=600000"), .connections = COUNT});
    const Tnx_ResponseCallbackObject callback{Ignore, nullptr};
    std::vector<Tnx_Request *> requests;
    for (size_t i = 0; i < COUNT; ++i) {
        requests.push_back(client.MakeRequest());
        OVX_Tnx_Fetch(client.Session(), requests.back(), &callback);
    }
    if (!server.WaitForRequests(COUNT)) {
        Fail("the requests did not arrive");
    }
    std::vector<double> times;
    for (Tnx_Request *request : requests) {
        const auto begin = std::chrono::steady_clock::now();
        OVX_Tnx_CancelRequest(client.Session(), request);
        times.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
                .count());
    }
    client.Close();
    for (Tnx_Request *request : requests) {
        OVX_Tnx_DestroyRequest(request);
    }
    std::sort(times.begin(), times.end());
    std::printf("\nCancel, 1,000 in flight (aim: median under 50 us)\n");
    std::printf("  median %.1f us, 99th percentile %.1f us, longest %.1f us\n", times[COUNT / 2],
                times[COUNT * 99 / 100], times.back());
}
