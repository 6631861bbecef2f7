// One connection of a scripted server: reads requests and carries out their scripts, as far as it
// gets without waiting.
#ifndef TNX_TESTS_SERVERS_CONNECTION_H
#define TNX_TESTS_SERVERS_CONNECTION_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "received_request.h"
#include "script.h"

namespace OHOS::Pelloria::TnxTest
{

// Where the server keeps what it received; called for each new request and each change of it.
class Ledger
{
public:
    virtual ~Ledger() = default;
    // Takes a new request. Returns its place.
    virtual size_t Open(const ReceivedRequest &request) = 0;
    // Takes what became of it.
    virtual void Update(size_t place, const ReceivedRequest &request) = 0;
    // Counts the visits of a target, this one included.
    virtual uint32_t Visits(const std::string &target) = 0;
    // What /played does.
    virtual std::shared_ptr<const Script> Played() = 0;
};

class Connection
{
public:
    enum class Wait { READ, WRITE, TIMER, OVER };

    Connection(int fd, uint32_t number, Ledger &ledger);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Goes on until it has to wait. `hungUp`: the peer has closed its side.
    Wait Run(bool hungUp);
    int Fd() const { return fd_; }
    std::chrono::steady_clock::time_point WakeAt() const { return wakeAt_; }

private:
    enum class Progress { ON, READ, WRITE, TIMER, OVER };

    Progress Next();
    Progress TakeHead();
    Progress TakeBody();
    Progress Perform(Step &step);
    Progress TakeFrames();
    Progress Send(Step &step);
    Progress Sleep(std::chrono::milliseconds pause);
    Progress Linger();
    Progress Fill();
    void StartScript();

    const int fd_;
    const uint32_t number_;
    Ledger &ledger_;
    std::string input_;
    ReceivedRequest request_;
    size_t place_ = 0;
    std::optional<BodyReader> body_; // while a request is being answered
    bool scripted_ = false;
    bool keepAlive_ = true;
    bool lingering_ = false;
    bool sleeping_ = false;
    uint32_t requests_ = 0;
    Script script_;
    size_t sent_ = 0; // of the front step's bytes
    std::chrono::steady_clock::time_point wakeAt_{};
};

} // namespace OHOS::Pelloria::TnxTest

#endif
