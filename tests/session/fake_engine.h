// An engine that does nothing by itself: it writes down what it is told, and completes a fetch when
// the test says so. With it a journal of all that can be seen from outside, in order.
#ifndef TNX_TESTS_SESSION_FAKE_ENGINE_H
#define TNX_TESTS_SESSION_FAKE_ENGINE_H

#include "tnx_native/session.h"
#include "tnx_platform/controls.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace SessionTests
{

namespace Tnx = OHOS::Pelloria::Tnx;

// Engine calls, callbacks, log lines ("log ...") and usage events ("event RESULT CODE").
class Journal
{
public:
    void Note(const std::string &text);
    std::vector<std::string> Take();

private:
    void Drain();

    OHOS::Pelloria::Platform::LogCapture logs_;
    OHOS::Pelloria::Platform::EventCapture events_;
    std::vector<std::string> entries_;
};

// A fetch that was handed over.
struct Flight {
    std::shared_ptr<Tnx::Request> request;
    Tnx::ResponseCallback completion;

    // Completes with a response of this request, or without one.
    void Complete(uint32_t errorCode = 0) const;
    void CompleteEmpty(uint32_t errorCode) const { completion(nullptr, errorCode); }
};

struct FakeSession : Tnx::Session {
    explicit FakeSession(Journal &notes)
        : journal(notes)
    {
    }

    const std::string &GetId() const override { return id; }
    void Fetch(const std::shared_ptr<Tnx::Request> &request,
               Tnx::ResponseCallback completion) override;
    std::shared_ptr<Tnx::Response> FetchSync(const std::shared_ptr<Tnx::Request> &request,
                                             uint32_t *errorCode) override;
    void CancelRequest(const std::shared_ptr<Tnx::Request> &request) override;
    void CancelAll() override;
    void Close() override;

    Journal &journal;
    std::string id = "session";
    std::shared_ptr<Tnx::SessionConfiguration> configuration;
    std::vector<Flight> flights;
    std::function<void()> during; // runs inside the next call
    std::shared_ptr<Tnx::Response> syncResponse;
    uint32_t syncCode = 0;

private:
    void RunDuring();
};

// Makes one session, which tests reach before and after it is handed out.
struct FakeFactory : Tnx::SessionFactory {
    explicit FakeFactory(std::shared_ptr<FakeSession> made)
        : session(std::move(made))
    {
    }
    std::shared_ptr<Tnx::Session>
    CreateSession(const std::shared_ptr<Tnx::SessionConfiguration> &configuration) override;

    std::shared_ptr<FakeSession> session;
};

std::shared_ptr<Tnx::Response> MakeResponse(const std::shared_ptr<Tnx::Request> &request,
                                            const std::string &body = "");

} // namespace SessionTests

#endif
