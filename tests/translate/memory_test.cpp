// Every allocation of the translations fails in turn: a request is translated whole or not at all,
// a response keeps what it can, and nothing leaks.
#include "common/c_ptr.h"
#include "tests/objects/failing_memory.h"
#include "tnx_c_ext/limits.h"
#include "tnx_c_ext/trace.h"
#include "tnx_c_ext/url.h"
#include "translate/tnx_configuration.h"
#include "translate/tnx_http_request.h"
#include "translate/tnx_http_request_content.h"
#include "translate/tnx_http_response.h"
#include "translate/tnx_session_configuration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace
{

using namespace FailingMemory;
using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

constexpr const char *LONG = "a text that does not fit into the buffer of a short string";
constexpr const char *RULE = "a-long-name-of-a-host.test:1:another-long-name-of-a-host.test:2";

// A request and a session that use everything.
struct Everything {
    Everything()
    {
        for (const char *name : {"one", "two", LONG}) {
            OVX_Tnx_SetHeaderValue(headers.get(), name, LONG);
            OVX_Tnx_SetRequestCookieValue(cookies.get(), name, LONG);
            part.value.fileValue.contentOrPath.value.content = {LONG, 20};
            OVX_Tnx_SetMultipartFormValue(form.get(), name, &part);
        }
        configuration.proxy = {1, LONG, 0, 0, {&url}, {}};
        configuration.security.credentialName = LONG;
        configuration.dnsRule = &rule;
        rule.rule.staticRules = &host;
        content.value.multipartForm = form.get();
        *request = {"1",           request->url,  "POST",
                    headers.get(), &content,      &configuration,
                    &range,        cookies.get(), request->onDataRecvCallback};
        OVX_Tnx_SetRequestConnection(request.get(), TNX_CONNECTION_TO, RULE);
        session.baseAddress = "http://host";
        session.headers = headers.get();
        session.cookies = cookies.get();
        session.requestConfiguration = &configuration;
        session.onSessionClosed = [] {};
    }

    HeadersPtr headers{OVX_Tnx_CreateHeaders()};
    RequestCookiesPtr cookies{OVX_Tnx_CreateRequestCookies()};
    MultipartFormPtr form{OVX_Tnx_CreateMultipartForm()};
    Tnx_MultipartFormFieldValue part = {TNX_MULTIPART_VALUE_FILE, {}, nullptr};
    Tnx_UrlNode url = {LONG, nullptr};
    Tnx_IpAddress address = {"10.0.0.1", nullptr};
    Tnx_StaticDnsRule host = {"host", 0, &address, nullptr};
    Tnx_DnsRule rule = {TNX_DNS_STATIC, {}};
    Tnx_Configuration configuration = {};
    Tnx_RequestContent content = {TNX_CONTENT_MULTIPART_FORM, {}};
    Tnx_TransferRange range = {1, true, 2, true, nullptr};
    Tnx_SessionConfiguration session = {};
    RequestPtr request{OVX_Tnx_CreateRequest("/path")};
};

// Calls `attempt` with ever later failures until one is not reached; returns how many were.
template <class Attempt> int FailEach(Kind kind, Attempt attempt)
{
    for (int n = 1;; ++n) {
        const long before = LiveBlocks();
        const bool happened = attempt(n, kind);
        EXPECT_EQ(LiveBlocks(), before) << "leak at allocation " << n;
        if (!happened) {
            return n - 1;
        }
    }
}

TEST(TranslateMemoryTest, RequestsAreTranslatedWholeOrNotAtAll)
{
    const Everything everything;
    for (const Kind kind : {Kind::TRANSIENT, Kind::PERSISTENT}) {
        const int failures = FailEach(kind, [&everything](int n, Kind how) {
            bool threw = false;
            bool complete = false;
            const Failure failure(n, how);
            try {
                const auto request = TnxToCppRequest(&everything.session, everything.request.get());
                const auto session = TnxToCppSessionConfiguration(&everything.session);
                complete = request->GetHeaders().size() == 4 &&
                           request->GetRequestCookies().size() == 3 &&
                           request->GetContent() != nullptr && session->headers.size() == 3 &&
                           request->GetConfiguration().limits != nullptr;
            } catch (const std::bad_alloc &) {
                threw = true;
            }
            EXPECT_TRUE(threw || complete) << n;
            return failure.Happened();
        });
        EXPECT_GT(failures, 50);
    }
}

TEST(TranslateMemoryTest, ResponsesKeepWhatTheyCan)
{
    const auto response =
        std::make_shared<Tnx::Response>(std::make_shared<Tnx::Request>("0", "http://host"));
    response->SetEffectiveUrl(LONG);
    response->SetHeaders({{"a", LONG}, {"a", "2"}});
    response->SetTimeInfo({});
    response->MutableDebugInfo() = {{0, LONG}, {1, LONG}};
    response->MutableCookies().resize(2);
    response->MutableCookies()[0].name = "name";
    response->MutableCookies()[0].attributes = {{"a", "1"}, {"b", "2"}};
    for (const Kind kind : {Kind::TRANSIENT, Kind::PERSISTENT}) {
        FailEach(kind, [&response](int n, Kind how) {
            Tnx_Response *record = nullptr;
            bool happened = false;
            {
                const Failure failure(n, how);
                record = TnxToCResponse(response, nullptr, nullptr);
                happened = failure.Happened();
            }
            EXPECT_TRUE(record != nullptr || n <= 2) << n; // the record and its handle
            if (record != nullptr) {
                const auto *first = record->cookies;
                EXPECT_TRUE(first == nullptr || first->next != nullptr) << "a part of the cookies";
                TnxDestroyResponse(record);
            }
            return happened;
        });
    }
}

TEST(TranslateMemoryTest, WhatARequestHasBesideItsRecordIsSetOrNot)
{
    const RequestPtr request(OVX_Tnx_CreateRequest("http://host"));
    const Failure failure(1, Kind::TRANSIENT);
    const auto set = [&] { return OVX_Tnx_SetRequestTrace(request.get(), nullptr, nullptr); };
    EXPECT_EQ(set(), TNX_ERR_OUT_OF_MEMORY);
    EXPECT_EQ(set(), TNX_OK);
}

TEST(TranslateMemoryTest, UrlsAreMadeOrNot)
{
    const Tnx_QueryPair pair = {LONG, LONG};
    const int failures = FailEach(Kind::TRANSIENT, [&pair](int n, Kind how) {
        const Failure failure(n, how);
        char *const url = OVX_Tnx_BuildUrl("http://host", &LONG, 1, &pair, 1);
        EXPECT_EQ(url == nullptr, failure.Happened());
        OVX_Tnx_DestroyText(url);
        return failure.Happened();
    });
    EXPECT_GT(failures, 10);
}

TEST(TranslateMemoryTest, SettingsOfConnectionsAreMadeOrStay)
{
    const int failures = FailEach(Kind::TRANSIENT, [](int n, Kind how) {
        const RequestPtr request(OVX_Tnx_CreateRequest("/"));
        bool happened = false;
        {
            const Failure failure(n, how);
            const uint32_t code =
                OVX_Tnx_SetRequestConnection(request.get(), TNX_CONNECTION_TO, RULE);
            happened = failure.Happened();
            EXPECT_EQ(code, happened ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : uint32_t{TNX_OK});
        }
        const auto translated = TnxToCppRequest(nullptr, request.get());
        EXPECT_EQ(translated->GetConfiguration().limits == nullptr, happened);
        return happened;
    });
    EXPECT_GT(failures, 4);
}

Tnx_IpAddress *ResolveTwo(const char *, uint16_t)
{
    auto first = AllocateRecord<Tnx_IpAddress>();
    auto second = AllocateRecord<Tnx_IpAddress>();
    if (first == nullptr || second == nullptr) {
        return nullptr;
    }
    std::strcpy(first->ip, "fe80:1111:2222:3333:4444::1");
    first->next = second.release();
    return first.release();
}

// What a bridge gives, or null where memory did not suffice; the engine ends the fetch then.
template <class Bridge> auto GivenOrNull(const Bridge &bridge) -> std::optional<decltype(bridge())>
{
    try {
        return bridge();
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
}

TEST(TranslateMemoryTest, BridgesGiveAllOrTellThatMemoryRanOut)
{
    Tnx_DnsRule rule = {TNX_DNS_DYNAMIC, {}};
    rule.rule.dynamicRule = ResolveTwo;
    Tnx_Configuration record = {};
    record.dnsRule = &rule;
    Tnx::Configuration configuration;
    TnxToCppConfiguration(configuration, &record);
    const auto resolve = std::get<Tnx::DynamicDnsFunction>(configuration.dnsRule->Get());
    const std::string host = "host";
    const int failures = FailEach(Kind::PERSISTENT, [&resolve, &host](int n, Kind how) {
        const Failure failure(n, how);
        const auto addresses = GivenOrNull([&] { return resolve(host, 80); });
        const bool all = addresses && addresses->size() == 2;
        EXPECT_EQ(all, !failure.Happened());
        return failure.Happened();
    });
    EXPECT_GT(failures, 2); // the application's own two, and ours
    const auto pull = TnxMakeGetDataCallback([](char *buffer, unsigned int size) {
        std::memset(buffer, 'x', size);
        return static_cast<int>(size);
    });
    FailEach(Kind::TRANSIENT, [&pull](int n, Kind how) {
        const Failure failure(n, how);
        const bool given = GivenOrNull([&] { return pull(100); }).has_value();
        EXPECT_EQ(given, !failure.Happened());
        return failure.Happened();
    });
}

} // namespace
