// Secrets that do not outlive their use.
#include "tnx_native/security.h"

#include <utility>

#include "secrets.h"
#include "tnx_platform/bounded.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// The whole buffer: a longer text may have stood in it before.
void WipeText(std::string &text) noexcept
{
    text.resize(text.capacity());
    memset_s(text.data(), text.size(), 0, text.size());
    text.clear();
}

} // namespace

SecretString::SecretString(SecretString &&other) noexcept
{
    *this = std::move(other);
}

SecretString &SecretString::operator=(const SecretString &other)
{
    if (this != &other) {
        Wipe();
        text_ = other.text_;
    }
    return *this;
}

SecretString &SecretString::operator=(SecretString &&other) noexcept
{
    if (this != &other) {
        Wipe();
        text_.swap(other.text_);
        if (!text_.empty()) {
            WipeText(other.text_); // a short text leaves a copy behind
        }
    }
    return *this;
}

void SecretString::Assign(const char *text)
{
    SecretSeen();
    Wipe();
    text_ = text;
}

void SecretString::Append(std::string_view text)
{
    SecretSeen();
    std::string longer;
    longer.reserve(text_.size() + text.size());
    longer.append(text_).append(text);
    Wipe();
    text_.swap(longer);
    WipeText(longer); // a short text leaves a copy behind
}

void SecretString::WipeBuffer() noexcept
{
    WipeText(text_);
}

} // namespace OHOS::Pelloria::Tnx
