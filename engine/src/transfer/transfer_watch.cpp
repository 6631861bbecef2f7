// What is told of a fetch's way, to those who ask.
#include <system_error>

#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

std::string Text(const Endpoint &peer)
{
    if (peer.port == 0) {
        return peer.address; // the path of a Unix socket
    }
    const bool bracketed = peer.address.find(':') != std::string::npos;
    return (bracketed ? "[" + peer.address + "]" : peer.address) + ":" + std::to_string(peer.port);
}

} // namespace

void Transfer::TraceLookup()
{
    if (!trace_.Wanted()) {
        return;
    }
    std::string text;
    for (const std::string &address : route_.PeerAddresses()) {
        text += (text.empty() ? "" : " ") + address;
    }
    trace_.Tell(TRACE_LOOKED_UP, text);
}

void Transfer::OnConnecting(const Endpoint &peer) noexcept
{
    driver_.Guarded([&] { trace_.Tell(TRACE_CONNECTING, Text(peer)); });
}

void Transfer::OnAttempt(const AddressAttempt &attempt) noexcept
{
    driver_.Guarded([&] {
        if (connection_ != nullptr) {
            connection_->attempts.push_back(attempt);
        }
        if (attempt.error == 0) {
            trace_.Tell(TRACE_CONNECTED, Text(attempt.peer));
        } else {
            trace_.Tell(TRACE_NOT_CONNECTED,
                        Text(attempt.peer) + " " + std::generic_category().message(attempt.error));
        }
    });
}

void Transfer::OnRequest(bool connection) noexcept
{
    receiver_.StartResponse();
    if (!connection || (!trace_.Wanted() && connection_ == nullptr)) {
        return;
    }
    driver_.Guarded([&] {
        ConnectionInfo unkept;
        ConnectionInfo &info = connection_ != nullptr ? *connection_ : unkept;
        wire_->Describe(info, connection_ != nullptr);
        if (info.reused) {
            trace_.Tell(TRACE_REUSED, Text(info.remote));
        } else if (!info.tlsVersion.empty()) {
            trace_.Tell(TRACE_TLS_DONE, info.tlsVersion + " " + info.cipher);
        }
    });
}

// A hop is over, as far as it went.
void Transfer::NoteHop()
{
    if (connection_ != nullptr && first_ != nullptr) {
        const HeaderBlock &block = receiver_.Block();
        connection_->hops.push_back({hop_.url->text, block.Final() ? block.Status() : 0});
    }
}

void Transfer::CountBytes(curl_infotype type, size_t size)
{
    if (connection_ == nullptr) {
        return;
    }
    if (type == CURLINFO_HEADER_OUT || type == CURLINFO_DATA_OUT) {
        connection_->bytesSent += size;
    } else if (type == CURLINFO_HEADER_IN || type == CURLINFO_DATA_IN) {
        connection_->bytesReceived += size;
    }
}

void Transfer::OnSent() noexcept
{
    driver_.Guarded([&] { trace_.Tell(TRACE_SENT); });
}

} // namespace OHOS::Pelloria::Tnx
