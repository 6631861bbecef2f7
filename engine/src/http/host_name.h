// Host names and addresses. International names are UTF-8, whatever the locale of the process says;
// on the road they are ASCII (IDNA 2008, with the mappings of UTS 46).
#ifndef TNX_ENGINE_HOST_NAME_H
#define TNX_ENGINE_HOST_NAME_H

#include <optional>
#include <string>

namespace OHOS::Pelloria::Tnx
{

// Whether the text is an address of IPv4 or IPv6, without brackets.
bool IsAddress(const std::string &text);

// Of an address: whether it is one of IPv6.
bool IsVersion6(const std::string &address);

// Whether libcurl itself maps the name to the loopback addresses (RFC 6761 section 6.3).
bool IsLocalName(const std::string &host);

bool IsAscii(const std::string &text);

// The name in ASCII and in lower case; nothing where there is no such name.
std::optional<std::string> AsciiName(const std::string &name);

} // namespace OHOS::Pelloria::Tnx

#endif
