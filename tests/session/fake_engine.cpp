#include "tests/session/fake_engine.h"

#include <utility>
#include <variant>

namespace SessionTests
{

void Journal::Drain()
{
    for (const auto &line : logs_.Take()) {
        entries_.push_back("log" + line.text);
    }
    for (const auto &event : events_.TakeEvents()) {
        const auto &params = event.Params();
        entries_.push_back("event " + std::to_string(std::get<int32_t>(params[5].second)) + " " +
                           std::to_string(std::get<int32_t>(params[6].second)));
    }
}

void Journal::Note(const std::string &text)
{
    Drain();
    entries_.push_back(text);
}

std::vector<std::string> Journal::Take()
{
    Drain();
    return std::exchange(entries_, {});
}

std::shared_ptr<Tnx::Response> MakeResponse(const std::shared_ptr<Tnx::Request> &request,
                                            const std::string &body)
{
    auto response = std::make_shared<Tnx::Response>(request);
    response->MutableBody() = body;
    return response;
}

void Flight::Complete(uint32_t errorCode) const
{
    completion(MakeResponse(request), errorCode);
}

void FakeSession::RunDuring()
{
    if (during) {
        std::exchange(during, {})();
    }
}

void FakeSession::Fetch(const std::shared_ptr<Tnx::Request> &request,
                        Tnx::ResponseCallback completion)
{
    journal.Note("engine fetch " + request->GetUrl());
    flights.push_back({request, std::move(completion)});
    RunDuring();
}

std::shared_ptr<Tnx::Response> FakeSession::FetchSync(const std::shared_ptr<Tnx::Request> &request,
                                                      uint32_t *errorCode)
{
    journal.Note("engine fetch sync " + request->GetUrl());
    RunDuring();
    *errorCode = syncCode;
    return syncResponse;
}

void FakeSession::CancelRequest(const std::shared_ptr<Tnx::Request> &request)
{
    journal.Note(std::string("engine cancel ") + (request->IsCanceled() ? "marked" : "unmarked"));
}

void FakeSession::CancelAll()
{
    journal.Note("engine cancel all");
    if (configuration->onSessionCanceled) {
        configuration->onSessionCanceled();
    }
    RunDuring();
}

void FakeSession::Close()
{
    journal.Note("engine close");
    flights.clear();
    RunDuring();
    if (configuration->onSessionClosed) {
        configuration->onSessionClosed();
    }
}

std::shared_ptr<Tnx::Session>
FakeFactory::CreateSession(const std::shared_ptr<Tnx::SessionConfiguration> &configuration)
{
    if (session != nullptr) {
        session->configuration = configuration;
    }
    return session;
}

} // namespace SessionTests
