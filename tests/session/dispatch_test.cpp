// The exported functions: missing handles, session types, and an application's own type.
#include "tests/session/session_fixture.h"
#include "tnx_c_ext/cookie_jar.h"

#include <array>
#include <new>
#include <system_error>

namespace
{

using namespace SessionTests;

TEST(DispatchTest, MissingHandles)
{
    Tnx_Session opsless = {};
    for (Tnx_Session *session : {static_cast<Tnx_Session *>(nullptr), &opsless}) {
        uint32_t code = 7;
        EXPECT_EQ(OVX_Tnx_GetSessionId(session), nullptr);
        EXPECT_EQ(OVX_Tnx_GetSessionConfiguration(session), nullptr);
        EXPECT_EQ(OVX_Tnx_FetchSync(session, nullptr, nullptr), nullptr);
        EXPECT_EQ(OVX_Tnx_FetchSync(session, nullptr, &code), nullptr);
        EXPECT_EQ(code, uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(OVX_Tnx_Fetch(session, nullptr, nullptr), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(OVX_Tnx_CancelRequest(session, nullptr), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(OVX_Tnx_CancelSession(session), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(OVX_Tnx_UseCookieJar(session, nullptr), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(OVX_Tnx_CloseSession(&session), uint32_t{TNX_ERR_SESSION_CLOSED});
    }
    EXPECT_EQ(OVX_Tnx_CloseSession(nullptr), uint32_t{TNX_ERR_SESSION_CLOSED});
}

TEST(DispatchTest, UnknownTypes)
{
    for (const int32_t type : {1, 99, 100, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(OVX_Tnx_GetSessionOps(type), nullptr);
        Tnx_SessionConfiguration configuration = {};
        configuration.sessionType = static_cast<uint32_t>(type);
        uint32_t code = 0;
        EXPECT_EQ(OVX_Tnx_CreateSession(&configuration, &code), nullptr);
        EXPECT_EQ(code, uint32_t{TNX_ERR_PARAMETER});
        EXPECT_EQ(OVX_Tnx_CreateSession(&configuration, nullptr), nullptr);
    }
    EXPECT_NE(OVX_Tnx_GetSessionOps(0), nullptr);
}

// A type of the application's own: notes each call and passes on what it was given.
Entries *g_calls;
Tnx_Response g_response;

Tnx_Session *Create(Tnx_SessionOps *ops, const Tnx_SessionConfiguration *config, uint32_t *errCode)
{
    static Tnx_Session session;
    session = {ops, const_cast<Tnx_SessionConfiguration *>(config)};
    *errCode = 5;
    return &session;
}

uint32_t Answer(const char *call, uint32_t code)
{
    g_calls->push_back(call);
    return code;
}

Tnx_SessionOps g_ops = {
    Create,
    [](Tnx_Session *) { return "own"; },
    [](Tnx_Session *session) {
        return static_cast<const Tnx_SessionConfiguration *>(session->sessionImpl);
    },
    [](Tnx_Session *, Tnx_Request *, uint32_t *errCode) {
        *errCode = Answer("fetchSync", *errCode + 6);
        return &g_response;
    },
    [](Tnx_Session *, Tnx_Request *, const Tnx_ResponseCallbackObject *) {
        return Answer("fetch", 7);
    },
    [](Tnx_Session *, const Tnx_Request *) { return Answer("cancelRequest", 8); },
    [](Tnx_Session *) { return Answer("cancelSession", 9); },
    [](Tnx_Session **session) {
        *session = nullptr;
        return Answer("closeSession", 10);
    },
};

TEST(DispatchTest, OwnTypeIsServedByItsOwnTable)
{
    Entries calls;
    g_calls = &calls;
    for (const uint32_t type : {1U, 99U}) {
        OVX_Tnx_RegisterSessionOps(static_cast<int32_t>(type), &g_ops);
        Tnx_SessionConfiguration configuration = {};
        configuration.sessionType = type;
        uint32_t code = 0;
        Tnx_Session *session = OVX_Tnx_CreateSession(&configuration, &code);
        EXPECT_EQ(code, 5U);
        EXPECT_STREQ(OVX_Tnx_GetSessionId(session), "own");
        EXPECT_EQ(OVX_Tnx_GetSessionConfiguration(session), &configuration);
        EXPECT_EQ(OVX_Tnx_FetchSync(session, nullptr, &code), &g_response);
        EXPECT_EQ(code, 6U); // 0 was written first
        EXPECT_EQ(OVX_Tnx_Fetch(session, nullptr, nullptr), 7U);
        EXPECT_EQ(OVX_Tnx_CancelRequest(session, nullptr), 8U);
        EXPECT_EQ(OVX_Tnx_CancelSession(session), 9U);
        EXPECT_EQ(OVX_Tnx_UseCookieJar(session, nullptr), uint32_t{TNX_ERR_PARAMETER});
        EXPECT_EQ(OVX_Tnx_CloseSession(&session), 10U);
        EXPECT_EQ(session, nullptr);
        OVX_Tnx_RegisterSessionOps(static_cast<int32_t>(type), nullptr);
    }
    const Entries each = {"fetchSync", "fetch", "cancelRequest", "cancelSession", "closeSession"};
    Entries twice = each;
    twice.insert(twice.end(), each.begin(), each.end());
    EXPECT_EQ(calls, twice);
}

[[noreturn]] void Throw(int what)
{
    if (what == 0) {
        throw std::bad_alloc();
    }
    if (what == 1) {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    throw what;
}

int g_thrown;

Tnx_SessionOps g_throwingOps = {
    [](Tnx_SessionOps *, const Tnx_SessionConfiguration *, uint32_t *) -> Tnx_Session * {
        Throw(g_thrown);
    },
    nullptr,
    nullptr,
    [](Tnx_Session *, Tnx_Request *, uint32_t *) -> Tnx_Response * { Throw(g_thrown); },
    [](Tnx_Session *, Tnx_Request *, const Tnx_ResponseCallbackObject *) -> uint32_t {
        Throw(g_thrown);
    },
    [](Tnx_Session *, const Tnx_Request *) -> uint32_t { Throw(g_thrown); },
    [](Tnx_Session *) -> uint32_t { Throw(g_thrown); },
    [](Tnx_Session **) -> uint32_t { Throw(g_thrown); },
};

TEST(DispatchTest, WhatIsThrownBecomesACode)
{
    OVX_Tnx_RegisterSessionOps(1, &g_throwingOps);
    Tnx_SessionConfiguration configuration = {};
    configuration.sessionType = 1;
    Tnx_Session opened = {&g_throwingOps, nullptr};
    const std::array<uint32_t, 3> codes = {TNX_ERR_OUT_OF_MEMORY, TNX_ERR_INIT_FAILED,
                                           TNX_ERR_CALLBACK};
    for (g_thrown = 0; g_thrown < 3; ++g_thrown) {
        const uint32_t expected = codes[static_cast<size_t>(g_thrown)];
        uint32_t code = 0;
        EXPECT_EQ(OVX_Tnx_CreateSession(&configuration, &code), nullptr);
        EXPECT_EQ(std::exchange(code, 0U), expected);
        EXPECT_EQ(OVX_Tnx_FetchSync(&opened, nullptr, &code), nullptr);
        EXPECT_EQ(code, expected);
        EXPECT_EQ(OVX_Tnx_Fetch(&opened, nullptr, nullptr), expected);
        EXPECT_EQ(OVX_Tnx_CancelRequest(&opened, nullptr), expected);
        EXPECT_EQ(OVX_Tnx_CancelSession(&opened), expected);
        Tnx_Session *session = &opened;
        EXPECT_EQ(OVX_Tnx_CloseSession(&session), expected);
    }
    OVX_Tnx_RegisterSessionOps(1, nullptr);
}

using CreateTest = SessionFixture;

TEST_F(CreateTest, KeepsIdentifierAndConfiguration)
{
    uint32_t code = 1;
    session_ = OVX_Tnx_CreateSession(&configuration_, &code);
    EXPECT_EQ(code, 0U);
    EXPECT_STREQ(OVX_Tnx_GetSessionId(session_), "session");
    EXPECT_EQ(OVX_Tnx_GetSessionConfiguration(session_), &configuration_);
    EXPECT_EQ(journal_.Take(), Entries{"log create session session"});
}

TEST_F(CreateTest, NullConfigurationMakesAnHttpSession)
{
    uint32_t code = 1;
    session_ = OVX_Tnx_CreateSession(nullptr, &code);
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(OVX_Tnx_GetSessionConfiguration(session_), nullptr);
    EXPECT_EQ(Fetch(request_, first_), 0U);
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U); // no onCanceled to be found
}

TEST_F(CreateTest, LongIdentifiersAreDropped)
{
    uint32_t code = 1;
    for (const auto &[length, kept] : {std::pair<size_t, size_t>{255, 255}, {256, 0}, {300, 0}}) {
        engine_->id = std::string(length, 'i');
        session_ = OVX_Tnx_CreateSession(nullptr, &code);
        EXPECT_EQ(code, 0U);
        EXPECT_EQ(std::string(OVX_Tnx_GetSessionId(session_)), std::string(kept, 'i'));
        EXPECT_EQ(journal_.Take().front() == "log failed to copy session id to cppSession",
                  kept == 0);
        OVX_Tnx_CloseSession(&session_);
        journal_.Take();
    }
}

TEST_F(CreateTest, WithoutAnEngineThereIsNoSession)
{
    const auto fake = OHOS::Pelloria::TnxC::TnxExchangeSessionFactory(nullptr);
    uint32_t code = 0;
    EXPECT_EQ(OVX_Tnx_CreateSession(nullptr, &code), nullptr);
    EXPECT_EQ(code, uint32_t{TNX_ERR_INIT_FAILED});
}

TEST_F(CreateTest, WithoutPermissionNothingWorks)
{
    Open();
    Tnx_Session *const handle = session_;
    {
        const OHOS::Pelloria::Platform::InternetPermission denied(false);
        uint32_t code = 0;
        EXPECT_EQ(OVX_Tnx_CreateSession(nullptr, &code), nullptr);
        EXPECT_EQ(code, 201U);
        EXPECT_EQ(OVX_Tnx_GetSessionId(session_), nullptr);
        EXPECT_EQ(OVX_Tnx_GetSessionConfiguration(session_), nullptr);
        code = 0;
        EXPECT_EQ(OVX_Tnx_FetchSync(session_, request_.get(), &code), nullptr);
        EXPECT_EQ(code, 201U);
        EXPECT_EQ(Fetch(request_, first_), 201U);
        EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 201U);
        EXPECT_EQ(OVX_Tnx_CancelSession(session_), 201U);
        EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 201U);
        EXPECT_EQ(session_, handle);
    }
    EXPECT_EQ(journal_.Take(), Entries{"event 1 201"}); // the asynchronous fetch alone
    EXPECT_EQ(Fetch(request_, first_), 0U);
}

} // namespace
