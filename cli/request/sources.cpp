// Bodies that are read while they are sent.
#include "sources.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "base/settings.h"

namespace TnxTool
{

namespace
{

constexpr size_t SLOTS = 512;

std::array<std::atomic<BodySource *>, SLOTS> g_sources;

template <size_t Slot> int ReadSlot(char *buffer, unsigned int size)
{
    BodySource *source = g_sources[Slot].load(std::memory_order_acquire);
    return source == nullptr ? -1 : source->Read(buffer, size);
}

template <size_t... Slot>
constexpr std::array<Tnx_GetDataCallback, SLOTS> MakeCallbacks(std::index_sequence<Slot...>)
{
    return {&ReadSlot<Slot>...};
}

constexpr auto CALLBACKS = MakeCallbacks(std::make_index_sequence<SLOTS>{});

size_t TakeSlot(BodySource *source)
{
    for (size_t slot = 0; slot < SLOTS; ++slot) {
        BodySource *free = nullptr;
        if (g_sources[slot].compare_exchange_strong(free, source, std::memory_order_acq_rel)) {
            return slot;
        }
    }
    throw ToolError(EXIT_READ, "too many files to send at a time");
}

} // namespace

BodySource::BodySource(const std::string &path)
    : file_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC))
    , slot_(0)
{
    if (file_ < 0 || read(file_, nullptr, 0) < 0) { // a directory can be opened, but not read
        const std::string reason = std::strerror(errno);
        close(file_);
        throw ToolError(EXIT_READ, "cannot read '" + path + "': " + reason);
    }
    slot_ = TakeSlot(this);
}

BodySource::~BodySource()
{
    g_sources[slot_].store(nullptr, std::memory_order_release);
    if (file_ != STDIN_FILENO) {
        close(file_);
    }
}

Tnx_GetDataCallback BodySource::Callback() const
{
    return CALLBACKS[slot_];
}

int BodySource::Read(char *buffer, unsigned int size) noexcept
{
    const size_t wanted = std::min<size_t>(size, INT_MAX);
    for (;;) {
        const ssize_t got = read(file_, buffer, wanted);
        if (got >= 0 || errno != EINTR) {
            return static_cast<int>(got);
        }
    }
}

} // namespace TnxTool
