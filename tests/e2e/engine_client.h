// The engine without the C library on it: sessions and flights that are waited for.
#ifndef TNX_TESTS_E2E_ENGINE_CLIENT_H
#define TNX_TESTS_E2E_ENGINE_CLIENT_H

#include "tnx_native/session.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>

namespace EndToEnd
{

using namespace OHOS::Pelloria::Tnx;

inline constexpr auto PATIENCE = std::chrono::seconds(60);

using Answer = std::pair<std::shared_ptr<Response>, uint32_t>;

inline std::shared_ptr<Session> NewSession(const SessionConfiguration &configuration = {})
{
    return DefaultSessionFactory().CreateSession(
        std::make_shared<SessionConfiguration>(configuration));
}

inline std::shared_ptr<Request> NewRequest(const std::string &url)
{
    static std::atomic<int> next = 0;
    return std::make_shared<Request>(std::to_string(next++), url);
}

// An asynchronous fetch. Its answer may come after it has gone.
class Flight
{
public:
    Flight(Session &session, const std::shared_ptr<Request> &request)
        : state_(std::make_shared<State>())
    {
        session.Fetch(request, [state = state_](const auto &response, uint32_t code) {
            if (state->answers++ == 0) {
                state->answer.set_value({response, code});
            }
        });
    }

    // (empty, 0) when nothing comes.
    Answer Wait()
    {
        auto future = state_->answer.get_future();
        return future.wait_for(PATIENCE) == std::future_status::ready ? future.get() : Answer();
    }
    int Answers() const { return state_->answers; }

private:
    struct State {
        std::promise<Answer> answer;
        std::atomic<int> answers = 0;
    };
    std::shared_ptr<State> state_;
};

} // namespace EndToEnd

#endif
