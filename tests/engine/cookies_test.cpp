// Cookies that servers set: how a line is read, and to which requests it goes.
#include "http/cookie_store.h"
#include "http/set_cookie.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::Tnx;

constexpr int64_t NOW = 1000000000; // Sun, 09 Sep 2001 01:46:40 GMT

// Everything that is not at its default: `n=[v] domain=d path=/p ...`.
std::string Show(const std::optional<ResponseCookie> &cookie)
{
    if (!cookie) {
        return "ignored";
    }
    std::string text = cookie->name + "=[" + cookie->value + "]";
    const auto add = [&text](const char *name, const std::string &value) {
        text += value.empty() ? "" : std::string(" ") + name + "=" + value;
    };
    add("domain", cookie->domain);
    add("path", cookie->path);
    add("expires", cookie->expires);
    add("maxAge", cookie->maxAge ? std::to_string(*cookie->maxAge) : "");
    text += cookie->secure.value_or(false) ? " secure" : "";
    text += cookie->httpOnly.value_or(false) ? " httpOnly" : "";
    add("sameSite", cookie->sameSite);
    add("until", cookie->expiryTime != 0 ? std::to_string(cookie->expiryTime) : "");
    return text;
}

TEST(SetCookieTest, ReadsLinesAsUserAgentsDo)
{
    const struct {
        const char *line;
        const char *cookie;
    } cases[] = {
        {"a=b", "a=[b]"},
        {"a=", "a=[]"},
        {"a=b=c==", "a=[b=c==]"},
        {" \ta\t = \tb c\t ", "a=[b c]"},
        {"a=\"b\"", "a=[\"b\"]"},
        {"a=\"b;c\"", "a=[\"b]"},
        {"a=\"b,c\"", "a=[\"b,c\"]"},
        {"a=b,c=d", "a=[b,c=d]"},
        {"a=\\\"b\\\"", "a=[\\\"b\\\"]"},
        {"\"a\"=b", "\"a\"=[b]"},
        {"$Version=1", "$Version=[1]"},
        {"a b=c", "a b=[c]"},
        {"A=b", "A=[b]"},
        {"a=caf\xc3\xa9", "a=[caf\xc3\xa9]"},
        {"a=%3B%20", "a=[%3B%20]"},
        {"a=b\tc", "a=[b\tc]"},
        {"a=b\x01", "ignored"},
        {"a\x7f=b", "ignored"},
        {"a=b; Path=/\x1f", "ignored"},
        {"", "ignored"},
        {"a", "ignored"},
        {"=b", "ignored"},
        {" =b", "ignored"},
        {"=", "ignored"},
        {";", "ignored"},
        {"; a=b", "ignored"},
        {"a; b=c", "ignored"},
        {"a=b;", "a=[b]"},
        {"a=b;;; ;secure;;", "a=[b] secure"},
        {"a=b; =c; secure", "a=[b] secure"},
        {"a=b; Secure; HttpOnly", "a=[b] secure httpOnly"},
        {"a=b;SECURE;hTTPoNLY", "a=[b] secure httpOnly"},
        {"a=b; Secure=false; HttpOnly=0", "a=[b] secure httpOnly"},
        {"a=b; secured; http-only", "a=[b]"},
        {"secure; a=b", "ignored"},
        {"a=b; Path=/x", "a=[b] path=/x"},
        {"a=b; Path = /x y ", "a=[b] path=/x y"},
        {"a=b; Path=\"/x\"", "a=[b]"},
        {"a=b; Path=x", "a=[b]"},
        {"a=b; Path=", "a=[b]"},
        {"a=b; Path", "a=[b]"},
        {"a=b; Path=/x; path=/y", "a=[b] path=/y"},
        {"a=b; Path=/x; Path=y", "a=[b]"},
        {"a=b; Domain=Example.COM", "a=[b] domain=example.com"},
        {"a=b; Domain=.example.com", "a=[b] domain=example.com"},
        {"a=b; Domain=..example.com", "a=[b] domain=.example.com"},
        {"a=b; Domain=example.com.", "a=[b] domain=example.com."},
        {"a=b; Domain=", "a=[b]"},
        {"a=b; Domain", "a=[b]"},
        {"a=b; Domain=one.org; Domain=two.org", "a=[b] domain=two.org"},
        {"a=b; Domain=one.org; Domain=", "a=[b] domain=one.org"},
        {"a=b; SameSite=Strict", "a=[b] sameSite=Strict"},
        {"a=b; samesite=none; Secure", "a=[b] secure sameSite=none"},
        {"a=b; Max-Age=60", "a=[b] maxAge=60 until=1000000060"},
        {"a=b; MAX-AGE=060", "a=[b] maxAge=60 until=1000000060"},
        {"a=b; Max-Age=0", "a=[b] maxAge=0 until=1"},
        {"a=b; Max-Age=-1", "a=[b] maxAge=-1 until=1"},
        {"a=b; Max-Age=99999999999999999999",
         "a=[b] maxAge=9223372036854775807 until=9223372036854775807"},
        {"a=b; Max-Age=+60", "a=[b]"},
        {"a=b; Max-Age=6e1", "a=[b]"},
        {"a=b; Max-Age=60s", "a=[b]"},
        {"a=b; Max-Age=\"60\"", "a=[b]"},
        {"a=b; Max-Age=1-1", "a=[b]"},
        {"a=b; Max-Age=", "a=[b]"},
        {"a=b; Max-Age", "a=[b]"},
        {"a=b; Max-Age=60; Max-Age=120", "a=[b] maxAge=120 until=1000000120"},
        {"a=b; Max-Age=60; Max-Age=x", "a=[b] maxAge=60 until=1000000060"},
        {"a=b; Expires=Tue, 19 Jan 2038 03:14:08 GMT",
         "a=[b] expires=Tue, 19 Jan 2038 03:14:08 GMT until=2147483648"},
        {"a=b; expires=Sunday, 06-Nov-94 08:49:37 GMT",
         "a=[b] expires=Sunday, 06-Nov-94 08:49:37 GMT until=1"},
        {"a=b; Expires=Sun, 09 Sep 2001 01:46:40 GMT",
         "a=[b] expires=Sun, 09 Sep 2001 01:46:40 GMT until=1"},
        {"a=b; Expires=Thu, 01 Jan 1970 00:00:00 GMT",
         "a=[b] expires=Thu, 01 Jan 1970 00:00:00 GMT until=1"},
        {"a=b; Expires=soon", "a=[b] expires=soon"},
        {"a=b; Expires=Tue, 19 Jan 2038 03:14:08 GMT; Max-Age=5",
         "a=[b] expires=Tue, 19 Jan 2038 03:14:08 GMT maxAge=5 until=1000000005"},
        {"a=b; Max-Age=5; Expires=Thu, 01 Jan 1970 00:00:00 GMT",
         "a=[b] expires=Thu, 01 Jan 1970 00:00:00 GMT maxAge=5 until=1000000005"},
    };
    for (const auto &[line, cookie] : cases) {
        EXPECT_EQ(Show(ParseSetCookie(line, NOW)), cookie) << line;
    }
}

TEST(SetCookieTest, KeepsTheLineAndEveryAttribute)
{
    const std::string line = "a=b; Path=/x; Priority=High; Partitioned; path=z; X = \"y\"";
    const auto cookie = ParseSetCookie(line, NOW);
    ASSERT_TRUE(cookie);
    EXPECT_EQ(cookie->raw, line);
    const std::map<std::string, std::string> attributes(cookie->attributes.begin(),
                                                        cookie->attributes.end());
    EXPECT_EQ(attributes,
              (std::map<std::string, std::string>{
                  {"path", "z"}, {"priority", "High"}, {"partitioned", ""}, {"x", "\"y\""}}));
}

TEST(CookieStoreTest, MatchesDomains)
{
    const struct {
        const char *host;
        const char *domain;
        bool matches;
    } cases[] = {
        {"example.com", "example.com", true},     {"www.example.com", "example.com", true},
        {"a.b.example.com", "example.com", true}, {"example.com", "www.example.com", false},
        {"wwwexample.com", "example.com", false}, {"example.com.org", "example.com", false},
        {"127.0.0.1", "127.0.0.1", true},         {"127.0.0.1", "0.0.1", false},
        {"10.127.0.0.1", "127.0.0.1", true},      {"::1", "::1", true},
    };
    for (const auto &[host, domain, matches] : cases) {
        EXPECT_EQ(DomainMatches(host, domain), matches) << host << " and " << domain;
    }
}

TEST(CookieStoreTest, MatchesPaths)
{
    const struct {
        const char *path;
        const char *cookiePath;
        bool matches;
    } cases[] = {
        {"/", "/", true},          {"/a", "/", true},    {"/a", "/a", true},
        {"/a/", "/a", true},       {"/a/b", "/a", true}, {"/a/b", "/a/", true},
        {"/ab", "/a", false},      {"/a", "/a/", false}, {"/", "/a", false},
        {"/a/b", "/a/b/c", false}, {"/A", "/a", false},  {"/a%2Fb", "/a", false},
    };
    for (const auto &[path, cookiePath, matches] : cases) {
        EXPECT_EQ(PathMatches(path, cookiePath), matches) << path << " and " << cookiePath;
    }
}

std::string Pairs(const KeptCookies &cookies)
{
    std::string pairs;
    for (const KeptCookie &cookie : cookies) {
        pairs += (pairs.empty() ? "" : "; ") + cookie.name + "=" + cookie.value;
    }
    return pairs;
}

TEST(CookieStoreTest, SendsWhatTheRulesAllow)
{
    struct Set {
        const char *url;
        const char *line;
    };
    const struct {
        std::vector<Set> sets;
        const char *url;
        const char *cookies;
    } cases[] = {
        {{{"http://a.org/", "n=v"}}, "http://a.org/x", "n=v"},
        {{{"http://a.org/", "n=v"}}, "http://www.a.org/", ""},
        {{{"http://a.org/", "n=v"}}, "http://a.org:8080/", "n=v"},
        {{{"http://a.org/", "n=v"}}, "https://a.org/", "n=v"},
        {{{"https://a.org/", "n=v; Secure"}}, "http://a.org/", ""},
        {{{"https://a.org/", "n=v; Secure"}}, "https://a.org/", "n=v"},
        {{{"http://www.a.org/", "n=v; Domain=a.org"}}, "http://other.a.org/", "n=v"},
        {{{"http://www.a.org/", "n=v; Domain=b.org"}}, "http://b.org/", ""},
        {{{"http://a.org/", "n=v; Domain=www.a.org"}}, "http://www.a.org/", ""},
        {{{"http://127.0.0.1/", "n=v; Domain=127.0.0.1"}}, "http://127.0.0.1/", "n=v"},
        {{{"http://127.0.0.1/", "n=v; Domain=0.0.1"}}, "http://127.0.0.1/", ""},
        // A cookie for a public suffix would go to strangers.
        {{{"http://a.org/", "n=v; Domain=org"}}, "http://b.org/", ""},
        {{{"http://a.co.uk/", "n=v; Domain=co.uk"}}, "http://b.co.uk/", ""},
        {{{"http://a.co.uk./", "n=v; Domain=co.uk."}}, "http://b.co.uk./", ""},
        {{{"http://www.a.co.uk/", "n=v; Domain=a.co.uk"}}, "http://a.co.uk/", "n=v"},
        {{{"http://co.uk/", "n=v; Domain=co.uk"}}, "http://a.co.uk/", ""},
        {{{"http://co.uk/", "n=v; Domain=co.uk"}}, "http://co.uk/", "n=v"},
        {{{"http://a.unlisted/", "n=v; Domain=unlisted"}}, "http://b.unlisted/", ""},
        {{{"http://localhost/", "n=v; Domain=localhost"}}, "http://localhost/", "n=v"},
        {{{"http://a.org/x/y", "n=v"}}, "http://a.org/x/z", "n=v"},
        {{{"http://a.org/x/y", "n=v"}}, "http://a.org/z", ""},
        {{{"http://a.org/x/y/", "n=v"}}, "http://a.org/x/y", "n=v"},
        {{{"http://a.org/x/y/", "n=v"}}, "http://a.org/x/yz", ""},
        {{{"http://a.org/", "n=v; Domain=a.org"}}, "http://www.a.org/", "n=v"},
        {{{"http://a.org/x", "n=v"}}, "http://a.org/z", "n=v"},
        {{{"http://a.org?q=/x/", "n=v"}}, "http://a.org/", "n=v"},
        {{{"http://a.org/x/y", "n=v; Path=/"}}, "http://a.org/z", "n=v"},
        // The longest path first, then in the order of setting.
        {{{"http://a.org/", "b=1"}, {"http://a.org/", "a=2"}, {"http://a.org/", "c=3; Path=/x"}},
         "http://a.org/x",
         "c=3; b=1; a=2"},
        {{{"http://a.org/", "a=1"}, {"http://a.org/", "b=2"}, {"http://a.org/", "a=3"}},
         "http://a.org/",
         "a=3; b=2"},
        {{{"http://a.org/", "a=1"}, {"http://a.org/", "a=2; Path=/x"}},
         "http://a.org/x",
         "a=2; a=1"},
        // Names that promise how they were set, and who may say Secure.
        {{{"http://a.org/", "n=v; Secure"}}, "https://a.org/", ""},
        {{{"https://a.org/", "__Secure-n=v; Secure"}}, "https://a.org/", "__Secure-n=v"},
        {{{"https://a.org/", "__Secure-n=v"}}, "https://a.org/", ""},
        {{{"http://a.org/", "__secure-n=v; Secure"}}, "https://a.org/", ""},
        {{{"https://a.org/", "__Host-n=v; Secure; Path=/"}}, "https://a.org/", "__Host-n=v"},
        {{{"https://a.org/", "__HOST-n=v; Secure; Path=/; Domain=a.org"}}, "https://a.org/", ""},
        {{{"https://a.org/", "__Host-n=v; Secure"}}, "https://a.org/", ""},
        {{{"https://a.org/", "__Host-n=v; Path=/"}}, "https://a.org/", ""},
        {{{"http://a.org/", "a=1"}, {"http://a.org/", "a=; Max-Age=0"}}, "http://a.org/", ""},
        {{{"http://a.org/", "a=1"}, {"http://a.org/", "a=; Path=/x; Max-Age=0"}},
         "http://a.org/",
         "a=1"},
        {{{"http://a.org/", "a=1; Max-Age=60"}, {"http://a.org/", "b=2; Max-Age=61"}},
         "http://a.org/",
         "b=2"},
        // For the host alone and for all below it: two cookies.
        {{{"http://a.org/", "a=1"}, {"http://a.org/", "a=2; Domain=a.org"}},
         "http://a.org/",
         "a=1; a=2"},
        // Only https replaces what is secure, or stands before it.
        {{{"https://a.org/", "a=1; Secure"}, {"http://a.org/", "a=2"}}, "https://a.org/", "a=1"},
        {{{"https://a.org/", "a=1; Secure"}, {"http://a.org/", "a=2; Path=/x"}},
         "https://a.org/x",
         "a=1"},
        {{{"https://w.a.org/", "a=1; Secure"}, {"http://a.org/", "a=2; Domain=a.org"}},
         "https://w.a.org/",
         "a=1"},
        {{{"https://a.org/", "a=1; Secure; Domain=a.org"}, {"http://w.a.org/", "a=2"}},
         "https://w.a.org/",
         "a=1"},
        {{{"https://a.org/x/", "a=1; Secure"}, {"http://a.org/", "a=2; Path=/"}},
         "https://a.org/x/",
         "a=1; a=2"},
        {{{"https://a.org/", "a=1; Secure"}, {"https://a.org/", "a=2"}}, "http://a.org/", "a=2"},
    };
    for (const auto &[sets, target, expected] : cases) {
        CookieStore cookies;
        for (const auto &[from, line] : sets) {
            Url url;
            ASSERT_EQ(ParseUrl(from, url), CURLE_OK);
            cookies.Store(*ParseSetCookie(line, NOW), url, NOW);
        }
        Url url;
        ASSERT_EQ(ParseUrl(target, url), CURLE_OK);
        EXPECT_EQ(Pairs(cookies.For(url, NOW + 60)), expected)
            << sets.front().url << " " << sets.front().line << " " << target;
    }
}

class CookieBoundsTest : public testing::Test
{
protected:
    bool Set(const std::string &line, const std::string &host = "a.org")
    {
        return cookies_.Store(*ParseSetCookie(line, NOW), Parsed(host), NOW);
    }
    KeptCookies For(const std::string &host = "a.org") { return cookies_.For(Parsed(host), NOW); }
    static Url Parsed(const std::string &host)
    {
        Url url;
        EXPECT_EQ(ParseUrl("https://" + host + "/", url), CURLE_OK);
        return url;
    }

    CookieStore cookies_;
};

TEST_F(CookieBoundsTest, OfADomainWhatIsNotSecureOrNotUsedGoesFirst)
{
    for (size_t i = 0; i < CookieStore::MOST_OF_DOMAIN; ++i) {
        Set("n" + std::to_string(i) + "=; Secure" + (i == 1 ? "; Path=/x" : ""), "w.a.org");
        Set("n" + std::to_string(i) + "=; Domain=a.org", "w.a.org");
    }
    ASSERT_EQ(For("w.a.org").size(), 2 * CookieStore::MOST_OF_DOMAIN - 1); // which are used now
    Set("more=; Secure", "w.a.org");
    EXPECT_EQ(For("w.a.org").size(), 2 * CookieStore::MOST_OF_DOMAIN) << "all but that of /x";
    Set("weak=", "w.a.org");
    EXPECT_EQ(Pairs(For("w.a.org")).find("weak="), std::string::npos) << "all others are secure";
    Set("plain=; Domain=a.org");
    Set("plainer=; Domain=a.org");
    const std::string kept = Pairs(For());
    EXPECT_EQ(kept.find("n1="), std::string::npos) << "the second of those used longest ago";
    EXPECT_NE(kept.find("n2="), std::string::npos);
    EXPECT_NE(kept.find("plain="), std::string::npos);
}

TEST_F(CookieBoundsTest, OfAllWhatIsOverOrNotUsedGoesFirst)
{
    const auto host = [](size_t i) { return "h" + std::to_string(i) + ".org"; };
    for (size_t i = 0; i < CookieStore::MOST; ++i) {
        Set(i == 7 ? "n=; Max-Age=1" : "n=", host(i));
    }
    For(host(0));
    const auto setOne = [this](const char *at) {
        cookies_.Store(*ParseSetCookie("n=", NOW), Parsed(at), NOW + 1);
    };
    setOne("one.org"); // for the one that is over
    EXPECT_EQ(cookies_.All(NOW + 1).size(), CookieStore::MOST);
    EXPECT_EQ(For(host(1)).size(), 1U);
    setOne("two.org");
    EXPECT_EQ(For(host(2)).size(), 0U);
    EXPECT_EQ(For(host(0)).size(), 1U);
    EXPECT_EQ(cookies_.All(NOW + 1).size(), CookieStore::MOST);
}

TEST_F(CookieBoundsTest, RefusesWhatIsLong)
{
    EXPECT_TRUE(Set("long=" + std::string(4092, 'v')));
    EXPECT_FALSE(Set("longer=" + std::string(4091, 'v')));
    EXPECT_TRUE(Set("path=; Path=/" + std::string(1024, 'p'))); // as if it were not there
    EXPECT_EQ(For().back().path, "/");
    EXPECT_FALSE(Set("a\tb=c")); // would end a part of the line in a file
    EXPECT_TRUE(Set("a=b\tc"));
}

TEST_F(CookieBoundsTest, ClearsAllOrThoseOfTheSession)
{
    Set("b=1; Max-Age=5; SameSite=lax; HttpOnly");
    Set("a=2; SameSite=else");
    EXPECT_EQ(Pairs(cookies_.All(NOW)), "b=1; a=2");
    cookies_.DropSessionCookies();
    const KeptCookie kept = {.name = "b",
                             .value = "1",
                             .domain = "a.org",
                             .path = "/",
                             .sameSite = "Lax",
                             .expiryTime = NOW + 5,
                             .httpOnly = true};
    EXPECT_EQ(cookies_.All(NOW), KeptCookies{kept});
    cookies_.Clear();
    EXPECT_TRUE(cookies_.All(NOW).empty());
}

} // namespace
