// Carries a response body from libcurl to the application's data callback, with bounded memory.
#ifndef TNX_ENGINE_BODY_PIPE_H
#define TNX_ENGINE_BODY_PIPE_H

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/mutex.h"
#include "event/delivery.h"

namespace OHOS::Pelloria::Tnx
{

class BodyPipe
{
public:
    using Consumer = std::function<size_t(const std::shared_ptr<std::string> &data)>;

    enum class Result { TAKEN, FULL, REFUSED };

    BodyPipe(const Consumer &consumer, size_t maxChunk, Delivery &delivery)
        : consumer_(consumer)
        , maxChunk_(maxChunk)
        , delivery_(delivery)
    {
    }

    // Takes the piece, or none of it. After FULL the transfer is woken when there is room again.
    Result Write(std::string_view piece);

    // Nothing more will be written: the transfer is woken when the consumer has had it all.
    void Close();

    // The consumer has had all that was written, or wants no more.
    bool Drained() const;
    bool Refused() const;

    // After FULL: whether there is room again.
    bool HasRoom() const;

    // The consumer is not called again.
    void Stop();

private:
    void Consume();
    bool TakeChunk();
    void Refuse();
    bool MadeRoom();
    bool Closed() const;

    const Consumer &consumer_;
    const size_t maxChunk_;
    Delivery &delivery_;
    std::shared_ptr<std::string> chunk_ = std::make_shared<std::string>(); // the consumer's

    mutable Mutex mutex_;
    std::string pending_ GUARDED_BY(mutex_);
    bool consuming_ GUARDED_BY(mutex_) = false;
    bool full_ GUARDED_BY(mutex_) = false;
    bool closed_ GUARDED_BY(mutex_) = false;
    bool refused_ GUARDED_BY(mutex_) = false;
    bool stopped_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
