// One fetch on its way, from the queue over all hops to its completion. What drives it (the loop,
// or a caller that waits) comes from the derived class.
#ifndef TNX_ENGINE_TRANSFER_H
#define TNX_ENGINE_TRANSFER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "curl/multi.h"
#include "dns/name_lookup.h"
#include "event/delivery.h"
#include "exchange.h"
#include "http/hop.h"
#include "pool/admission.h"
#include "pool/session_core.h"
#include "report/phases.h"
#include "tnx_native/request.h"
#include "tnx_native/response.h"

namespace OHOS::Pelloria::Tnx
{

class Transfer : public RunningFetch,
                 public Candidate,
                 public Delivery,
                 public ExchangeListener,
                 public std::enable_shared_from_this<Transfer>
{
public:
    virtual ~Transfer();
    Transfer(const Transfer &) = delete;
    Transfer &operator=(const Transfer &) = delete;

    const std::shared_ptr<Request> &GetRequest() const override { return request_; }
    void Wake() noexcept override = 0;

protected:
    // `exclusive`: shares its connection with nobody. `needsSlot`: counts for the limits.
    Transfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request, bool exclusive,
             bool needsSlot);

    // Goes on as far as it can without waiting. On the driving thread, like all that follows.
    void Advance();

    // Ends with what is left.
    void FailWithoutMemory();

    // Until when it may wait for what it waits for now.
    std::optional<TimePoint> WaitLimit() const;

    // Nothing more of it is wanted.
    bool Dropped() const;

    bool UnderWay() const { return state_ == State::UNDER_WAY; }
    bool Done() const { return state_ == State::DONE; }

    void ExchangeDone(CURLcode code) override;
    void Admitted() override;

    virtual CURL *TakeHandle() = 0;
    virtual Sockets &GetSockets() = 0; // of the handle that was taken
    virtual void StartExchange(CURL *easy) = 0;
    virtual void StopExchange(CURL *easy) = 0;
    virtual void GiveHandleBack(CURL *easy, bool sound) = 0;

    // The outcome; the last call.
    virtual void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept = 0;

    SessionCore &Core() const { return *core_; }

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
        ENDED, // libcurl is done with the hop, whose outcome is being looked at
        DRAIN,
        DONE
    };

    // Where the transfer stands with the limits on connections.
    enum class Place { NONE, WAITING, ADMITTED };

    std::function<void()> Waker();
    void Steps();
    bool Step();
    void Start();
    void EnterQueue();
    bool LeaveQueue();
    void LeaveSlot();
    void ChooseRoute();
    bool TakeExclusion();
    void TakeProxy(const ProxyChoice &choice);
    bool TakeTarget();
    bool TakeProxyAddresses();
    void Send();
    bool GoOn();
    bool Answered(CURLcode code) const;
    void SendAfresh();
    void CollectOutcome(CURL *easy);
    void Redirect(const std::string &location);
    bool Drain();

    void Fail(CURLcode code, const std::string &what, const std::string &where = {});
    void FailExchange(CURL *easy, CURLcode code);
    void FailOfTrouble();
    void FailThrown();
    CURLcode CauseOf(CURLcode code, std::string &what) const;
    CURLcode CauseOutside(CURLcode code, std::string &what) const;
    bool Tunnels() const;
    std::string HopAddress(CURL *easy) const;
    bool KnowsHttp2() const
    {
        return configuration_.transferHint && configuration_.transferPreference == PREFER_HTTP2;
    }
    void Finish(uint32_t code);
    uint32_t TellEnd(uint32_t code);
    void Abandon(bool closed);
    bool DropExchange(bool sound = true);
    TimeLeft GetTimeLeft() const;
    std::optional<TimePoint> HopDeadline() const;

    const std::shared_ptr<SessionCore> core_;
    const std::shared_ptr<Request> request_;
    const Configuration &configuration_;
    const std::shared_ptr<Response> response_;
    const bool exclusive_;

    Recorder recorder_;
    Phases phases_;
    Receiver receiver_;
    Sender sender_;
    Progress progress_;
    Exchange exchange_;
    NameLookup lookup_;

    State state_ = State::START;
    Hop hop_;
    std::string origin_; // of the request
    Route route_;
    CURL *easy_ = nullptr;
    Admission::Slot slot_;
    const bool needsSlot_;
    std::atomic<Place> place_ = Place::NONE;
    std::atomic<int> exclusion_ = UNKNOWN;

    static constexpr int UNKNOWN = -1;
};

} // namespace OHOS::Pelloria::Tnx

#endif
