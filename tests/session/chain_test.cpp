// Interceptors: their order, what they may do, and the chains without them.
#include "tests/session/session_fixture.h"

#include "session/tnx_handlers_chain.h"

namespace
{

using namespace SessionTests;
using namespace OHOS::Pelloria::TnxC;

Journal *g_journal;

template <int N>
uint32_t Pass(Tnx_Request *request, const Tnx_RequestHandler *next,
              const Tnx_ResponseCallbackObject *callback)
{
    g_journal->Note("interceptor " + std::to_string(N));
    return OVX_Tnx_CallNextRequestHandler(request, next, callback);
}

template <int N>
Tnx_Response *PassSync(Tnx_Request *request, const Tnx_SyncRequestHandler *next, uint32_t *errCode)
{
    g_journal->Note("interceptor " + std::to_string(N));
    return OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
}

class ChainTest : public SessionFixture
{
protected:
    ChainTest() { g_journal = &journal_; }

    void OpenWith(Tnx_Interceptor *entries, int32_t count)
    {
        configuration_.interceptors = {entries, count};
        Open();
    }
};

TEST_F(ChainTest, RunsInTheOrderOfTheArray)
{
    Tnx_Interceptor entries[] = {{Pass<0>}, {nullptr}, {Pass<1>}, {Pass<2>}, {nullptr}};
    Tnx_SyncInterceptor syncEntries[] = {{nullptr}, {PassSync<0>}, {PassSync<1>}, {PassSync<2>}};
    configuration_.syncInterceptors = {syncEntries, 4};
    OpenWith(entries, 5);
    EXPECT_EQ(Fetch(request_, first_), 0U);
    EXPECT_EQ(journal_.Take(), (Entries{"interceptor 0", "interceptor 1", "interceptor 2",
                                        "engine fetch http://one"}));
    uint32_t code = 7;
    OVX_Tnx_FetchSync(session_, request_.get(), &code);
    EXPECT_EQ(journal_.Take(), (Entries{"interceptor 0", "interceptor 1", "interceptor 2",
                                        "engine fetch sync http://one"}));
}

TEST_F(ChainTest, WithoutEntriesTheRequestIsSentStraight)
{
    Tnx_Interceptor entry = {Pass<0>};
    Tnx_Interceptor hollow = {nullptr};
    const std::pair<Tnx_Interceptor *, int32_t> arrays[] = {
        {nullptr, 3}, {&entry, 0}, {&entry, -1}, {&entry, INT32_MIN}, {&hollow, 1}};
    for (const auto &[entries, count] : arrays) {
        OpenWith(entries, count);
        Fetch(request_, first_);
        EXPECT_EQ(journal_.Take(), Entries{"engine fetch http://one"});
        OVX_Tnx_CloseSession(&session_);
    }
}

TEST_F(ChainTest, InterceptorMayAnswerByItself)
{
    Tnx_Interceptor entries[] = {
        {[](Tnx_Request *, const Tnx_RequestHandler *, const Tnx_ResponseCallbackObject *callback) {
            callback->callback(callback->usrCtx, nullptr, 5);
            return 6U;
        }},
        {Pass<1>}};
    OpenWith(entries, 2);
    EXPECT_EQ(Fetch(request_, first_), 6U);
    EXPECT_EQ(journal_.Take(), Entries{"first null 5"});
}

TEST_F(ChainTest, InterceptorMayChangeTheRequestAndTheCallback)
{
    static Application *other;
    other = &second_;
    Tnx_Interceptor entry = {[](Tnx_Request *request, const Tnx_RequestHandler *next,
                                const Tnx_ResponseCallbackObject *) {
        request->method = "PUT";
        const Tnx_ResponseCallbackObject own = {Application::Respond, other};
        return OVX_Tnx_CallNextRequestHandler(request, next, &own);
    }};
    OpenWith(&entry, 1);
    Fetch(request_, first_);
    EXPECT_EQ(engine_->flights[0].request->GetMethod(), "PUT");
    engine_->flights[0].Complete();
    EXPECT_EQ(journal_.Take()[4], "second response 0");
}

TEST_F(ChainTest, EntriesAreReadAtEachCall)
{
    Tnx_Interceptor entry = {Pass<0>};
    OpenWith(&entry, 1);
    entry.intercept = Pass<1>;
    Fetch(request_, first_);
    EXPECT_EQ(journal_.Take()[0], "interceptor 1");
}

TEST_F(ChainTest, MissingArgumentsStopAtTheFirstInterceptor)
{
    Tnx_Interceptor entry = {Pass<0>};
    Tnx_SyncInterceptor syncEntry = {PassSync<0>};
    configuration_.syncInterceptors = {&syncEntry, 1};
    OpenWith(&entry, 1);
    const Tnx_ResponseCallbackObject callback = {};
    EXPECT_EQ(OVX_Tnx_Fetch(session_, nullptr, &callback), 401U);
    EXPECT_EQ(OVX_Tnx_Fetch(session_, request_.get(), nullptr), 401U);
    uint32_t code = 0;
    EXPECT_EQ(OVX_Tnx_FetchSync(session_, nullptr, &code), nullptr);
    EXPECT_EQ(code, 401U);
    EXPECT_EQ(journal_.Take(), Entries());
}

TEST(CallNextTest, MissingHandlers)
{
    const Tnx_RequestHandler hollow = {};
    const Tnx_SyncRequestHandler hollowSync = {};
    EXPECT_EQ(OVX_Tnx_CallNextRequestHandler(nullptr, nullptr, nullptr), 401U);
    EXPECT_EQ(OVX_Tnx_CallNextRequestHandler(nullptr, &hollow, nullptr), 401U);
    for (const Tnx_SyncRequestHandler *next :
         {static_cast<const Tnx_SyncRequestHandler *>(nullptr), &hollowSync}) {
        uint32_t code = 0;
        EXPECT_EQ(OVX_Tnx_CallNextSyncRequestHandler(nullptr, next, &code), nullptr);
        EXPECT_EQ(code, 401U);
    }
}

TEST(InterceptorHandlerTest, RefusesForeignContexts)
{
    HandlerContext foreign = {HANDLER_SESSION, nullptr};
    HandlerContext hollow = {HANDLER_INTERCEPTOR, nullptr};
    Tnx_Request request = {};
    const Tnx_ResponseCallbackObject callback = {};
    for (HandlerContext *context : {static_cast<HandlerContext *>(nullptr), &foreign, &hollow}) {
        EXPECT_EQ(TnxInterceptorBasedHandlerFunction(context, &request, &callback), 401U);
        uint32_t code = 0;
        EXPECT_EQ(TnxInterceptorBasedSyncHandlerFunction(context, &request, &code), nullptr);
        EXPECT_EQ(code, 401U);
        EXPECT_EQ(TnxInterceptorBasedSyncHandlerFunction(context, &request, nullptr), nullptr);
    }
}

} // namespace
