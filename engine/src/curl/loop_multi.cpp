// libcurl's multi-socket interface on the loop.
#include "loop_multi.h"

#include <new>
#include <utility>

#include <sys/epoll.h>

#include "base/try.h"
#include "handles.h"

namespace OHOS::Pelloria::Tnx
{

LoopMulti::LoopMulti(FloodWatch &watch, Loop &loop)
    : Multi(watch, &loop)
    , loop_(loop)
    , timer_(loop, [this]() REQUIRES(ON_LOOP) { Act(CURL_SOCKET_TIMEOUT, 0); })
{
    SetUp();
}

LoopMulti::~LoopMulti()
{
    curl_multi_cleanup(multi_);
}

void LoopMulti::SetUp()
{
    multi_ = curl_multi_init();
    if (multi_ == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, maxIdle_);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, OnSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, OnTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
}

void LoopMulti::SetMaxIdleConnections(long count)
{
    maxIdle_ = count;
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, count);
}

void LoopMulti::Add(CURL *easy, ExchangeListener &listener)
{
    ON_LOOP.Have();
    if (multi_ == nullptr) {
        SetUp();
    }
    running_.push_back(easy);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, &listener);
    listener.index_ = running_.size() - 1;
    if (!Try([&] { AddHandle(multi_, easy); })) {
        TakeOut(easy);
        throw std::bad_alloc();
    }
}

void LoopMulti::Remove(CURL *easy) noexcept
{
    ON_LOOP.Have();
    TakeOut(easy);
}

// Null where it is not in.
ExchangeListener *LoopMulti::TakeOut(CURL *easy) noexcept
{
    const auto listenerOf = [](CURL *handle) {
        char *listener = nullptr;
        curl_easy_getinfo(handle, CURLINFO_PRIVATE, &listener);
        return reinterpret_cast<ExchangeListener *>(listener);
    };
    ExchangeListener *const listener = listenerOf(easy);
    if (listener == nullptr || listener->index_ == ExchangeListener::NOWHERE) {
        return nullptr;
    }
    curl_multi_remove_handle(multi_, easy);
    listenerOf(running_.back())->index_ = listener->index_;
    running_[std::exchange(listener->index_, ExchangeListener::NOWHERE)] = running_.back();
    running_.pop_back();
    return listener;
}

void LoopMulti::OnReady(int fd, uint32_t events)
{
    const int in = (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0 ? CURL_CSELECT_IN : 0;
    const int out = (events & EPOLLOUT) != 0 ? CURL_CSELECT_OUT : 0;
    const int error = (events & EPOLLERR) != 0 ? CURL_CSELECT_ERR : 0;
    Act(fd, in | out | error);
}

void LoopMulti::Act(curl_socket_t socket, int events)
{
    int running = 0;
    const CURLMcode code = [&] {
        const FloodWatch::Call call(Watched());
        return curl_multi_socket_action(multi_, socket, events, &running);
    }();
    if (code == CURLM_OUT_OF_MEMORY || code == CURLM_ABORTED_BY_CALLBACK) {
        StartOver();
    } else {
        CollectDone();
    }
}

// libcurl has lost sight of a socket and divides by zero when it meets it again: none of what it
// has under way, and no connection, can be relied upon.
void LoopMulti::StartOver()
{
    CollectDone();
    while (!running_.empty()) {
        TakeOut(running_.back())->ExchangeDone(CURLE_OUT_OF_MEMORY);
    }
    curl_multi_cleanup(std::exchange(multi_, nullptr));
    timer_.Stop();
}

void LoopMulti::CollectDone()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
            const CURLcode code = message->data.result; // the message goes with the handle
            TakeOut(message->easy_handle)->ExchangeDone(code);
        }
    }
}

int LoopMulti::OnSocket(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    ON_LOOP.Have();
    auto *const multi = static_cast<LoopMulti *>(self);
    uint32_t events = 0;
    if (what == CURL_POLL_IN || what == CURL_POLL_INOUT) {
        events |= EPOLLIN;
    }
    if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT) {
        events |= EPOLLOUT;
    }
    return Try([&]() REQUIRES(ON_LOOP) { multi->loop_.Watch(socket, events, multi); }) ? 0 : -1;
}

int LoopMulti::OnTimer(CURLM *, long milliseconds, void *self)
{
    ON_LOOP.Have();
    auto *const multi = static_cast<LoopMulti *>(self);
    if (milliseconds < 0) {
        multi->timer_.Stop();
    } else {
        multi->timer_.Start(Clock::now() + std::chrono::milliseconds(milliseconds));
    }
    return 0;
}

} // namespace OHOS::Pelloria::Tnx
