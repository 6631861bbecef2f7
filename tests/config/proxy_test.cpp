// Which way a request takes: real proxies, what is excluded from them, and the environment's.
#include "certificates.h"
#include "ports.h"
#include "proxy_servers.h"
#include "tests/e2e/client.h"

#include <cstdlib>
#include <deque>

namespace
{

using namespace EndToEnd;

class ProxyTest : public EndToEndTest
{
protected:
    struct Way {
        std::string url;
        uint32_t option = TNX_PROXY_FORWARD;
        const char *name = nullptr;
        const char *password = nullptr;
    };

    static void Take(Call &call, const Way &way)
    {
        Tnx_WebProxy &proxy = call.configuration.proxy;
        proxy.mode = TNX_PROXY_EXPLICIT;
        proxy.url = way.url.c_str();
        proxy.proxyOption = way.option;
        proxy.security.credentialName = way.name;
        proxy.security.credentialPassword = way.password;
        proxy.security.credentialKind = TNX_CREDENTIAL_BASIC;
    }

    Outcome Get(const std::string &url, const Way &way, bool synchronous = true)
    {
        Call call(url);
        Take(call, way);
        return synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
    }
};

TEST_F(ProxyTest, AnHttpProxyForwardsOrTunnels)
{
    const ForwardProxy proxy;
    const struct {
        std::string url;
        uint32_t option;
        std::string line; // in the proxy's log
    } cases[] = {
        {Scripted().Url("/echo?1"), TNX_PROXY_FORWARD, "GET " + Scripted().Url("/echo?1")},
        {Scripted().Url("/echo?2"), TNX_PROXY_TUNNEL,
         "CONNECT 127.0.0.1:" + std::to_string(Scripted().Port())},
        {Nginx().Url("/1k", Site::TLS), TNX_PROXY_FORWARD,
         "CONNECT localhost:" + std::to_string(Nginx().Port(Site::TLS))},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.line);
        for (const bool synchronous : {false, true}) {
            const Outcome outcome = Get(one.url, {proxy.Url(), one.option}, synchronous);
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.status, 200);
            EXPECT_NE(proxy.Log().find(one.line), std::string::npos) << proxy.Log();
        }
    }
}

TEST_F(ProxyTest, ProxiesAreToldTheirCredentialsAndNobodyElseIs)
{
    const Credentials credentials = {"user", "password"};
    const ForwardProxy forward(credentials);
    const SocksProxy socks(credentials);
    const std::string url = Scripted().Url("/echo");
    const struct {
        Way way;
        uint32_t code;
        int32_t status;
    } cases[] = {
        {{forward.Url(), TNX_PROXY_FORWARD, "user", "password"}, 0, 200},
        {{forward.Url(), TNX_PROXY_TUNNEL, "user", "password"}, 0, 200},
        {{forward.Url(), TNX_PROXY_FORWARD, "user", "wrong"}, 0, 401}, // as tinyproxy has it
        {{forward.Url(), TNX_PROXY_TUNNEL, "user", "wrong"}, TNX_ERR_PROXY, 0},
        {{forward.Url(), TNX_PROXY_TUNNEL}, TNX_ERR_PROXY, 0},
        {{forward.Url(), TNX_PROXY_FORWARD}, 0, 407},
        {{socks.Url(), TNX_PROXY_FORWARD, "user", "password"}, 0, 200},
        {{socks.Url(), TNX_PROXY_FORWARD, "user", "wrong"}, TNX_ERR_PROXY, 0},
        {{socks.Url(), TNX_PROXY_FORWARD}, TNX_ERR_PROXY, 0},
    };
    size_t number = 0;
    for (const auto &one : cases) {
        SCOPED_TRACE("case " + std::to_string(number++));
        Scripted().ForgetRequests();
        const Outcome outcome = Get(url, one.way);
        EXPECT_EQ(outcome.code, one.code) << outcome.Why();
        EXPECT_EQ(outcome.status, one.status);
        if (one.way.option == TNX_PROXY_TUNNEL && one.code != 0) {
            EXPECT_NE(outcome.Why().find("status 40"), std::string::npos) << outcome.Why();
        }
        EXPECT_EQ(Scripted().Requests().size(), one.status == 200 ? 1U : 0U);
        if (one.status == 200) {
            EXPECT_EQ(Scripted().LastRequest().Raw().find("uthorization"), std::string::npos);
        }
    }
}

TEST_F(ProxyTest, ASocksProxyGetsTheAddressOrTheName)
{
    const SocksProxy socks;
    Tnx_IpAddress address = {"127.0.0.1", nullptr};
    Tnx_StaticDnsRule table = {"near.test", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    rule.rule.staticRules = &table;
    const std::string port = std::to_string(Scripted().Port());
    const struct {
        const char *scheme;
        std::string url;
        std::string seen; // by the proxy
    } cases[] = {
        {"socks5", "http://near.test:" + port + "/echo", "127.0.0.1:" + port},
        {"socks5h", "http://localhost:" + port + "/echo", "localhost:" + port},
        {"socks5", Nginx().Url("/1k", Site::TLS),
         "127.0.0.1:" + std::to_string(Nginx().Port(Site::TLS))},
        {"socks5h", Nginx().Url("/1k", Site::TLS), "localhost:"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.url);
        const Way way = {socks.Url(one.scheme)};
        Both(
            [&](Call &call) {
                Take(call, way);
                call.configuration.dnsRule = &rule;
            },
            one.url, "GET",
            [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_NE(socks.Log().find("connected to " + one.seen), std::string::npos)
                    << socks.Log();
            });
    }
}

// nginx answers by itself what it is asked to forward.
TEST_F(ProxyTest, AnHttpsProxyIsTrustedByItsOwnSettings)
{
    const std::string authority = Certificate("ca.pem");
    const Way way = {Nginx().Url("", Site::TLS_HTTP1)};
    const Way expired = {Nginx().Url("", Site::EXPIRED)};
    const struct {
        const Way &proxy;
        const char *authorities;
        uint32_t code;
        const char *why;
    } cases[] = {{way, authority.c_str(), 0, ""},
                 {way, nullptr, TNX_ERR_PEER_VERIFICATION, "issuer"},
                 {expired, authority.c_str(), TNX_ERR_PEER_VERIFICATION, "expired"}};
    for (const auto &one : cases) {
        Both(
            [&one](Call &call) {
                Take(call, one.proxy);
                call.configuration.proxy.security.remoteValidation = TNX_VALIDATION_CUSTOM;
                call.configuration.proxy.security.customValidation1 = one.authorities;
            },
            "http://far.test/fields", "GET",
            [&one](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
                if (one.code == 0) {
                    EXPECT_NE(outcome.body.find("host: far.test"), std::string::npos);
                }
            });
    }
}

// TLS to the server within TLS to the proxy: each is trusted by settings of its own.
TEST_F(ProxyTest, AnHttpsProxyTunnels)
{
    const Credentials credentials = {"user", "password"};
    const ForwardProxy proxy(credentials);
    const TlsFront front(proxy.Port());
    const Way way = {front.Url(), TNX_PROXY_TUNNEL, "user", "password"};
    const std::string authority = Certificate("ca.pem");
    const struct {
        const char *what;
        std::string url;
        const char *ofServer; // whom the server's settings trust
        const char *ofProxy;
        const char *why; // it is refused, null where it is not
    } cases[] = {
        {"both", Nginx().Url("/1k", Site::TLS), authority.c_str(), authority.c_str(), nullptr},
        {"clear text inside", Nginx().Url("/1k"), nullptr, authority.c_str(), nullptr},
        {"proxy only", Nginx().Url("/1k", Site::TLS), nullptr, authority.c_str(), "issuer"},
        {"server only", Nginx().Url("/1k", Site::TLS), authority.c_str(), nullptr, "issuer"},
        {"an expired server", Nginx().Url("/1k", Site::EXPIRED), authority.c_str(),
         authority.c_str(), "expired"},
        {"another server", Nginx().Url("/1k", Site::WRONG_NAME), authority.c_str(),
         authority.c_str(), "name"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.what);
        Both(
            [&](Call &call) {
                Take(call, way);
                call.configuration.security.customValidation1 = one.ofServer;
                call.configuration.proxy.security.remoteValidation = TNX_VALIDATION_CUSTOM;
                call.configuration.proxy.security.customValidation1 = one.ofProxy;
            },
            one.url, "GET",
            [&one](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.why == nullptr ? 0 : TNX_ERR_PEER_VERIFICATION)
                    << outcome.Why();
                EXPECT_EQ(outcome.body.size(), one.why == nullptr ? 1024U : 0U);
                if (one.why != nullptr) {
                    EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
                }
            });
    }
    EXPECT_NE(proxy.Log().find("CONNECT localhost:"), std::string::npos) << proxy.Log();
}

TEST_F(ProxyTest, BadProxiesAreToldFromBadServers)
{
    const RefusingPort refusing;
    const SocksProxy socks; // closes for what it does not know
    const std::string nobody = "127.0.0.1:" + std::to_string(refusing.Port());
    const std::string unreachable = "The proxy cannot be reached";
    const struct {
        Way way;
        uint32_t code;
        std::string why;
    } cases[] = {
        {{"http://user:s3cret@" + nobody}, TNX_ERR_CONNECT, unreachable},
        {{nobody}, TNX_ERR_CONNECT, "proxy http://" + nobody + ", which the configuration names"},
        {{"socks5://" + nobody}, TNX_ERR_CONNECT, unreachable},
        {{"gopher://" + nobody}, TNX_ERR_RESOLVE_PROXY, "the proxy that the configuration names"},
        {{"http://no such proxy/"}, TNX_ERR_RESOLVE_PROXY, "configuration names is not valid"},
        {{"http://proxy.invalid"}, TNX_ERR_RESOLVE_PROXY, "the proxy http://proxy.invalid:1080"},
        {{Scripted().Url("/"), TNX_PROXY_TUNNEL},
         TNX_ERR_PROXY,
         "The proxy refused to make a tunnel, with status 404 (connecting, host"},
        {{socks.Url("http"), TNX_PROXY_TUNNEL}, TNX_ERR_PROXY, "did not answer well"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.way.url);
        const Outcome outcome = Get(Nginx().Url("/1k"), one.way);
        EXPECT_EQ(outcome.code, one.code);
        EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
        EXPECT_EQ(outcome.Why().find("s3cret"), std::string::npos) << outcome.Why();
    }
}

// The scripted server answers what it is asked to forward: who asks it is proxied.
TEST_F(ProxyTest, PatternsExclude)
{
    const Way way = {Scripted().Url("")};
    const std::string port = std::to_string(Nginx().Port());
    const std::string near = "http://near.tnx.test:" + port + "/1k";
    const std::string number = "http://127.0.0.1:" + port + "/1k";
    const struct {
        std::vector<std::string> patterns;
        const std::string &url;
        bool proxied;
    } cases[] = {
        {{}, near, true},
        {{"*"}, near, false},
        {{"near.tnx.test"}, near, false},
        {{"NEAR.tnx.TEST"}, near, false},
        {{"tnx.test"}, near, false},
        {{".tnx.test"}, near, false},
        {{"*.tnx.test"}, near, false},
        {{"x.test"}, near, true},
        {{"ar.tnx.test"}, near, true},
        {{"near.tnx.test:" + port}, near, false},
        {{"near.tnx.test:1"}, near, true},
        {{"127.0.0.1"}, near, true}, // it is the name that is looked at
        {{"127.0.0.1"}, number, false},
        {{"127.0.0.1:" + port}, number, false},
        {{"0.0.1"}, number, true},
        {{"127.0.0.0/8"}, number, false},
        {{"127.0.0.0/31"}, number, false},
        {{"126.0.0.0/8"}, number, true},
        {{"::/0"}, number, true},
        {{"http://near.tnx.test"}, near, false},
        {{near}, near, false},
        {{near + "/more"}, near, true},
        {{"https://near.tnx.test"}, near, true},
        {{"other", "", " near.tnx.test "}, near, false},
    };
    Tnx_IpAddress address = {"127.0.0.1", nullptr};
    Tnx_StaticDnsRule table = {"near.tnx.test", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    rule.rule.staticRules = &table;
    for (const auto &one : cases) {
        std::deque<Tnx_UrlNode> nodes;
        std::string text = one.url + " without";
        for (const std::string &pattern : one.patterns) {
            text += " " + pattern;
            nodes.push_back({pattern.c_str(), nullptr});
            if (nodes.size() > 1) {
                nodes[nodes.size() - 2].next = &nodes.back();
            }
        }
        SCOPED_TRACE(text);
        Both(
            [&](Call &call) {
                Take(call, way);
                call.configuration.dnsRule = &rule;
                call.configuration.proxy.exclusions.exclusionList =
                    nodes.empty() ? nullptr : &nodes.front();
            },
            one.url, "GET",
            [&one](const Outcome &outcome) {
                ASSERT_EQ(outcome.code, 0U) << outcome.Why();
                EXPECT_EQ(outcome.status, one.proxied ? 404 : 200); // the proxy has no /1k
            });
    }
}

std::vector<std::string> g_asked;

TEST_F(ProxyTest, TheFunctionIsAskedForEveryHop)
{
    const std::string last = Nginx().Url("/1k");
    const std::string first = "http://far.test/redirect?to=http://far.test/redirect?to=" + last;
    for (const bool synchronous : {false, true}) {
        g_asked.clear();
        Call call(first);
        const Way way = {Scripted().Url("")};
        Take(call, way);
        call.configuration.proxy.exclusionKind = TNX_EXCLUSION_FUNCTION;
        call.configuration.proxy.exclusions.exclusionFunction = [](const char *url) {
            g_asked.push_back(url);
            return std::string_view(url).ends_with("/1k") && g_asked.size() == 3;
        };
        const Outcome outcome = synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
        ASSERT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_EQ(outcome.status, 200); // of nginx: the last hop went directly
        EXPECT_EQ(g_asked,
                  (std::vector<std::string>{first, "http://far.test/redirect?to=" + last, last}));
    }
}

// In a process of its own, since the environment is read once.
void ExitAfter(const std::vector<std::pair<const char *, std::string>> &environment,
               const std::string &url, bool proxied)
{
    for (const char *name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY",
                             "no_proxy", "NO_PROXY", "HTTP_PROXY"}) {
        unsetenv(name);
    }
    const std::string proxy = Scripted().Url("");
    for (const auto &[name, value] : environment) {
        setenv(name, value.empty() ? proxy.c_str() : value.c_str(), 1);
    }
    uint32_t code = 0;
    Tnx_Session *session = OVX_Tnx_CreateSession(nullptr, &code);
    bool right = true;
    for (const bool synchronous : {false, true}) {
        Call call(url);
        const Outcome outcome = synchronous ? call.FetchSync(session) : call.Fetch(session);
        right = right && (outcome.code == 0) == proxied;
    }
    OVX_Tnx_CloseSession(&session);
    std::exit(right ? 0 : 1);
}

TEST(EnvironmentProxyTest, TheEnvironmentNamesProxies)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // starts the program anew
    const auto ends = testing::ExitedWithCode(0);
    const std::string far = "http://far.invalid/echo";
    EXPECT_EXIT(ExitAfter({{"http_proxy", ""}}, far, true), ends, "");
    EXPECT_EXIT(ExitAfter({{"ALL_PROXY", ""}}, far, true), ends, "");
    EXPECT_EXIT(ExitAfter({{"http_proxy", ""}, {"no_proxy", "a.test, far.invalid"}}, far, false),
                ends, "");
    // A request header sets this one where a program runs behind CGI.
    EXPECT_EXIT(ExitAfter({{"HTTP_PROXY", ""}}, far, false), ends, "");
    // Loopback is not proxied.
    EXPECT_EXIT(ExitAfter({{"http_proxy", "http://127.0.0.1:1"}}, Scripted().Url("/echo"), true),
                ends, "");
}

} // namespace
