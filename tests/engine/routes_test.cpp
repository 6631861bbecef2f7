// URLs taken apart, names looked up, and what bypasses the proxy.
#include "dns/name_lookup.h"
#include "http/hop.h"
#include "http/proxy_route.h"
#include "http/url.h"
#include "pool/runtime.h"
#include "tnx_native/url_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::Tnx;

// A transfer whose callbacks run when the test says so.
struct Stage final : Delivery {
    Stage()
        : Delivery(gate)
    {
    }
    void Deliver(std::function<void()> callback) override { callbacks.push_back(callback); }
    void Wake() noexcept override {}
    bool HasTime() const override { return true; }
    void RunAside(std::shared_ptr<LongWork>) override {}

    CallbackGate gate;
    std::vector<std::function<void()>> callbacks;
};

// The application's function comes back when the transfer, long timed out, is at another name.
TEST(NameLookupTest, ALateAnswerIsThatOfItsOwnName)
{
    Configuration configuration;
    std::string asked;
    const auto rule = std::make_shared<DnsRule>();
    configuration.dnsRule = rule;
    rule->SetDynamicDnsRule([&asked](const std::string &host, uint16_t) {
        asked = host;
        return std::vector<std::string>{"127.0.0.1"};
    });
    Stage stage;
    const TraceCallback nobody;
    Trace trace(nobody, stage);
    Recorder recorder(configuration.tracing, trace);
    NameLookup lookup(Runtime::Get().Names(), recorder, stage);
    int wokenFirst = 0;
    int wokenSecond = 0;
    lookup.Start("first.test", 80, &configuration, [&wokenFirst] { ++wokenFirst; });
    EXPECT_FALSE(lookup.Ready());
    ASSERT_EQ(stage.callbacks.size(), 1U);
    lookup.Start("127.0.0.2", 80, nullptr, [&wokenSecond] { ++wokenSecond; });
    stage.callbacks[0]();
    EXPECT_EQ(asked, "first.test");
    EXPECT_EQ(wokenFirst, 1);
    EXPECT_EQ(wokenSecond, 0);
    EXPECT_TRUE(lookup.Ready());
    EXPECT_TRUE(lookup.Result().addresses.empty()); // a literal needs none
}

TEST(UrlTest, TakesUrlsApart)
{
    const struct {
        std::string text;
        CURLcode code;
        const char *origin; // or a piece of what is wrong
        const char *path;
    } cases[] = {
        {"http://a.org", CURLE_OK, "http://a.org:80", "/"},
        {"HTTPS://User:pw@A.ORG:0443/x/y?q#f", CURLE_OK, "https://a.org:443", "/x/y"},
        {"http://a.org?q=/x", CURLE_OK, "http://a.org:80", "/"},
        {"http://[::1]:8080/", CURLE_OK, "http://::1:8080", "/"},
        {"http://127.0.0.1:1/", CURLE_OK, "http://127.0.0.1:1", "/"},
        {"http://a.org:65535/", CURLE_OK, "http://a.org:65535", "/"},
        {"http://a.org:65536/", CURLE_URL_MALFORMAT, "port", ""},
        {"http://a.org:x/", CURLE_URL_MALFORMAT, "port", ""},
        {"http://", CURLE_URL_MALFORMAT, "no host", ""},
        {"http:///x/y", CURLE_OK, "http://x:80", "/y"}, // as browsers read it
        {"http://a b.org/", CURLE_URL_MALFORMAT, "host", ""},
        {"http://x y@a.org/", CURLE_URL_MALFORMAT, "user", ""},
        {"http://a.org/x y", CURLE_URL_MALFORMAT, "path", ""},
        {"http://a.org/?x y", CURLE_URL_MALFORMAT, "query", ""},
        {"http://a.org/\r\nX: y", CURLE_URL_MALFORMAT, "path", ""},
        {std::string("http://a.org/\0x", 15), CURLE_URL_MALFORMAT, "NUL", ""},
        {"http://[::1/", CURLE_URL_MALFORMAT, "IPv6", ""},
        {"a.org/x", CURLE_URL_MALFORMAT, "begin", ""},
        {"", CURLE_URL_MALFORMAT, "begin", ""},
        {"ftp://a.org/", CURLE_UNSUPPORTED_PROTOCOL, "scheme", ""},
        {"file:///etc/hosts", CURLE_UNSUPPORTED_PROTOCOL, "scheme", ""},
        {"data:text/plain,x", CURLE_URL_MALFORMAT, "slashes", ""},
    };
    for (const auto &[text, code, origin, path] : cases) {
        Url url;
        EXPECT_EQ(ParseUrl(text, url), code) << text;
        if (code == CURLE_OK) {
            EXPECT_EQ(url.origin, origin);
            EXPECT_EQ(url.path, path) << text;
        } else {
            EXPECT_NE(url.problem.find(origin), std::string::npos) << text << ": " << url.problem;
        }
    }
}

TEST(UrlTest, NamesAreUtf8)
{
    const struct {
        const char *name;
        const char *ascii; // null: it is none
    } cases[] = {
        {"b\u00fccher.example", "xn--bcher-kva.example"},
        {"B\u00dcCHER.Example", "xn--bcher-kva.example"},
        {"bu\u0308cher.example", "xn--bcher-kva.example"}, // two code points for one letter
        {"b%C3%BCcher.example", "xn--bcher-kva.example"},
        {"fa\u00df.example", "xn--fa-hia.example"},
        {"\u0440\u0444\u3002\u0440\u0444", "xn--p1ai.xn--p1ai"}, // a dot of another script
        {"\uff11\uff12\uff17.0.0.1", "127.0.0.1"},
        {"f\xfcr.example", nullptr},   // in Latin-1
        {"a\u2100b.example", nullptr}, // becomes a/cb.example
        {"\u2603.example", nullptr},   // a snowman
    };
    for (const auto &[name, ascii] : cases) {
        Url url;
        const std::string rest = ":81/\u00fc?q#f";
        const std::string text = std::string("http://u:p@") + name + rest;
        ASSERT_EQ(ParseUrl(text, url), ascii == nullptr ? CURLE_URL_MALFORMAT : CURLE_OK) << name;
        if (ascii != nullptr) {
            EXPECT_EQ(url.host, ascii);
            EXPECT_EQ(url.text, text);
            EXPECT_EQ(url.Ascii(), std::string("http://u:p@") + ascii + rest);
        }
        Proxy proxy;
        EXPECT_EQ(ParseProxy(std::string("socks5://") + name, proxy), ascii != nullptr);
        if (ascii != nullptr) {
            EXPECT_EQ(proxy.url, std::string("socks5://") + ascii + "/");
        }
    }
    Url url;
    ParseUrl("http://b\u00fccher.example/", url);
    EXPECT_EQ(url.Name(), "b\u00fccher.example");
}

TEST(UrlTest, ResolvesReferences)
{
    const struct {
        const char *reference;
        const char *url; // null: there is none
    } cases[] = {
        {"g", "http://a/b/c/g"},
        {"./g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"},
        {"//g/x", "http://g/x"},
        {"?y", "http://a/b/c/d;p?y"},
        {"g?y#s", "http://a/b/c/g?y#s"},
        {"#s", "http://a/b/c/d;p?q#s"},
        {";x", "http://a/b/c/;x"},
        {"", "http://a/b/c/d;p?q"},
        {"..", "http://a/b/"},
        {"../../../g", "http://a/g"},
        {"/./g", "http://a/g"},
        {"g;x=1/../y", "http://a/b/c/y"},
        {"g?y/../x", "http://a/b/c/g?y/../x"},
        {"g#s/../x", "http://a/b/c/g#s/../x"},
        {"a b", "http://a/b/c/a%20b"},
        {"https://u@x:1/y", "https://u@x:1/y"},
        {"mailto:x@y", "mailto:x@y"},
        {"g:h", "g:h"},
        {"//", nullptr},
        {"//x:y/", nullptr},
        {":x", "http://a/b/c/:x"},
    };
    for (const auto &[reference, url] : cases) {
        const auto resolved = ResolveReference("http://a/b/c/d;p?q#f", reference);
        EXPECT_EQ(resolved.value_or(""), url == nullptr ? "" : url) << reference;
    }
    for (const char *base : {"", "a/b", "mailto:x@y", "ftp://a/", "http://a b/"}) {
        EXPECT_FALSE(ResolveReference(base, "http://x/")) << base;
    }
}

TEST(UrlTest, IsBuiltOfItsParts)
{
    using Pieces = std::vector<std::string_view>;
    const std::vector<QueryPair> pairs = {{"q", "x&y=1 +"}, {"flag", std::nullopt}, {"", ""}};
    const struct {
        const char *base;
        Pieces path;
        std::vector<QueryPair> query;
        const char *url; // null: there is none
    } cases[] = {
        {"http://h", {}, {}, "http://h/"},
        {"http://h", {"a"}, {}, "http://h/a"},
        {"http://h/v1", {"a", "b/c?d#e%2F"}, {}, "http://h/v1/a/b%2Fc%3Fd%23e%252F"},
        {"http://h/v1/", {"a", ""}, {}, "http://h/v1/a/"},
        {"http://u:p@h:1/a%2fB?x=1#f",
         {"\u00fc"},
         {{"y", "2"}},
         "http://u:p@h:1/a%2fB/%C3%BC?x=1&y=2#f"},
        {"http://h?", {}, pairs, "http://h/?q=x%26y%3D1%20%2B&flag&="},
        {"http://h/?a&", {}, {{"b", "..."}}, "http://h/?a&b=..."},
        {"http://b\u00fccher.example/", {"..."}, {}, "http://b\u00fccher.example/..."},
        {"http://h", {"a", ".."}, {}, nullptr},
        {"http://h", {"."}, {}, nullptr},
        {"h/a", {}, {}, nullptr},
        {"ftp://h/", {}, {}, nullptr},
    };
    for (const auto &[base, path, query, url] : cases) {
        EXPECT_EQ(BuildUrl(base, path, query).value_or(""), url == nullptr ? "" : url) << base;
    }
}

TEST(HopTest, ChangesMethodsAsTheStatusSays)
{
    const struct {
        int32_t status;
        const char *before;
        const char *after;
    } cases[] = {
        {301, "GET", "GET"},   {301, "POST", "GET"},  {301, "PUT", "PUT"},
        {302, "POST", "GET"},  {302, "HEAD", "HEAD"}, {302, "DELETE", "DELETE"},
        {303, "POST", "GET"},  {303, "PUT", "GET"},   {303, "HEAD", "HEAD"},
        {307, "POST", "POST"}, {308, "POST", "POST"}, {308, "PATCH", "PATCH"},
    };
    for (const auto &[status, before, after] : cases) {
        EXPECT_EQ(MethodAfterRedirect(status, before), after) << status << " " << before;
    }
}

TEST(ProxyRouteTest, ExcludesByPattern)
{
    const struct {
        const char *pattern;
        const char *url;
        bool excluded;
    } cases[] = {
        {"*", "http://a.org/", true},
        {"", "http://a.org/", false},
        {"a.org", "http://A.ORG/", true},
        {" A.org ", "http://a.org/", true},
        {"a.org", "http://www.a.org/", true},
        {"a.org", "http://ba.org/", false},
        {"a.org", "http://a.org.net/", false},
        {".a.org", "http://www.a.org/", true},
        {"*.a.org", "http://www.a.org/", true},
        {"*.a.org", "http://ba.org/", false},
        {"a.org:8080", "http://a.org:8080/", true},
        {"a.org:8080", "http://a.org/", false},
        {"a.org:443", "https://a.org/", true},
        {"10.0.0.1", "http://10.0.0.1/", true},
        {"0.0.1", "http://10.0.0.1/", false},
        {"10.0.0.0/8", "http://10.255.0.1/", true},
        {"10.0.0.0/8", "http://11.0.0.1/", false},
        {"10.0.0.128/25", "http://10.0.0.200/", true},
        {"10.0.0.128/25", "http://10.0.0.100/", false},
        {"0.0.0.0/0", "http://1.2.3.4/", true},
        {"10.0.0.0/33", "http://10.0.0.0/", false},
        {"10.0.0.0/x", "http://10.0.0.0/", false},
        {"10.0.0.0/", "http://10.0.0.0/", false},
        {"10.0.0.0/8", "http://a.org/", false},
        {"::1", "http://[::1]/", true},
        {"[::1]", "http://[::1]/", true},
        {"[::1]:81", "http://[::1]:81/", true},
        {"[::1]:81", "http://[::1]:82/", false},
        {"fe80::/10", "http://[febf::1]/", true},
        {"fe80::/10", "http://[fec0::1]/", false},
        {".\u00dc.org", "http://www.\u00fc.org/", true},
        {"\u00fc.org:80", "http://xn--tda.org/", true},
        {"\xff", "http://a.org/", false},
        {"http://a.org/x", "http://a.org/x/y", true},
        {"http://a.org/x", "https://a.org/x", false},
        {"http://a.org/x", "http://a.org/", false},
        {":", "http://a.org/", false},
        {"]:80", "http://a.org/", false},
    };
    for (const auto &[pattern, text, excluded] : cases) {
        Url url;
        ASSERT_EQ(ParseUrl(text, url), CURLE_OK);
        EXPECT_EQ(ExclusionMatches(pattern, url), excluded) << pattern << " for " << text;
    }
}

TEST(ProxyRouteTest, ReadsProxyAddresses)
{
    const struct {
        const char *text;
        bool good;
        const char *scheme;
        const char *host;
        uint16_t port;
    } cases[] = {
        {"proxy", true, "http", "proxy", 1080},
        {"proxy:80", true, "http", "proxy", 80},
        {"HTTP://Proxy:3128/", true, "http", "proxy", 3128},
        {"https://proxy", true, "https", "proxy", 443},
        {"socks5h://u:p@proxy:9", true, "socks5h", "proxy", 9},
        {"socks4://[::1]", true, "socks4", "::1", 1080},
        {"ftp://proxy", false, "", "", 0},
        {"http://", false, "", "", 0},
        {"http://a b", false, "", "", 0},
    };
    for (const auto &[text, good, scheme, host, port] : cases) {
        Proxy proxy;
        EXPECT_EQ(ParseProxy(text, proxy), good) << text;
        if (good) {
            EXPECT_EQ(proxy.scheme, scheme);
            EXPECT_EQ(proxy.host, host);
            EXPECT_EQ(proxy.port, port) << text;
        }
    }
}

} // namespace
