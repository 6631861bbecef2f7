// What a response says of the end of its body (RFC 9112 section 6.3). libcurl takes what is no
// length; a message whose end is in doubt can smuggle another one behind it.
#ifndef TNX_ENGINE_FRAMING_H
#define TNX_ENGINE_FRAMING_H

#include <cstdint>
#include <optional>

#include "header_block.h"

namespace OHOS::Pelloria::Tnx
{

struct Framing {
    std::optional<uint64_t> length; // announced by a content-length that counts
    bool ambiguous = false;         // its end is known, but the server may have meant another
    const char *problem = nullptr;  // why the message is to be refused
};

// Of a complete block.
Framing ReadFraming(const HeaderBlock &block);

} // namespace OHOS::Pelloria::Tnx

#endif
