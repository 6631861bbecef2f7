// A session over an engine that runs under the scheduler, with an application that does what a
// scenario says; checks what must hold in every schedule.
#ifndef TNX_TESTS_SESSION_EXHAUSTIVE_WORLD_H
#define TNX_TESTS_SESSION_EXHAUSTIVE_WORLD_H

#include "common/c_ptr.h"
#include "tnx_native/session.h"

#include <array>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Exhaustive
{

namespace Tnx = OHOS::Pelloria::Tnx;

// CANCEL_OTHER is for callbacks: of two requests, the one whose callback it is not.
enum class Act { NOTHING, FETCH, FETCH_SYNC, CANCEL, CANCEL_OTHER, CANCEL_ALL, CLOSE };

struct Step {
    Act act;
    size_t request = 0; // of three
};

struct Scenario {
    std::string name;
    int preemptions; // the bound
    std::vector<std::vector<Step>> threads;
    int engineThreads;     // complete what is in flight, in any order
    Step onResponse = {};  // what the first response callback does
    Step onCanceled = {};  // what the first of these does
    bool replaces = false; // a request is fetched again in flight: the earlier may stay unanswered
    bool streams = false;  // each flight has a data callback before it completes
    Step onData = {};      // what each of those does
};

class World;

// One fetch of the application.
struct Call {
    World *world;
    size_t request;
    std::string serial; // of its response's body
    bool accepted = false;
    int answers = 0;
    int dataThread = -1; // that is in its data callback
};

class Engine : public Tnx::Session
{
public:
    const std::string &GetId() const override { return id_; }
    void Fetch(const std::shared_ptr<Tnx::Request> &request,
               Tnx::ResponseCallback completion) override;
    std::shared_ptr<Tnx::Response> FetchSync(const std::shared_ptr<Tnx::Request> &request,
                                             uint32_t *errorCode) override;
    void CancelRequest(const std::shared_ptr<Tnx::Request> &request) override;
    void CancelAll() override;
    bool LeaveAnswer(Tnx::Request &request,
                     const std::shared_ptr<Tnx::CancelAnswer> &answer) noexcept override;
    void Close() override;

    // Completes what is in flight until nothing comes any more.
    void Run(World &world);

private:
    struct Flight {
        std::shared_ptr<Tnx::Request> request;
        Tnx::ResponseCallback completion;
        std::string serial;
        bool canceled;
    };

    void CompleteOne(World &world);
    void Complete(const Flight &flight);
    bool OthersRun(int self) const;

    std::string id_ = "session";
    std::deque<Flight> flights_;
    std::vector<int> running_; // threads inside a completion
    bool closed_ = false;
};

class World
{
public:
    explicit World(const Scenario &scenario);
    ~World();

    // One schedule.
    void Run();
    bool ApplicationRuns() const { return unfinished_ > 0; }

    // The data callback of the fetch that the serial names, if there is one.
    void OnData(Tnx::Request &request, const std::string &serial);

private:
    static void OnResponse(void *ctx, Tnx_Response *response, uint32_t code);
    static void OnCanceled(void *ctx);
    void Do(const Step &step);
    void DoOnce(bool &done, const Step &step);
    void Fetch(size_t request);
    void FetchSync(size_t request);
    void Close();
    void CheckCallback() const;
    size_t CancelsOf(size_t request) const;
    void CheckEnd();

    const Scenario &scenario_;
    std::shared_ptr<Engine> engine_ = std::make_shared<Engine>();
    struct Canceled {
        World *world;
        size_t request;
        int events = 0;
    };
    std::array<Canceled, 3> canceled_;
    std::array<Tnx_Configuration, 3> configurations_ = {};
    Tnx_SessionConfiguration configuration_ = {};
    Tnx_Session *session_ = nullptr;
    std::array<OHOS::Pelloria::TnxC::RequestPtr, 3> requests_;
    std::deque<Call> calls_;
    size_t unfinished_;
    bool closing_ = false;
    bool closed_ = false;
    bool respondedOnce_ = false;
    bool canceledOnce_ = false;
};

} // namespace Exhaustive

#endif
