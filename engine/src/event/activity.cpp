// Running callbacks and fetches of a session, and the wait for them.
#include "activity.h"

#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

thread_local Activity::Scope *g_innermost = nullptr;

} // namespace

Activity::Scope::Scope(Activity &activity)
    : activity_(activity)
    , entered_(activity.Enter())
    , outer_(g_innermost)
{
    if (entered_) {
        g_innermost = this;
    }
}

Activity::Scope::~Scope()
{
    if (entered_) {
        g_innermost = outer_;
        activity_.Leave(*this);
    }
}

bool Activity::Scope::OnStack(const Activity &activity)
{
    for (const Scope *scope = g_innermost; scope != nullptr; scope = scope->outer_) {
        if (&scope->activity_ == &activity) {
            return true;
        }
    }
    return false;
}

bool InsideCallback() noexcept
{
    return g_innermost != nullptr;
}

bool Activity::Enter()
{
    size_t state = state_.load(std::memory_order_acquire);
    while ((state & CLOSED) == 0) {
        if (state_.compare_exchange_weak(state, state + ONE, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return false;
}

void Activity::Leave(const Scope &scope)
{
    size_t state = state_.load(std::memory_order_acquire);
    while ((state & CLOSED) == 0 && !scope.closing_) {
        if (state_.compare_exchange_weak(state, state - ONE, std::memory_order_acq_rel)) {
            return;
        }
    }
    MutexLock lock(mutex_);
    state_.fetch_sub(ONE, std::memory_order_acq_rel);
    if (scope.closing_) {
        --closing_;
    }
    changed_.NotifyAll();
}

void Activity::SetClosing(Scope &scope, bool closing)
{
    MutexLock lock(mutex_);
    if (scope.closing_ != closing) {
        scope.closing_ = closing;
        closing_ += closing ? 1 : size_t{0} - 1;
        changed_.NotifyAll();
    }
}

bool Activity::Close()
{
    return (state_.fetch_or(CLOSED, std::memory_order_acq_rel) & CLOSED) == 0;
}

void Activity::WaitForOthers()
{
    // A thread that waits here cannot leave its scopes: nobody may wait for them meanwhile, or two
    // callbacks that close each other's sessions would never come back.
    for (Scope *scope = g_innermost; scope != nullptr; scope = scope->outer_) {
        scope->activity_.SetClosing(*scope, true);
    }
    {
        MutexLock lock(mutex_);
        while (state_.load(std::memory_order_acquire) / ONE > closing_) {
            changed_.Wait(mutex_);
        }
    }
    for (Scope *scope = g_innermost; scope != nullptr; scope = scope->outer_) {
        if (&scope->activity_ != this) {
            scope->activity_.SetClosing(*scope, false);
        }
    }
}

} // namespace OHOS::Pelloria::Tnx
