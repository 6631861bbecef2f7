// A session over the fake engine, and requests whose callbacks write into the journal.
#ifndef TNX_TESTS_SESSION_SESSION_FIXTURE_H
#define TNX_TESTS_SESSION_SESSION_FIXTURE_H

#include "common/c_ptr.h"
#include "session/tnx_session_factory.h"
#include "tests/session/fake_engine.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace SessionTests
{

using OHOS::Pelloria::TnxC::RequestPtr;
using Entries = std::vector<std::string>;

constexpr uint32_t CANCELED = TNX_ERR_REQUEST_CANCELED;

// One callback of the application: notes its name and does what the test wants.
struct Application {
    Journal *journal = nullptr;
    std::string name;
    std::function<void()> then;

    static void Respond(void *ctx, Tnx_Response *response, uint32_t code)
    {
        auto &self = *static_cast<Application *>(ctx);
        self.journal->Note(self.name + (response == nullptr ? " null " : " response ") +
                           std::to_string(code));
        if (response != nullptr) {
            response->destroyResponse(response);
        }
        self.Continue();
    }

    static void Canceled(void *ctx)
    {
        auto &self = *static_cast<Application *>(ctx);
        self.journal->Note(self.name + " onCanceled");
        self.Continue();
    }

    void Continue()
    {
        if (then) {
            std::exchange(then, {})();
        }
    }
};

class SessionFixture : public testing::Test
{
protected:
    SessionFixture() { Reinstall(); }

    ~SessionFixture() override
    {
        if (session_ != nullptr) {
            OVX_Tnx_CloseSession(&session_);
        }
        OHOS::Pelloria::TnxC::TnxExchangeSessionFactory(std::move(realFactory_));
    }

    // Creates the session and forgets what that noted.
    void Open()
    {
        uint32_t code = 1;
        session_ = OVX_Tnx_CreateSession(&configuration_, &code);
        ASSERT_NE(session_, nullptr);
        ASSERT_EQ(code, 0U);
        journal_.Take();
    }

    uint32_t Fetch(const RequestPtr &request, Application &application)
    {
        const Tnx_ResponseCallbackObject callback = {Application::Respond, &application};
        return OVX_Tnx_Fetch(session_, request.get(), &callback);
    }

    // The log lines of these two, as the session writes them.
    static std::string Erase(const RequestPtr &request)
    {
        return std::string("log erase request ") + request->id + " in session session";
    }
    static std::string Pop(const RequestPtr &request)
    {
        return std::string("log pop callback for request ") + request->id + " in session session";
    }

    Journal journal_;
    std::shared_ptr<FakeSession> engine_ = std::make_shared<FakeSession>(journal_);
    Tnx_Configuration requestConfiguration_ = {};
    Tnx_SessionConfiguration configuration_ = {};
    Tnx_Session *session_ = nullptr;
    Application first_{&journal_, "first", {}};
    Application second_{&journal_, "second", {}};
    Application onCanceled_{&journal_, "default", {}};
    RequestPtr request_{OVX_Tnx_CreateRequest("http://one")};
    RequestPtr other_{OVX_Tnx_CreateRequest("http://two")};

private:
    void Reinstall()
    {
        realFactory_ =
            OHOS::Pelloria::TnxC::TnxExchangeSessionFactory(std::make_unique<FakeFactory>(engine_));
        configuration_.requestConfiguration = &requestConfiguration_;
        requestConfiguration_.tracing.eventsHandler.onCanceled = {Application::Canceled,
                                                                  &onCanceled_};
        journal_.Take();
    }

    std::unique_ptr<Tnx::SessionFactory> realFactory_;
};

} // namespace SessionTests

#endif
