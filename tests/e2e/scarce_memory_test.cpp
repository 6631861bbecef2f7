// Every allocation of a fetch fails, alone or with all after it, in the library as in those that it
// stands on: the outcome is told all the same, and the session goes on. This program brings its own
// malloc, which the sanitizers' would be at odds with.
#include "nginx_server.h"
#include "tnx_c_ext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <semaphore>
#include <string>

extern "C" {
void *__libc_malloc(size_t size);               // NOLINT
void *__libc_calloc(size_t count, size_t size); // NOLINT
void *__libc_realloc(void *block, size_t size); // NOLINT
}

namespace
{

constexpr long NEVER = LONG_MAX;

// Counts down to the allocation that fails, and further if all later ones do.
std::atomic<long> g_left = NEVER;
std::atomic<bool> g_lasting = false;

bool Fails()
{
    const long left = --g_left;
    const bool fails = left == 0 || (left < 0 && g_lasting);
    errno = fails ? ENOMEM : errno;
    return fails;
}

} // namespace

extern "C" {
void *malloc(size_t size)
{
    return Fails() ? nullptr : __libc_malloc(size);
}
void *calloc(size_t count, size_t size)
{
    return Fails() ? nullptr : __libc_calloc(count, size);
}
void *realloc(void *block, size_t size)
{
    return Fails() ? nullptr : __libc_realloc(block, size);
}
}

namespace
{

using namespace OHOS::Pelloria::TnxTest;
using namespace std::chrono_literals;

// How a fetch came out. What is told to the callback waits here: it must not allocate.
struct Flight {
    Tnx_Response *response = nullptr;
    uint32_t code = 0;
    int calls = 0;
    std::binary_semaphore over{0};

    ~Flight()
    {
        if (response != nullptr) {
            response->destroyResponse(response);
        }
    }
    bool Whole(size_t length) const
    {
        return response != nullptr && response->statusCode == 200 && response->bodyLength == length;
    }
};

void OnResponse(void *self, Tnx_Response *response, uint32_t code)
{
    auto *const flight = static_cast<Flight *>(self);
    flight->response = response;
    flight->code = code;
    ++flight->calls;
    flight->over.release();
}

std::atomic<bool> g_pulled;

// One byte for each request.
int Pull(char *buffer, unsigned int)
{
    *buffer = 'a';
    return g_pulled.exchange(true) ? 0 : 1;
}

void OnTrace(void *, const Tnx_TraceEvent *) {}

void Fetch(Tnx_Session *session, Tnx_Request *request, bool synchronous, Flight &flight)
{
    g_pulled = false;
    if (synchronous) {
        flight.response = OVX_Tnx_FetchSync(session, request, &flight.code);
        return;
    }
    const Tnx_ResponseCallbackObject callback{OnResponse, &flight};
    const uint32_t refused = OVX_Tnx_Fetch(session, request, &callback);
    if (refused != TNX_OK) {
        flight.code = refused;
    } else if (!flight.over.try_acquire_for(20s)) {
        flight.code = UINT32_MAX;
    }
}

class ScarceMemoryTest : public testing::TestWithParam<std::tuple<bool, bool, bool, bool>>
{
protected:
    static void SetUpTestSuite() { nginx_ = new NginxServer; }
    static void TearDownTestSuite() { delete nginx_; }

    static inline NginxServer *nginx_;
};

TEST_P(ScarceMemoryTest, EveryOutcomeIsTold)
{
    const auto [synchronous, kept, lasting, uploads] = GetParam();
    g_lasting = lasting;
    const std::string url = nginx_->Url(uploads ? "/sink" : "/1k");
    const size_t length = uploads ? 0 : 1024;
    Tnx_RequestContent content = {TNX_CONTENT_GET_DATA, {.getDataCallback = Pull}};
    long failures = 0;
    for (bool reached = true; reached; ++failures) {
        SCOPED_TRACE("allocation " + std::to_string(failures + 1));
        uint32_t code = 0;
        Tnx_Session *session = OVX_Tnx_CreateSession(nullptr, &code);
        Tnx_Request *request = OVX_Tnx_CreateRequest(url.c_str());
        request->method = uploads ? "PUT" : "GET";
        request->content = uploads ? &content : nullptr;
        if (uploads) { // and is watched
            ASSERT_EQ(OVX_Tnx_SetRequestTrace(request, OnTrace, nullptr), TNX_OK);
            ASSERT_EQ(OVX_Tnx_SetRequestCollectConnectionInfo(request, true), TNX_OK);
        }
        if (kept) {
            Flight first;
            Fetch(session, request, synchronous, first);
            ASSERT_TRUE(first.Whole(length));
        }

        Flight flight;
        g_left = failures + 1;
        Fetch(session, request, synchronous, flight);
        reached = g_left.exchange(NEVER) <= 0;
        EXPECT_NE(flight.code, UINT32_MAX) << "the callback is lost";
        EXPECT_LE(flight.calls, 1);
        EXPECT_TRUE(flight.code != TNX_OK || flight.Whole(length));
        EXPECT_TRUE(reached || flight.code == TNX_OK) << flight.code;

        for (const bool again : {true, false}) {
            Flight next;
            Fetch(session, request, again, next);
            EXPECT_EQ(next.code, TNX_OK);
            EXPECT_TRUE(next.Whole(length));
        }
        OVX_Tnx_DestroyRequest(request);
        OVX_Tnx_CloseSession(&session);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(failures, 40); // else this program's malloc is not the one that is called
}

INSTANTIATE_TEST_SUITE_P(Roads, ScarceMemoryTest,
                         testing::Combine(testing::Bool(), testing::Bool(), testing::Bool(),
                                          testing::Bool()));

} // namespace
