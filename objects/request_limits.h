// The limits of a request and what its connections are made with, checked.
#ifndef TNX_OBJECTS_REQUEST_LIMITS_H
#define TNX_OBJECTS_REQUEST_LIMITS_H

#include "tnx_c_ext/limits.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelloria::TnxC
{

// One rule of TNX_CONNECTION_TO; an empty name and the port 0 are not given.
struct ConnectRule {
    std::string host;
    uint16_t port = 0;
    std::string otherHost;
    uint16_t otherPort = 0;
};

struct RequestLimits {
    std::array<int64_t, TNX_REQUEST_LIMITS> values{};       // 0: none
    std::array<std::string, TNX_CONNECTION_SETTINGS> texts; // empty: none
    std::vector<ConnectRule> connectTo;                     // of the text

    bool Any() const;
};

} // namespace OHOS::Pelloria::TnxC

#endif
