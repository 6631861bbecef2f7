// Name lookups through c-ares.
#include "ares_channel.h"

#include <algorithm>
#include <array>
#include <memory>

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/epoll.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr int TIMEOUT_MS = 2000; // of the first try; c-ares doubles it
constexpr int TRIES = 3;

std::string AddressText(const sockaddr *address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void *bytes =
        address->sa_family == AF_INET
            ? static_cast<const void *>(&reinterpret_cast<const sockaddr_in *>(address)->sin_addr)
            : &reinterpret_cast<const sockaddr_in6 *>(address)->sin6_addr;
    inet_ntop(address->sa_family, bytes, text.data(), text.size());
    return text.data();
}

LookupResult ResultOf(int status, const ares_addrinfo *list)
{
    LookupResult result;
    if (status != ARES_SUCCESS) {
        result.error = ares_strerror(status);
        return result;
    }
    int timeToLive = list->nodes != nullptr ? list->nodes->ai_ttl : 0;
    for (const ares_addrinfo_node *node = list->nodes; node != nullptr; node = node->ai_next) {
        result.addresses.push_back(AddressText(node->ai_addr));
        timeToLive = std::min(timeToLive, node->ai_ttl);
    }
    result.timeToLive = std::chrono::seconds(std::max(timeToLive, 0));
    if (result.addresses.empty()) {
        result.error = "the name has no address";
    }
    return result;
}

std::string ServerList(const DnsServers &servers)
{
    std::string list;
    for (const IpAndPort &server : servers) {
        const bool isV6 = server.ip.find(':') != std::string::npos;
        list += list.empty() ? "" : ",";
        list += isV6 ? "[" + server.ip + "]" : server.ip;
        list += server.port != 0 ? ":" + std::to_string(server.port) : "";
    }
    return list;
}

} // namespace

AresChannel::AresChannel(Loop &loop, const DnsServers &servers)
    : loop_(loop)
    , timer_(loop, [this]() REQUIRES(ON_LOOP) { Process(ARES_SOCKET_BAD, ARES_SOCKET_BAD); })
{
    ares_options options{};
    // Aliases would be read from the environment at each lookup, while others may change it.
    options.flags = ARES_FLAG_NOALIASES;
    options.timeout = TIMEOUT_MS;
    options.tries = TRIES;
    options.sock_state_cb = OnSocketState;
    options.sock_state_cb_data = this;
    int mask = ARES_OPT_FLAGS | ARES_OPT_TIMEOUTMS | ARES_OPT_TRIES | ARES_OPT_SOCK_STATE_CB;
    std::string serversOnly = "b";
    if (!servers.empty()) {
        options.lookups = serversOnly.data();
        mask |= ARES_OPT_LOOKUPS;
    }
    int status = ares_init_options(&channel_, &options, mask);
    if (status == ARES_SUCCESS && !servers.empty()) {
        status = ares_set_servers_ports_csv(channel_, ServerList(servers).c_str());
    }
    if (status != ARES_SUCCESS) {
        setupError_ = ares_strerror(status);
    }
}

AresChannel::~AresChannel()
{
    if (channel_ != nullptr) {
        ares_destroy(channel_);
    }
}

void AresChannel::Lookup(const std::string &host, const std::shared_ptr<LookupAnswer> &answer)
{
    if (!setupError_.empty()) {
        answer->Arrive([this] { return LookupResult{.addresses = {}, .error = setupError_}; });
        return;
    }
    ares_addrinfo_hints hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    auto owned = std::make_unique<std::shared_ptr<LookupAnswer>>(answer);
    ares_getaddrinfo(channel_, host.c_str(), nullptr, &hints, OnAddresses, owned.release());
    StartTimer();
}

void AresChannel::OnAddresses(void *answer, int status, int, ares_addrinfo *info)
{
    const std::unique_ptr<std::shared_ptr<LookupAnswer>> owned(
        static_cast<std::shared_ptr<LookupAnswer> *>(answer));
    const std::unique_ptr<ares_addrinfo, decltype(&ares_freeaddrinfo)> list(info,
                                                                            ares_freeaddrinfo);
    (*owned)->Arrive([&] { return ResultOf(status, list.get()); });
}

void AresChannel::OnSocketState(void *self, ares_socket_t socket, int readable, int writable)
{
    ON_LOOP.Have();
    auto *const channel = static_cast<AresChannel *>(self);
    const uint32_t events = (readable ? EPOLLIN : 0U) | (writable ? EPOLLOUT : 0U);
    Try([=]() REQUIRES(ON_LOOP) {
        channel->loop_.Watch(socket, events, channel);
    }); // else the question times out
}

void AresChannel::OnReady(int fd, uint32_t events)
{
    const bool failed = (events & (EPOLLERR | EPOLLHUP)) != 0;
    Process(failed || (events & EPOLLIN) != 0 ? fd : ARES_SOCKET_BAD,
            (events & EPOLLOUT) != 0 ? fd : ARES_SOCKET_BAD);
}

void AresChannel::Process(ares_socket_t readable, ares_socket_t writable)
{
    ares_process_fd(channel_, readable, writable);
    StartTimer();
}

void AresChannel::StartTimer()
{
    timeval wait{};
    if (ares_timeout(channel_, nullptr, &wait) == nullptr) {
        timer_.Stop();
        return;
    }
    timer_.Start(Clock::now() + std::chrono::seconds(wait.tv_sec) +
                 std::chrono::microseconds(wait.tv_usec));
}

} // namespace OHOS::Pelloria::Tnx
