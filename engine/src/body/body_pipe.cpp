// A queue of one growing piece: what libcurl brings while the consumer works arrives as one chunk.
#include "body_pipe.h"

#include <utility>

namespace OHOS::Pelloria::Tnx
{

BodyPipe::Result BodyPipe::Write(std::string_view piece)
{
    {
        MutexLock lock(mutex_);
        if (refused_) {
            return Result::REFUSED;
        }
        if (!pending_.empty() && pending_.size() + piece.size() > 2 * maxChunk_) {
            full_ = true;
            return Result::FULL;
        }
        pending_.append(piece);
        if (std::exchange(consuming_, true)) {
            return Result::TAKEN;
        }
    }
    delivery_.Deliver([this] { Consume(); });
    return Refused() ? Result::REFUSED : Result::TAKEN;
}

void BodyPipe::Consume()
{
    while (TakeChunk()) {
        size_t taken = 0;
        delivery_.Call([&] { taken = consumer_(chunk_); });
        if (taken < chunk_->size()) {
            Refuse();
        } else if (MadeRoom()) {
            delivery_.Wake();
        }
    }
    if (Closed()) {
        delivery_.Wake();
    }
}

bool BodyPipe::TakeChunk()
{
    MutexLock lock(mutex_);
    if (pending_.empty() || refused_ || stopped_) {
        consuming_ = false;
        return false;
    }
    if (chunk_.use_count() > 1) {
        chunk_ = std::make_shared<std::string>(); // the consumer has kept the last one
    }
    if (pending_.size() <= maxChunk_) {
        chunk_->clear();
        chunk_->swap(pending_);
    } else {
        chunk_->assign(pending_, 0, maxChunk_);
        pending_.erase(0, maxChunk_);
    }
    return true;
}

void BodyPipe::Refuse()
{
    {
        MutexLock lock(mutex_);
        refused_ = true;
    }
    delivery_.Stop(CURLE_WRITE_ERROR, "The data callback stopped the transfer");
}

// Whether somebody has waited for it.
bool BodyPipe::MadeRoom()
{
    MutexLock lock(mutex_);
    return std::exchange(full_, full_ && pending_.size() > maxChunk_) && !full_;
}

void BodyPipe::Close()
{
    MutexLock lock(mutex_);
    closed_ = true;
}

bool BodyPipe::Closed() const
{
    MutexLock lock(mutex_);
    return closed_;
}

bool BodyPipe::Drained() const
{
    MutexLock lock(mutex_);
    return refused_ || (pending_.empty() && !consuming_);
}

bool BodyPipe::Refused() const
{
    MutexLock lock(mutex_);
    return refused_;
}

bool BodyPipe::HasRoom() const
{
    MutexLock lock(mutex_);
    return refused_ || pending_.size() <= maxChunk_;
}

void BodyPipe::Stop()
{
    MutexLock lock(mutex_);
    stopped_ = true;
}

} // namespace OHOS::Pelloria::Tnx
