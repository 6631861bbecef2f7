// Fetching: what is refused, what a completion does in which order, and whom it answers.
#include "tests/session/session_fixture.h"

#include "session/tnx_http_session.h"

namespace
{

using namespace SessionTests;

class FetchTest : public SessionFixture
{
protected:
    void SetUp() override { Open(); }

    std::string Completed(const RequestPtr &request, uint32_t code) const
    {
        return std::string("log response callback for request ") + request->id + ", errCode " +
               std::to_string(code);
    }

    // All that a delivery shows.
    Entries Delivery(const RequestPtr &request, const std::string &call, uint32_t code) const
    {
        return {Completed(request, code), Erase(request), Pop(request), call,
                "event 0 " + std::to_string(code)};
    }
};

TEST_F(FetchTest, MissingArgumentsAreRefused)
{
    const Tnx_ResponseCallbackObject callback = {Application::Respond, &first_};
    EXPECT_EQ(OVX_Tnx_Fetch(session_, nullptr, &callback), 401U);
    EXPECT_EQ(OVX_Tnx_Fetch(session_, request_.get(), nullptr), 401U);
    uint32_t code = 0;
    EXPECT_EQ(OVX_Tnx_FetchSync(session_, nullptr, &code), nullptr);
    EXPECT_EQ(code, 401U);
    EXPECT_EQ(OVX_Tnx_FetchSync(session_, request_.get(), nullptr), nullptr);
    EXPECT_EQ(journal_.Take(), (Entries{"event 1 401", "event 1 401"}));
}

TEST_F(FetchTest, DeliversOnceInOrder)
{
    for (const uint32_t code : {0U, 1007900028U, 1007900992U}) {
        ASSERT_EQ(Fetch(request_, first_), 0U);
        EXPECT_EQ(journal_.Take(), Entries{"engine fetch http://one"});
        engine_->flights[0].Complete(code);
        EXPECT_EQ(journal_.Take(),
                  Delivery(request_, "first response " + std::to_string(code), code));
        // Again: the entry is gone, so nobody is called, but the event is written.
        engine_->flights[0].Complete(code);
        EXPECT_EQ(journal_.Take(), (Entries{Completed(request_, code), Erase(request_),
                                            Pop(request_), "event 0 " + std::to_string(code)}));
        engine_->flights.clear();
    }
}

TEST_F(FetchTest, EmptyResponses)
{
    Fetch(request_, first_);
    engine_->flights[0].CompleteEmpty(CANCELED);
    EXPECT_EQ(journal_.Take(), Entries{"engine fetch http://one"});
    engine_->flights[0].CompleteEmpty(1007900007);
    EXPECT_EQ(journal_.Take(), Delivery(request_, "first null 1007900007", 1007900007));
}

TEST_F(FetchTest, NullFunctionTakesTheResponseAway)
{
    const Tnx_ResponseCallbackObject callback = {nullptr, nullptr};
    ASSERT_EQ(OVX_Tnx_Fetch(session_, request_.get(), &callback), 0U);
    journal_.Take();
    engine_->flights[0].Complete();
    EXPECT_EQ(journal_.Take(),
              (Entries{Completed(request_, 0), Erase(request_), Pop(request_), "event 0 0"}));
}

TEST_F(FetchTest, CanceledFlightsAnswerNobody)
{
    Fetch(request_, first_);
    engine_->flights[0].request->SetCanceled(true);
    journal_.Take();
    engine_->flights[0].Complete();
    EXPECT_EQ(journal_.Take(), Entries());
}

TEST_F(FetchTest, SecondFetchOfARequestInFlightTakesItsPlace)
{
    Fetch(request_, first_);
    Fetch(request_, second_);
    journal_.Take();
    engine_->flights[0].Complete(); // the first flight must not answer for the second
    EXPECT_EQ(journal_.Take(), (Entries{Completed(request_, 0), "event 0 0"}));
    engine_->flights[1].Complete();
    EXPECT_EQ(journal_.Take(), Delivery(request_, "second response 0", 0));
}

TEST_F(FetchTest, CanceledRequestFetchedAgainIsAnsweredByItsOwnFlight)
{
    Fetch(request_, first_);
    OVX_Tnx_CancelRequest(session_, request_.get());
    Fetch(request_, second_);
    journal_.Take();
    engine_->flights[0].Complete();
    EXPECT_EQ(journal_.Take(), Entries());
    engine_->flights[1].Complete();
    EXPECT_EQ(journal_.Take(), Delivery(request_, "second response 0", 0));
}

TEST_F(FetchTest, RequestIsFetchedAgainFromItsCallback)
{
    first_.then = [this] { EXPECT_EQ(Fetch(request_, second_), 0U); };
    Fetch(request_, first_);
    journal_.Take();
    Flight(engine_->flights[0]).Complete();
    EXPECT_EQ(journal_.Take(),
              (Entries{Completed(request_, 0), Erase(request_), Pop(request_), "first response 0",
                       "engine fetch http://one", "event 0 0"}));
    engine_->flights[1].Complete();
    EXPECT_EQ(journal_.Take(), Delivery(request_, "second response 0", 0));
}

TEST_F(FetchTest, SessionIsClosedFromACallback)
{
    first_.then = [this] { EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 0U); };
    Fetch(request_, first_);
    Fetch(other_, second_);
    journal_.Take();
    Flight(engine_->flights[0]).Complete();
    EXPECT_EQ(journal_.Take(),
              (Entries{Completed(request_, 0), Erase(request_), Pop(request_), "first response 0",
                       "engine close", "log close session session", "event 0 0"}));
}

// The copy of the callback object lives as long as the response that tells it.
TEST_F(FetchTest, ResponseKeepsItsCallbackObject)
{
    Tnx_Response *response = nullptr;
    const Tnx_ResponseCallbackObject callback = {[](void *ctx, Tnx_Response *taken, uint32_t) {
                                                     *static_cast<Tnx_Response **>(ctx) = taken;
                                                 },
                                                 &response};
    OVX_Tnx_Fetch(session_, request_.get(), &callback);
    engine_->flights[0].Complete();
    OVX_Tnx_CloseSession(&session_);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(response->request, request_.get());
    EXPECT_NE(response->responseCallbackObject, &callback);
    EXPECT_EQ(response->responseCallbackObject->usrCtx, &response);
    response->destroyResponse(response);
}

TEST_F(FetchTest, SynchronousFetchPassesCodeAndResponseOn)
{
    uint32_t code = 7;
    EXPECT_EQ(OVX_Tnx_FetchSync(session_, request_.get(), &code), nullptr);
    EXPECT_EQ(code, 0U);
    engine_->syncResponse = MakeResponse(std::make_shared<Tnx::Request>("0", "http://one"), "body");
    engine_->syncCode = 1007900028;
    Tnx_Response *response = OVX_Tnx_FetchSync(session_, request_.get(), &code);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(code, 1007900028U);
    EXPECT_EQ(std::string(response->body, response->bodyLength), "body");
    EXPECT_EQ(response->responseCallbackObject, nullptr);
    response->destroyResponse(response);
    EXPECT_EQ(journal_.Take(),
              (Entries{"engine fetch sync http://one", "engine fetch sync http://one"}));
}

TEST_F(FetchTest, SessionIsClosedDuringASynchronousFetch)
{
    uint32_t code = 7;
    engine_->during = [this] { OVX_Tnx_CloseSession(&session_); };
    engine_->syncCode = CANCELED;
    EXPECT_EQ(OVX_Tnx_FetchSync(session_, request_.get(), &code), nullptr);
    EXPECT_EQ(code, CANCELED);
    EXPECT_EQ(session_, nullptr);
}

TEST_F(FetchTest, SynchronousFetchIsNotToBeCanceledByItsRequest)
{
    engine_->during = [this] { OVX_Tnx_CancelRequest(session_, request_.get()); };
    uint32_t code = 7;
    OVX_Tnx_FetchSync(session_, request_.get(), &code);
    for (const std::string &entry : journal_.Take()) {
        EXPECT_FALSE(entry.starts_with("engine cancel")) << entry;
    }
}

TEST(BaseHandlerTest, RefusesForeignContexts)
{
    using namespace OHOS::Pelloria::TnxC;
    HandlerContext foreign = {HANDLER_INTERCEPTOR, nullptr};
    HandlerContext hollow = {HANDLER_SESSION, nullptr};
    Tnx_Session *cell = nullptr;
    HandlerContext sessionless = {HANDLER_SESSION, &cell};
    Tnx_Session implless = {};
    Tnx_Session *implCell = &implless;
    HandlerContext implementationless = {HANDLER_SESSION, &implCell};
    Tnx_Request request = {};
    const Tnx_ResponseCallbackObject callback = {};
    for (void *context :
         {static_cast<void *>(nullptr), static_cast<void *>(&foreign), static_cast<void *>(&hollow),
          static_cast<void *>(&sessionless), static_cast<void *>(&implementationless)}) {
        EXPECT_EQ(TnxSessionBasedFetchHandle(context, &request, &callback), 401U);
        uint32_t code = 0;
        EXPECT_EQ(TnxSessionBasedFetchSyncHandle(context, &request, &code), nullptr);
        EXPECT_EQ(code, 401U);
    }
}

} // namespace
