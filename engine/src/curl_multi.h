// A libcurl multi handle driven by the loop.
#ifndef TNX_ENGINE_CURL_MULTI_H
#define TNX_ENGINE_CURL_MULTI_H

#include <memory>

#include <curl/curl.h>

#include "loop.h"

namespace OHOS::Pelloria::Tnx
{

struct CurlCleanup {
    void operator()(CURL *easy) const noexcept { curl_easy_cleanup(easy); }
    void operator()(CURLU *url) const noexcept { curl_url_cleanup(url); }
    void operator()(curl_slist *list) const noexcept { curl_slist_free_all(list); }
    void operator()(curl_mime *mime) const noexcept { curl_mime_free(mime); }
};

using EasyHandle = std::unique_ptr<CURL, CurlCleanup>;
using UrlHandle = std::unique_ptr<CURLU, CurlCleanup>;
using StringList = std::unique_ptr<curl_slist, CurlCleanup>;
using MimeHandle = std::unique_ptr<curl_mime, CurlCleanup>;

// Waits for one easy handle.
class ExchangeListener
{
public:
    virtual void ExchangeDone(CURLcode code) = 0;

protected:
    ~ExchangeListener() = default;
};

// Made on any thread, used and destroyed on the loop's.
class CurlMulti final : private Watcher
{
public:
    explicit CurlMulti(Loop &loop);
    ~CurlMulti();
    CurlMulti(const CurlMulti &) = delete;
    CurlMulti &operator=(const CurlMulti &) = delete;

    void SetMaxIdleConnections(long count);

    // The listener is told once, when the exchange is done and its handle is out of here.
    void Add(CURL *easy, ExchangeListener &listener);
    void Remove(CURL *easy);

    // Goes on with a handle that was paused; a direction that has nothing yet pauses again.
    void Unpause(CURL *easy);

    // The options of an easy handle whose sockets this loop watches.
    void Prepare(CURL *easy);

private:
    void OnReady(int fd, uint32_t events) override;
    void Act(curl_socket_t socket, int events);
    void CollectDone();

    static int OnSocket(CURL *easy, curl_socket_t socket, int what, void *self, void *);
    static int OnTimer(CURLM *multi, long milliseconds, void *self);
    static curl_socket_t OnOpen(void *loop, curlsocktype purpose, curl_sockaddr *address);
    static int OnClose(void *loop, curl_socket_t socket);

    Loop &loop_;
    CURLM *const multi_;
    Loop::Timer timer_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
