// The request record and its identifiers.
#include "common/c_ptr.h"
#include "objects/request_extension.h"
#include "tnx_c_ext/url.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace OHOS::Pelloria::TnxC;
using OHOS::Pelloria::Platform::LogCapture;
using OHOS::Pelloria::Platform::LogLine;

// Made before any test, in whichever order they run.
const std::string g_firstId = RequestPtr(OVX_Tnx_CreateRequest("http://first"))->id;

TEST(RequestTest, CountsFromZeroAndNullTakesNoNumber)
{
    EXPECT_EQ(g_firstId, "0");
    const RequestPtr before(OVX_Tnx_CreateRequest("http://a"));
    LogCapture log;
    EXPECT_EQ(OVX_Tnx_CreateRequest(nullptr), nullptr);
    EXPECT_EQ(log.Take(),
              (std::vector<LogLine>{{LOG_ERROR, " create request failed: invalid url"}}));
    RequestPtr after(OVX_Tnx_CreateRequest("http://b"));
    EXPECT_EQ(std::stoul(after->id), std::stoul(before->id) + 1);
    const std::string id = after->id;
    after.reset();
    EXPECT_EQ(log.Take(), (std::vector<LogLine>{{LOG_DEBUG, " create reqeust " + id},
                                                {LOG_DEBUG, " destroy request " + id}}));
}

TEST(RequestTest, IdentifiersOfManyThreadsAreDistinct)
{
    constexpr size_t threads = 8;
    constexpr size_t each = 1000;
    std::vector<std::vector<std::string>> ids(threads);
    std::vector<std::thread> workers;
    for (std::vector<std::string> &mine : ids) {
        workers.emplace_back([&mine] {
            for (size_t i = 0; i < each; ++i) {
                mine.emplace_back(RequestPtr(OVX_Tnx_CreateRequest(""))->id);
            }
        });
    }
    for (std::thread &worker : workers) {
        worker.join();
    }
    std::set<std::string> distinct;
    for (const auto &mine : ids) {
        distinct.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(distinct.size(), threads * each);
}

TEST(RequestTest, IsAGetOfItsOwnUrlAndNothingElse)
{
    char url[] = "http://host/path";
    const RequestPtr request(OVX_Tnx_CreateRequest(url));
    std::memset(url, 'x', sizeof(url) - 1);
    EXPECT_STREQ(request->url, "http://host/path");
    EXPECT_STREQ(request->method, "GET");
    EXPECT_EQ(request->headers, nullptr);
    EXPECT_EQ(request->content, nullptr);
    EXPECT_EQ(request->configuration, nullptr);
    EXPECT_EQ(request->transferRange, nullptr);
    EXPECT_EQ(request->cookies, nullptr);
    ASSERT_NE(request->onDataRecvCallback, nullptr);
    EXPECT_EQ(request->onDataRecvCallback->callback, nullptr);
}

size_t TakeAll(void *, const Tnx_Buffer *data)
{
    return data->length;
}
size_t TakeNothing(void *, const Tnx_Buffer *)
{
    return 0;
}

TEST(RequestTest, TheDataCallbackIsReplacedButNeverCleared)
{
    const RequestPtr request(OVX_Tnx_CreateRequest("http://host"));
    int first = 0;
    int second = 0;
    const struct {
        Tnx_OnBinaryDataRecvCallback callback;
        void *usrCtx;
        Tnx_OnBinaryDataRecvCallback expected;
        void *expectedCtx;
    } rows[] = {
        {TakeAll, &first, TakeAll, &first},
        {nullptr, &second, TakeAll, &first},
        {TakeNothing, &second, TakeNothing, &second},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(
            OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request.get(), row.callback, row.usrCtx),
            uint32_t{TNX_OK});
        EXPECT_EQ(request->onDataRecvCallback->callback, row.expected);
        EXPECT_EQ(request->onDataRecvCallback->usrCtx, row.expectedCtx);
    }
    EXPECT_EQ(OVX_Tnx_SetRequestOnBinaryDataRecvCallback(nullptr, TakeAll, nullptr),
              uint32_t{TNX_ERR_PARAMETER});
    Tnx_Request empty = {};
    EXPECT_EQ(OVX_Tnx_SetRequestOnBinaryDataRecvCallback(&empty, TakeAll, nullptr),
              uint32_t{TNX_ERR_PARAMETER});
}

TEST(RequestTest, DestroyingLeavesWhatWasAttached)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    Tnx_Request *request = OVX_Tnx_CreateRequest("http://host");
    request->headers = headers.get();
    request->cookies = cookies.get();
    OVX_Tnx_DestroyRequest(request);
    OVX_Tnx_DestroyRequest(nullptr);
    EXPECT_EQ(OVX_Tnx_SetHeaderValue(headers.get(), "n", "v"), uint32_t{TNX_OK});
    EXPECT_EQ(OVX_Tnx_SetRequestCookieValue(cookies.get(), "n", "v"), uint32_t{TNX_OK});
}

TEST(RequestTest, LimitsAreCheckedAndTakenBack)
{
    const struct {
        uint32_t which;
        std::vector<int64_t> good; // the last one stays for the rows below
        std::vector<int64_t> bad;
    } limits[] = {
        {TNX_LIMIT_IDLE_TIME, {1, INT64_MAX}, {-1, INT64_MIN}},
        {TNX_LIMIT_REDIRECTS, {TNX_NO_REDIRECTS, 7}, {-2}},
        {TNX_LIMIT_RESPONSE_SIZE, {1}, {-1}},
        {TNX_LIMIT_ADDRESS_FAMILY, {4, 6}, {1, 5, -4}},
        {TNX_LIMIT_TLS_HIGHEST, {TNX_TLS_1_3, TNX_TLS_1_2}, {10, 14}},
        {TNX_LIMIT_TLS_LOWEST, {TNX_TLS_1_2}, {11, TNX_TLS_1_3}}, // above the highest
    };
    const RequestPtr request(OVX_Tnx_CreateRequest("http://host"));
    for (const auto &[which, good, bad] : limits) {
        for (const int64_t value : good) {
            EXPECT_EQ(OVX_Tnx_SetRequestLimit(request.get(), which, value), uint32_t{TNX_OK});
        }
        for (const int64_t value : bad) {
            EXPECT_EQ(OVX_Tnx_SetRequestLimit(request.get(), which, value),
                      uint32_t{TNX_ERR_PARAMETER})
                << which << " " << value;
        }
        const auto &values = ExtensionOf(request.get())->extras->limits.values;
        EXPECT_EQ(values[which], good.back());
    }
    Tnx_Request handmade = {};
    EXPECT_EQ(OVX_Tnx_SetRequestLimit(request.get(), TNX_REQUEST_LIMITS, 1),
              uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_SetRequestLimit(&handmade, 0, 1), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_SetRequestLimit(nullptr, 0, 1), uint32_t{TNX_ERR_PARAMETER});
    for (const auto &row : limits) {
        EXPECT_EQ(OVX_Tnx_SetRequestLimit(request.get(), row.which, 0), uint32_t{TNX_OK});
    }
    EXPECT_EQ(ExtensionOf(request.get())->extras->limits.values, RequestLimits().values);
}

TEST(RequestTest, ConnectionSettingsAreCheckedAndTakenBack)
{
    const struct {
        uint32_t which;
        std::vector<std::string> good;
        std::vector<std::string> bad;
    } settings[] = {
        {TNX_CONNECTION_UNIX_SOCKET, {"s", std::string(107, 'p')}, {"", std::string(108, 'p')}},
        {TNX_CONNECTION_INTERFACE,
         {"eth0", "eth0:1", "10.0.0.2", "fe80::1234:5678:9abc:def0"},
         {"", "no interface", "an-overlong-name", "a/b"}},
        {TNX_CONNECTION_TO,
         {":::", "a:1:b:2", "a::b:", ":65535:[::1]:1", "[::1]:1::2,b:1:c:2"},
         {"", "a", "a:1:b", "a:1:b:2:", "a:1:b:2:3", "a:0:b:2", "a:1:b:65536", "a:x:b:2",
          "::1:1:b:2", "[a]:1:b:2", "a b:1:c:2", "a:1:b:2,", "a:1:b:-2", "u@a:1:b:2"}},
        {TNX_CONNECTION_TLS12_CIPHERS, {"A:B", "DEFAULT:!C"}, {"", "A\nB", "\xc3\xbc"}},
        {TNX_CONNECTION_TLS13_CIPHERS, {"A"}, {""}},
    };
    const RequestPtr request(OVX_Tnx_CreateRequest("http://host"));
    const auto set = [&request](uint32_t which, const char *value) {
        return OVX_Tnx_SetRequestConnection(request.get(), which, value);
    };
    for (const auto &[which, good, bad] : settings) {
        for (const std::string &text : good) {
            EXPECT_EQ(set(which, text.c_str()), uint32_t{TNX_OK}) << text;
        }
        for (const std::string &text : bad) {
            EXPECT_EQ(set(which, text.c_str()), uint32_t{TNX_ERR_PARAMETER}) << text;
        }
        EXPECT_EQ(ExtensionOf(request.get())->extras->limits.texts[which], good.back());
    }
    const std::vector<ConnectRule> &rules = ExtensionOf(request.get())->extras->limits.connectTo;
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules[0].host, "::1");
    EXPECT_EQ(rules[0].otherHost, "");
    EXPECT_EQ(rules[1].otherPort, 2);
    EXPECT_EQ(set(TNX_CONNECTION_SETTINGS, "x"), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_SetRequestConnection(nullptr, 0, "x"), uint32_t{TNX_ERR_PARAMETER});
    for (const auto &row : settings) {
        EXPECT_EQ(set(row.which, nullptr), uint32_t{TNX_OK});
    }
    EXPECT_TRUE(rules.empty());
    EXPECT_EQ(ExtensionOf(request.get())->extras->limits.texts, RequestLimits().texts);
}

// A copy of a text that is destroyed.
std::string Taken(char *text)
{
    const std::string copy = text == nullptr ? "(null)" : text;
    OVX_Tnx_DestroyText(text);
    return copy;
}

TEST(UrlTest, OfPartsAndEscapes)
{
    const char *path[] = {"users", nullptr};
    const Tnx_QueryPair query[] = {{"q", "x&y"}, {"flag", nullptr}, {nullptr, "v"}};
    EXPECT_EQ(Taken(OVX_Tnx_BuildUrl("http://h", path, 1, query, 2)),
              "http://h/users?q=x%26y&flag");
    EXPECT_EQ(Taken(OVX_Tnx_BuildUrl("http://h", nullptr, 0, nullptr, 0)), "http://h/");
    EXPECT_EQ(Taken(OVX_Tnx_ResolveUrl("http://h/a/b", "../c")), "http://h/c");
    EXPECT_EQ(Taken(OVX_Tnx_EscapeUrlText("a \0\xc3\xbc~%", 7)), "a%20%00%C3%BC~%25");
    EXPECT_EQ(Taken(OVX_Tnx_EscapeUrlText("not read", 0)), "");
    EXPECT_EQ(Taken(OVX_Tnx_UnescapeUrlText("%c3%BC%zz%4+", nullptr)), "\xc3\xbc%zz%4+");
    size_t length = 0;
    EXPECT_EQ(Taken(OVX_Tnx_UnescapeUrlText("a%00b", &length)), "a");
    EXPECT_EQ(length, 3U);
    char *const refused[] = {
        OVX_Tnx_BuildUrl(nullptr, path, 1, query, 1),
        OVX_Tnx_BuildUrl("h", path, 1, query, 1),
        OVX_Tnx_BuildUrl("http://h", path, 2, query, 1),
        OVX_Tnx_BuildUrl("http://h", path, 1, query, 3),
        OVX_Tnx_BuildUrl("http://h", nullptr, 1, query, 1),
        OVX_Tnx_BuildUrl("http://h", path, 1, nullptr, 1),
        OVX_Tnx_ResolveUrl(nullptr, "/"),
        OVX_Tnx_ResolveUrl("http://h", nullptr),
        OVX_Tnx_ResolveUrl("h", "/"),
        OVX_Tnx_EscapeUrlText(nullptr, 0),
        OVX_Tnx_UnescapeUrlText(nullptr, &length),
        OVX_Tnx_UnescapeUrlText("a%00b", nullptr),
    };
    for (size_t i = 0; i < std::size(refused); ++i) {
        EXPECT_EQ(refused[i], nullptr) << "row " << i;
    }
}

} // namespace
