// What drives a transfer: the loop, or the thread of a caller who waits for it.
#ifndef TNX_ENGINE_DRIVER_H
#define TNX_ENGINE_DRIVER_H

#include <cstdint>
#include <memory>
#include <optional>

#include "base/clock.h"
#include "event/delivery.h"
#include "tnx_native/response.h"
#include "wire/wire.h"

namespace OHOS::Pelloria::Tnx
{

class Transfer;

class Driver : public Delivery
{
public:
    Driver(const Driver &) = delete;
    Driver &operator=(const Driver &) = delete;

    // The transfer, whose block the driver is in.
    void Attach(Transfer &transfer) { transfer_ = &transfer; }

    // How the transfer stands with the limits on connections: whether it shares its connection
    // with nobody, and whether it counts at all.
    virtual bool Exclusive() const = 0;
    virtual bool NeedsSlot() const = 0;

    // A wire, until it is returned. Throws bad_alloc.
    virtual Wire &TakeWire() = 0;
    virtual void ReturnWire(bool sound) noexcept = 0;

    // Wakes the transfer then, if not before.
    virtual void WakeAt(std::optional<TimePoint> time) = 0;

    // Takes what the fetch comes to. The last call.
    virtual void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept = 0;

protected:
    using Delivery::Delivery;
    ~Driver() = default;

    Transfer &Driven() const { return *transfer_; }

private:
    Transfer *transfer_ = nullptr;
};

} // namespace OHOS::Pelloria::Tnx

#endif
