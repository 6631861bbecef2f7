// Cookies between requests: what goes into the jar of a session, and what comes out on the wire.
#include "tests/e2e/client.h"
#include "tnx_c_ext/cookie_jar.h"

namespace
{

using namespace EndToEnd;

class CookieJarTest : public EndToEndTest
{
protected:
    ~CookieJarTest() override { OVX_Tnx_DestroyCookieJar(jar_); }

    void SetUp() override
    {
        uint32_t code = 1;
        jar_ = OVX_Tnx_CreateCookieJar(nullptr, &code);
        ASSERT_EQ(code, 0U);
        ASSERT_EQ(OVX_Tnx_UseCookieJar(Session(), jar_), 0U);
    }

    // What is in a jar, `name=value` each; "null" where it cannot be listed.
    static std::string List(Tnx_CookieJar *jar, const char *url = nullptr)
    {
        size_t count = 0;
        Tnx_JarCookie *const cookies = OVX_Tnx_ListJarCookies(jar, url, &count);
        std::string list = cookies == nullptr ? "null" : "";
        for (size_t i = 0; i < count; ++i) {
            list += (i == 0 ? "" : "; ") + std::string(cookies[i].name) + "=" + cookies[i].value;
        }
        OVX_Tnx_DestroyJarCookies(cookies);
        return list;
    }

    uint32_t Set(const char *line) { return OVX_Tnx_SetJarCookie(jar_, Url("/").c_str(), line); }
    static std::string Url(const std::string &target) { return Scripted().Url(target); }
    static std::string Sent() { return Scripted().LastRequest().Field("cookie"); }

    Tnx_CookieJar *jar_ = nullptr;
};

TEST_F(CookieJarTest, WhatAHopSetsGoesToTheNextHopAndToLaterFetches)
{
    const std::string sets = "&line=Set-Cookie:%20a%3D1%3B%20Path%3D/%3B%20SameSite%3DLax"
                             "&line=Set-Cookie:%20old%3D2"
                             "&line=Set-Cookie:%20far%3D3%3B%20Path%3D/echo/far";
    const auto fill = [](Call &call) { call.Cookie("old", "own").Cookie("own", "own"); };
    Both(fill, Url("/redirect?to=/echo" + sets), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_EQ(Sent(), "own=own; a=1; old=2") << "what a hop sets replaces the request's own";
    });
    Both(fill, Url("/echo"), "GET",
         [](const Outcome &) { EXPECT_EQ(Sent(), "old=own; own=own; a=1") << "else that wins"; });

    // Another session shares it, and goes on when this one has another, or none.
    uint32_t code = 0;
    Tnx_Session *other = OVX_Tnx_CreateSession(nullptr, &code);
    ASSERT_EQ(OVX_Tnx_UseCookieJar(other, jar_), 0U);
    ASSERT_EQ(OVX_Tnx_UseCookieJar(Session(), nullptr), 0U);
    Call(Url("/echo/far?line=Set-Cookie:%20a%3D%3B%20Path%3D/%3B%20Max-Age%3D0")).Fetch(other);
    EXPECT_EQ(Sent(), "far=3; a=1; old=2");
    EXPECT_EQ(List(jar_), "old=2; far=3");
    Call(Url("/echo?line=Set-Cookie:%20more%3D4")).Fetch(Session());
    EXPECT_EQ(Sent(), "");
    EXPECT_EQ(List(jar_), "old=2; far=3");

    // It lives as long as somebody uses it.
    OVX_Tnx_DestroyCookieJar(std::exchange(jar_, nullptr));
    Call(Url("/echo")).FetchSync(other);
    EXPECT_EQ(Sent(), "old=2");
    OVX_Tnx_CloseSession(&other);
}

TEST_F(CookieJarTest, WhatCameBeforeACancelOrAFailureStays)
{
    const struct {
        const char *target;
        uint32_t code;
        std::function<void(Call &)> end;
    } cases[] = {
        {"/stall?ms=60000", TNX_ERR_REQUEST_CANCELED,
         [this](Call &call) { OVX_Tnx_CancelRequest(Session(), call.Get()); }},
        {"/stall?ms=60000", TNX_ERR_REQUEST_CANCELED,
         [this](Call &) { OVX_Tnx_CancelSession(Session()); }},
        {"/truncate?n=10&of=1000", TNX_ERR_TRUNCATED_BODY, {}},
        {"/stall?ms=60000", 0, [this](Call &) { Close(); }},
    };
    for (const auto &[target, code, end] : cases) {
        ASSERT_EQ(OVX_Tnx_UseCookieJar(Session(), jar_), 0U);
        Call call(Url("/redirect?line=Set-Cookie:%20a%3D1&to=" + std::string(target)));
        ASSERT_EQ(call.Start(Session()), 0U);
        ASSERT_TRUE(Eventually([this] { return List(jar_) == "a=1"; }));
        if (end) {
            end(call);
        }
        if (code != 0) {
            EXPECT_EQ(call.Wait().code, code);
        }
        EXPECT_EQ(List(jar_), "a=1");
        ASSERT_EQ(OVX_Tnx_ClearCookieJar(jar_), 0U);
    }
}

TEST_F(CookieJarTest, BadValuesAreRefusedAndChangeNothing)
{
    const std::string home = Url("/");
    const char *const url = home.c_str();
    ASSERT_EQ(Set("Set-Cookie: a=1; Path=/"), 0U);
    const struct {
        const char *what;
        uint32_t code;
    } cases[] = {
        {"no jar to set", OVX_Tnx_SetJarCookie(nullptr, url, "b=2")},
        {"no URL", OVX_Tnx_SetJarCookie(jar_, nullptr, "b=2")},
        {"no cookie", OVX_Tnx_SetJarCookie(jar_, url, nullptr)},
        {"another scheme", OVX_Tnx_SetJarCookie(jar_, "ftp://a.org/", "b=2")},
        {"no name", Set("b")},
        {"a control character", Set("b=2\r\nX: y")},
        {"another domain", Set("b=2; Domain=a.org")},
        {"a public suffix", OVX_Tnx_SetJarCookie(jar_, "http://a.co.uk/", "b=2; Domain=co.uk")},
        {"secure over http", Set("b=2; Secure")},
        {"nothing to save", OVX_Tnx_SaveCookieJar(nullptr, "x")},
        {"no path", OVX_Tnx_SaveCookieJar(jar_, nullptr)},
        {"an empty path", OVX_Tnx_SaveCookieJar(jar_, "")},
        {"nothing to clear", OVX_Tnx_ClearCookieJar(nullptr)},
        {"nothing to drop", OVX_Tnx_DropSessionCookies(nullptr)},
    };
    for (const auto &[what, code] : cases) {
        EXPECT_EQ(code, uint32_t{TNX_ERR_PARAMETER}) << what;
    }
    uint32_t code = 0;
    EXPECT_EQ(OVX_Tnx_CreateCookieJar("x", nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_CreateCookieJar("", &code), nullptr);
    EXPECT_EQ(code, uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_GetDamagedCookieLines(nullptr), 0U);
    EXPECT_EQ(List(nullptr), "null");
    EXPECT_EQ(List(jar_, "no URL"), "null");
    EXPECT_EQ(OVX_Tnx_ListJarCookies(jar_, url, nullptr), nullptr);
    EXPECT_EQ(List(jar_), "a=1");
    EXPECT_EQ(List(jar_, "https://elsewhere.org/"), "");
}

TEST_F(CookieJarTest, IsSavedAndReadAgain)
{
    const TemporaryDirectory folder;
    const auto open = [](const std::string &path, uint32_t expected) {
        uint32_t code = 1;
        Tnx_CookieJar *const jar = OVX_Tnx_CreateCookieJar(path.c_str(), &code);
        EXPECT_EQ(code, expected) << path;
        EXPECT_EQ(jar != nullptr, expected == 0) << path;
        return jar;
    };
    const std::string path = folder.Path("cookies");
    Set("session=1");
    Set("lasting=2; Max-Age=1000; Path=/echo; SameSite=Strict; HttpOnly");
    EXPECT_EQ(OVX_Tnx_SaveCookieJar(jar_, path.c_str()), 0U);
    WriteFile(path, ReadFile(path) + "half a li");
    OVX_Tnx_DestroyCookieJar(std::exchange(jar_, open(path, 0)));
    EXPECT_EQ(OVX_Tnx_GetDamagedCookieLines(jar_), 1U);
    EXPECT_EQ(List(jar_), "session=1; lasting=2");
    EXPECT_EQ(List(jar_, Url("/echo").c_str()), "lasting=2; session=1");

    EXPECT_EQ(OVX_Tnx_DropSessionCookies(jar_), 0U);
    EXPECT_EQ(OVX_Tnx_SaveCookieJar(jar_, nullptr), 0U);
    OVX_Tnx_DestroyCookieJar(std::exchange(jar_, open(path, 0)));
    EXPECT_EQ(OVX_Tnx_GetDamagedCookieLines(jar_), 0U);
    size_t count = 0;
    Tnx_JarCookie *const cookie = OVX_Tnx_ListJarCookies(jar_, nullptr, &count);
    ASSERT_EQ(count, 1U);
    EXPECT_STREQ(cookie->sameSite, "Strict");
    EXPECT_STREQ(cookie->path, "/echo");
    EXPECT_STREQ(cookie->domain, "127.0.0.1");
    EXPECT_TRUE(cookie->httpOnly && cookie->hostOnly && !cookie->secure);
    EXPECT_GT(cookie->expiryTime, 1700000000);
    OVX_Tnx_DestroyJarCookies(cookie);

    const std::string before = ReadFile(path);
    EXPECT_EQ(OVX_Tnx_SaveCookieJar(jar_, folder.Path().c_str()), uint32_t{TNX_ERR_WRITE});
    EXPECT_EQ(OVX_Tnx_SaveCookieJar(jar_, (path + "/x").c_str()), uint32_t{TNX_ERR_WRITE});
    open(folder.Path(), TNX_ERR_READ);
    open(path + "/x", TNX_ERR_READ);
    EXPECT_EQ(ReadFile(path), before);
}

} // namespace
