// What goes wrong ends with its own code and a text that tells what happened, and never hangs.
#include "client.h"
#include "tnx_c_ext.h"

#include "ports.h"

#include <future>
#include <thread>

namespace
{

using namespace EndToEnd;

class BadInputTest : public EndToEndTest
{
protected:
    struct Case {
        std::string url;
        uint32_t code;
        const char *why; // stands in the text
        int32_t status = 0;
        std::function<void(Call &)> fill = {};
    };

    void Run(const std::vector<Case> &cases)
    {
        for (const Case &one : cases) {
            SCOPED_TRACE(one.url);
            Both(one.fill, one.url, "GET", [&one](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code);
                EXPECT_FALSE(outcome.empty);
                EXPECT_EQ(outcome.status, one.status);
                EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
            });
        }
    }
};

TEST_F(BadInputTest, NothingIsSentForWhatIsNoRequest)
{
    Scripted().ForgetRequests();
    const std::string good = Scripted().Url("/echo");
    const auto header = [](const char *name, const char *value) {
        return [name, value](Call &call) { call.Header(name, value); };
    };
    const auto method = [](const char *name) {
        return [name](Call &call) { call.Get()->method = name; };
    };
    Run({
        {"", TNX_ERR_URL_MALFORMED, "URL"},
        {"nothing", TNX_ERR_URL_MALFORMED, "nothing"},
        {"http://", TNX_ERR_URL_MALFORMED, "http://"},
        {"http://127.0.0.1:99999/", TNX_ERR_URL_MALFORMED, "99999"},
        {"http://\xb8/", TNX_ERR_URL_MALFORMED, "URL"},
        {Scripted().Url("/a b"), TNX_ERR_URL_MALFORMED, "/a b"},
        {Scripted().Url("/a\r\nX: y"), TNX_ERR_URL_MALFORMED, "URL"},
        {"ftp://127.0.0.1/x", TNX_ERR_UNSUPPORTED_SCHEME, "scheme"},
        {"file:///etc/hosts", TNX_ERR_UNSUPPORTED_SCHEME, "scheme"},
        {good, TNX_ERR_BAD_ARGUMENT, "X-A", 0, header("X-A", "b\r\nX-B: c")},
        {good, TNX_ERR_BAD_ARGUMENT, "X-A", 0, header("X-A", "b\n")},
        {good, TNX_ERR_BAD_ARGUMENT, "name", 0, header("X-A\r\nX-B", "c")},
        {good, TNX_ERR_BAD_ARGUMENT, "name", 0, header("X A", "c")},
        {good, TNX_ERR_BAD_ARGUMENT, "name", 0, header("", "c")},
        {good, TNX_ERR_BAD_ARGUMENT, "cookie", 0, [](Call &call) { call.Cookie("a", "b\r\nc"); }},
        {good, TNX_ERR_BAD_ARGUMENT, "method", 0, method("GET / HTTP/1.1\r\nX: y\r\n\r\n")},
        {good, TNX_ERR_BAD_ARGUMENT, "method", 0, method("")},
        {good, TNX_ERR_BAD_ARGUMENT, "Encoding", 0, header("Transfer-Encoding", "chunked")},
        {good, TNX_ERR_BAD_ARGUMENT, "length", 0, header("content-length", "3")},
    });
    EXPECT_TRUE(Scripted().Requests().empty());
}

TEST_F(BadInputTest, ABadServerIsToldByItsFault)
{
    const RefusingPort refusing;
    const SilentPort silent;
    const auto port = [](uint16_t number) {
        return "http://127.0.0.1:" + std::to_string(number) + "/";
    };
    const auto connectTimeout = [](Call &call) {
        call.configuration.transfer.connectTimeout = 300;
    };
    const auto timeout = [](Call &call) { call.configuration.transfer.transferTimeout = 300; };
    const auto failing = [](Call &call) {
        EXPECT_EQ(OVX_Tnx_SetRequestFailOnHttpError(call.Get(), true), TNX_OK);
        call.configuration.security.credentialName = "user";
        call.configuration.security.credentialPassword = "password";
    };
    const auto url = [](const char *target) { return Scripted().Url(target); };
    Run({
        {port(refusing.Port()), TNX_ERR_CONNECT, "127.0.0.1 port"},
        {port(silent.Port()), TNX_ERR_TIMEOUT, "connecting", 0, connectTimeout},
        {url("/stall?ms=30000"), TNX_ERR_TIMEOUT, "waiting for the answer", 0, timeout},
        {url("/stall?ms=30000&after=3&n=9"), TNX_ERR_TIMEOUT, "receiving", 200, timeout},
        {url("/close"), TNX_ERR_EMPTY_REPLY, "127.0.0.1"},
        {url("/reset"), TNX_ERR_RECEIVE, "reset"},
        {url("/reset?after=100"), TNX_ERR_RECEIVE, "reset", 200},
        {url("/truncate?n=10&of=100"), TNX_ERR_TRUNCATED_BODY, "90", 200},
        {url("/truncate?n=10&chunked=1"), TNX_ERR_TRUNCATED_BODY, "receiving", 200},
        {url("/stall?ms=30000&after=3&n=9&code=404"), TNX_ERR_HTTP_STATUS, "404", 404, failing},
        {url("/401-digest?user=other"), TNX_ERR_HTTP_STATUS, "401", 401, failing},
    });
    Both(failing, url("/401-digest"), "GET",
         [](const Outcome &outcome) { EXPECT_EQ(outcome.body, "welcome") << outcome.Why(); });
}

// Whatever a server sends, the requests of other sessions go on, and cancels and time-outs get
// through.
TEST_F(BadInputTest, ABombHoldsUpNobodyElse)
{
    Tnx_Session *other = nullptr;
    uint32_t code = 1;
    other = OVX_Tnx_CreateSession(nullptr, &code);
    ASSERT_EQ(code, 0U);
    for (const char *query :
         {"codings=gzip&times=500", "codings=deflate&times=500", "codings=br&times=500",
          "codings=zstd&times=500", "codings=gzip,gzip", "codings=br,gzip", "codings=zstd,zstd",
          "codings=br,br", "codings=deflate,br,zstd,gzip,gzip", "codings=gzip,gzip,gzip&of=nothing",
          "codings=zstd,br,gzip&of=nothing", "codings=gzip,gzip,gzip&of=bytes",
          "codings=zstd,zstd,br&of=bytes"}) {
        SCOPED_TRACE(query);
        std::promise<void> decoding;
        Call bomb(Scripted().Url(std::string("/bomb?") + query));
        bomb.configuration.tracing.eventsHandler.onHeaderReceive = {
            [](void *ctx, Tnx_Headers *headers) {
                OVX_Tnx_DestroyHeaders(headers);
                static_cast<std::promise<void> *>(ctx)->set_value();
            },
            &decoding};
        bomb.Start(Session());
        ASSERT_EQ(decoding.get_future().wait_for(std::chrono::seconds(60)),
                  std::future_status::ready);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(Call(Scripted().Url("/bytes?n=3")).Fetch(other).body, "abc");
        }
        EXPECT_EQ(bomb.Answers(), 0U);
        OVX_Tnx_CancelRequest(Session(), bomb.Get());
        EXPECT_EQ(bomb.Wait().code, TNX_ERR_REQUEST_CANCELED);

        decoding = {};
        auto canceled = std::async(std::launch::async, [&] { return bomb.FetchSync(session_); });
        decoding.get_future().wait_for(std::chrono::seconds(60));
        OVX_Tnx_CancelSession(session_);
        EXPECT_EQ(canceled.get().code, TNX_ERR_REQUEST_CANCELED);

        bomb.configuration.tracing.eventsHandler.onHeaderReceive = {};
        bomb.configuration.transfer.transferTimeout = 300;
        EXPECT_EQ(bomb.Fetch(session_).code, TNX_ERR_TIMEOUT);
        EXPECT_EQ(bomb.FetchSync(session_).code, TNX_ERR_TIMEOUT);
    }
    OVX_Tnx_CloseSession(&other);
}

TEST_F(BadInputTest, ABadCertificateIsRefused)
{
    const auto hint = [](Call &call) {
        call.configuration.transfer.transferHint = true;
        call.configuration.transfer.transferPreference = TNX_PREFER_HTTP2;
    };
    Tnx_IpAddress address = {"127.0.0.1", nullptr};
    Tnx_StaticDnsRule table = {"near.test", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    rule.rule.staticRules = &table;
    const auto ruled = [&rule](Call &call) { call.configuration.dnsRule = &rule; };
    const std::string near = "near.test:" + std::to_string(Nginx().Port(Site::EXPIRED));
    Run({
        {"https://" + near, TNX_ERR_PEER_VERIFICATION,
         "(TLS handshake, host near.test, address 127.0.0.1 port", 0, ruled},
        {Nginx().Url("/1k", Site::EXPIRED), TNX_ERR_PEER_VERIFICATION, "expired"},
        {Nginx().Url("/1k", Site::WRONG_NAME), TNX_ERR_PEER_VERIFICATION, "localhost"},
        {Nginx().Url("/1k", Site::SELF_SIGNED), TNX_ERR_PEER_VERIFICATION, "self-signed"},
        {Nginx().Url("/1k", Site::OLD_TLS), TNX_ERR_TLS_CONNECT, "protocol version"},
    });
    Both(hint, Nginx().Url("/1k", Site::TLS_HTTP1), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, TNX_ERR_HTTP2);
        EXPECT_NE(outcome.Why().find("HTTP/2"), std::string::npos) << outcome.Why();
    });
}

TEST_F(BadInputTest, ArgumentsAreChecked)
{
    Call call(Scripted().Url("/echo"));
    uint32_t code = 1;
    EXPECT_EQ(OVX_Tnx_FetchSync(nullptr, call.Get(), &code), nullptr);
    EXPECT_NE(code, 0U);
    EXPECT_EQ(OVX_Tnx_FetchSync(Session(), nullptr, &code), nullptr);
    EXPECT_EQ(code, TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_FetchSync(Session(), call.Get(), nullptr), nullptr);
    const Tnx_ResponseCallbackObject callback = {};
    EXPECT_NE(OVX_Tnx_Fetch(nullptr, call.Get(), &callback), 0U);
    EXPECT_EQ(OVX_Tnx_Fetch(Session(), nullptr, &callback), TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_Fetch(Session(), call.Get(), nullptr), TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_CancelRequest(Session(), nullptr), TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_SetRequestFailOnHttpError(nullptr, true), TNX_ERR_PARAMETER);
    Tnx_SessionConfiguration unknown = {};
    unknown.sessionType = 42;
    EXPECT_EQ(OVX_Tnx_CreateSession(&unknown, &code), nullptr);
    EXPECT_EQ(code, TNX_ERR_PARAMETER);
}

} // namespace
