// Names asked of a resolver URL: nginx speaks TLS and HTTP/2 for the scripted server, which
// answers.
#include "certificates.h"
#include "ports.h"
#include "tests/e2e/client.h"

#include <unistd.h>

namespace
{

using namespace EndToEnd;

class DnsOverHttpsTest : public EndToEndTest
{
protected:
    // Each test asks of a resolver of its own, because answers are remembered.
    static std::string Resolver(const std::string &query)
    {
        static int number = 0;
        return Nginx().Url("/scripted/" + query + "&number=" + std::to_string(++number), Site::TLS);
    }

    static std::string Url(const std::string &host)
    {
        return "http://" + host + ":" + std::to_string(Scripted().Port()) + "/echo";
    }

    static void Ask(Call &call, const std::string &resolver, bool only = true)
    {
        call.configuration.dnsResolverUrl = resolver.c_str();
        call.configuration.dnsResolverFlag = only;
        call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
    }

    void Expect(const std::string &resolver, bool only, const std::string &host, uint32_t code,
                const std::string &why = "")
    {
        SCOPED_TRACE(resolver + (only ? " only" : ""));
        Both([&](Call &call) { Ask(call, resolver, only); }, Url(host), "GET",
             [&](const Outcome &outcome) {
                 EXPECT_EQ(outcome.code, code) << outcome.Why();
                 const std::string texts = outcome.Debug(TNX_DEBUG_TEXT);
                 EXPECT_NE(texts.find(why), std::string::npos) << texts;
             });
    }

    static size_t Questions()
    {
        size_t count = 0;
        for (const ReceivedRequest &request : Scripted().Requests()) {
            count += request.Target().starts_with("/dns-query") ? 1 : 0;
        }
        return count;
    }
};

TEST_F(DnsOverHttpsTest, TheResolverIsAskedAndItsAnswerRemembered)
{
    const std::string resolver = Resolver("dns-query?a=127.0.0.1");
    Scripted().ForgetRequests();
    Expect(resolver, true, "one.test", 0);
    EXPECT_EQ(Questions(), 2U); // for both kinds of address, once
    const ReceivedRequest question = Scripted().Requests().front();
    EXPECT_EQ(question.Method(), "POST");
    EXPECT_EQ(question.Field("content-type"), "application/dns-message");
    Expect(resolver, false, "one.test", 0);
    EXPECT_EQ(Questions(), 2U);
    // Another resolver has not been asked.
    Expect(Resolver("dns-query?a=127.0.0.1"), true, "one.test", 0);
    EXPECT_EQ(Questions(), 4U);
    Expect(Resolver("dns-query?a=::1&a=127.0.0.1"), true, "one.test", 0);
    Expect(Resolver("dns-query?name=two.test&a=127.0.0.1"), true, "two.test", 0);
}

TEST_F(DnsOverHttpsTest, WithoutFallbackItsFailuresAreFinal)
{
    const RefusingPort refusing;
    const std::string nobody = "https://127.0.0.1:" + std::to_string(refusing.Port()) + "/";
    const struct {
        std::string resolver;
        const char *why;
    } cases[] = {
        {Resolver("dns-query?name=other.test&a=127.0.0.1"), "no such name"},
        {Resolver("dns-query?x=y"), "no such name"},
        {Resolver("status?code=503"), "status 503"},
        {Resolver("echo?x=y"), "no DNS message"},
        {Resolver("bytes?n=100000"), "no answer of the resolver"},
        {nobody, "no answer of the resolver"},
        {Scripted().Url("/dns-query?a=127.0.0.1"), "https"}, // would not be encrypted
        {Nginx().Url("/scripted/dns-query?a=127.0.0.1", Site::EXPIRED), "expired"},
        {"https://no-such-resolver.test/", "no-such-resolver.test"},
        {"nonsense", "resolver"},
    };
    for (const auto &one : cases) {
        Expect(one.resolver, true, "one.test", TNX_ERR_RESOLVE_HOST, one.why);
    }
}

TEST_F(DnsOverHttpsTest, WithFallbackTheSystemIsAsked)
{
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    ScriptedServer everywhere("0.0.0.0");
    const std::string url =
        "http://" + std::string(name) + ":" + std::to_string(everywhere.Port()) + "/echo";
    Call plain(url);
    const Outcome known = plain.FetchSync(Session());
    if (known.code != 0) {
        GTEST_SKIP() << "the system does not know " << name;
    }
    for (const std::string &resolver :
         {Resolver("status?code=503"), Resolver("dns-query?name=other.test&a=127.0.0.1")}) {
        for (const bool only : {false, true}) {
            Both([&](Call &call) { Ask(call, resolver, only); }, url, "GET",
                 [only](const Outcome &outcome) {
                     EXPECT_EQ(outcome.code, only ? uint32_t{TNX_ERR_RESOLVE_HOST} : 0U)
                         << outcome.Why();
                     const std::string texts = outcome.Debug(TNX_DEBUG_TEXT);
                     EXPECT_EQ(texts.find("Asking the system") == std::string::npos, only);
                 });
        }
    }
}

TEST_F(DnsOverHttpsTest, TheRequestsTrustIsTheResolvers)
{
    const std::string resolver = Resolver("dns-query?a=127.0.0.1");
    const auto trust = [&resolver](uint32_t validation) {
        return [&resolver, validation](Call &call) {
            Ask(call, resolver);
            call.configuration.security = {};
            call.configuration.security.remoteValidation = validation;
            call.configuration.security.credentialName = "user";
            call.configuration.security.credentialPassword = "password";
            call.configuration.security.credentialKind = TNX_CREDENTIAL_BASIC;
            call.Cookie("own", "cookie");
        };
    };
    Scripted().ForgetRequests();
    Both(trust(TNX_VALIDATION_SKIP), Url("three.test"), "GET",
         [](const Outcome &outcome) { EXPECT_EQ(outcome.code, 0U) << outcome.Why(); });
    for (const ReceivedRequest &request : Scripted().Requests()) {
        const bool question = request.Target().starts_with("/dns-query");
        EXPECT_EQ(request.Field("authorization").empty(), question);
        EXPECT_EQ(request.Field("cookie").empty(), question);
    }
    // What was learned unchecked is not for who wants it checked.
    Both(trust(TNX_VALIDATION_SYSTEM), Url("three.test"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, TNX_ERR_RESOLVE_HOST);
        EXPECT_NE(outcome.Why().find("certificate"), std::string::npos) << outcome.Why();
    });
}

TEST_F(DnsOverHttpsTest, TheRuleComesFirst)
{
    Tnx_IpAddress address = {"127.0.0.1", nullptr};
    Tnx_StaticDnsRule table = {"ruled.test", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    rule.rule.staticRules = &table;
    const std::string resolver = Resolver("dns-query?a=127.0.0.9");
    Scripted().ForgetRequests();
    for (const auto &[host, questions] : {std::pair{"ruled.test", 0U}, {"other.test", 2U}}) {
        Both(
            [&](Call &call) {
                Ask(call, resolver);
                call.configuration.dnsRule = &rule;
                call.configuration.transfer.connectTimeout = 2000;
            },
            Url(host), "GET",
            [questions = questions](const Outcome &outcome) {
                EXPECT_EQ(outcome.code == 0, questions == 0) << outcome.Why();
            });
        EXPECT_EQ(Questions(), questions);
    }
}

TEST_F(DnsOverHttpsTest, ASlowResolverHoldsNobodyUp)
{
    const std::string resolver = Resolver("dns-query?a=127.0.0.1&ms=4000");
    Call slow(Url("slow.test"));
    Call canceled(Url("slow.test"));
    Call literal(Scripted().Url("/echo"));
    for (Call *call : {&slow, &canceled, &literal}) {
        Ask(*call, resolver);
    }
    Scripted().ForgetRequests();
    slow.Start(Session());
    canceled.Start(Session());
    ASSERT_TRUE(Scripted().WaitForRequests(2));
    EXPECT_EQ(literal.Fetch(Session()).code, 0U);
    EXPECT_EQ(literal.FetchSync(Session()).code, 0U);
    OVX_Tnx_CancelRequest(Session(), canceled.Get());
    EXPECT_EQ(canceled.Wait().code, TNX_ERR_REQUEST_CANCELED);
    Close();
    EXPECT_EQ(slow.Answers(), 0U);
}

} // namespace
