// libcurl's plain multi interface.
#include "caller_multi.h"

#include <new>

#include "handles.h"

namespace OHOS::Pelloria::Tnx
{

CallerMulti::CallerMulti(FloodWatch &watch, long maxIdleConnections)
    : Multi(watch)
    , multi_(curl_multi_init())
{
    if (multi_ == nullptr) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, maxIdleConnections);
}

CallerMulti::~CallerMulti()
{
    curl_multi_cleanup(multi_);
}

void CallerMulti::Add(CURL *easy, ExchangeListener &listener)
{
    AddHandle(multi_, easy);
    listener_ = &listener;
}

void CallerMulti::Remove(CURL *easy) noexcept
{
    curl_multi_remove_handle(multi_, easy);
}

bool CallerMulti::Perform()
{
    int running = 0;
    {
        const FloodWatch::Call call(Watched());
        curl_multi_perform(multi_, &running);
    }
    int left = 0;
    const CURLMsg *const message = curl_multi_info_read(multi_, &left);
    if (message == nullptr) {
        return false;
    }
    const CURLcode code = message->data.result; // the message goes with the handle
    curl_multi_remove_handle(multi_, message->easy_handle);
    listener_->ExchangeDone(code);
    return true;
}

void CallerMulti::Wait(std::chrono::milliseconds longest)
{
    curl_multi_poll(multi_, nullptr, 0, static_cast<int>(longest.count()), nullptr);
}

} // namespace OHOS::Pelloria::Tnx
