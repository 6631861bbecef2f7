// Whether a request may go out a second time: libcurl repeats one by itself when a kept connection
// turns out to be dead, and has then forgotten how much of the body it has sent. It also answers
// each challenge, of a server that may never be content.
#ifndef TNX_ENGINE_RETRY_H
#define TNX_ENGINE_RETRY_H

#include <algorithm>
#include <string>

#include <curl/curl.h>

#include "http/method.h"

namespace OHOS::Pelloria::Tnx
{

class Retry
{
public:
    void Start(const std::string &method)
    {
        *this = {};
        idempotent_ = IsIdempotent(method);
    }

    // It has to be told how much of the body is gone.
    bool Watches() const { return !idempotent_; }
    void BodySent(curl_off_t bytes) { bodySent_ = std::max(bodySent_, bytes); }

    // The request is about to go out. `responded`: something of a response has come.
    bool MaySend(bool responded)
    {
        refused_ = requests_++ > 0 && !idempotent_ && bodySent_ > 0 && !responded;
        return !refused_ && !Endless();
    }

    bool Sent() const { return requests_ > 0; }
    bool Repeated() const { return requests_ > 1; }

    bool Refused() const { return refused_; }

    // No handshake of an authentication scheme takes so many.
    bool Endless() const { return requests_ > 10; }

private:
    bool idempotent_ = false;
    int requests_ = 0;
    bool refused_ = false;
    curl_off_t bodySent_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
