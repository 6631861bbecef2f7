// Why a transfer ends without its response: as told by whoever stops it first, on any thread.
#ifndef TNX_ENGINE_OUTCOME_H
#define TNX_ENGINE_OUTCOME_H

#include <atomic>
#include <new>
#include <string>
#include <utility>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

class Outcome
{
public:
    // Only the first word counts.
    void Stop(CURLcode code, std::string why) noexcept
    {
        State open = State::OPEN;
        if (state_.compare_exchange_strong(open, State::STOPPING)) {
            code_ = code;
            why_ = std::move(why);
            state_.store(State::STOPPED, std::memory_order_release);
        }
    }

    // What was thrown is being handled. Its words are found later: now there may be no memory.
    void StopOfThrown() noexcept
    {
        try {
            throw;
        } catch (const std::bad_alloc &) {
            Stop(CURLE_OUT_OF_MEMORY, {});
        } catch (...) {
            Stop(CURLE_ABORTED_BY_CALLBACK, {});
        }
    }

    bool Stopped() const { return state_.load(std::memory_order_acquire) == State::STOPPED; }

    // Of a transfer that is stopped.
    CURLcode Code() const { return code_; }
    std::string Why() const
    {
        if (code_ == CURLE_OUT_OF_MEMORY) {
            return "Memory ran out";
        }
        return why_.empty() ? "A callback threw an exception" : why_;
    }

private:
    enum class State { OPEN, STOPPING, STOPPED };

    std::atomic<State> state_ = State::OPEN;
    CURLcode code_ = CURLE_OK;
    std::string why_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
