// Sees how long a call lasts, and what was read in it from which connection.
#include "flood_watch.h"

#include <algorithm>

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/clock.h"
#include "base/quiet_thread.h"
#include "base/try.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr auto INTERVAL = std::chrono::milliseconds(20);
constexpr size_t QUIET_LOOKS = 50; // after so many without a call the watch goes to sleep

// A flood: in one call, from one look to the next, its thread was busy for so long, and took so
// much from a connection of which nothing came. What libcurl and TLS have in their buffers is less.
constexpr auto BUSY = std::chrono::milliseconds(12);
constexpr uint64_t FUTILE = 256 * 1024;

std::chrono::nanoseconds Read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

uint64_t Received(int fd)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    return getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_received : 0;
}

uint64_t Unread(int fd)
{
    int unread = 0;
    return ioctl(fd, SIOCINQ, &unread) == 0 ? static_cast<uint64_t>(unread) : 0;
}

// What was read from a connection. Bytes that arrive between the two questions let the one be too
// much, the other too little.
uint64_t ConsumedAtMost(int fd)
{
    const uint64_t unread = Unread(fd);
    const uint64_t received = Received(fd);
    return received - std::min(unread, received);
}

uint64_t ConsumedAtLeast(int fd)
{
    const uint64_t received = Received(fd);
    return received - std::min(Unread(fd), received);
}

// At once, with all that has arrived: after a shutdown it would still be read. By its number, as
// ThreadSanitizer takes the call for the birth of the descriptor, which another thread reads from.
void Disconnect(int fd)
{
    const sockaddr nowhere{.sa_family = AF_UNSPEC, .sa_data = {}};
    syscall(SYS_connect, fd, &nowhere, sizeof nowhere);
}

} // namespace

void FloodWatch::Add(Watched &watched)
{
    const MutexLock lock(mutex_);
    watched_.push_back(&watched);
}

void FloodWatch::Remove(Watched &watched) noexcept
{
    const MutexLock lock(mutex_);
    std::erase(watched_, &watched);
}

// No thread: the next call tries again.
void FloodWatch::WakeUp() noexcept
{
    const MutexLock lock(mutex_);
    started_ =
        started_ || Try([this] { StartQuietThread("tnx-watch", [this] { Work(); }).detach(); });
    asleep_ = !started_;
    awake_.NotifyOne();
}

void FloodWatch::Work()
{
    mutex_.lock();
    for (size_t quiet = 0;; ++quiet) {
        awake_.WaitUntil(mutex_, Clock::now() + INTERVAL);
        if (!Look() && quiet < QUIET_LOOKS) {
            continue;
        }
        quiet = 0;
        asleep_ = true; // before the look: whoever calls after it sees this
        while (!Look() && asleep_) {
            awake_.Wait(mutex_);
        }
        asleep_ = false;
    }
}

bool FloodWatch::Look()
{
    bool called = false;
    for (Watched *const watched : watched_) {
        called = watched->Look() || called;
    }
    return called;
}

FloodWatch::Watched::Watched(FloodWatch &watch)
    : watch_(watch)
{
    watch_.Add(*this);
}

FloodWatch::Watched::~Watched()
{
    watch_.Remove(*this);
}

void FloodWatch::Watched::Opened(int fd)
{
    const MutexLock lock(mutex_);
    connections_.push_back({.fd = fd, .consumed = 0});
}

void FloodWatch::Watched::Closed(int fd) noexcept
{
    const MutexLock lock(mutex_);
    std::erase_if(connections_, [fd](const Connection &connection) { return connection.fd == fd; });
}

bool FloodWatch::Watched::Look() noexcept
{
    const uint64_t call = calls_;
    const MutexLock lock(mutex_);
    const bool same = call == seen_;
    if (!same) {
        Begin(call);
    } else if (call % 2 != 0) {
        EndFloods();
    }
    return !same || call % 2 != 0;
}

void FloodWatch::Watched::Begin(uint64_t call) noexcept
{
    seen_ = call;
    if (call % 2 == 0) {
        return;
    }
    busyThen_ = Read(clock_);
    broughtThen_ = brought_;
    for (Connection &connection : connections_) {
        connection.consumed = ConsumedAtMost(connection.fd);
    }
}

void FloodWatch::Watched::EndFloods() noexcept
{
    const auto busy = Read(clock_) - busyThen_;
    if (busy < BUSY) {
        return;
    }
    const uint64_t consumable = brought_ - broughtThen_ + FUTILE;
    for (Connection &connection : connections_) {
        if (ConsumedAtLeast(connection.fd) > connection.consumed + consumable) {
            ++floods_;
            Disconnect(connection.fd);
        }
    }
    Begin(seen_);
}

FloodWatch::Call::Call(Watched &watched) noexcept
    : watched_(watched)
{
    clockid_t clock = 0;
    pthread_getcpuclockid(pthread_self(), &clock);
    watched.clock_.store(clock, std::memory_order_relaxed);
    ++watched.calls_;
    if (watched.watch_.asleep_) {
        watched.watch_.WakeUp();
    }
}

} // namespace OHOS::Pelloria::Tnx
