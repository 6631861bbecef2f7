// Carries a body from the application's get-data function to libcurl.
#ifndef TNX_ENGINE_PULL_BODY_H
#define TNX_ENGINE_PULL_BODY_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "common/mutex.h"
#include "event/delivery.h"
#include "tnx_native/content.h"

namespace OHOS::Pelloria::Tnx
{

class PullBody
{
public:
    // With a length, exactly so many bytes are sent. `announced`: by a field, what the source has
    // beyond it is left out.
    PullBody(BodySource source, std::optional<uint64_t> announced, Delivery &delivery)
        : source_(std::move(source))
        , length_(source_.length ? source_.length : announced)
        , delivery_(delivery)
        , restarts_(CanRewind())
    {
    }

    // For libcurl: the bytes written to `buffer`, or CURL_READFUNC_PAUSE or _ABORT. After a pause
    // the transfer is woken when there is something to read.
    size_t Read(char *buffer, size_t size) noexcept;

    // After a pause: whether there is something to read.
    bool Ready() const;

    // The function runs, or is about to.
    bool Asks() const;

    uint64_t Sent() const;

    // For libcurl: goes back to the start, if that is possible.
    bool GoBack();

    // Nothing of the body is gone, or it can be read again.
    bool CanReplay() const;

    // libcurl has had all of it.
    bool Ended() const;

    // The function is not called again.
    void Stop();

private:
    bool CanRewind() const { return static_cast<bool>(source_.rewind); }
    void Pull();
    std::shared_ptr<std::string> Ask(bool rewinds);
    bool TooMuch(const std::string &piece) const REQUIRES(mutex_);
    size_t ReadOrAsk(char *buffer, size_t size);
    std::optional<size_t> TryRead(char *buffer, size_t size) REQUIRES(mutex_);

    const BodySource source_;
    const std::optional<uint64_t> length_;
    Delivery &delivery_;

    mutable Mutex mutex_;
    std::shared_ptr<std::string> data_ GUARDED_BY(mutex_);
    size_t offset_ GUARDED_BY(mutex_) = 0;
    uint64_t sent_ GUARDED_BY(mutex_) = 0;
    bool restarts_ GUARDED_BY(mutex_); // what comes next is to be the start
    bool asked_ GUARDED_BY(mutex_) = false;
    bool ended_ GUARDED_BY(mutex_) = false;
    bool pulling_ GUARDED_BY(mutex_) = false;
    bool paused_ GUARDED_BY(mutex_) = false;
    bool stopped_ GUARDED_BY(mutex_) = false;
    bool failed_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
