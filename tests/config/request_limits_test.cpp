// What a single request may take, and which way its connections go: seen on real ones, of which
// none is shared where it must not be.
#include "certificates.h"
#include "child_process.h"
#include "ports.h"
#include "proxy_servers.h"
#include "tests/e2e/client.h"
#include "tnx_c_ext/limits.h"
#include "tnx_c_ext/trace.h"

#include <atomic>

namespace
{

using namespace EndToEnd;

struct Settings {
    std::vector<std::pair<uint32_t, int64_t>> limits = {};
    std::vector<std::pair<uint32_t, std::string>> connection = {};

    void Give(Call &call) const
    {
        for (const auto &[which, value] : limits) {
            EXPECT_EQ(OVX_Tnx_SetRequestLimit(call.Get(), which, value), uint32_t{TNX_OK});
        }
        for (const auto &[which, text] : connection) {
            EXPECT_EQ(OVX_Tnx_SetRequestConnection(call.Get(), which, text.c_str()),
                      uint32_t{TNX_OK});
        }
    }
};

constexpr uint32_t NOT_BOUND = TNX_ERR_TRANSFER_BASE + 45;
constexpr uint32_t NO_CIPHER = TNX_ERR_TRANSFER_BASE + 59;

class RequestLimitsTest : public EndToEndTest
{
protected:
    // Both ways; `text`: in the body of an answer or in its debug texts, or in the failure's.
    void Expect(const std::string &url, const Settings &settings, uint32_t code,
                const std::string &text, const std::string &proxy = "")
    {
        SCOPED_TRACE(url + " " + text);
        Both(
            [&](Call &call) {
                settings.Give(call);
                call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
                call.configuration.transfer.autoRedirect = true;
                call.configuration.proxy.mode = proxy.empty() ? TNX_PROXY_NONE : TNX_PROXY_EXPLICIT;
                call.configuration.proxy.url = proxy.c_str();
            },
            url, "GET",
            [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, code) << outcome.Why();
                const std::string all = outcome.code == 0
                                            ? outcome.body + outcome.Debug(TNX_DEBUG_TEXT)
                                            : outcome.Why();
                EXPECT_NE(all.find(text), std::string::npos) << all;
            });
    }

    // Whether the connection of one request serves the next.
    bool Shared(const std::string &url, const Settings &first, const Settings &second,
                bool synchronous)
    {
        Close();
        bool shared = false;
        for (const Settings *const settings : {&first, &second}) {
            Call call(url);
            settings->Give(call);
            call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
            const Outcome outcome = synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            shared = outcome.Debug(TNX_DEBUG_TEXT).find("Re-using") != std::string::npos;
        }
        return shared;
    }
};

TEST_F(RequestLimitsTest, ConnectionsGoWhereTheyAreSent)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "/socket";
    const ScriptedServer local(path);
    const ForwardProxy proxy;
    const SocksProxy socks;
    const RefusingPort refusing;
    const std::string port = std::to_string(Scripted().Port());
    const std::string to = "127.0.0.1:" + port;
    const std::string missing = directory.Path() + "/none";
    const auto connect = [](uint32_t which, const std::string &text) {
        return Settings{.connection = {{which, text}}};
    };
    const auto elsewhere = [&](const std::string &rule) {
        return connect(TNX_CONNECTION_TO, rule);
    };
    const std::string far = "http://some.test/echo";
    const std::string host = "Host: some.test\r\n";
    // Sockets.
    const Settings socket = connect(TNX_CONNECTION_UNIX_SOCKET, path);
    Expect(far, socket, 0, host);
    Expect("http://some.test/redirect?to=http://other.test/echo", socket, 0, "Host: other.test");
    Expect(far, socket, 0, host, "http://127.0.0.1:" + std::to_string(refusing.Port()));
    Expect(far, connect(TNX_CONNECTION_UNIX_SOCKET, missing), TNX_ERR_CONNECT, "socket " + missing);
    Call traced(far);
    socket.Give(traced);
    std::string told;
    OVX_Tnx_SetRequestTrace(
        traced.Get(),
        [](void *text, const Tnx_TraceEvent *event) {
            if (event->kind == TNX_TRACE_CONNECTING || event->kind == TNX_TRACE_CONNECTED) {
                *static_cast<std::string *>(text) += std::string(event->data, event->length) + " ";
            }
        },
        &told);
    Close(); // and what it has kept
    EXPECT_EQ(traced.FetchSync(Session()).code, 0U);
    EXPECT_EQ(told, path + " " + path + " ");
    // Other hosts and ports.
    Expect(far, elsewhere("some.test:80:" + to), 0, host);
    Expect(far, elsewhere("some.test:81:x:1,::" + to + ",::x:1"), 0, host);
    Expect(far, elsewhere("SOME.test::localhost:" + port), 0, host);
    Expect("http://127.0.0.1:1/echo", elsewhere("127.0.0.1:1::" + port), 0,
           "Host: 127.0.0.1:1\r\n");
    Expect(far, elsewhere("::" + to), 0, host, proxy.Url());
    EXPECT_NE(proxy.Log().find("CONNECT " + to), std::string::npos) << proxy.Log();
    Expect(far, elsewhere("::" + to), 0, host, socks.Url());
    Expect("https://localhost/1k",
           elsewhere("::127.0.0.1:" + std::to_string(Nginx().Port(Site::TLS))), 0, "");
    Expect("https://some.test/1k",
           elsewhere("::127.0.0.1:" + std::to_string(Nginx().Port(Site::TLS))),
           TNX_ERR_PEER_VERIFICATION, "some.test");
    Expect(far, elsewhere("::127.0.0.1:" + std::to_string(refusing.Port())), TNX_ERR_CONNECT,
           "127.0.0.1 port " + std::to_string(refusing.Port()));
    // From here.
    const std::string own = Scripted().Url("/echo");
    Expect(own, connect(TNX_CONNECTION_INTERFACE, "lo"), 0, "GET");
    Expect(own, connect(TNX_CONNECTION_INTERFACE, "127.0.0.1"), 0, "GET", proxy.Url());
    Expect(own, connect(TNX_CONNECTION_INTERFACE, "none0"), NOT_BOUND, "none0");
    Expect(own, connect(TNX_CONNECTION_INTERFACE, "10.255.255.1"), NOT_BOUND, "10.255.255.1");
}

TEST_F(RequestLimitsTest, AddressesAreOfTheFamily)
{
    ScriptedServer six("::1", Scripted().Port());
    const ForwardProxy proxy;
    const std::string port = std::to_string(six.Port());
    const Settings only4 = {.limits = {{TNX_LIMIT_ADDRESS_FAMILY, 4}}};
    const Settings only6 = {.limits = {{TNX_LIMIT_ADDRESS_FAMILY, 6}}};
    const std::string own = "http://localhost:" + port + "/echo";
    six.ForgetRequests();
    Scripted().ForgetRequests();
    Expect(own, only6, 0, "Host: localhost");
    EXPECT_EQ(six.Requests().size(), 2U);
    Expect(own, only4, 0, "Host: localhost");
    EXPECT_EQ(Scripted().Requests().size(), 2U);
    Expect("http://[::1]:" + port + "/echo", only6, 0, "GET");
    Expect("http://[::1]:" + port + "/echo", only4, TNX_ERR_RESOLVE_HOST,
           "::1: it is no address of IPv4, to which the request is limited");
    Expect("http://127.0.0.1:" + port + "/echo", only6, TNX_ERR_RESOLVE_HOST, "127.0.0.1");
    Expect("http://127.0.0.1:" + port + "/echo", only6, TNX_ERR_RESOLVE_PROXY, "127.0.0.1",
           proxy.Url());
    Expect("http://127.0.0.1:" + port + "/echo", only4, 0, "GET", proxy.Url());
    Settings both = only6;
    both.connection = {{TNX_CONNECTION_TO, "::localhost:" + port}};
    Expect("http://127.0.0.1/echo", both, 0, "GET");
    EXPECT_EQ(six.Requests().size(), 6U);
    Tnx_IpAddress address = {"127.0.0.1", nullptr};
    Tnx_StaticDnsRule host = {"four.test", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {.staticRules = &host}};
    Call call("http://four.test:" + port + "/echo");
    call.configuration.dnsRule = &rule;
    only6.Give(call);
    const Outcome outcome = call.FetchSync(Session());
    EXPECT_EQ(outcome.code, uint32_t{TNX_ERR_RESOLVE_HOST});
    EXPECT_NE(outcome.Why().find("it has no address of IPv6"), std::string::npos) << outcome.Why();
}

TEST_F(RequestLimitsTest, TlsIsSpokenAsTold)
{
    const auto tls = [](int64_t lowest, int64_t highest, const std::string &old = "",
                        const std::string &suites = "") {
        Settings settings = {
            .limits = {{TNX_LIMIT_TLS_LOWEST, lowest}, {TNX_LIMIT_TLS_HIGHEST, highest}}};
        if (!old.empty()) {
            settings.connection.emplace_back(TNX_CONNECTION_TLS12_CIPHERS, old);
        }
        if (!suites.empty()) {
            settings.connection.emplace_back(TNX_CONNECTION_TLS13_CIPHERS, suites);
        }
        return settings;
    };
    const std::string url = Nginx().Url("/1k", Site::TLS_HTTP1);
    Expect(Nginx().Url("/1k", Site::TLS), tls(TNX_TLS_1_3, 0), TNX_ERR_TLS_CONNECT, "version");
    Expect(url, tls(0, TNX_TLS_1_2), 0, "using TLSv1.2");
    Expect(url, tls(TNX_TLS_1_3, 0), 0, "using TLSv1.3");
    Expect(url, tls(0, TNX_TLS_1_2, "ECDHE-RSA-CHACHA20-POLY1305:ECDHE-ECDSA-CHACHA20-POLY1305"), 0,
           "-CHACHA20-POLY1305");
    Expect(url, tls(0, 0, "", "TLS_CHACHA20_POLY1305_SHA256"), 0, "TLS_CHACHA20_POLY1305_SHA256");
    Expect(url, tls(0, 0, "NONSENSE"), NO_CIPHER, "NONSENSE");
    Expect(url, tls(0, 0, "", "NONSENSE"), NO_CIPHER, "NONSENSE");
}

TEST_F(RequestLimitsTest, NoConnectionIsSharedAcrossSettings)
{
    const TemporaryDirectory directory;
    const std::string one = directory.Path() + "/one";
    const std::string other = directory.Path() + "/other";
    const ScriptedServer first(one);
    const ScriptedServer second(other);
    const std::string plain = Scripted().Url("/echo");
    const std::string named = "http://localhost:" + std::to_string(Scripted().Port()) + "/echo";
    const std::string secure = Nginx().Url("/1k", Site::TLS_HTTP1);
    const Settings none;
    const auto text = [](uint32_t which, const std::string &value) {
        return Settings{.connection = {{which, value}}};
    };
    const auto number = [](uint32_t which, int64_t value) {
        return Settings{.limits = {{which, value}}};
    };
    const Settings rest = {.limits = {{TNX_LIMIT_IDLE_TIME, 60000},
                                      {TNX_LIMIT_RATE_DOWN, 1 << 30},
                                      {TNX_LIMIT_RESPONSE_SIZE, 1 << 20}}};
    const struct {
        std::string url;
        Settings first;
        Settings second;
    } rows[] = {
        {plain, text(TNX_CONNECTION_UNIX_SOCKET, one), text(TNX_CONNECTION_UNIX_SOCKET, other)},
        {plain, text(TNX_CONNECTION_UNIX_SOCKET, one), none},
        {plain, text(TNX_CONNECTION_INTERFACE, "lo"), text(TNX_CONNECTION_INTERFACE, "127.0.0.1")},
        {plain, text(TNX_CONNECTION_INTERFACE, "lo"), none},
        {named, text(TNX_CONNECTION_INTERFACE, "lo"), none},
        {named, number(TNX_LIMIT_ADDRESS_FAMILY, 4), none},
        {plain, text(TNX_CONNECTION_TO, "::localhost:"), none},
        {secure, number(TNX_LIMIT_TLS_HIGHEST, TNX_TLS_1_2), none},
        {secure, number(TNX_LIMIT_TLS_HIGHEST, TNX_TLS_1_2),
         number(TNX_LIMIT_TLS_LOWEST, TNX_TLS_1_3)},
        {secure, text(TNX_CONNECTION_TLS12_CIPHERS, "DEFAULT"), none},
        {secure, text(TNX_CONNECTION_TLS13_CIPHERS, "TLS_AES_256_GCM_SHA384"), none},
    };
    for (const bool synchronous : {false, true}) {
        size_t number_ = 0;
        for (const auto &row : rows) {
            SCOPED_TRACE("row " + std::to_string(number_++));
            EXPECT_FALSE(Shared(row.url, row.first, row.second, synchronous));
            EXPECT_FALSE(Shared(row.url, row.second, row.first, synchronous));
            EXPECT_TRUE(Shared(row.url, row.first, row.first, synchronous));
        }
        EXPECT_TRUE(Shared(plain, rest, none, synchronous)); // which is none of connections
    }
}

std::atomic<int> g_pieces;

// Blocks before each of three pieces.
int PullSlowly(char *buffer, unsigned int)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    *buffer = 'x';
    return ++g_pieces < 3 ? 1 : 0;
}

TEST_F(RequestLimitsTest, TheApplicationsOwnTimeIsNotThePeers)
{
    const Settings quick = {.limits = {{TNX_LIMIT_IDLE_TIME, 150}, {TNX_LIMIT_FIRST_BYTE, 150}}};
    Both(
        [&](Call &call) {
            g_pieces = 0;
            quick.Give(call);
            call.Pull(PullSlowly);
        },
        Scripted().Url("/sink"), "PUT",
        [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); });
    Both(
        [&](Call &call) {
            quick.Give(call);
            call.OnData([blocks = 3](std::string_view data) mutable {
                if (blocks-- > 0) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(300));
                }
                return data.size();
            });
        },
        Scripted().Url("/bytes?n=20000000"), "GET",
        [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); });
}

// Those without a rate overtake.
TEST_F(RequestLimitsTest, RatesHoldBack)
{
    const struct {
        uint32_t which;
        const char *method;
        std::string url;
    } rows[] = {{TNX_LIMIT_RATE_DOWN, "GET", Scripted().Url("/bytes?n=300000")},
                {TNX_LIMIT_RATE_UP, "PUT", Scripted().Url("/sink")}};
    for (const auto &row : rows) {
        const auto fetch = [&](Call &call) {
            if (row.which == TNX_LIMIT_RATE_UP) {
                call.Body(std::string(300000, 'x'));
            }
            call.Start(Session());
        };
        Call held(row.url, row.method);
        Settings{.limits = {{row.which, 200000}}}.Give(held);
        fetch(held);
        ASSERT_TRUE(Eventually([&] { return held.Answers() == 0; }));
        Call free(row.url, row.method);
        fetch(free);
        EXPECT_EQ(free.Wait().code, 0U);
        EXPECT_EQ(held.Answers(), 0U);
        EXPECT_EQ(held.Wait().code, 0U);
    }
}

TEST_F(RequestLimitsTest, CancelAndCloseComeFirst)
{
    const Settings patient = {.limits = {{TNX_LIMIT_IDLE_TIME, 60000}, {TNX_LIMIT_RATE_UP, 1}}};
    for (const bool closes : {false, true}) {
        Scripted().ForgetRequests();
        Call call(Scripted().Url("/stall?ms=60000"));
        patient.Give(call);
        call.Start(Session());
        ASSERT_TRUE(Scripted().WaitForRequests(1));
        if (closes) {
            Close();
            EXPECT_EQ(call.Answers(), 0U);
        } else {
            OVX_Tnx_CancelRequest(Session(), call.Get());
            EXPECT_EQ(call.Wait().code, uint32_t{TNX_ERR_REQUEST_CANCELED});
        }
    }
}

} // namespace
