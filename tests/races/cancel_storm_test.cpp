// Requests whose callbacks cancel each other, all of them, or close: what a request was fetched
// with is destroyed in its response callback, so none of its callbacks may run beside or behind
// that.
#include "tests/e2e/client.h"

#include <array>
#include <atomic>
#include <cstring>
#include <random>

namespace EndToEnd
{
namespace
{

constexpr size_t STREAMS = 6;

enum class Way { ONE, ALL, CLOSE };

class Round;
Round *g_round = nullptr; // for callbacks that carry no context

// One request, with every callback that there is. The records go in the response callback.
struct Stream {
    Round *round = nullptr;
    size_t index = 0;
    std::atomic<int> answers = 0;
    std::atomic<std::thread::id> inside = {};

    struct Records {
        RequestPtr request;
        Tnx_RequestContent content = {};
        Tnx_Configuration configuration = {};
        Tnx_DnsRule rule = {};
    };
    std::unique_ptr<Records> records;
    std::atomic<Tnx_Request *> target = nullptr; // who takes it cancels it
};

class Round
{
public:
    Round(Way way, unsigned seed)
        : way_(way)
        , seed_(seed)
    {
        g_round = this;
        uint32_t code = 0;
        session_ = OVX_Tnx_CreateSession(nullptr, &code);
    }

    void Run()
    {
        for (size_t i = 0; i < STREAMS; ++i) {
            Prepare(i);
        }
        for (Stream &stream : streams_) {
            Start(stream);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(seed_ % 12));
        if (way_ == Way::CLOSE) {
            OVX_Tnx_CancelSession(session_); // none is lost
            OVX_Tnx_CloseSession(&session_);
            for (const Stream &stream : streams_) {
                EXPECT_EQ(stream.answers, 1);
            }
            return;
        }
        if (way_ == Way::ALL) {
            OVX_Tnx_CancelSession(session_);
        }
        for (size_t i = 0; i < STREAMS && way_ == Way::ONE; ++i) {
            CancelOne(i);
        }
        for (const Stream &stream : streams_) {
            EXPECT_TRUE(Eventually([&stream] { return stream.answers == 1; }));
        }
        OVX_Tnx_CloseSession(&session_);
    }

    // What each callback does. Some take longer than the others are let wait for, so that several
    // run at once.
    void Act()
    {
        const uint32_t dice = (seed_ + 7 * ++acts_) * 2654435761U >> 16;
        if (dice % 8 == 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (way_ == Way::ONE && dice % 4 == 0) {
            CancelOne(dice / 4 % STREAMS);
        } else if (way_ == Way::ALL && dice % 16 == 0) {
            OVX_Tnx_CancelSession(session_);
        }
    }

private:
    void Prepare(size_t index)
    {
        Stream &stream = streams_[index];
        stream.round = this;
        stream.index = index;
        stream.records = std::make_unique<Stream::Records>();
        Stream::Records &records = *stream.records;
        const bool uploads = index == 0;
        const std::string url = "http://storm.test:" + std::to_string(Scripted().Port()) +
                                (uploads ? "/echo" : "/drip?n=1500&ms=2&size=500");
        records.request.reset(OVX_Tnx_CreateRequest(url.c_str()));
        records.request->configuration = &records.configuration;
        if (uploads) {
            records.request->method = "POST";
            records.content.type = TNX_CONTENT_GET_DATA;
            records.content.value.getDataCallback = [](char *buffer, unsigned int) {
                g_round->Act();
                std::memcpy(buffer, "abc", 3);
                return 3;
            };
            records.request->content = &records.content;
        }
        SetRules(records);
        SetEvents(stream);
    }

    static void SetRules(Stream::Records &records)
    {
        records.rule.kind = TNX_DNS_DYNAMIC;
        records.rule.rule.dynamicRule = [](const char *, uint16_t) {
            g_round->Act();
            auto *const address =
                static_cast<Tnx_IpAddress *>(std::calloc(1, sizeof(Tnx_IpAddress)));
            std::strcpy(address->ip, "127.0.0.1");
            return address;
        };
        records.configuration.dnsRule = &records.rule;
        records.configuration.proxy.mode = TNX_PROXY_EXPLICIT;
        records.configuration.proxy.url = "http://127.0.0.1:9";
        records.configuration.proxy.exclusionKind = TNX_EXCLUSION_FUNCTION;
        records.configuration.proxy.exclusions.exclusionFunction = [](const char *) {
            g_round->Act();
            return true;
        };
    }

    static void SetEvents(Stream &stream)
    {
        Tnx_HttpEventsHandler &events = stream.records->configuration.tracing.eventsHandler;
        events.onHeaderReceive = {[](void *ctx, Tnx_Headers *headers) {
                                      OVX_Tnx_DestroyHeaders(headers);
                                      Inside(ctx);
                                  },
                                  &stream};
        const auto progress = [](void *ctx, uint64_t, uint64_t) { Inside(ctx); };
        events.onProgress1 = {progress, &stream};
        events.onProgress2 = {progress, &stream};
        events.onEvent = {Inside, &stream};
        events.onCanceled = {[](void *ctx) { CheckAlone(*static_cast<Stream *>(ctx)); }, &stream};
        if (stream.index % 2 == 0) {
            events.onDataReceive = {[](void *ctx, const char *text) {
                                        Inside(ctx);
                                        return std::strlen(text);
                                    },
                                    &stream};
        } else {
            OVX_Tnx_SetRequestOnBinaryDataRecvCallback(
                stream.records->request.get(),
                [](void *ctx, const Tnx_Buffer *buffer) -> size_t {
                    Inside(ctx);
                    return buffer->length;
                },
                &stream);
        }
    }

    void Start(Stream &stream)
    {
        const Tnx_ResponseCallbackObject callback = {
            [](void *ctx, Tnx_Response *response, uint32_t code) {
                EXPECT_EQ(response, nullptr);
                EXPECT_EQ(code, uint32_t{TNX_ERR_REQUEST_CANCELED});
                auto &self = *static_cast<Stream *>(ctx);
                CheckAlone(self);
                self.records.reset();
                ++self.answers;
            },
            &stream};
        Tnx_Request *const request = stream.records->request.get();
        EXPECT_EQ(OVX_Tnx_Fetch(session_, request, &callback), 0U);
        stream.target = request; // gone already where another's callback has canceled all
    }

    static void Inside(void *ctx)
    {
        auto &stream = *static_cast<Stream *>(ctx);
        CheckAlone(stream);
        const std::thread::id before = stream.inside.exchange(std::this_thread::get_id());
        stream.round->Act();
        stream.inside = before;
    }

    // None runs on another thread, and the answer has not been given.
    static void CheckAlone(const Stream &stream)
    {
        const std::thread::id inside = stream.inside;
        EXPECT_TRUE(inside == std::thread::id() || inside == std::this_thread::get_id());
        EXPECT_EQ(stream.answers, 0);
    }

    void CancelOne(size_t index)
    {
        if (Tnx_Request *request = streams_[index].target.exchange(nullptr)) {
            OVX_Tnx_CancelRequest(session_, request);
        }
    }

    const Way way_;
    const unsigned seed_;
    Tnx_Session *session_ = nullptr;
    std::array<Stream, STREAMS> streams_;
    std::atomic<uint32_t> acts_ = 0;
};

TEST(CancelStormTest, NothingRunsBesideOrBehindTheAnswerToACancel)
{
    Scripted();
    for (const Way way : {Way::ONE, Way::ALL, Way::CLOSE}) {
        for (unsigned seed = 0; seed < 60 && !HasFailure(); ++seed) {
            Round(way, seed).Run();
        }
    }
    EXPECT_TRUE(Scripted().WaitForOpenConnections(0));
}

} // namespace
} // namespace EndToEnd
