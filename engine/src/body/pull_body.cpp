// Asks for one piece at a time, as libcurl gets hungry.
#include "pull_body.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t PIECE = 256 * 1024;

} // namespace

std::optional<size_t> PullBody::TryRead(char *buffer, size_t size)
{
    const bool complete = length_ && sent_ == *length_;
    if (data_ != nullptr && offset_ < data_->size() && !complete) {
        size_t count = std::min(size, data_->size() - offset_);
        if (length_) {
            count = std::min<uint64_t>(count, *length_ - sent_);
        }
        std::memcpy(buffer, data_->data() + offset_, count);
        offset_ += count;
        sent_ += count;
        return count;
    }
    if (complete) {
        return 0;
    }
    if (ended_ && length_) {
        delivery_.Stop(CURLE_PARTIAL_FILE,
                       "The body callback ended before the content-length was reached: " +
                           std::to_string(sent_) + " of " + std::to_string(*length_) + " bytes");
    }
    if (ended_ && (failed_ || length_)) {
        return CURL_READFUNC_ABORT;
    }
    return ended_ ? std::optional<size_t>(0) : std::nullopt;
}

size_t PullBody::Read(char *buffer, size_t size) noexcept
{
    return delivery_.Guarded([=, this] { return ReadOrAsk(buffer, size); },
                             size_t{CURL_READFUNC_ABORT});
}

size_t PullBody::ReadOrAsk(char *buffer, size_t size)
{
    {
        MutexLock lock(mutex_);
        if (const std::optional<size_t> count = TryRead(buffer, size)) {
            return *count;
        }
        paused_ = true;
        asked_ = true;
        if (std::exchange(pulling_, true)) {
            return CURL_READFUNC_PAUSE;
        }
    }
    delivery_.Deliver([this] { Pull(); });
    MutexLock lock(mutex_);
    const std::optional<size_t> count = TryRead(buffer, size);
    paused_ = !count;
    return count.value_or(CURL_READFUNC_PAUSE);
}

// Null for a failure, of which the transfer is told.
std::shared_ptr<std::string> PullBody::Ask(bool rewinds)
{
    std::shared_ptr<std::string> piece;
    bool rewound = true;
    delivery_.Call([&] {
        rewound = !rewinds || source_.rewind();
        if (rewound) {
            piece = source_.read(PIECE);
        }
    });
    if (!rewound) {
        delivery_.Stop(CURLE_SEND_FAIL_REWIND, "The body cannot be taken back to its start");
    } else if (piece == nullptr) {
        delivery_.Stop(CURLE_ABORTED_BY_CALLBACK, "The body callback reported failure");
    }
    return piece;
}

// Where libcurl goes back meanwhile, what was read is of no use.
void PullBody::Pull()
{
    bool again = true;
    while (again) {
        bool rewinds = false;
        {
            MutexLock lock(mutex_);
            if (stopped_) {
                return;
            }
            rewinds = std::exchange(restarts_, false);
        }
        std::shared_ptr<std::string> piece = Ask(rewinds);
        MutexLock lock(mutex_);
        again = restarts_ && piece != nullptr;
        if (!again) {
            pulling_ = false;
            failed_ = piece == nullptr || TooMuch(*piece);
            ended_ = failed_ || piece->empty();
            data_ = failed_ ? nullptr : std::move(piece);
            offset_ = 0;
            if (!paused_) {
                return;
            }
        }
    }
    delivery_.Wake();
}

// Told before any of it is sent.
bool PullBody::TooMuch(const std::string &piece) const
{
    const bool tooMuch = source_.length && piece.size() > *source_.length - sent_;
    if (tooMuch) {
        delivery_.Stop(CURLE_ABORTED_BY_CALLBACK, "The body callback gave more than the " +
                                                      std::to_string(*source_.length) +
                                                      " bytes that it has announced");
    }
    return tooMuch;
}

bool PullBody::GoBack()
{
    MutexLock lock(mutex_);
    if (sent_ == 0) {
        return true;
    }
    if (!CanRewind()) {
        return false;
    }
    data_ = nullptr;
    sent_ = 0;
    ended_ = failed_;
    restarts_ = true;
    return true;
}

bool PullBody::Ready() const
{
    MutexLock lock(mutex_);
    return paused_ && !pulling_ && !stopped_;
}

bool PullBody::Asks() const
{
    MutexLock lock(mutex_);
    return pulling_ && !stopped_;
}

uint64_t PullBody::Sent() const
{
    MutexLock lock(mutex_);
    return sent_;
}

bool PullBody::CanReplay() const
{
    MutexLock lock(mutex_);
    return !asked_ || CanRewind();
}

bool PullBody::Ended() const
{
    MutexLock lock(mutex_);
    return (length_ && sent_ == *length_) ||
           (ended_ && (data_ == nullptr || offset_ >= data_->size()));
}

void PullBody::Stop()
{
    MutexLock lock(mutex_);
    stopped_ = true;
}

} // namespace OHOS::Pelloria::Tnx
