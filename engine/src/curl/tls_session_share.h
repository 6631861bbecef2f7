// TLS sessions kept for all connections of a session, so that later handshakes are short.
#ifndef TNX_ENGINE_TLS_SESSION_SHARE_H
#define TNX_ENGINE_TLS_SESSION_SHARE_H

#include <array>
#include <mutex>
#include <new>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

class TlsSessionShare
{
public:
    TlsSessionShare()
        : share_(curl_share_init())
    {
        if (share_ == nullptr) {
            throw std::bad_alloc();
        }
        curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
        curl_share_setopt(share_, CURLSHOPT_LOCKFUNC, Lock);
        curl_share_setopt(share_, CURLSHOPT_UNLOCKFUNC, Unlock);
        curl_share_setopt(share_, CURLSHOPT_USERDATA, this);
    }
    ~TlsSessionShare() { curl_share_cleanup(share_); }
    TlsSessionShare(const TlsSessionShare &) = delete;
    TlsSessionShare &operator=(const TlsSessionShare &) = delete;

    CURLSH *Get() { return share_; }

private:
    static void Lock(CURL *, curl_lock_data data, curl_lock_access, void *self)
    {
        static_cast<TlsSessionShare *>(self)->mutexes_[data].lock();
    }
    static void Unlock(CURL *, curl_lock_data data, void *self)
    {
        static_cast<TlsSessionShare *>(self)->mutexes_[data].unlock();
    }

    std::array<std::mutex, CURL_LOCK_DATA_LAST> mutexes_;
    CURLSH *const share_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
