// bench_sibling NGINX TLS CA: how long other requests of a session take while one reader sleeps for
// two seconds in its data callback.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <future>
#include <thread>

#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr int SIBLINGS = 100;

namespace
{

// The first piece sleeps; the second ends the transfer.
struct Reader {
    std::promise<void> asleep;
    std::promise<void> over;
    int pieces = 0;
};

size_t Sleep(void *self, const Tnx_Buffer *data)
{
    auto &reader = *static_cast<Reader *>(self);
    if (++reader.pieces > 1) {
        return 0;
    }
    reader.asleep.set_value();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    return data->length;
}

void OnSlowResponse(void *self, Tnx_Response *response, uint32_t)
{
    if (response != nullptr) {
        response->destroyResponse(response);
    }
    static_cast<Reader *>(self)->over.set_value();
}

void OnSibling(void *done, Tnx_Response *response, uint32_t code)
{
    if (code != TNX_OK) {
        Fail("a sibling failed: " + std::to_string(code));
    }
    response->destroyResponse(response);
    static_cast<std::promise<void> *>(done)->set_value();
}

// Milliseconds of one request, from the call to its callback.
double Ask(const TnxClient &client, const std::string &url)
{
    const auto begin = std::chrono::steady_clock::now();
    std::promise<void> done;
    const Tnx_ResponseCallbackObject callback{OnSibling, &done};
    Tnx_Request *request = OVX_Tnx_CreateRequest(url.c_str());
    OVX_Tnx_Fetch(client.Session(), request, &callback);
    done.get_future().wait();
    OVX_Tnx_DestroyRequest(request);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

void Show(const char *name, const std::string &server, const std::string &ca)
{
    Reader reader;
    TnxClient client({.url = server + "/big", .ca = ca, .onData = Sleep, .usrCtx = &reader});
    const double alone = Ask(client, server + "/1k");
    Tnx_Request *slow = client.MakeRequest();
    const Tnx_ResponseCallbackObject callback{OnSlowResponse, &reader};
    OVX_Tnx_Fetch(client.Session(), slow, &callback);
    reader.asleep.get_future().wait();
    double longest = 0;
    for (int i = 0; i < SIBLINGS; ++i) {
        longest = std::max(longest, Ask(client, server + "/1k"));
    }
    const bool stillAsleep = reader.pieces == 1;
    reader.over.get_future().wait();
    OVX_Tnx_DestroyRequest(slow);
    std::printf("  %-10s %8.2f ms at most, of %d%s (the first, alone: %.2f ms)\n", name, longest,
                SIBLINGS, stillAsleep ? "" : ", BUT THE READER WOKE", alone);
}

} // namespace

int main(int, char **argv)
{
    std::printf("\nSiblings of a reader that sleeps (aim: under 50 ms)\n");
    Show("HTTP/1.1", argv[1], "");
    Show("HTTP/2", argv[2], argv[3]);
}
