// Compares with what was set before.
#include "options.h"

#include <new>
#include <utility>

namespace OHOS::Pelloria::Tnx
{

template <class Given> bool Options::Has(CURLoption id, const Given &value)
{
    if (named_ == set_.size() || set_[named_].id != id) {
        return false;
    }
    const auto *const present = std::get_if<Given>(&set_[named_].value);
    if (present == nullptr || *present != value) {
        return false;
    }
    ++named_;
    return true;
}

CURLcode Options::Number(CURLoption id, long value)
{
    return Has(id, value) ? CURLE_OK : Put({id, value});
}

CURLcode Options::Text(CURLoption id, std::string_view value)
{
    if (named_ < set_.size() && set_[named_].id == id &&
        *std::get<OwnText>(set_[named_].value) == value) {
        ++named_;
        return CURLE_OK;
    }
    return Put({id, std::make_unique<const std::string>(value)});
}

CURLcode Options::Pointer(CURLoption id, void *value)
{
    return Has(id, value) ? CURLE_OK : Put({id, value});
}

CURLcode Options::Put(Option option)
{
    const bool again = named_ < set_.size() && set_[named_].id == option.id;
    if (!again) {
        DropRest();
    }
    const CURLcode code = Set(option);
    if (code != CURLE_OK) {
        DropRest();
    } else if (again) {
        set_[named_++] = std::move(option);
    } else {
        set_.push_back(std::move(option));
        ++named_;
    }
    return code;
}

CURLcode Options::Set(const Option &option)
{
    CURLcode code = CURLE_OK;
    if (const auto *const text = std::get_if<OwnText>(&option.value)) {
        code = curl_easy_setopt(easy_, option.id, (*text)->c_str());
    } else if (const auto *const number = std::get_if<long>(&option.value)) {
        code = curl_easy_setopt(easy_, option.id, *number);
    } else {
        code = curl_easy_setopt(easy_, option.id, std::get<void *>(option.value));
    }
    if (code == CURLE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    return code;
}

// libcurl takes options back all at once only.
void Options::DropRest()
{
    if (named_ == set_.size()) {
        return;
    }
    startedOver_ = true;
    set_.resize(named_);
    curl_easy_reset(easy_);
    for (const Option &option : set_) {
        Set(option);
    }
}

void Options::Begin()
{
    startedOver_ = set_.empty();
    named_ = 0;
}

void Options::End()
{
    DropRest();
}

void Options::Change(CURL *easy)
{
    set_.clear();
    easy_ = easy;
}

void Options::Reset()
{
    set_.clear();
    curl_easy_reset(easy_);
}

} // namespace OHOS::Pelloria::Tnx
