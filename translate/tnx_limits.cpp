// One by one; the number of redirects is the engine's own setting.
#include "translate/tnx_limits.h"

#include <algorithm>
#include <memory>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// Longer times never pass.
uint64_t MakeTime(int64_t milliseconds)
{
    return std::min(static_cast<uint64_t>(milliseconds), Tnx::NO_TIMEOUT);
}

Tnx::AddressFamily MakeFamily(int64_t version)
{
    return version == 4   ? Tnx::AddressFamily::IPV4
           : version == 6 ? Tnx::AddressFamily::IPV6
                          : Tnx::AddressFamily::ANY;
}

Tnx::TlsVersion MakeTlsVersion(int64_t version)
{
    return version == TNX_TLS_1_2   ? Tnx::TlsVersion::TLS1_2
           : version == TNX_TLS_1_3 ? Tnx::TlsVersion::TLS1_3
                                    : Tnx::TlsVersion::ANY;
}

} // namespace

void TnxToCppLimits(Tnx::Configuration &out, const RequestLimits &limits)
{
    if (!limits.Any()) {
        return;
    }
    const auto &values = limits.values;
    const auto &texts = limits.texts;
    if (const int64_t redirects = values[TNX_LIMIT_REDIRECTS]; redirects != 0) {
        out.maxRedirects = static_cast<uint64_t>(std::max<int64_t>(redirects, 0));
    }
    auto made = std::make_shared<Tnx::Limits>();
    made->idleTime = MakeTime(values[TNX_LIMIT_IDLE_TIME]);
    made->firstByte = MakeTime(values[TNX_LIMIT_FIRST_BYTE]);
    made->responseSize = static_cast<uint64_t>(values[TNX_LIMIT_RESPONSE_SIZE]);
    made->rateDown = values[TNX_LIMIT_RATE_DOWN];
    made->rateUp = values[TNX_LIMIT_RATE_UP];
    made->family = MakeFamily(values[TNX_LIMIT_ADDRESS_FAMILY]);
    made->lowestTls = MakeTlsVersion(values[TNX_LIMIT_TLS_LOWEST]);
    made->highestTls = MakeTlsVersion(values[TNX_LIMIT_TLS_HIGHEST]);
    made->unixSocket = texts[TNX_CONNECTION_UNIX_SOCKET];
    made->interface = texts[TNX_CONNECTION_INTERFACE];
    for (const ConnectRule &rule : limits.connectTo) {
        made->connectTo.push_back({rule.host, rule.port, rule.otherHost, rule.otherPort});
    }
    made->tls12Ciphers = texts[TNX_CONNECTION_TLS12_CIPHERS];
    made->tls13Ciphers = texts[TNX_CONNECTION_TLS13_CIPHERS];
    out.limits = std::move(made);
}

} // namespace OHOS::Pelloria::TnxC
