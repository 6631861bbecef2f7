// The options of an easy handle that serves one request after the other. Most of them are the same
// for each: only what differs is set again.
#ifndef TNX_ENGINE_OPTIONS_H
#define TNX_ENGINE_OPTIONS_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

class Options
{
public:
    Options() = default;
    explicit Options(CURL *easy)
        : easy_(easy)
    {
    }
    Options(const Options &) = delete;
    Options &operator=(const Options &) = delete;

    // From here to End every option is named that is not to have libcurl's default. Best in the
    // same order each time.
    void Begin();
    void End();

    // Since Begin the handle was set back: what was set without this is gone.
    bool StartedOver() const { return startedOver_; }

    // What libcurl says to it. Throws bad_alloc.
    CURLcode Number(CURLoption id, long value);
    CURLcode Text(CURLoption id, std::string_view value); // no secret: a copy is kept
    CURLcode Pointer(CURLoption id, void *value);
    template <class Result, class... Args>
    CURLcode Function(CURLoption id, Result (*value)(Args...))
    {
        return Pointer(id, reinterpret_cast<void *>(value));
    }

    // All have libcurl's defaults then, also those that were set without this.
    void Reset();

    // Goes on with a new handle.
    void Change(CURL *easy);

private:
    using OwnText = std::unique_ptr<const std::string>; // few options are texts
    using Value = std::variant<long, void *, OwnText>;
    struct Option {
        CURLoption id;
        Value value;
    };

    template <class Given> bool Has(CURLoption id, const Given &value);
    CURLcode Put(Option option);
    CURLcode Set(const Option &option);
    void DropRest();

    CURL *easy_ = nullptr;
    std::vector<Option> set_;
    size_t named_ = 0; // of those, since Begin
    bool startedOver_ = true;
};

} // namespace OHOS::Pelloria::Tnx

#endif
