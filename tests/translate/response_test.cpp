// A response record: its members, their lifetimes and its release.
#include "translate/tnx_http_response.h"

#include "tnx_c_ext/errors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

struct Release {
    void operator()(Tnx_Response *response) const { response->destroyResponse(response); }
};
using RecordPtr = std::unique_ptr<Tnx_Response, Release>;

std::shared_ptr<Tnx::Response> MakeResponse()
{
    return std::make_shared<Tnx::Response>(std::make_shared<Tnx::Request>("0", "http://host"));
}

TEST(ResponseTest, EmptyReferenceGivesNull)
{
    EXPECT_EQ(TnxToCResponse(nullptr, nullptr, nullptr), nullptr);
    TnxDestroyResponse(nullptr);
}

TEST(ResponseTest, PlainMembers)
{
    const auto response = MakeResponse();
    response->SetEffectiveUrl("http://host/end");
    response->SetStatusCode(204);
    response->SetHeaders({{"a", "1"}, {"c", ""}, {"a", "2"}, {"a", "1"}});
    response->MutableBody().assign("b\0dy", 4);
    Tnx_Request request = {};
    auto callback = std::make_unique<Tnx_ResponseCallbackObject>();
    const Tnx_ResponseCallbackObject *object = callback.get();
    const RecordPtr record(TnxToCResponse(response, &request, std::move(callback)));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->request, &request);
    EXPECT_STREQ(record->effectiveUrl, "http://host/end");
    EXPECT_EQ(record->statusCode, 204);
    EXPECT_EQ(record->body, response->GetBody().data());
    EXPECT_EQ(record->bodyLength, 4U);
    EXPECT_EQ(record->responseCallbackObject, object);
    EXPECT_EQ(record->destroyResponse, TnxDestroyResponse);
    EXPECT_EQ(record->debugInfo, nullptr);
    EXPECT_EQ(record->timeInfo, nullptr);
    EXPECT_EQ(record->cookies, nullptr);
    const Tnx_HeaderValue *values = OVX_Tnx_GetHeaderValue(record->headers, "a");
    EXPECT_STREQ(values->value, "1");
    EXPECT_STREQ(values->next->value, "2");
    EXPECT_EQ(values->next->next, nullptr);
    EXPECT_EQ(OVX_Tnx_GetHeaderValue(record->headers, "b"), nullptr);
    EXPECT_STREQ(OVX_Tnx_GetHeaderValue(record->headers, "c")->value, "");
}

TEST(ResponseTest, RecordKeepsWhatItBorrows)
{
    auto response = MakeResponse();
    const std::weak_ptr<Tnx::Response> watch = response;
    response->MutableBody() = "body";
    response->MutableDebugInfo() = {{Tnx::DEBUG_HEADER_IN, std::string("x\0y", 3)},
                                    {Tnx::DEBUG_TEXT, std::string(100, 'z'), true}};
    RecordPtr record(TnxToCResponse(response, nullptr, nullptr));
    response.reset();
    EXPECT_FALSE(watch.expired());
    EXPECT_EQ(std::string(record->body, record->bodyLength), "body");
    const Tnx_DebugInfo *info = record->debugInfo;
    EXPECT_EQ(info->type, uint32_t{TNX_DEBUG_HEADER_IN});
    EXPECT_EQ(std::string(info->data, info->length), std::string("x\0y", 3));
    info = info->next;
    EXPECT_EQ(info->type, uint32_t{TNX_DEBUG_TEXT});
    EXPECT_EQ(std::string(info->data, info->length), std::string(100, 'z'));
    EXPECT_EQ(info->next, nullptr);
    EXPECT_EQ(OVX_Tnx_GetFailureText(record.get()), info->data);
    record.reset();
    EXPECT_TRUE(watch.expired());
}

TEST(ResponseTest, WhatIsNoCauseIsNotTakenForOne)
{
    const auto response = MakeResponse();
    response->MutableDebugInfo() = {{Tnx::DEBUG_TEXT, "of a success"}};
    const RecordPtr record(TnxToCResponse(response, nullptr, nullptr));
    Tnx_Response applications = {}; // an interceptor's, say
    applications.debugInfo = record->debugInfo;
    applications.engineResponse = &applications;
    for (const Tnx_Response *each :
         {record.get(), &applications, static_cast<Tnx_Response *>(nullptr)}) {
        EXPECT_EQ(OVX_Tnx_GetFailureText(each), nullptr);
    }
}

TEST(ResponseTest, TimesLeaveTheWallClockOut)
{
    const auto response = MakeResponse();
    response->SetTimeInfo({1, 2, 3, 4, 5.5, 6, 7.5, 8, 9});
    const RecordPtr record(TnxToCResponse(response, nullptr, nullptr));
    const Tnx_TimeInfo &times = *record->timeInfo;
    EXPECT_EQ(times.nameLookup, 1);
    EXPECT_EQ(times.connect, 2);
    EXPECT_EQ(times.tls, 3);
    EXPECT_EQ(times.firstSend, 4);
    EXPECT_EQ(times.firstReceive, 5.5);
    EXPECT_EQ(times.total, 7.5);
    EXPECT_EQ(times.redirect, 8);
    EXPECT_EQ(times.queue, 9);
}

TEST(ResponseTest, Cookies)
{
    const auto response = MakeResponse();
    Tnx::ResponseCookie full = {"n", "v", "d", "/p", "date", 60, true, true, "Lax", 99, "raw", {}};
    full.attributes = {{"path", "/p"}, {"secure", ""}, {"priority", "high"}};
    Tnx::ResponseCookie bare;
    bare.name = "bare";
    bare.secure = false;
    response->MutableCookies() = {full, bare};
    const RecordPtr record(TnxToCResponse(response, nullptr, nullptr));
    const Tnx_ResponseCookies &first = *record->cookies;
    const char *texts[] = {first.name,    first.value,    first.domain, first.path,
                           first.expires, first.sameSite, first.raw};
    const char *expected[] = {"n", "v", "d", "/p", "date", "Lax", "raw"};
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_STREQ(texts[i], expected[i]);
    }
    EXPECT_EQ(first.maxAge, 60);
    EXPECT_EQ(first.expiryTime, 99);
    EXPECT_TRUE(first.secure && first.httpOnly);
    for (const auto &[name, value] : full.attributes) {
        EXPECT_STREQ(OVX_Tnx_GetResponseCookieAttrValue(first.cookieAttributes, name.c_str()),
                     value.c_str());
    }
    const Tnx_ResponseCookies &second = *first.next;
    EXPECT_STREQ(second.name, "bare");
    for (const char *text :
         {second.value, second.domain, second.path, second.expires, second.sameSite, second.raw}) {
        EXPECT_EQ(text, nullptr);
    }
    EXPECT_EQ(second.maxAge + second.expiryTime, 0);
    EXPECT_FALSE(second.secure || second.httpOnly);
    EXPECT_NE(second.cookieAttributes, nullptr);
    EXPECT_EQ(OVX_Tnx_GetResponseCookieAttrEntries(second.cookieAttributes), nullptr);
    EXPECT_EQ(second.next, nullptr);
}

// To C texts these are one name; the last value that comes stays, and none leaks.
TEST(ResponseTest, AttributeNamesThatDifferAfterANulAreOne)
{
    const auto response = MakeResponse();
    Tnx::ResponseCookie cookie;
    cookie.attributes = {{std::string("a\0b", 3), "1"}, {"a", "1"}, {std::string("a\0c", 3), "1"}};
    response->MutableCookies() = {cookie};
    const RecordPtr record(TnxToCResponse(response, nullptr, nullptr));
    const auto *attributes = record->cookies->cookieAttributes;
    EXPECT_STREQ(OVX_Tnx_GetResponseCookieAttrValue(attributes, "a"), "1");
}

} // namespace
