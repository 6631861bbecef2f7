// Whether a request may go out a second time: libcurl repeats one by itself when a kept connection
// turns out to be dead, and has then forgotten how much of the body it has sent.
#ifndef TNX_ENGINE_RETRY_H
#define TNX_ENGINE_RETRY_H

#include <algorithm>
#include <string>
#include <utility>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

class Retry
{
public:
    // Methods are idempotent as RFC 9110 section 9.2.2 has it.
    void Start(const std::string &method)
    {
        *this = {};
        idempotent_ = method != "POST" && method != "PATCH" && method != "CONNECT";
    }

    // It has to be told how much of the body is gone.
    bool Watches() const { return !idempotent_; }
    void BodySent(curl_off_t bytes) { bodySent_ = std::max(bodySent_, bytes); }

    // The request is about to go out. `responded`: something of a response has come.
    bool MaySend(bool responded)
    {
        repeated_ = repeated_ || sent_;
        refused_ = std::exchange(sent_, true) && !idempotent_ && bodySent_ > 0 && !responded;
        return !refused_;
    }

    bool Sent() const { return sent_; }
    bool Repeated() const { return repeated_; }

    bool Refused() const { return refused_; }

private:
    bool idempotent_ = false;
    bool sent_ = false;
    bool repeated_ = false;
    bool refused_ = false;
    curl_off_t bodySent_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
