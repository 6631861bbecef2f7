// Certificates and ends of TLS that are not to be trusted.
#include "peers.h"

#include "proxy_servers.h"

namespace
{

using namespace Peers;

Tnx_IpAddress g_loopback = {"127.0.0.1", nullptr};

// Every name that the rows use is on loopback.
void OnLoopback(Call &call)
{
    static Tnx_StaticDnsRule rules[] = {{"tnx.test", 0, &g_loopback, &rules[1]},
                                        {"a.tnx.test", 0, &g_loopback, &rules[2]},
                                        {"a.b.tnx.test", 0, &g_loopback, &rules[3]},
                                        {"xtnx.test", 0, &g_loopback, &rules[4]},
                                        {"elsewhere.test", 0, &g_loopback, nullptr}};
    static Tnx_DnsRule rule = [] {
        Tnx_DnsRule all = {TNX_DNS_STATIC, {}};
        all.rule.staticRules = rules;
        return all;
    }();
    call.configuration.dnsRule = &rule;
}

TEST(TlsPeers, Certificates)
{
    const struct {
        const char *certificate;
        const char *host;
        const char *told; // of the refusal, or null for a good one
    } cases[] = {
        {"good", "localhost", nullptr},
        {"good", "127.0.0.1", nullptr},
        {"good", "tnx.test", nullptr},
        {"good", "TNX.test", nullptr},
        {"good", "a.tnx.test", nullptr},
        {"good", "a.b.tnx.test", "a.b.tnx.test"}, // a wildcard is one label
        {"good", "xtnx.test", "xtnx.test"},
        {"good", "elsewhere.test", "elsewhere.test"},
        {"expired", "localhost", "expired"},
        {"not-yet", "localhost", "not yet valid"},
        {"wrong-name", "localhost", "localhost"},
        {"wrong-name", "elsewhere.test", nullptr},
        {"self-signed", "localhost", "self-signed"},
        {"common-name", "localhost", nullptr}, // lax: libcurl takes it where there is no other name
        {"wide-wildcard", "tnx.test", "tnx.test"},     // *.test and *
        {"part-wildcard", "a.tnx.test", "a.tnx.test"}, // a*.tnx.test would do, but not x*
        {"address-as-name", "127.0.0.1", "127.0.0.1"},
        {"for-clients", "localhost", "purpose"},
        {"for-signing", "localhost", ""},
    };
    for (const auto &[certificate, host, told] : cases) {
        const TlsFront front(Peer().Port(), certificate);
        Row row{std::string("certificate ") + certificate + " for " + host,
                {Five()},
                {},
                told == nullptr ? "abcde" : told,
                EITHER,
                200,
                "GET",
                OnLoopback};
        row.url = front.Url(host) + "/played";
        if (told != nullptr) {
            row.codes = {TNX_ERR_PEER_VERIFICATION, TNX_ERR_TLS_CONNECT};
        }
        Check({row});
    }
}

TEST(TlsPeers, Ends)
{
    const TlsFront front(Peer().Port());
    const auto over = [&front](std::string name, Play play, std::vector<uint32_t> codes,
                               std::string told) {
        Row one{std::move(name), {std::move(play)}, std::move(codes), std::move(told), EITHER};
        one.url = front.Url() + "/played";
        return one;
    };
    std::vector<Row> rows = {
        over("TLS, counted", Five(), {}, "abcde"),
        over("TLS, cut", Play(Ok("Content-Length: 9", "abcde")).Close(),
             {TNX_ERR_TRUNCATED_BODY, TNX_ERR_RECEIVE}, ""),
        over("TLS, cut in chunks", Play(Chunked("9\r\nabcde")).Close(),
             {TNX_ERR_TRUNCATED_BODY, TNX_ERR_RECEIVE}, ""),
        over("TLS, until close", Play(Ok("X: y", "abcde")).Close(), {}, "abcde"),
        over("TLS, no answer", Play("").Close(), {TNX_ERR_EMPTY_REPLY, TNX_ERR_RECEIVE}, ""),
        over("TLS, an answer behind a body", Five() + Ok("Content-Length: 7", "unasked"), {},
             "abcde"),
        over(
            "TLS, an answer and more in one record",
            Play(Ok("Content-Length: 5")).Wait().Then("abcde" + Ok("Content-Length: 7", "unasked")),
            {}, "abcde"),
        over("TLS, an answer later", Play(Five()).Wait().Then(Ok("Content-Length: 7", "unasked")),
             {}, "abcde"),
        over("TLS, down to clear text",
             To("http://127.0.0.1:" + std::to_string(Peer().Port()) + "/bytes?n=3"), {}, "abc"),
    };
    rows[6].late = rows[7].late = true;
    Check(rows);
}

} // namespace
