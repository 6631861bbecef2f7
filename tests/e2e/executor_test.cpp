// Callbacks on threads of the application's own.
#include "client.h"

#include "tnx_c_ext.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <stdexcept>

namespace
{

using namespace EndToEnd;

// An application's event loop, on one thread.
class Loop
{
public:
    ~Loop()
    {
        Do([this] { over_ = true; });
        thread_.join();
    }

    void Do(std::function<void()> task)
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        changed_.notify_one();
    }

    // Waits until the task has run.
    template <class Task> void Run(const Task &task)
    {
        std::promise<void> done;
        Do([&] {
            task();
            done.set_value();
        });
        done.get_future().wait();
    }

    static bool Post(void *self, void (*run)(void *), void *task)
    {
        static_cast<Loop *>(self)->Do([run, task] { run(task); });
        return true;
    }

    std::thread::id Id() const { return thread_.get_id(); }

private:
    void Live()
    {
        std::unique_lock lock(mutex_);
        while (!over_ || !tasks_.empty()) {
            changed_.wait(lock, [this] { return !tasks_.empty(); });
            const std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            task();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool over_ = false;
    std::thread thread_{[this] { Live(); }};
};

// Notes the order of a call's callbacks, and on which threads they run.
struct Notes {
    explicit Notes(Call &call)
    {
        Tnx_HttpEventsHandler &events = call.configuration.tracing.eventsHandler;
        events.onHeaderReceive = {[](void *self, Tnx_Headers *headers) {
                                      OVX_Tnx_DestroyHeaders(headers);
                                      static_cast<Notes *>(self)->Add("headers");
                                  },
                                  this};
        events.onEvent = {[](void *self) { static_cast<Notes *>(self)->Add("end"); }, this};
        call.OnData([this](std::string_view data) {
            Add("data");
            return data.size();
        });
        call.then = [this](const Outcome &) { Add("response"); };
    }

    void Add(const std::string &what)
    {
        everywhere = everywhere && std::this_thread::get_id() == on;
        if (order.empty() || order.back() != what) {
            order.push_back(what);
        }
    }

    std::thread::id on;
    bool everywhere = true; // on that thread
    std::vector<std::string> order;
};

class ExecutorTest : public EndToEndTest
{
protected:
    static constexpr auto REFUSES = [](void *, void (*)(void *), void *) { return false; };

    uint32_t Use(Tnx_PostCallback post, void *usrCtx = nullptr)
    {
        return OVX_Tnx_SetSessionExecutor(Session(), post, usrCtx);
    }
};

TEST_F(ExecutorTest, CallbacksRunThereAndInOrder)
{
    Loop loop;
    ASSERT_EQ(Use(Loop::Post, &loop), 0U);
    const std::vector<std::string> order = {"headers", "data", "end", "response"};
    for (const bool synchronous : {false, true}) {
        Call call(Nginx().Url("/64k"));
        Notes notes(call);
        notes.on = synchronous ? std::this_thread::get_id() : loop.Id();
        EXPECT_EQ((synchronous ? call.FetchSync(session_) : call.Fetch(session_)).code, 0U);
        EXPECT_TRUE(notes.everywhere);
        EXPECT_EQ(notes.order.size() + (synchronous ? 1 : 0), order.size());
        EXPECT_TRUE(std::equal(notes.order.begin(), notes.order.end(), order.begin()));
    }
    uint32_t code = 1;
    Call call(Nginx().Url("/1k"));
    Tnx_Transfer *transfer = OVX_Tnx_Start(session_, call.Get(), &code);
    const Outcome outcome(OVX_Tnx_Wait(transfer, TNX_NO_TIMEOUT, &code), code);
    EXPECT_EQ(outcome.body.size(), 1024U);
    OVX_Tnx_DestroyTransfer(transfer);
}

TEST_F(ExecutorTest, BadValuesAreRefusedAndChangeNothing)
{
    EXPECT_EQ(OVX_Tnx_SetSessionExecutor(nullptr, REFUSES, nullptr),
              uint32_t{TNX_ERR_SESSION_CLOSED});
    Tnx_SessionOps ops = {};
    Tnx_Session own = {&ops, nullptr};
    EXPECT_EQ(OVX_Tnx_SetSessionExecutor(&own, REFUSES, nullptr), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(Use(nullptr), uint32_t{TNX_ERR_PARAMETER});
    Loop loop;
    EXPECT_EQ(Use(REFUSES), 0U);
    EXPECT_EQ(Use(Loop::Post, &loop), 0U); // instead
    for (int i = 0; i < 2; ++i) {
        Call call(Scripted().Url("/bytes?n=3"));
        std::thread::id on;
        call.then = [&on](const Outcome &) { on = std::this_thread::get_id(); };
        EXPECT_EQ(call.Fetch(session_).body, "abc");
        EXPECT_EQ(on, loop.Id());
        EXPECT_EQ(Use(REFUSES), uint32_t{TNX_ERR_PARAMETER}); // too late
    }
}

// It refuses a task, throws, or runs it at once.
TEST_F(ExecutorTest, WhatItDoesNotTakeIsNotLost)
{
    static std::atomic<unsigned> posts;
    EXPECT_EQ(Use([](void *, void (*run)(void *), void *task) {
                  const unsigned turn = ++posts % 3;
                  if (turn == 0) {
                      throw std::runtime_error("thrown by an executor");
                  }
                  if (turn == 1) {
                      run(task);
                  }
                  return turn == 1;
              }),
              0U);
    for (int i = 0; i < 12; ++i) {
        Call call(Scripted().Url("/drip?n=3&ms=1&size=1"));
        std::string body;
        call.OnData([&body](std::string_view data) {
            body += data;
            return data.size();
        });
        EXPECT_EQ(call.Fetch(Session()).code, 0U);
        EXPECT_EQ(body.size(), 3U);
    }
    EXPECT_GE(posts, 12U);
}

// The tasks of both are queued behind the one that cancels and closes.
TEST_F(ExecutorTest, TheLoopItselfMayCancelAndClose)
{
    Loop loop;
    ASSERT_EQ(Use(Loop::Post, &loop), 0U);
    Call canceled(Scripted().Url("/bytes?n=3"));
    Call closed(Scripted().Url("/bytes?n=3"));
    Call goesOn(Scripted().Url("/stall?ms=60000"));
    Notes notes(closed);
    std::thread::id answeredOn;
    canceled.then = [&answeredOn](const Outcome &) { answeredOn = std::this_thread::get_id(); };
    Scripted().ForgetRequests();
    loop.Run([&] {
        for (Call *call : {&canceled, &closed, &goesOn}) {
            call->Start(session_);
        }
        EXPECT_TRUE(Scripted().WaitForRequests(3));
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // so that they are, mostly
        OVX_Tnx_CancelRequest(session_, canceled.Get());
        EXPECT_EQ(canceled.Answers(), 1U);
        EXPECT_EQ(answeredOn, loop.Id());
        Close();
    });
    loop.Run([] {}); // behind all of them
    EXPECT_EQ(closed.Answers() + goesOn.Answers(), 0U);
    EXPECT_TRUE(notes.order.empty());
    EXPECT_EQ(canceled.Answers(), 1U);
}

} // namespace
