// How names become addresses: tables, servers and functions, none of which leaks into another
// request or holds anybody up.
#include "dns_server.h"
#include "ports.h"
#include "proxy_servers.h"
#include "tests/e2e/client.h"

#include <atomic>
#include <cstring>
#include <deque>
#include <future>

#include <csignal>
#include <unistd.h>

namespace
{

using namespace EndToEnd;

// The records of one rule.
class Rule
{
public:
    struct Entry {
        std::string host;
        uint16_t port;
        std::vector<std::string> addresses;
    };

    static Rule Table(const std::vector<Entry> &entries)
    {
        Rule rule;
        for (const Entry &entry : entries) {
            Tnx_StaticDnsRule &record = rule.Append(rule.table_);
            entry.host.copy(record.host, sizeof record.host - 1);
            record.port = entry.port;
            for (auto text = entry.addresses.rbegin(); text != entry.addresses.rend(); ++text) {
                Tnx_IpAddress &address = rule.addresses_.emplace_back();
                text->copy(address.ip, sizeof address.ip - 1);
                address.next = std::exchange(record.ipAddresses, &address);
            }
        }
        rule.record_.kind = TNX_DNS_STATIC;
        rule.record_.rule.staticRules = &rule.table_.front();
        return rule;
    }

    static Rule Servers(const std::vector<uint16_t> &ports)
    {
        Rule rule;
        for (const uint16_t port : ports) {
            Tnx_DnsServer &server = rule.Append(rule.servers_);
            std::strcpy(server.ip, "127.0.0.1");
            server.port = port;
        }
        rule.record_.kind = TNX_DNS_SERVERS;
        rule.record_.rule.servers = &rule.servers_.front();
        return rule;
    }

    static Rule Function(Tnx_DynamicDnsRuleFunction function)
    {
        Rule rule;
        rule.record_.kind = TNX_DNS_DYNAMIC;
        rule.record_.rule.dynamicRule = function;
        return rule;
    }

    Tnx_DnsRule *Record() { return &record_; }

private:
    template <class T> T &Append(std::deque<T> &list)
    {
        list.emplace_back();
        if (list.size() > 1) {
            list[list.size() - 2].next = &list.back();
        }
        return list.back();
    }

    std::deque<Tnx_StaticDnsRule> table_;
    std::deque<Tnx_IpAddress> addresses_;
    std::deque<Tnx_DnsServer> servers_;
    Tnx_DnsRule record_ = {};
};

class DnsTest : public EndToEndTest
{
protected:
    static std::string Url(const std::string &host, const std::string &target = "/echo")
    {
        return "http://" + host + ":" + std::to_string(Scripted().Port()) + target;
    }

    void Expect(Rule &rule, const std::string &url, uint32_t code, const std::string &why = "")
    {
        SCOPED_TRACE(url);
        Both(
            [&rule](Call &call) {
                call.configuration.dnsRule = rule.Record();
                call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
            },
            url, "GET",
            [&](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, code) << outcome.Why();
                const std::string texts = outcome.Debug(TNX_DEBUG_TEXT);
                EXPECT_NE(texts.find(why), std::string::npos) << texts;
                EXPECT_EQ(texts.find(".invalid:"), std::string::npos) << texts;
            });
    }
};

TEST_F(DnsTest, ATableGivesAddresses)
{
    const uint16_t port = Scripted().Port();
    Rule rule = Rule::Table({{"other.test", 0, {"127.0.0.9"}},
                             {"one.test", 1, {"127.0.0.9"}},
                             {"ONE.test", port, {"127.0.0.1"}},
                             {"one.test", 0, {"127.0.0.9"}},
                             {"some.test", 0, {"no address", "127.0.0.1"}},
                             {"none.test", 0, {"no address", "999.1.1.1"}},
                             {"six.test", 0, {"::1"}},
                             {"tnx.test", 0, {"127.0.0.1"}},
                             {"strange.test", 0, {"127.0.0.1"}},
                             {"\u00dcber.test", 0, {"127.0.0.1"}},
                             {"six.\u00fcber.test", 0, {"::1"}},
                             {"empty.test", 0, {}}});
    Expect(rule, Url("one.test"), 0);
    Expect(rule, Url("One.Test"), 0);
    Expect(rule, Url("some.test"), 0, "not an address: no address");
    Expect(rule, Url("none.test"), TNX_ERR_RESOLVE_HOST, "none.test");
    Expect(rule, Url("six.test"), TNX_ERR_CONNECT, "six.test"); // listens on IPv4 only
    Expect(rule, Url("empty.test"), TNX_ERR_RESOLVE_HOST, "empty.test");
    Expect(rule, Url("unknown.test"), TNX_ERR_RESOLVE_HOST, "unknown.test");
    Expect(rule, Url("localhost"), 0); // no opinion: as ever
    // Names are UTF-8, and those that texts tell are as they were given.
    Expect(rule, Url("\u00fcber.test"), 0);
    EXPECT_EQ(Scripted().LastRequest().Field("host"), "xn--ber-goa.test:" + std::to_string(port));
    Expect(rule, Url("xn--ber-goa.test"), 0);
    Expect(rule, Url("six.\u00fcber.test"), TNX_ERR_CONNECT, "to six.\u00fcber.test port");
    Expect(rule, Url("un\u00fcber.test"), TNX_ERR_RESOLVE_HOST, "host un\u00fcber.test:");
    Expect(rule, Url("f\xfcr.test"), TNX_ERR_URL_MALFORMED, "f\xfcr.test");
    // The certificate is checked against the name, wherever the addresses come from.
    const std::string tls = ":" + std::to_string(Nginx().Port(Site::TLS)) + "/1k";
    Expect(rule, "https://tnx.test" + tls, 0);
    Expect(rule, "https://strange.test" + tls, TNX_ERR_PEER_VERIFICATION, "strange.test");
}

TEST_F(DnsTest, RulesOfOneSessionDoNotLeak)
{
    ScriptedServer one("127.0.0.1");
    ScriptedServer two("127.0.0.2", one.Port());
    const std::string url = "http://same.test:" + std::to_string(one.Port()) + "/echo?";
    Rule toOne = Rule::Table({{"same.test", 0, {"127.0.0.1"}}});
    Rule toTwo = Rule::Table({{"same.test", 0, {"127.0.0.2"}}});
    constexpr int ROUNDS = 250;
    for (int i = 0; i < ROUNDS; ++i) {
        Call calls[4] = {Call(url + "1"), Call(url + "2"), Call(url + "1"), Call(url + "2")};
        for (int j = 0; j < 4; ++j) {
            calls[j].configuration.dnsRule = (j % 2 == 0 ? toOne : toTwo).Record();
        }
        calls[0].Start(Session()); // both at the same time
        calls[1].Start(Session());
        ASSERT_EQ(calls[2].FetchSync(Session()).code, 0U); // one after the other
        ASSERT_EQ(calls[3].FetchSync(Session()).code, 0U);
        ASSERT_EQ(calls[0].Wait().code, 0U);
        ASSERT_EQ(calls[1].Wait().code, 0U);
    }
    EXPECT_EQ(one.Requests().size(), 2U * ROUNDS);
    EXPECT_EQ(two.Requests().size(), 2U * ROUNDS);
    for (const ReceivedRequest &request : one.Requests()) {
        ASSERT_EQ(request.Target(), "/echo?1");
    }
    for (const ReceivedRequest &request : two.Requests()) {
        ASSERT_EQ(request.Target(), "/echo?2");
    }
    // Kept connections served them, and a request without a rule gets none of them.
    EXPECT_LE(one.AcceptedConnections(), 2U);
    Call none(url + "3");
    EXPECT_EQ(none.FetchSync(Session()).code, TNX_ERR_RESOLVE_HOST);
}

TEST_F(DnsTest, TheSessionsRuleIsForRequestsWithoutConfiguration)
{
    Rule rule = Rule::Table({{"session.test", 0, {"127.0.0.1"}}});
    Tnx_Configuration defaults = {};
    defaults.dnsRule = rule.Record();
    configuration_.requestConfiguration = &defaults;
    for (const bool own : {false, true}) {
        Both([own](Call &call) { call.Get()->configuration = own ? &call.configuration : nullptr; },
             Url("session.test"), "GET",
             [own](const Outcome &outcome) {
                 EXPECT_EQ(outcome.code, own ? uint32_t{TNX_ERR_RESOLVE_HOST} : 0U)
                     << outcome.Why();
             });
    }
}

using Addresses = std::vector<std::pair<std::string, std::string>>;

TEST_F(DnsTest, ServersAreAskedInTurn)
{
    const RealNameServer real(Addresses{{"real.test", "127.0.0.1"}});
    const DnsServer ours({.zone = {.addresses = {{"ours.test", "127.0.0.1"}}}});
    const DnsServer cut({.zone = {.addresses = {{"cut.test", "127.0.0.1"}}}, .truncate = true});
    const RefusingPort dead; // of UDP it refuses as well: nobody listens there
    Rule realRule = Rule::Servers({real.Port()});
    Rule deadFirst = Rule::Servers({dead.Port(), ours.Port()});
    Rule byTcp = Rule::Servers({cut.Port()});
    Expect(realRule, Url("real.test"), 0);
    Expect(realRule, Url("missing.test"), TNX_ERR_RESOLVE_HOST, "missing.test");
    Expect(deadFirst, Url("ours.test"), 0);
    Expect(byTcp, Url("cut.test"), 0);
    EXPECT_NE(real.Log().find("real.test"), std::string::npos);
    // Remembered for the time to live, but for these servers only.
    const size_t asked = ours.Questions().size();
    Expect(deadFirst, Url("ours.test"), 0);
    EXPECT_EQ(ours.Questions().size(), asked);
    Expect(realRule, Url("ours.test"), TNX_ERR_RESOLVE_HOST);
}

TEST_F(DnsTest, BothFamiliesAreRaced)
{
    const std::string own = "127.0.0.66"; // nobody else has the same port here
    const ScriptedServer six("::1");
    const SilentPort silent("::1");
    const ScriptedServer four(own, silent.Port());
    const auto url = [](const ScriptedServer &server) {
        return "http://both.test:" + std::to_string(server.Port()) + "/echo";
    };
    for (const std::vector<std::string> &addresses :
         {std::vector<std::string>{"::1", own}, {own, "::1"}}) {
        Rule rule = Rule::Table({{"both.test", 0, addresses}});
        Expect(rule, url(six), 0);  // nobody listens on IPv4
        Expect(rule, url(four), 0); // IPv6 does not answer
    }
}

TEST_F(DnsTest, EveryAddressHasItsTurn)
{
    const uint16_t port = Scripted().Port();
    std::deque<SilentPort> silent;
    std::vector<std::string> dead = {"127.0.0.200"}; // refuses
    for (const char *address : {"127.0.0.2", "127.0.0.3"}) {
        dead.emplace_back(address);
        silent.emplace_back(address, port);
    }
    std::vector<std::string> all = dead;
    all.insert(all.begin(), "::1"); // refuses too
    all.emplace_back("127.0.0.1");
    const int deaf = ListenOn("127.0.0.1", 0, 8); // takes connections and says nothing
    const struct {
        std::vector<std::string> addresses;
        std::string url;
        uint32_t connectTimeout;
        uint32_t code;
        const char *why;
    } cases[] = {
        {all, Url("many.test"), 2000, 0, ""},
        {dead, Url("many.test"), 600, TNX_ERR_TIMEOUT, "127.0.0.2 or 127.0.0.3"},
        // Who has taken the connection has all the time that is left.
        {{"127.0.0.1", "127.0.0.200"},
         "https://many.test:" + std::to_string(PortOf(deaf)),
         600,
         TNX_ERR_TIMEOUT,
         "many.test"},
    };
    for (const auto &one : cases) {
        Rule rule = Rule::Table({{"many.test", 0, one.addresses}});
        const auto fill = [&rule, &one](Call &call) {
            call.configuration.dnsRule = rule.Record();
            call.configuration.transfer.connectTimeout = one.connectTimeout;
        };
        Both(fill, one.url, "GET", [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, one.code);
            EXPECT_TRUE(one.code == 0 || outcome.Why().find(one.why) != std::string::npos)
                << outcome.Why();
        });
    }
    close(deaf);
}

// Neither an answer nor a handshake that takes longer than an address has to take the connection
// makes a request go to the next: nothing is sent twice.
TEST_F(DnsTest, WhoHasTakenTheConnectionIsWaitedFor)
{
    const std::string dead = "127.0.0.200";
    Rule rule = Rule::Table(
        {{"one.tnx.test", 0, {"127.0.0.1", dead}}, {"two.tnx.test", 0, {dead, "127.0.0.1"}}});
    const auto fill = [&rule](Call &call, uint32_t connectTimeout) {
        call.configuration.dnsRule = rule.Record();
        call.configuration.transfer.connectTimeout = connectTimeout;
    };
    const auto check = [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); };
    const auto port = [](Site site) { return std::to_string(Nginx().Port(site)); };
    for (const std::string &base :
         {Url("two.tnx.test", ""), "https://two.tnx.test:" + port(Site::TLS) + "/scripted"}) {
        Scripted().ForgetRequests();
        const auto briefly = [&fill](Call &call) { fill(call, 800); };
        Both(briefly, base + "/echo", "GET", check);
        Both(briefly, base + "/stall?ms=500", "POST", check); // on the kept connections
        EXPECT_EQ(Scripted().Requests().size(), 4U) << base;
    }
    // Of each three one makes the connection and two wait for it.
    std::deque<Call> calls;
    for (const Site site : {Site::TLS, Site::TLS_HTTP1}) {
        for (int i = 0; i < 3; ++i) {
            fill(calls.emplace_back("https://one.tnx.test:" + port(site) + "/scripted/stall?ms=99"),
                 2000);
        }
    }
    ASSERT_EQ(kill(Nginx().Id(), SIGSTOP), 0); // the system takes connections all the same
    for (Call &call : calls) {
        call.Start(Session());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    kill(Nginx().Id(), SIGCONT);
    for (Call &call : calls) {
        check(call.Wait());
    }
}

std::atomic<int> g_asked = 0;
std::promise<void> *g_mayAnswer = nullptr;

Tnx_IpAddress *Answer(const char *host, uint16_t)
{
    ++g_asked;
    if (std::string_view(host) == "slow.test") {
        g_mayAnswer->get_future().wait_for(std::chrono::seconds(60));
    } else if (std::string_view(host) != "known.test") {
        return nullptr;
    }
    auto *const address = static_cast<Tnx_IpAddress *>(std::calloc(1, sizeof(Tnx_IpAddress)));
    std::strcpy(address->ip, "127.0.0.1");
    return address;
}

TEST_F(DnsTest, TheApplicationIsAskedEachTime)
{
    g_asked = 0;
    Rule rule = Rule::Function(Answer);
    Expect(rule, Url("known.test"), 0);
    Expect(rule, Url("known.test"), 0);
    EXPECT_EQ(g_asked, 4); // each time both ways
    Expect(rule, Url("unknown.test"), TNX_ERR_RESOLVE_HOST);
    Expect(rule, Url("localhost"), 0);
    EXPECT_EQ(g_asked, 8);
    Expect(rule, Scripted().Url("/echo"), 0); // an address is nothing to ask for
    EXPECT_EQ(g_asked, 8);
}

TEST_F(DnsTest, AFunctionThatBlocksDelaysItsOwnRequest)
{
    std::promise<void> mayAnswer;
    g_mayAnswer = &mayAnswer;
    g_asked = 0;
    Rule rule = Rule::Function(Answer);
    Call slow(Url("slow.test"));
    slow.configuration.dnsRule = rule.Record();
    slow.Start(Session());
    ASSERT_TRUE(Eventually([] { return g_asked == 1; }));
    Expect(rule, Url("known.test"), 0);
    EXPECT_EQ(slow.Answers(), 0U);
    mayAnswer.set_value();
    EXPECT_EQ(slow.Wait().code, 0U);
}

// Everything below is over before the name server answers.
TEST_F(DnsTest, ASlowNameServerHoldsNobodyUp)
{
    const DnsServer server(
        {.zone = {.addresses = {{"*", "127.0.0.1"}}}, .delay = std::chrono::seconds(3)});
    Rule rule = Rule::Servers({server.Port()});
    Call slow(Url("first.slow.test"));
    Call canceled(Url("second.slow.test"));
    Call timed(Url("third.slow.test"));
    for (Call *call : {&slow, &canceled, &timed}) {
        call->configuration.dnsRule = rule.Record();
    }
    timed.configuration.transfer.connectTimeout = 50;
    for (Call *call : {&slow, &canceled, &timed}) {
        call->Start(Session());
    }
    ASSERT_TRUE(server.WaitForQuestions(3));
    Call literal(Scripted().Url("/echo"));
    literal.configuration.dnsRule = rule.Record();
    EXPECT_EQ(literal.Fetch(Session()).code, 0U);
    EXPECT_EQ(literal.FetchSync(Session()).code, 0U);
    OVX_Tnx_CancelRequest(Session(), canceled.Get());
    EXPECT_EQ(canceled.Wait().code, TNX_ERR_REQUEST_CANCELED);
    const Outcome outcome = timed.Wait();
    EXPECT_EQ(outcome.code, TNX_ERR_TIMEOUT);
    EXPECT_NE(outcome.Why().find("third.slow.test"), std::string::npos) << outcome.Why();
    EXPECT_EQ(slow.Answers(), 0U);
    Close();
    EXPECT_EQ(slow.Answers(), 0U);
}

} // namespace
