#include "tests/session/exhaustive_world.h"

#include "session/tnx_http_session.h"
#include "session/tnx_session_factory.h"
#include "tests/session/exhaustive_scheduler.h"

#include <algorithm>
#include <utility>

namespace Exhaustive
{
namespace
{

using namespace OHOS::Pelloria::TnxC;

// Of the fetch that each thread is in; the one behind the last is that of no thread.
std::array<std::string, MAX_THREADS + 1> g_serials;

std::string &CurrentSerial()
{
    return g_serials[Current() < 0 ? MAX_THREADS : static_cast<size_t>(Current())];
}

long g_events; // of completed fetches
long g_responses;

std::shared_ptr<Tnx::Response> MakeResponse(const std::shared_ptr<Tnx::Request> &request,
                                            const std::string &serial)
{
    auto response = std::make_shared<Tnx::Response>(request);
    response->MutableBody() = serial;
    return response;
}

struct Factory : Tnx::SessionFactory {
    explicit Factory(std::shared_ptr<Engine> made)
        : engine(std::move(made))
    {
    }
    std::shared_ptr<Tnx::Session>
    CreateSession(const std::shared_ptr<Tnx::SessionConfiguration> &) override
    {
        return engine;
    }
    std::shared_ptr<Engine> engine;
};

void Expect(bool holds, const std::string &what)
{
    if (!holds) {
        Fail(what);
    }
}

} // namespace

void Engine::Fetch(const std::shared_ptr<Tnx::Request> &request, Tnx::ResponseCallback completion)
{
    const std::string serial = CurrentSerial();
    Point();
    if (!closed_) {
        flights_.push_back({request, std::move(completion), serial, false});
    }
}

std::shared_ptr<Tnx::Response> Engine::FetchSync(const std::shared_ptr<Tnx::Request> &request,
                                                 uint32_t *errorCode)
{
    Point();
    *errorCode = closed_ ? uint32_t{TNX_ERR_SESSION_CLOSED} : 0;
    return MakeResponse(request, "");
}

void Engine::CancelRequest(const std::shared_ptr<Tnx::Request> &request)
{
    Expect(request->IsCanceled(), "the engine is told to cancel an unmarked request");
    Point();
}

void Engine::CancelAll()
{
    Point();
    for (Flight &flight : flights_) {
        flight.canceled = true;
    }
    Point();
}

bool Engine::LeaveAnswer(Tnx::Request &request,
                         const std::shared_ptr<Tnx::CancelAnswer> &answer) noexcept
{
    Point();
    return Session::LeaveAnswer(request, answer);
}

bool Engine::OthersRun(int self) const
{
    return std::any_of(running_.begin(), running_.end(),
                       [self](int thread) { return thread != self; });
}

void Engine::Close()
{
    Point();
    closed_ = true;
    WaitFor([this, self = Current()] { return !OthersRun(self); });
    flights_.clear();
}

void Engine::CompleteOne(World &world)
{
    const size_t which = Choose(flights_.size());
    const Flight flight = std::move(flights_[which]);
    flights_.erase(flights_.begin() + static_cast<std::ptrdiff_t>(which));
    running_.push_back(Current());
    world.OnData(*flight.request, flight.serial);
    if (!closed_) {
        Complete(flight);
    }
    running_.erase(std::find(running_.begin(), running_.end(), Current()));
}

// A canceled flight may have had its response already when the cancel came.
void Engine::Complete(const Flight &flight)
{
    const bool canceled = flight.canceled || flight.request->IsCanceled();
    if (canceled && Choose(2) == 0) {
        flight.completion(nullptr, TNX_ERR_REQUEST_CANCELED);
    } else {
        flight.completion(MakeResponse(flight.request, flight.serial), 0);
    }
}

void Engine::Run(World &world)
{
    for (;;) {
        WaitFor([this, &world] {
            return closed_ || !flights_.empty() || (!world.ApplicationRuns() && running_.empty());
        });
        if (closed_ || flights_.empty()) {
            return;
        }
        CompleteOne(world);
    }
}

World::World(const Scenario &scenario)
    : scenario_(scenario)
    , unfinished_(scenario.threads.size())
{
    g_events = g_responses = 0;
    TnxExchangeSessionFactory(std::make_unique<Factory>(engine_));
    uint32_t code = 1;
    session_ = OVX_Tnx_CreateSession(&configuration_, &code);
    Expect(code == 0, "no session");
    for (size_t i = 0; i < requests_.size(); ++i) {
        requests_[i].reset(OVX_Tnx_CreateRequest("http://host"));
        requests_[i]->configuration = &configurations_[i];
        canceled_[i] = {this, i};
        configurations_[i].tracing.eventsHandler.onCanceled = {OnCanceled, &canceled_[i]};
    }
}

World::~World()
{
    OVX_Tnx_CloseSession(&session_);
    TnxExchangeSessionFactory(nullptr);
}

void World::Run()
{
    std::vector<std::function<void()>> bodies;
    for (const std::vector<Step> &steps : scenario_.threads) {
        bodies.emplace_back([this, &steps] {
            for (const Step &step : steps) {
                Do(step);
            }
            --unfinished_;
        });
    }
    for (int i = 0; i < scenario_.engineThreads; ++i) {
        bodies.emplace_back([this] { engine_->Run(*this); });
    }
    RunThreads(bodies);
    CheckEnd();
}

void World::Do(const Step &step)
{
    if (session_ == nullptr) {
        return;
    }
    switch (step.act) {
    case Act::NOTHING:
        break;
    case Act::FETCH:
        Fetch(step.request);
        break;
    case Act::FETCH_SYNC:
        FetchSync(step.request);
        break;
    case Act::CANCEL:
        OVX_Tnx_CancelRequest(session_, requests_[step.request].get());
        break;
    case Act::CANCEL_OTHER: // made a CANCEL by who calls
        break;
    case Act::CANCEL_ALL:
        OVX_Tnx_CancelSession(session_);
        break;
    case Act::CLOSE:
        Close();
        break;
    }
}

void World::DoOnce(bool &done, const Step &step)
{
    if (!std::exchange(done, true)) {
        Do(step);
    }
}

void World::Fetch(size_t request)
{
    Call &call = calls_.emplace_back(Call{this, request, std::to_string(calls_.size())});
    const Tnx_ResponseCallbackObject callback = {OnResponse, &call};
    CurrentSerial() = call.serial;
    call.accepted = true; // it may be answered before the call returns, by a cancel elsewhere
    Expect(OVX_Tnx_Fetch(session_, requests_[request].get(), &callback) == 0, "a fetch is refused");
}

void World::FetchSync(size_t request)
{
    uint32_t code = 1;
    Tnx_Response *response = OVX_Tnx_FetchSync(session_, requests_[request].get(), &code);
    Expect(response != nullptr, "a synchronous fetch is refused");
    response->destroyResponse(response);
}

// Only while no other thread of the application uses the handle. A callback may also try while the
// session closes: the close waits for it.
void World::Close()
{
    const bool onApplicationThread =
        Current() >= 0 && static_cast<size_t>(Current()) < scenario_.threads.size();
    const bool allowed =
        onApplicationThread ? unfinished_ == 1 && !closing_ : unfinished_ == 0 || closing_;
    if (!allowed) {
        return;
    }
    closing_ = true;
    Tnx_Session *copy = session_; // each has the handle in a variable of its own
    const uint32_t code = OVX_Tnx_CloseSession(&copy);
    if (code == 0) {
        Expect(!std::exchange(closed_, true), "the session is closed twice");
        session_ = nullptr;
    } else {
        Expect(code == TNX_ERR_SESSION_CLOSED, "a close fails");
    }
}

void World::CheckCallback() const
{
    Expect(LocksHeld() == 0, "the application is called with a lock held");
    Expect(!closed_, "the application is called after the close");
    Point();
}

void World::OnResponse(void *ctx, Tnx_Response *response, uint32_t code)
{
    Call &call = *static_cast<Call *>(ctx);
    World &world = *call.world;
    world.CheckCallback();
    Expect(++call.answers == 1, "a callback is called twice");
    Expect(call.dataThread < 0 || call.dataThread == Current(), "called beside a data callback");
    Expect(response != nullptr || world.canceled_[call.request].events > 0,
           "canceled without the event before it");
    Expect((response == nullptr) == (code == TNX_ERR_REQUEST_CANCELED), "a wrong code");
    if (response != nullptr) {
        ++g_responses;
        Expect(std::string(response->body, response->bodyLength) == call.serial,
               "answered by the response of another fetch");
        Expect(response->responseCallbackObject->usrCtx == ctx, "a wrong callback object");
    }
    world.DoOnce(world.respondedOnce_, world.scenario_.onResponse);
    if (response != nullptr) {
        response->destroyResponse(response);
    }
}

void World::OnCanceled(void *ctx)
{
    Canceled &canceled = *static_cast<Canceled *>(ctx);
    World &world = *canceled.world;
    ++canceled.events;
    // A second cancel finds the request no longer in flight, and does not wait for the first.
    if (world.CancelsOf(canceled.request) == 1) {
        for (const Call &call : world.calls_) {
            Expect(call.request != canceled.request || call.dataThread < 0 ||
                       call.dataThread == Current(),
                   "the canceled event beside a data callback");
        }
    }
    world.CheckCallback();
    world.DoOnce(world.canceledOnce_, world.scenario_.onCanceled);
}

void World::OnData(Tnx::Request &request, const std::string &serial)
{
    if (!scenario_.streams || serial.empty()) {
        return;
    }
    Point();
    const Tnx::CallbackGate::Turn turn(request.Gate());
    if (!turn) {
        return;
    }
    Call &call = calls_[std::stoul(serial)];
    Expect(call.answers == 0, "a data callback behind the response callback");
    call.dataThread = Current();
    CheckCallback();
    Step step = scenario_.onData;
    if (step.act == Act::CANCEL_OTHER) {
        step = {Act::CANCEL, 1 - call.request};
    }
    Do(step);
    Point();
    call.dataThread = -1;
}

// How often it is canceled, at most.
size_t World::CancelsOf(size_t request) const
{
    size_t count = 0;
    const auto add = [&count, request](const Step &step, size_t times) {
        const bool hits = step.act == Act::CANCEL_ALL || step.act == Act::CANCEL_OTHER ||
                          (step.act == Act::CANCEL && step.request == request);
        count += hits ? times : 0;
    };
    for (const std::vector<Step> &steps : scenario_.threads) {
        for (const Step &step : steps) {
            add(step, 1);
        }
    }
    add(scenario_.onResponse, 1);
    add(scenario_.onCanceled, 1);
    add(scenario_.onData, scenario_.onData.act == Act::CANCEL_OTHER ? 1 : calls_.size());
    return count;
}

void World::CheckEnd()
{
    for (const Call &call : calls_) {
        const bool replaced = scenario_.replaces &&
                              std::any_of(calls_.begin(), calls_.end(), [&call](const Call &other) {
                                  return &other > &call && other.request == call.request;
                              });
        Expect(closed_ || replaced || call.answers == 1, "an accepted fetch is never answered");
    }
    Expect(scenario_.replaces || g_events == g_responses, "a wrong number of usage events");
    if (!closed_) {
        const Tnx_HttpSession *session = TnxHttpSessionOf(session_);
        Expect(session->flights.empty(), "something stays registered");
    }
}

} // namespace Exhaustive

// In place of the usage events: counts them.
void TnxTraceApiEvent(uint32_t result, uint32_t, const char *, int64_t) noexcept
{
    Exhaustive::Expect(Exhaustive::LocksHeld() == 0, "a usage event is written with a lock held");
    Exhaustive::g_events += result == 0;
}
