// The bodies of one exchange: what was sent, and how large they were on the wire.
#ifndef TNX_CLI_BODIES_H
#define TNX_CLI_BODIES_H

#include <cstdint>
#include <optional>
#include <string>

#include "conversation.h"

namespace TnxTool
{

// The body that was sent, without the framing of chunks; nothing where it was not recorded whole.
std::optional<std::string> SentBody(const Hop &hop);

// Its size; nothing where it is not known.
std::optional<uint64_t> SentSize(const Hop &hop);

// The size of the answer's body as it was announced; nothing where it was not.
std::optional<uint64_t> AnnouncedSize(const Hop &hop);

} // namespace TnxTool

#endif
