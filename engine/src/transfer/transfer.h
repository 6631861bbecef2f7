// One fetch on its way, from the queue over all hops to its end.
#ifndef TNX_ENGINE_TRANSFER_H
#define TNX_ENGINE_TRANSFER_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "dns/name_lookup.h"
#include "driver.h"
#include "pool/session_core.h"
#include "quiet_watch.h"
#include "receiver.h"
#include "report/phases.h"
#include "report/progress.h"
#include "report/recorder.h"
#include "report/trace.h"
#include "retries.h"
#include "tnx_native/request.h"
#include "tnx_native/response.h"
#include "wire/sender.h"
#include "wire/wire.h"

namespace OHOS::Pelloria::Tnx
{

class Transfer : public RunningTransfer,
                 public std::enable_shared_from_this<Transfer>,
                 private WireSink
{
public:
    // The driver outlives the transfer.
    Transfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request, Driver &driver);
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;

    const std::shared_ptr<Request> &GetRequest() const override { return request_; }
    void Wake() noexcept override { driver_.Wake(); }
    void Admitted() override;

    // Goes on as far as it can without waiting. For the driver, on its thread.
    void Advance() noexcept;
    bool Done() const { return state_ == State::DONE; }

private:
    enum class State {
        START,
        ADMISSION,
        ROUTE,
        EXCLUSION,
        TARGET_LOOKUP,
        PROXY_LOOKUP,
        SEND,
        UNDER_WAY,
        ENDED, // the hop is over on the wire, and its outcome is being looked at
        PAUSE, // before it is tried again
        DRAIN,
        DONE
    };

    // Where the transfer stands with the limits on connections.
    enum class SlotState { NONE, WAITING, HELD };

    void Steps();
    bool Step();
    void Start();
    void EnterQueue();
    bool LeaveQueue();
    void LeaveSlot();
    void ChooseRoute();
    bool TakeExclusion();
    void UseProxy(const ProxyChoice &choice);
    bool TakeTarget();
    void LookUpProxy();
    bool TakeProxyAddresses();
    void FinishRoute();
    void TraceLookup();
    void NoteHop();
    void CountBytes(curl_infotype type, size_t size);
    void Send();
    bool GoOn();
    TimeLeft StartAttempt();
    bool EndAttempt();
    bool StandsStill();
    void TryNextAddresses();
    void EndOfHop(CURLcode code);
    bool Responded(CURLcode code) const;
    void SendAfresh();
    void HandleResponse();
    void Redirect(const std::string &reference);
    void WaitToRetry();
    bool TryAgain();
    bool Drain();

    void OnConnecting(const Endpoint &peer) noexcept override;
    void OnAttempt(const AddressAttempt &attempt) noexcept override;
    void OnRequest(bool connection) noexcept override;
    void OnSent() noexcept override;
    bool ResponseBegun() const noexcept override { return !receiver_.Block().Untouched(); }
    bool OnHeaderLine(std::string_view line) noexcept override;
    size_t OnBody(std::string_view piece) noexcept override;
    void OnEvent(curl_infotype type, std::string_view data) noexcept override;
    void OnProgress(uint64_t downloadTotal, uint64_t uploadTotal,
                    uint64_t uploaded) noexcept override;
    void OnDone(CURLcode code) noexcept override;

    // Nothing more of it is wanted.
    bool Dropped() const;

    // The first failure counts.
    void Fail(CURLcode code, std::string why);
    void FailHop(CURLcode code);
    // One that may pass is not counted yet.
    void FailAttempt(CURLcode code, std::string why);
    void End() noexcept;
    std::string Cause();
    void StopWire() noexcept;
    void TakeTimes() noexcept;
    void DropWire(bool sound = true) noexcept;
    void Finish(uint32_t code) noexcept;
    void TellEnd(uint32_t code);
    TimeLeft GetTimeLeft() const;
    std::optional<TimePoint> HopDeadline() const;
    bool LooksUp() const;
    std::optional<TimePoint> WaitLimit() const;
    std::function<void()> Waker();

    const std::shared_ptr<SessionCore> core_;
    const std::shared_ptr<Request> request_;
    const Configuration &configuration_;
    const std::shared_ptr<Response> response_;
    Driver &driver_;

    Trace trace_;
    Recorder recorder_;
    Phases phases_;
    Sender sender_;
    Retries retries_;
    Receiver receiver_;
    Progress progress_;
    NameLookup lookup_;
    const std::unique_ptr<QuietWatch> quiet_; // null where nothing asks for it

    State state_ = State::START;
    Hop hop_;
    std::shared_ptr<const Url> first_; // of the request
    Route route_;
    std::optional<TimePoint> attemptEnd_;        // of a connection, where there are other addresses
    Wire *wire_ = nullptr;                       // has the hop
    std::unique_ptr<ConnectionInfo> connection_; // null unless wanted
    Admission::Slot slot_;
    std::atomic<SlotState> slotState_ = SlotState::NONE;
    std::atomic<int> exclusion_ = UNKNOWN;

    static constexpr int UNKNOWN = -1;
};

// What has to be there before a transfer, and until it is gone.
template <class Kind> struct DriverOnSession {
    std::shared_ptr<SessionCore> sessionCore; // outlives the driver
    Kind ownDriver;
};

// A transfer and its driver in one block.
template <class Kind> class DrivenTransfer final : private DriverOnSession<Kind>, public Transfer
{
public:
    // What the driver wants to know stands at the end.
    template <class... Args>
    DrivenTransfer(std::shared_ptr<SessionCore> core, const std::shared_ptr<Request> &request,
                   Args &&...args)
        : DriverOnSession<Kind>{core, Kind(*core, request->Gate(), std::forward<Args>(args)...)}
        , Transfer(std::move(core), request, this->ownDriver)
    {
    }

    Kind &GetDriver() { return this->ownDriver; }
};

} // namespace OHOS::Pelloria::Tnx

#endif
