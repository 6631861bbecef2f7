// A request with its session's defaults: URL, fields, ranges, configuration and the data bridge.
#include "common/c_ptr.h"
#include "translate/tnx_http_request.h"
#include "translate/tnx_http_request_fields.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

using Values = Tnx::FieldValues;
using ValuesByName = std::map<std::string, Values>;

ValuesByName ByName(const Tnx::Headers &headers)
{
    return {headers.begin(), headers.end()};
}

class RequestTest : public testing::Test
{
protected:
    std::shared_ptr<Tnx::Request> Translate() { return TnxToCppRequest(&session_, request_.get()); }

    Tnx_SessionConfiguration session_ = {};
    RequestPtr request_{OVX_Tnx_CreateRequest("/path")};
    HeadersPtr sessionHeaders_{OVX_Tnx_CreateHeaders()};
    HeadersPtr headers_{OVX_Tnx_CreateHeaders()};
    RequestCookiesPtr sessionCookies_{OVX_Tnx_CreateRequestCookies()};
    RequestCookiesPtr cookies_{OVX_Tnx_CreateRequestCookies()};
};

TEST_F(RequestTest, NullGivesNothing)
{
    EXPECT_EQ(TnxToCppRequest(&session_, nullptr), nullptr);
    const auto request = TnxToCppRequest(nullptr, request_.get());
    EXPECT_EQ(request->GetUrl(), "/path");
    EXPECT_EQ(request->GetId(), request_->id);
    EXPECT_EQ(request->GetMethod(), "GET");
    request_->method = nullptr;
    EXPECT_EQ(TnxToCppRequest(nullptr, request_.get())->GetMethod(), "GET");
}

TEST_F(RequestTest, UrlsAreJoinedWithOneSlash)
{
    const struct {
        const char *base;
        const char *url;
        const char *expected;
    } cases[] = {
        {nullptr, "a", "a"},
        {"", "a", "a"},
        {"", "/a", "/a"},
        {"http://h", "a", "http://h/a"},
        {"http://h/", "a", "http://h/a"},
        {"http://h", "/a", "http://h/a"},
        {"http://h/", "/a", "http://h/a"},
        {"http://h/", "//a", "http://h//a"},
        {"http://h", "", "http://h/"},
        {"http://h/", "", "http://h/"},
    };
    for (const auto &[base, url, expected] : cases) {
        session_.baseAddress = base;
        const RequestPtr request(OVX_Tnx_CreateRequest(url));
        EXPECT_EQ(TnxToCppRequest(&session_, request.get())->GetUrl(), expected);
    }
    session_.baseAddress = "http://h";
    std::free(std::exchange(request_->url, nullptr));
    EXPECT_EQ(Translate()->GetUrl(), "http://h");
}

TEST_F(RequestTest, SessionAddsTheHeaderValuesThatAreMissing)
{
    session_.headers = sessionHeaders_.get();
    request_->headers = headers_.get();
    const std::vector<std::pair<const char *, const char *>> ofSession = {
        {"accept", "a"}, {"accept", "b"}, {"Accept", "a"}, {"x", "1"}, {"x", "2"}};
    for (const auto &[name, value] : ofSession) {
        OVX_Tnx_SetHeaderValue(sessionHeaders_.get(), name, value);
    }
    OVX_Tnx_SetHeaderValue(headers_.get(), "accept", "b");
    OVX_Tnx_SetHeaderValue(headers_.get(), "y", "3");
    OVX_Tnx_PutMapEntry(headers_->fields, "x", nullptr); // without values
    const Tnx::Headers headers = Translate()->GetHeaders();
    ASSERT_EQ(headers.size(), 4U);
    EXPECT_EQ(
        ByName(headers),
        (ValuesByName{{"accept", {"b", "a"}}, {"Accept", {"a"}}, {"x", {"1", "2"}}, {"y", {"3"}}}));
    for (const auto &[name, values] : headers) {
        const bool own = name == "accept" || name == "y";
        EXPECT_EQ(values.source, own ? Tnx::FieldSource::REQUEST : Tnx::FieldSource::SESSION)
            << name;
    }
}

TEST_F(RequestTest, HeaderListEndsAtANodeWithoutValue)
{
    Tnx_HeaderValue last = {nullptr, nullptr};
    char text[] = "kept";
    Tnx_HeaderValue first = {text, &last};
    const MapPtr map(OVX_Tnx_CreateMap());
    OVX_Tnx_PutMapEntry(map.get(), "name", &first);
    OVX_Tnx_PutMapEntry(map.get(), "hollow", nullptr);
    const Tnx_Headers headers = {map.get()};
    EXPECT_EQ(TnxToCppHeaders(&headers, nullptr),
              (Tnx::Headers{{"name", {"kept"}}, {"hollow", {}}}));
    const Tnx_Headers mapless = {nullptr};
    EXPECT_TRUE(TnxToCppHeaders(&mapless, nullptr).empty());
    Tnx_Map unusable = {map->entries, UINT32_MAX, 17000};
    const Tnx_Headers unwalkable = {&unusable};
    EXPECT_TRUE(TnxToCppHeaders(&unwalkable, nullptr).empty());
    EXPECT_TRUE(TnxToCppHeaders(nullptr, nullptr).empty());
}

TEST_F(RequestTest, RequestCookiesWin)
{
    session_.cookies = sessionCookies_.get();
    request_->cookies = cookies_.get();
    OVX_Tnx_SetRequestCookieValue(sessionCookies_.get(), "k", "1");
    OVX_Tnx_SetRequestCookieValue(sessionCookies_.get(), "s", "");
    OVX_Tnx_PutMapEntry(sessionCookies_->fields, "hollow", nullptr);
    OVX_Tnx_SetRequestCookieValue(cookies_.get(), "k", "2");
    EXPECT_EQ(Translate()->GetRequestCookies(), (Tnx::RequestCookies{{"k", "2"}, {"s", ""}}));
}

TEST_F(RequestTest, DefaultContentType)
{
    const std::optional<const char *> none;
    const struct {
        const char *method;
        uint32_t kind;
        std::optional<const char *> own; // under "content-type"
        Values expected;
    } cases[] = {
        {"POST", TNX_CONTENT_STRING, none, {"text/plain"}},
        {"PUT", TNX_CONTENT_FORM, none, {"application/x-www-form-urlencoded"}},
        {"GET", TNX_CONTENT_MULTIPART_FORM, none, {"multipart/form-data"}},
        {"HEAD", TNX_CONTENT_GET_DATA, none, {"application/octet-stream"}},
        {"POST", TNX_CONTENT_STRING, "text/csv", {"text/csv"}},
        {"POST", 4, none, {}},
    };
    for (const auto &[method, kind, own, expected] : cases) {
        const HeadersPtr headers(OVX_Tnx_CreateHeaders());
        if (own.has_value()) {
            OVX_Tnx_SetHeaderValue(headers.get(), "content-type", *own);
        }
        OVX_Tnx_SetHeaderValue(headers.get(), "Content-Type", "other/spelling");
        Tnx_RequestContent content = {kind, {}};
        request_->headers = headers.get();
        request_->content = &content;
        request_->method = method;
        const auto translated = ByName(Translate()->GetHeaders());
        const auto field = translated.find("content-type");
        EXPECT_EQ(field == translated.end() ? Values() : field->second, expected);
        if (!expected.empty()) {
            EXPECT_EQ(field->second.source,
                      own ? Tnx::FieldSource::REQUEST : Tnx::FieldSource::DEFAULT);
        }
        EXPECT_EQ(translated.at("Content-Type"), Values{"other/spelling"});
    }
    request_->content = nullptr;
    request_->headers = nullptr;
    EXPECT_TRUE(Translate()->GetHeaders().empty());
}

TEST_F(RequestTest, SessionContentTypeStandsInForTheDefault)
{
    OVX_Tnx_SetHeaderValue(sessionHeaders_.get(), "content-type", "text/csv");
    session_.headers = sessionHeaders_.get();
    Tnx_RequestContent content = {TNX_CONTENT_STRING, {}};
    request_->content = &content;
    EXPECT_EQ(ByName(Translate()->GetHeaders()).at("content-type"), Values{"text/csv"});
}

TEST_F(RequestTest, MethodDecidesAboutTheBody)
{
    Tnx_RequestContent content = {TNX_CONTENT_STRING, {}};
    request_->content = &content;
    for (const auto &[method, carries] : std::vector<std::pair<const char *, bool>>{
             {"GET", false}, {"HEAD", false}, {"get", true}, {"POST", true}, {"DELETE", true}}) {
        request_->method = method;
        EXPECT_EQ(Translate()->GetContent() != nullptr, carries) << method;
        EXPECT_EQ(Translate()->GetMethod(), method);
    }
    content.type = 4;
    EXPECT_EQ(Translate()->GetContent(), nullptr);
}

TEST_F(RequestTest, RangeBoundsCountWhenNotZeroOrFlagged)
{
    const struct {
        int64_t value;
        bool flag;
        std::optional<int64_t> expected;
    } cases[] = {{0, false, {}}, {0, true, 0}, {99, false, 99}, {99, true, 99}, {-1, false, -1}};
    for (const auto &from : cases) {
        for (const auto &to : cases) {
            Tnx_TransferRange second = {7, true, 8, true, nullptr};
            Tnx_TransferRange first = {from.value, from.flag, to.value, to.flag, &second};
            request_->transferRange = &first;
            const Tnx::TransferRange range = Translate()->GetTransferRange();
            ASSERT_EQ(range.size(), 2U);
            EXPECT_EQ(range[0].from, from.expected);
            EXPECT_EQ(range[0].to, to.expected);
            EXPECT_EQ(range[1].from, 7);
            EXPECT_EQ(range[1].to, 8);
        }
    }
}

TEST_F(RequestTest, OwnConfigurationReplacesTheSessionsAsAWhole)
{
    Tnx_Configuration ofSession = {};
    ofSession.transfer = {true, 5, 0, false, TNX_PREFER_HTTP2};
    session_.requestConfiguration = &ofSession;
    EXPECT_EQ(Translate()->GetConfiguration().connectTimeout, 5U);
    Tnx_Configuration own = {};
    own.transfer.transferTimeout = 9;
    request_->configuration = &own;
    const Tnx::Configuration configuration = Translate()->GetConfiguration();
    EXPECT_EQ(configuration.transferTimeout, 9U);
    EXPECT_EQ(configuration.connectTimeout, 60000U);
    EXPECT_EQ(configuration.transferPreference, 0U);
}

size_t Take(void *ctx, const Tnx_Buffer *buffer)
{
    static_cast<std::string *>(ctx)->assign(buffer->data, buffer->length);
    return 3;
}

TEST_F(RequestTest, OwnDataCallbackWinsAndSeesEveryByte)
{
    Tnx_Configuration configuration = {};
    configuration.tracing.eventsHandler.onDataReceive = {
        [](void *, const char *) -> size_t { return 2; }, nullptr};
    request_->configuration = &configuration;
    const auto data = std::make_shared<std::string>("a\0b", 3);
    const auto callable = [this] {
        return Translate()->GetConfiguration().tracing.eventsHandler.onDataReceive;
    };
    EXPECT_EQ(callable()(data), 2U);

    std::string first, second;
    OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request_.get(), Take, &first);
    const auto bridge = callable();
    EXPECT_EQ(bridge(data), 3U);
    EXPECT_EQ(first, *data);
    EXPECT_EQ(bridge(nullptr), 0U);
    OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request_.get(), Take, &second);
    bridge(data);
    EXPECT_EQ(second, *data);
}

} // namespace
