// Who is told the credentials, and who is not: on the wire, in logs and in texts.
#include "tests/e2e/client.h"
#include "tnx_platform/controls.h"

namespace
{

using namespace EndToEnd;

using CredentialsTest = EndToEndTest;

void Authenticate(Call &call, uint32_t kind, const char *name, const char *password)
{
    Tnx_SecurityConfiguration &security = call.configuration.security;
    security.credentialKind = kind;
    security.credentialName = name;
    security.credentialPassword = password;
}

TEST_F(CredentialsTest, EachKindIsWelcomeWhereItIsAskedFor)
{
    const struct {
        const char *target;
        uint32_t kind;
        const char *password;
        int32_t status;
        size_t requests;
        const char *first;  // what the first request's authorization begins with
        const char *method; // a body has to be sent again after a challenge
    } cases[] = {
        {"/401-basic", TNX_CREDENTIAL_BASIC, "password", 200, 1, "Basic ", "GET"},
        {"/401-basic", TNX_CREDENTIAL_BASIC, "wrong", 401, 1, "Basic ", "GET"},
        {"/401-basic", TNX_CREDENTIAL_AUTOMATIC, "password", 200, 2, "", "GET"},
        {"/401-basic", TNX_CREDENTIAL_AUTOMATIC, "password", 200, 2, "", "POST"},
        {"/401-basic", TNX_CREDENTIAL_DIGEST, "password", 401, 1, "", "GET"},
        {"/401-digest", TNX_CREDENTIAL_DIGEST, "password", 200, 2, "", "GET"},
        {"/401-digest", TNX_CREDENTIAL_DIGEST, "password", 200, 2, "", "POST"},
        {"/401-digest", TNX_CREDENTIAL_DIGEST, "wrong", 401, 2, "", "GET"},
        {"/401-digest", TNX_CREDENTIAL_AUTOMATIC, "password", 200, 2, "", "GET"},
        {"/401-bearer", TNX_CREDENTIAL_BEARER, "token", 200, 1, "Bearer ", "GET"},
        {"/401-bearer", TNX_CREDENTIAL_BEARER, "wrong", 401, 1, "Bearer ", "GET"},
        {"/401-ntlm", TNX_CREDENTIAL_NTLM, "password", 200, 2, "NTLM TlRM", "GET"},
        {"/401-ntlm", TNX_CREDENTIAL_NTLM, "password", 200, 2, "NTLM TlRM", "POST"},
        {"/401-ntlm", TNX_CREDENTIAL_AUTOMATIC, "password", 200, 3, "", "GET"},
        {"/401-basic", TNX_CREDENTIAL_NTLM, "password", 401, 1, "NTLM TlRM", "GET"},
        {"/echo", TNX_CREDENTIAL_AUTOMATIC, "password", 200, 1, "", "GET"},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(std::string(one.method) + " " + one.target + " kind " +
                     std::to_string(one.kind) + " with " + one.password);
        for (const bool synchronous : {false, true}) {
            Call call(Scripted().Url(one.target), one.method);
            Authenticate(call, one.kind, "user", one.password);
            if (std::string_view("POST") == one.method) {
                call.Body("body");
            }
            Scripted().ForgetRequests();
            const Outcome outcome = synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(outcome.status, one.status);
            const std::vector<ReceivedRequest> requests = Scripted().Requests();
            ASSERT_EQ(requests.size(), one.requests);
            const std::string first = requests.front().Field("authorization");
            EXPECT_TRUE(one.first[0] == '\0' ? first.empty() : first.starts_with(one.first))
                << first;
            EXPECT_EQ(requests.back().content, call.content.value.string.data != nullptr &&
                                                       requests.back().Method() == "POST"
                                                   ? "body"
                                                   : "");
        }
    }
}

TEST_F(CredentialsTest, WhatBelongsToAnOriginStaysThere)
{
    ScriptedServer other;
    const std::string port = std::to_string(Scripted().Port());
    const std::string otherPort = std::to_string(other.Port());
    const struct {
        const char *what;
        std::string to;
        const ScriptedServer &server;
        bool same;
    } cases[] = {
        {"the same origin", "http://127.0.0.1:" + port + "/echo", Scripted(), true},
        {"another port", "http://127.0.0.1:" + otherPort + "/echo", other, false},
        {"another host", "http://localhost:" + port + "/echo", Scripted(), false},
        {"another scheme", Nginx().Url("/scripted/echo", Site::TLS), Scripted(), false},
        // What leads back is the other's choice.
        {"there and back",
         "http://127.0.0.1:" + otherPort + "/redirect?to=http://127.0.0.1:" + port + "/echo",
         Scripted(), false},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.what);
        for (const bool ownField : {false, true}) {
            const auto fill = [ownField](Call &call) {
                call.Cookie("own", "cookie").Header("X-Plain", "stays");
                if (ownField) {
                    call.Header("Authorization", "Own secret").Header("Cookie", "raw=field");
                    call.Header("Host", "own.host");
                } else {
                    Authenticate(call, TNX_CREDENTIAL_BASIC, "user", "password");
                }
            };
            // nginx's own path, too, must not be taken for a part of the origin.
            const std::string line = "/redirect?to=" + one.to;
            Both(fill, Scripted().Url(line), "GET", [&](const Outcome &outcome) {
                ASSERT_EQ(outcome.code, 0U) << outcome.Why();
                const ReceivedRequest last = one.server.LastRequest();
                EXPECT_EQ(last.Target(), "/echo");
                EXPECT_EQ(last.Field("x-plain"), "stays");
                EXPECT_EQ(last.Field("authorization").empty(), !one.same);
                EXPECT_EQ(last.Field("cookie").empty(), !one.same);
                EXPECT_EQ(last.Field("host") == "own.host", one.same && ownField);
            });
        }
    }
}

TEST_F(CredentialsTest, CookiesOfAHopGoWhereTheyBelong)
{
    const std::string port = std::to_string(Scripted().Port());
    const auto hop = [&port](const std::string &host, const std::string &cookie,
                             const std::string &to) {
        return "http://" + host + ":" + port + "/redirect?line=Set-Cookie:%20" + cookie +
               "&to=" + to;
    };
    const auto at = [&port](const std::string &host) {
        return "http://" + host + ":" + port + "/echo";
    };
    const struct {
        std::string url;
        const char *sent;
    } cases[] = {
        {hop("127.0.0.1", "a=b", at("127.0.0.1")), "a=b"},
        {hop("127.0.0.1", "a=b", at("localhost")), ""},
        {hop("127.0.0.1", "a=b;%20Path=/other", at("127.0.0.1")), ""},
        {hop("127.0.0.1", "a=b;%20Secure", at("127.0.0.1")), ""},
        {hop("127.0.0.1", "a=b;%20Domain=elsewhere.test", at("127.0.0.1")), ""},
        {hop("127.0.0.1", "a=b;%20Max-Age=0", at("127.0.0.1")), ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.url);
        Both({}, one.url, "GET", [&one](const Outcome &outcome) {
            ASSERT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(Scripted().LastRequest().Field("cookie"), one.sent);
        });
    }
}

// Nothing but the wire, and the header kinds that the application asks for, shows a secret.
TEST_F(CredentialsTest, SecretsStandInNoLogAndNoText)
{
    OHOS::Pelloria::Platform::LogCapture log;
    const std::vector<std::string> urls = {Scripted().Url("/401-basic"),
                                           Scripted().Url("/401-digest"),
                                           Scripted().Url("/reset"),
                                           Scripted().Url("/redirect?to=/close"),
                                           Nginx().Url("/private", Site::TLS),
                                           Nginx().Url("/1k", Site::EXPIRED),
                                           "http://127.0.0.1:1/",
                                           "nothing"};
    std::string texts;
    for (const std::string &url : urls) {
        for (const uint32_t kind : {TNX_CREDENTIAL_AUTOMATIC, TNX_CREDENTIAL_BASIC,
                                    TNX_CREDENTIAL_DIGEST, TNX_CREDENTIAL_BEARER}) {
            const auto fill = [kind](Call &call) {
                Authenticate(call, kind, "Secret-Name", "Secret-Word");
                call.configuration.security.clientCertificate.keyPassword = "Secret-Phrase";
                call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
                call.configuration.proxy.security.credentialName = "Secret-Proxy";
            };
            Both(fill, url, "GET", [&texts](const Outcome &outcome) {
                texts += outcome.Debug(TNX_DEBUG_TEXT) + outcome.url;
            });
        }
    }
    for (const auto &line : log.Take()) {
        texts += line.text;
    }
    EXPECT_EQ(texts.find("Secret-"), std::string::npos)
        << texts.substr(texts.find("Secret-") - 100, 200);
    EXPECT_EQ(texts.find("U2VjcmV0LU5hbWU6"), std::string::npos); // in base 64
}

} // namespace
