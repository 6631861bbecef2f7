// The multi handle that the loop drives.
#ifndef TNX_ENGINE_LOOP_MULTI_H
#define TNX_ENGINE_LOOP_MULTI_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <curl/curl.h>

#include "event/loop.h"
#include "multi.h"

namespace OHOS::Pelloria::Tnx
{

// Made on any thread, used and destroyed in rounds of the loop.
class LoopMulti final : public Multi, private Watcher
{
public:
    LoopMulti(FloodWatch &watch, Loop &loop);
    ~LoopMulti();

    void SetMaxIdleConnections(long count);

    void Add(CURL *easy, ExchangeListener &listener) override;
    void Remove(CURL *easy) noexcept override;

private:
    void OnReady(int fd, uint32_t events) override REQUIRES(ON_LOOP);
    void SetUp();
    void Act(curl_socket_t socket, int events) REQUIRES(ON_LOOP);
    void CollectDone() REQUIRES(ON_LOOP);
    void StartOver() REQUIRES(ON_LOOP);
    ExchangeListener *TakeOut(CURL *easy) noexcept REQUIRES(ON_LOOP);

    static int OnSocket(CURL *easy, curl_socket_t socket, int what, void *self, void *);
    static int OnTimer(CURLM *multi, long milliseconds, void *self);

    Loop &loop_;
    CURLM *multi_ = nullptr; // null from a new start to the next exchange
    Loop::Timer timer_;
    long maxIdle_ = 0;
    std::vector<CURL *> running_ GUARDED_BY(ON_LOOP);
};

} // namespace OHOS::Pelloria::Tnx

#endif
