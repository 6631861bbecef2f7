// What a scripted server does with one request: a list of steps, carried out in order.
#ifndef TNX_TESTS_SERVERS_SCRIPT_H
#define TNX_TESTS_SERVERS_SCRIPT_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>

namespace OHOS::Pelloria::TnxTest
{

struct Step {
    enum class Kind {
        SEND,        // `bytes`, `times` over
        SLEEP,       // for `pause`, reading nothing
        READ_BODY,   // to its end
        READ_FRAMES, // of HTTP/2, to the end of a request
        CLOSE,       // orderly: the peer reads all that was sent
        RESET        // the peer sees a reset
    };

    Kind kind;
    std::shared_ptr<const std::string> bytes;
    uint64_t times = 1;
    std::chrono::milliseconds pause{0};
};

class Script
{
public:
    void Send(std::string bytes)
    {
        Repeat(std::make_shared<const std::string>(std::move(bytes)), 1);
    }
    void Repeat(std::shared_ptr<const std::string> bytes, uint64_t times)
    {
        if (times > 0 && !bytes->empty()) {
            steps_.push_back({Step::Kind::SEND, std::move(bytes), times});
        }
    }
    void Sleep(std::chrono::milliseconds pause)
    {
        steps_.push_back({Step::Kind::SLEEP, {}, 1, pause});
    }
    void ReadBody() { steps_.push_back({Step::Kind::READ_BODY, {}}); }
    void ReadFrames() { steps_.push_back({Step::Kind::READ_FRAMES, {}}); }
    void Close() { steps_.push_back({Step::Kind::CLOSE, {}}); }
    void Reset() { steps_.push_back({Step::Kind::RESET, {}}); }

    void Append(const Script &more)
    {
        steps_.insert(steps_.end(), more.steps_.begin(), more.steps_.end());
    }

    bool Empty() const { return steps_.empty(); }
    Step &Front() { return steps_.front(); }
    void Pop() { steps_.pop_front(); }

private:
    std::deque<Step> steps_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif
