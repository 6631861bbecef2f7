// Where easy handles run: a multi handle of libcurl with its connections.
#ifndef TNX_ENGINE_MULTI_H
#define TNX_ENGINE_MULTI_H

#include <cstddef>
#include <cstdint>

#include <curl/curl.h>

#include "flood_watch.h"
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
    friend class LoopMulti;
    static constexpr size_t NOWHERE = SIZE_MAX;
    size_t index_ = NOWHERE; // in the multi's list
};

class Multi
{
public:
    Multi(const Multi &) = delete;
    Multi &operator=(const Multi &) = delete;

    // The listener is told once, when the exchange is done and its handle is out of here. Throws
    // bad_alloc.
    virtual void Add(CURL *easy, ExchangeListener &listener) = 0;

    // Not told any more. Nothing happens where the handle is not in.
    virtual void Remove(CURL *easy) noexcept = 0;

    // Its connections: an easy handle needs their options.
    Sockets &GetSockets() { return sockets_; }

    // Who runs here tells what comes in.
    FloodWatch::Watched &Watched() { return watched_; }

protected:
    // `loop`: watches the connections, if it is given.
    explicit Multi(FloodWatch &watch, Loop *loop = nullptr)
        : watched_(watch)
        , sockets_(watched_, loop)
    {
    }
    ~Multi() = default;

private:
    FloodWatch::Watched watched_;
    Sockets sockets_; // outlives the multi handle
};

} // namespace OHOS::Pelloria::Tnx

#endif
