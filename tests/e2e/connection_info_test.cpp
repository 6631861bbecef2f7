// What a response tells of the way to its server.
#include "client.h"

#include "ports.h"
#include "tnx_c_ext.h"

#include <cerrno>

namespace
{

using namespace EndToEnd;

// A copy of what was told, texts empty where they are null.
struct Info {
    Info(Tnx_Session *session, Call &call, bool synchronous)
    {
        EXPECT_EQ(OVX_Tnx_SetRequestCollectConnectionInfo(call.Get(), true), TNX_OK);
        const auto look = [this](const Tnx_Response *response) {
            Take(*OVX_Tnx_GetConnectionInfo(response));
        };
        call.look = look;
        code = synchronous ? call.FetchSync(session).code : call.Fetch(session).code;
    }

    void Take(const Tnx_ConnectionInfo &info)
    {
        const auto text = [](const char *from) { return std::string(from != nullptr ? from : ""); };
        record = info;
        remote = text(info.remoteAddress);
        local = text(info.localAddress);
        proxy = text(info.proxy);
        tls = text(info.tlsVersion) + " " + text(info.cipher);
        chain = text(info.peerChain);
        for (const auto *hop = info.hops; hop != nullptr; hop = hop->next) {
            hops.emplace_back(hop->url, hop->statusCode);
        }
        for (const auto *attempt = info.attempts; attempt != nullptr; attempt = attempt->next) {
            attempts.emplace_back(attempt->address, attempt->error);
        }
    }

    uint32_t code = 0;
    Tnx_ConnectionInfo record = {};
    std::string remote, local, proxy, tls, chain;
    std::vector<std::pair<std::string, int32_t>> hops, attempts;
};

using Pairs = std::vector<std::pair<std::string, int32_t>>;
using ConnectionInfoTest = EndToEndTest;

TEST_F(ConnectionInfoTest, TellsTheConnectionNewAndKept)
{
    for (const Site site : {Site::PLAIN, Site::TLS_HTTP1, Site::TLS}) {
        for (const bool synchronous : {false, true}) {
            for (const bool kept : {false, true}) {
                Call call(Nginx().Url("/1k", site), "PUT");
                call.Body("12345");
                const Info info(Session(), call, synchronous);
                EXPECT_EQ(info.code, TNX_OK);
                EXPECT_EQ(info.record.reused, kept);
                EXPECT_EQ(info.attempts, kept ? Pairs() : Pairs({{info.remote, 0}}));
                EXPECT_EQ(info.record.httpVersion, site == Site::TLS ? 20U : 11U);
                EXPECT_EQ(info.local, info.remote);
                EXPECT_NE(call.Get()->url, nullptr);
                EXPECT_NE(std::string(call.Get()->url).find(std::to_string(info.record.remotePort)),
                          std::string::npos);
                EXPECT_NE(info.record.localPort, 0);
                EXPECT_EQ(info.tls.starts_with("TLSv1."), site != Site::PLAIN);
                EXPECT_EQ(info.chain.starts_with("-----BEGIN CERTIFICATE"), site != Site::PLAIN);
                EXPECT_EQ(info.hops, Pairs({{call.Get()->url, 405}}));
                EXPECT_GT(info.record.bytesSent, 5U + 50U);
                EXPECT_GT(info.record.bytesReceived, 100U);
            }
        }
    }
}

TEST_F(ConnectionInfoTest, TellsHopsAndAddressesAsFarAsTheyWent)
{
    static Tnx_IpAddress good = {"127.0.0.1", nullptr}, bad = {"127.0.0.2", &good};
    static Tnx_StaticDnsRule item = {"two.test", 0, &bad, nullptr};
    static Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    rule.rule.staticRules = &item;
    const RefusingPort refusing;
    const SilentPort silent;
    const auto at = [](const std::string &host, uint16_t port) {
        return "http://" + host + ":" + std::to_string(port) + "/";
    };
    const std::string refused = at("127.0.0.1", refusing.Port());
    const std::string slow = at("127.0.0.1", silent.Port());
    const std::string away = Scripted().Url("/redirect?to=" + refused);
    const std::string two = at("two.test", Scripted().Port());
    const Pairs connected = {{"127.0.0.1", 0}};
    const struct {
        std::string url;
        uint32_t code, version;
        Pairs hops, attempts;
    } rows[] = {
        {refused, TNX_ERR_CONNECT, 0, {{refused, 0}}, {{"127.0.0.1", ECONNREFUSED}}},
        {slow, TNX_ERR_TIMEOUT, 0, {{slow, 0}}, {{"127.0.0.1", ETIMEDOUT}}},
        {away,
         TNX_ERR_CONNECT,
         0,
         {{away, 302}, {refused, 0}},
         {{"127.0.0.1", 0}, {"127.0.0.1", ECONNREFUSED}}},
        {two, TNX_OK, 11, {{two, 200}}, {{"127.0.0.2", ECONNREFUSED}, {"127.0.0.1", 0}}},
        {"http://missing.invalid/", TNX_ERR_RESOLVE_HOST, 0, {{"http://missing.invalid/", 0}}, {}},
        {"nonsense://host/", TNX_ERR_UNSUPPORTED_SCHEME, 0, {}, {}},
    };
    for (const auto &row : rows) {
        for (const bool synchronous : {false, true}) {
            SCOPED_TRACE(row.url);
            Call call(row.url);
            call.configuration.dnsRule = &rule;
            call.configuration.transfer.connectTimeout = row.url == slow ? 200 : 0;
            const Info info(Session(), call, synchronous);
            EXPECT_EQ(info.code, row.code);
            EXPECT_EQ(info.record.httpVersion, row.version);
            EXPECT_EQ(info.hops, row.hops);
            EXPECT_EQ(info.attempts, row.attempts);
            Close();
        }
    }
}

TEST_F(ConnectionInfoTest, TellsTheProxyAndNothingUnasked)
{
    const std::string proxy = "http://127.0.0.1:" + std::to_string(Scripted().Port());
    const std::string withCredential = "http://user:word@" + proxy.substr(7);
    Call call("http://far.test/echo");
    call.configuration.proxy.mode = TNX_PROXY_EXPLICIT;
    call.configuration.proxy.url = withCredential.c_str();
    const Info info(Session(), call, false);
    EXPECT_EQ(info.proxy, proxy);
    EXPECT_EQ(info.remote, "127.0.0.1");
    EXPECT_EQ(info.record.remotePort, Scripted().Port());

    EXPECT_EQ(OVX_Tnx_GetConnectionInfo(nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_SetRequestCollectConnectionInfo(nullptr, true), TNX_ERR_PARAMETER);
    Call plain(Scripted().Url("/echo"));
    const void *told = &plain;
    plain.look = [&](const Tnx_Response *response) { told = OVX_Tnx_GetConnectionInfo(response); };
    plain.Fetch(session_);
    EXPECT_EQ(told, nullptr);
}

} // namespace
