// International names go through libidn2; those that are ASCII already need not.
#include "host_name.h"

#include <algorithm>
#include <memory>
#include <new>

#include <arpa/inet.h>
#include <idn2.h>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

struct IdnFree {
    void operator()(char *text) const noexcept { idn2_free(text); }
};

} // namespace

bool IsAddress(const std::string &text)
{
    in6_addr buffer;
    return inet_pton(AF_INET, text.c_str(), &buffer) == 1 ||
           inet_pton(AF_INET6, text.c_str(), &buffer) == 1;
}

bool IsVersion6(const std::string &address)
{
    return address.find(':') != std::string::npos;
}

bool IsLocalName(const std::string &host)
{
    return host == "localhost" || host.ends_with(".localhost");
}

bool IsAscii(const std::string &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::optional<std::string> AsciiName(const std::string &name)
{
    if (IsAscii(name)) {
        return Lower(name);
    }
    uint8_t *text = nullptr;
    const int code = idn2_lookup_u8(reinterpret_cast<const uint8_t *>(name.c_str()), &text,
                                    IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL);
    const std::unique_ptr<char, IdnFree> owned(reinterpret_cast<char *>(text));
    if (code == IDN2_MALLOC) {
        throw std::bad_alloc();
    }
    return code == IDN2_OK ? std::optional(Lower(owned.get())) : std::nullopt;
}

} // namespace OHOS::Pelloria::Tnx
