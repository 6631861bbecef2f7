// A libcurl multi handle driven by the loop.
#ifndef TNX_ENGINE_CURL_MULTI_H
#define TNX_ENGINE_CURL_MULTI_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <curl/curl.h>

#include "event/loop.h"
#include "sockets.h"

namespace OHOS::Pelloria::Tnx
{

// Waits for one easy handle.
class ExchangeListener
{
public:
    virtual void ExchangeDone(CURLcode code) = 0;

protected:
    ~ExchangeListener() = default;

private:
    friend class CurlMulti;
    static constexpr size_t NOWHERE = SIZE_MAX;
    size_t place_ = NOWHERE; // in the multi's list
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

    // The listener is told once, when the exchange is done and its handle is out of here. Throws
    // bad_alloc.
    void Add(CURL *easy, ExchangeListener &listener);
    void Remove(CURL *easy);

    // Of its connections, which this loop watches: easy handles are to be prepared for it.
    Sockets &GetSockets() { return sockets_; }

private:
    void OnReady(int fd, uint32_t events) override;
    void SetUp();
    void Act(curl_socket_t socket, int events);
    void CollectDone();
    void StartOver();
    ExchangeListener *TakeOut(CURL *easy);

    static int OnSocket(CURL *easy, curl_socket_t socket, int what, void *self, void *);
    static int OnTimer(CURLM *multi, long milliseconds, void *self);

    Loop &loop_;
    Sockets sockets_;
    CURLM *multi_ = nullptr; // null from a new start to the next exchange
    Loop::Timer timer_;
    long maxIdle_ = 0;
    std::vector<CURL *> running_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
