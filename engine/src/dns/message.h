// Reads and writes the DNS messages of a lookup over HTTPS.
#ifndef TNX_ENGINE_DNS_MESSAGE_H
#define TNX_ENGINE_DNS_MESSAGE_H

#include <string>
#include <string_view>

#include "lookup_book.h"

namespace OHOS::Pelloria::Tnx
{

// Asks for the host's records of a type, ns_t_a or ns_t_aaaa. Returns why it cannot be asked, or an
// empty text.
std::string WriteQuestion(const std::string &host, int type, std::string &message);

// Adds the addresses of such records. A message that does not parse has none.
void ReadAddresses(std::string_view message, int type, LookupResult &result);

} // namespace OHOS::Pelloria::Tnx

#endif
