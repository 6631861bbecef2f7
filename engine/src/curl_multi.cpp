// libcurl's multi-socket interface on the loop.
#include "curl_multi.h"

#include <new>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace OHOS::Pelloria::Tnx
{

CurlMulti::CurlMulti(Loop &loop)
    : loop_(loop)
    , multi_(curl_multi_init())
    , timer_(loop, [this] { Act(CURL_SOCKET_TIMEOUT, 0); })
{
    if (multi_ == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, OnSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, OnTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
}

CurlMulti::~CurlMulti()
{
    curl_multi_cleanup(multi_);
}

void CurlMulti::SetMaxIdleConnections(long count)
{
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, count);
}

void CurlMulti::Add(CURL *easy, ExchangeListener &listener)
{
    curl_easy_setopt(easy, CURLOPT_PRIVATE, &listener);
    curl_multi_add_handle(multi_, easy);
}

void CurlMulti::Remove(CURL *easy)
{
    curl_multi_remove_handle(multi_, easy);
}

void CurlMulti::Unpause(CURL *easy)
{
    curl_easy_pause(easy, CURLPAUSE_CONT);
}

void CurlMulti::Prepare(CURL *easy)
{
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, OnOpen);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, &loop_);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, OnClose);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, &loop_);
}

void CurlMulti::OnReady(int fd, uint32_t events)
{
    const int in = (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0 ? CURL_CSELECT_IN : 0;
    const int out = (events & EPOLLOUT) != 0 ? CURL_CSELECT_OUT : 0;
    const int error = (events & EPOLLERR) != 0 ? CURL_CSELECT_ERR : 0;
    Act(fd, in | out | error);
}

void CurlMulti::Act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(multi_, socket, events, &running);
    CollectDone();
}

void CurlMulti::CollectDone()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
            CURL *const easy = message->easy_handle;
            const CURLcode code = message->data.result;
            char *listener = nullptr;
            curl_easy_getinfo(easy, CURLINFO_PRIVATE, &listener);
            curl_multi_remove_handle(multi_, easy);
            reinterpret_cast<ExchangeListener *>(listener)->ExchangeDone(code);
        }
    }
}

int CurlMulti::OnSocket(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    auto *const multi = static_cast<CurlMulti *>(self);
    uint32_t events = 0;
    if (what == CURL_POLL_IN || what == CURL_POLL_INOUT) {
        events |= EPOLLIN;
    }
    if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT) {
        events |= EPOLLOUT;
    }
    multi->loop_.Watch(socket, events, multi);
    return 0;
}

int CurlMulti::OnTimer(CURLM *, long milliseconds, void *self)
{
    auto *const multi = static_cast<CurlMulti *>(self);
    if (milliseconds < 0) {
        multi->timer_.Stop();
    } else {
        multi->timer_.Start(Clock::now() + std::chrono::milliseconds(milliseconds));
    }
    return 0;
}

curl_socket_t CurlMulti::OnOpen(void *loop, curlsocktype, curl_sockaddr *address)
{
    const int fd = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (fd < 0) {
        return CURL_SOCKET_BAD;
    }
    static_cast<Loop *>(loop)->Opened(fd);
    return fd;
}

int CurlMulti::OnClose(void *loop, curl_socket_t socket)
{
    static_cast<Loop *>(loop)->Closed(socket);
    return close(socket);
}

} // namespace OHOS::Pelloria::Tnx
