// How a transfer's parts reach the application and the thread that drives the transfer.
#ifndef TNX_ENGINE_DELIVERY_H
#define TNX_ENGINE_DELIVERY_H

#include <functional>

namespace OHOS::Pelloria::Tnx
{

class Delivery
{
public:
    // Runs a callback of the application, after those before it: at once in a synchronous fetch,
    // on a callback thread otherwise. On the thread that drives the transfer.
    virtual void Deliver(std::function<void()> callback) = 0;

    // Has the driving thread look at the transfer again. From any thread.
    virtual void Wake() = 0;

protected:
    ~Delivery() = default;
};

} // namespace OHOS::Pelloria::Tnx

#endif
