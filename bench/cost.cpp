// bench_cost WORKLOAD CLIENT NGINX TLS CA COUNT: one client's requests, which bench/cost counts
// from outside. With the word head for COUNT it prints the head that the client sends.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "curl_client.h"
#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

namespace
{

constexpr size_t WIDTH = 64;
constexpr uint64_t ANSWER = 1024;

struct Target {
    std::string url;
    std::string ca{};
    std::string body{};
};

void PrintHeadOfCurl(const Target &target)
{
    std::string head;
    CurlSync({.url = target.url, .ca = target.ca, .body = target.body, .head = &head}, ANSWER)
        .Run(1);
    std::fputs(head.c_str(), stdout);
}

void PrintHeadOfTnx(const Target &target)
{
    TnxClient client({.url = target.url, .ca = target.ca, .body = target.body, .heads = true});
    Tnx_Request *request = client.MakeRequest();
    uint32_t code = TNX_OK;
    Tnx_Response *response = OVX_Tnx_FetchSync(client.Session(), request, &code);
    if (code != TNX_OK) {
        Fail("libtnx: error " + std::to_string(code));
    }
    for (const Tnx_DebugInfo *info = response->debugInfo; info != nullptr; info = info->next) {
        std::fwrite(info->data, 1, info->length, stdout);
    }
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(request);
}

void Perform(const Target &target, bool parallel, bool curl, uint64_t count)
{
    const CurlOptions curlOptions{.url = target.url, .ca = target.ca, .body = target.body};
    const TnxOptions tnxOptions{.url = target.url, .ca = target.ca, .body = target.body};
    if (parallel && curl) {
        CurlParallel(curlOptions, WIDTH).Run(count);
    } else if (parallel) {
        TnxParallel(tnxOptions, WIDTH).Run(count);
    } else if (curl) {
        CurlSync(curlOptions, ANSWER).Run(count);
    } else {
        TnxSync(tnxOptions, ANSWER).Run(count);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 7) {
        Fail("usage: bench_cost WORKLOAD CLIENT NGINX TLS CA COUNT");
    }
    const std::string nginx = argv[3] + std::string("/ten");
    const std::map<std::string, Target> targets = {
        {"sync", {nginx}},
        {"async", {nginx}},
        {"http2", {.url = argv[4] + std::string("/ten"), .ca = argv[5]}},
        {"post", {.url = nginx, .body = std::string(65536, 'b')}}};
    const std::string workload = argv[1];
    const Target &target = targets.at(workload);
    const bool curl = argv[2] == std::string("libcurl");
    if (argv[6] == std::string("head")) {
        curl ? PrintHeadOfCurl(target) : PrintHeadOfTnx(target);
        return 0;
    }
    if (curl) {
        curl_global_init(CURL_GLOBAL_ALL); // told apart from libtnx, which gives libcurl its memory
    }
    Perform(target, workload == "async" || workload == "http2", curl,
            std::strtoull(argv[6], nullptr, 10));
}
