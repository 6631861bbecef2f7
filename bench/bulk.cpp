// bench_bulk NGINX SCRIPTED: 10 GiB down through a data callback and 10 GiB up through a body
// callback. What counts is the peak of memory.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "harness.h"
#include "tnx_client.h"

using namespace TnxBench;

constexpr uint64_t SIZE = 10ULL * 1024 * 1024 * 1024;

namespace
{

uint64_t g_left = SIZE; // of the upload: a body callback has no context

size_t Count(void *received, const Tnx_Buffer *data)
{
    *static_cast<uint64_t *>(received) += data->length;
    return data->length;
}

int Give(char *buffer, unsigned int size)
{
    const auto count = static_cast<unsigned int>(std::min<uint64_t>(size, g_left));
    std::memset(buffer, 'u', count);
    g_left -= count;
    return static_cast<int>(count);
}

void Upload(const std::string &url)
{
    TnxClient client({.url = url});
    Tnx_RequestContent content{};
    content.type = TNX_CONTENT_GET_DATA;
    content.value.getDataCallback = Give;
    Tnx_Request *request = client.MakeRequest();
    request->method = "POST";
    request->content = &content;
    uint32_t code = TNX_OK;
    Tnx_Response *response = OVX_Tnx_FetchSync(client.Session(), request, &code);
    const bool whole =
        code == TNX_OK && std::string(response->body, response->bodyLength) == std::to_string(SIZE);
    if (!whole) {
        Fail("the upload did not arrive whole: " + std::to_string(code));
    }
    response->destroyResponse(response);
    OVX_Tnx_DestroyRequest(request);
}

void Download(const std::string &url)
{
    uint64_t received = 0;
    TnxSync({.url = url, .onData = Count, .usrCtx = &received}, 0).Run(1);
    if (received != SIZE) {
        Fail("the download did not arrive whole");
    }
}

} // namespace

int main(int, char **argv)
{
    const std::string down = std::string(argv[1]) + "/huge";
    const std::string up = std::string(argv[2]) + "/sink";
    Compare({.title = "10 GiB (aim: peak under 64 MiB)", .rounds = 1},
            {{"download", [&]() -> Run { return [&](uint64_t) { Download(down); }; }},
             {"upload", [&]() -> Run { return [&](uint64_t) { Upload(up); }; }}});
}
