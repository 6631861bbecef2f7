// What a session gives to its requests: fields, cookies, base address, configuration, callbacks.
#include "tests/e2e/client.h"

namespace
{

using namespace EndToEnd;

using SessionConfigurationTest = EndToEndTest;

TEST_F(SessionConfigurationTest, FieldsAndCookiesJoinThoseOfTheRequest)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    OVX_Tnx_SetHeaderValue(headers.get(), "X-Default", "session");
    OVX_Tnx_SetHeaderValue(headers.get(), "X-Both", "session");
    for (const char *name : {"Authorization", "user-agent", "Content-Type"}) {
        OVX_Tnx_SetHeaderValue(headers.get(), name, "session");
    }
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "default", "session");
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "both", "session");
    configuration_.headers = headers.get();
    configuration_.cookies = cookies.get();
    const auto fill = [](Call &call) {
        call.Header("X-Both", "request").Cookie("both", "request").Cookie("own", "request");
        call.Header("authorization", "request").Header("User-Agent", "request").Body("");
    };
    Both(fill, Scripted().Url("/echo"), "POST", [](const Outcome &outcome) {
        ASSERT_EQ(outcome.code, 0U) << outcome.Why();
        const ReceivedRequest received = Scripted().LastRequest();
        EXPECT_EQ(received.Field("x-default"), "session");
        EXPECT_EQ(received.Fields("x-both"), (std::vector<std::string>{"request", "session"}));
        // These stand once, whoever spells them how.
        EXPECT_EQ(received.Fields("authorization"), std::vector<std::string>{"request"});
        EXPECT_EQ(received.Fields("user-agent"), std::vector<std::string>{"request"});
        EXPECT_EQ(received.Fields("content-type"), std::vector<std::string>{"session"});
        EXPECT_EQ(received.Field("cookie"), "both=request; default=session; own=request");
    });
}

TEST_F(SessionConfigurationTest, OneSlashJoinsTheBaseAddress)
{
    const std::string server = Scripted().Url("");
    const struct {
        std::string base;
        std::string url;
        std::string target;
    } cases[] = {{server, "/echo", "/echo"},           {server, "echo", "/echo"},
                 {server + "/", "/echo", "/echo"},     {server + "/", "echo", "/echo"},
                 {server + "/echo", "", "/echo/"},     {"", server + "/echo", "/echo"},
                 {server + "/a/", "b?c=d", "/a/b?c=d"}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.base + " and " + one.url);
        configuration_.baseAddress = one.base.c_str();
        Both({}, one.url, "GET", [&one](const Outcome &outcome) {
            ASSERT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_EQ(Scripted().LastRequest().Target(), one.target);
        });
        Close();
    }
}

TEST_F(SessionConfigurationTest, ARequestsOwnConfigurationStandsForTheWhole)
{
    Tnx_Configuration defaults = {};
    defaults.transfer.autoRedirect = false;
    defaults.security.credentialName = "user";
    defaults.security.credentialPassword = "password";
    defaults.security.credentialKind = TNX_CREDENTIAL_BASIC;
    configuration_.requestConfiguration = &defaults;
    const std::string url = Scripted().Url("/redirect?to=/echo");
    for (const bool own : {false, true}) {
        const auto fill = [own](Call &call) {
            call.Get()->configuration = own ? &call.configuration : nullptr;
        };
        Both(fill, url, "GET", [own](const Outcome &outcome) {
            EXPECT_EQ(outcome.status, own ? 200 : 302);
            EXPECT_EQ(Scripted().LastRequest().Field("authorization").empty(), own);
        });
    }
}

int g_canceled = 0;
int g_closed = 0;

TEST_F(SessionConfigurationTest, CancelingAndClosingAreTold)
{
    g_canceled = g_closed = 0;
    configuration_.onSessionCanceled = [] { ++g_canceled; };
    configuration_.onSessionClosed = [] { ++g_closed; };
    Call call(Scripted().Url("/stall?ms=60000"));
    Scripted().ForgetRequests();
    ASSERT_EQ(call.Start(Session()), 0U);
    ASSERT_TRUE(Scripted().WaitForRequests(1));
    OVX_Tnx_CancelSession(Session());
    EXPECT_EQ(call.Wait().code, TNX_ERR_REQUEST_CANCELED);
    EXPECT_EQ(g_canceled, 1);
    OVX_Tnx_CancelSession(Session()); // with nothing in flight as well
    EXPECT_EQ(g_canceled, 2);
    EXPECT_EQ(g_closed, 0);
    Close();
    EXPECT_EQ(g_closed, 1);
}

} // namespace
