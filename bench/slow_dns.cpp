// bench_slow_dns NGINX: a name server that answers after three seconds, and what goes on meanwhile:
// a request to a literal address, a cancel, a close.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>
#include <vector>

#include "dns_server.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;
using Clock = std::chrono::steady_clock;

constexpr int ROUNDS = 7;

namespace
{

struct Times {
    std::vector<double> literal;
    std::vector<double> cancel;
    std::vector<double> close;
};

void Ignore(void *, Tnx_Response *response, uint32_t)
{
    if (response != nullptr) {
        response->destroyResponse(response);
    }
}

double Since(Clock::time_point begin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void RunRound(const std::string &literal, Times &times)
{
    using namespace OHOS::Pelloria::TnxTest;
    DnsServer names(
        {.zone = {.addresses = {{"*", "127.0.0.1"}}}, .delay = std::chrono::seconds(3)});
    Tnx_DnsServer server{"127.0.0.1", names.Port(), nullptr};
    Tnx_DnsRule rule{};
    rule.kind = TNX_DNS_SERVERS;
    rule.rule.servers = &server;
    Tnx_Configuration configuration{};
    configuration.dnsRule = &rule;

    TnxClient client({.url = literal});
    const Tnx_ResponseCallbackObject callback{Ignore, nullptr};
    Tnx_Request *first = OVX_Tnx_CreateRequest("http://first.test/");
    Tnx_Request *second = OVX_Tnx_CreateRequest("http://second.test/");
    first->configuration = second->configuration = &configuration;
    OVX_Tnx_Fetch(client.Session(), first, &callback);
    OVX_Tnx_Fetch(client.Session(), second, &callback);
    if (!names.WaitForQuestions(2)) {
        Fail("nobody asked the name server");
    }

    auto begin = Clock::now();
    Tnx_Request *request = client.MakeRequest();
    uint32_t code = TNX_OK;
    Tnx_Response *response = OVX_Tnx_FetchSync(client.Session(), request, &code);
    times.literal.push_back(Since(begin));
    if (code != TNX_OK) {
        Fail("the literal address failed");
    }
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(request);

    begin = Clock::now();
    OVX_Tnx_CancelRequest(client.Session(), first);
    times.cancel.push_back(Since(begin));

    begin = Clock::now();
    client.Close();
    times.close.push_back(Since(begin));
    OVX_Tnx_DestroyRequest(first);
    OVX_Tnx_DestroyRequest(second);
}

} // namespace

int main(int, char **argv)
{
    Times times;
    for (int round = 0; round < ROUNDS; ++round) {
        RunRound(std::string(argv[1]) + "/1k", times);
    }
    std::printf("\nWhile a name server takes 3 s (medians of %d)\n", ROUNDS);
    std::printf("  request to a literal address %8.3f ms (aim 50)\n", Median(times.literal));
    std::printf("  cancel                       %8.3f ms (aim 1)\n", Median(times.cancel));
    std::printf("  close                        %8.3f ms (aim 200)\n", Median(times.close));
}
