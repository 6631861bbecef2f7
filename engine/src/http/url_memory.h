// The URLs that a session was given last, taken apart: many requests go to the URL of an earlier
// one.
#ifndef TNX_ENGINE_URL_MEMORY_H
#define TNX_ENGINE_URL_MEMORY_H

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "common/mutex.h"
#include "url.h"

namespace OHOS::Pelloria::Tnx
{

class UrlMemory
{
public:
    // As ParseUrl. From any thread.
    CURLcode Parse(const std::string &text, std::shared_ptr<const Url> &url)
    {
        const size_t index = std::hash<std::string>()(text) % ENTRIES;
        {
            MutexLock lock(mutex_);
            if (entries_[index] != nullptr && entries_[index]->text == text) {
                url = entries_[index];
                return CURLE_OK;
            }
        }
        auto parsed = std::make_shared<Url>();
        const CURLcode code = ParseUrl(text, *parsed);
        url = std::move(parsed);
        if (code == CURLE_OK && !url->hasCredential) {
            std::shared_ptr<const Url> last = url; // released without the lock
            MutexLock lock(mutex_);
            entries_[index].swap(last);
        }
        return code;
    }

private:
    static constexpr size_t ENTRIES = 16;

    Mutex mutex_;
    std::array<std::shared_ptr<const Url>, ENTRIES> entries_ GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelloria::Tnx

#endif
