// Nothing is copied but the lists.
#include "translate/tnx_connection_info.h"

#include "common/log.h"

#include <new>
#include <string>

namespace OHOS::Pelloria::TnxC
{
namespace
{

const char *TextOrNull(const std::string &text)
{
    return text.empty() ? nullptr : text.c_str();
}

// The first of the list; null where there is none.
template <class Node> const Node *Link(std::vector<Node> &nodes)
{
    for (size_t i = 1; i < nodes.size(); ++i) {
        nodes[i - 1].next = &nodes[i];
    }
    return nodes.empty() ? nullptr : nodes.data();
}

std::unique_ptr<const ConnectionRecord> MakeRecord(const Tnx::ConnectionInfo &info)
{
    auto record = std::make_unique<ConnectionRecord>();
    for (const Tnx::HopInfo &hop : info.hops) {
        record->hops.push_back({hop.url.c_str(), hop.status, nullptr});
    }
    for (const Tnx::AddressAttempt &attempt : info.attempts) {
        record->attempts.push_back(
            {attempt.peer.address.c_str(), attempt.peer.port, attempt.error, nullptr});
    }
    record->info = {.httpVersion = info.httpVersion,
                    .reused = info.reused,
                    .remotePort = info.remote.port,
                    .localPort = info.local.port,
                    .remoteAddress = TextOrNull(info.remote.address),
                    .localAddress = TextOrNull(info.local.address),
                    .proxy = TextOrNull(info.proxy),
                    .tlsVersion = TextOrNull(info.tlsVersion),
                    .cipher = TextOrNull(info.cipher),
                    .peerChain = TextOrNull(info.peerChain),
                    .bytesSent = info.bytesSent,
                    .bytesReceived = info.bytesReceived,
                    .hops = Link(record->hops),
                    .attempts = Link(record->attempts)};
    return record;
}

} // namespace

std::unique_ptr<const ConnectionRecord>
TnxToCConnectionInfo(const Tnx::ConnectionInfo *info) noexcept
{
    try {
        return info != nullptr ? MakeRecord(*info) : nullptr;
    } catch (const std::bad_alloc &) {
        TNX_LOGE("failed to alloc memory for connection info");
        return nullptr;
    }
}

} // namespace OHOS::Pelloria::TnxC
