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
                       "The body callback ended before the content-length was reached");
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

void PullBody::Pull()
{
    {
        MutexLock lock(mutex_);
        if (stopped_) {
            return;
        }
    }
    std::shared_ptr<std::string> piece;
    delivery_.Call([&] { piece = function_(PIECE); });
    if (piece == nullptr) {
        delivery_.Stop(CURLE_ABORTED_BY_CALLBACK, "The body callback reported failure");
    }
    {
        MutexLock lock(mutex_);
        pulling_ = false;
        failed_ = piece == nullptr;
        ended_ = failed_ || piece->empty();
        data_ = std::move(piece);
        offset_ = 0;
        if (!paused_) {
            return;
        }
    }
    delivery_.Wake();
}

bool PullBody::Ready() const
{
    MutexLock lock(mutex_);
    return paused_ && !pulling_;
}

bool PullBody::Asks() const
{
    MutexLock lock(mutex_);
    return pulling_;
}

uint64_t PullBody::Sent() const
{
    MutexLock lock(mutex_);
    return sent_;
}

bool PullBody::Untouched() const
{
    MutexLock lock(mutex_);
    return !asked_;
}

bool PullBody::Ended() const
{
    MutexLock lock(mutex_);
    return ended_ && (data_ == nullptr || offset_ >= data_->size());
}

void PullBody::Stop()
{
    MutexLock lock(mutex_);
    stopped_ = true;
}

} // namespace OHOS::Pelloria::Tnx
