// The progress meter.
#include "meter.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

#include "base/terminal.h"

namespace TnxTool
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds PATIENCE{1};
constexpr std::chrono::milliseconds BETWEEN{200};
constexpr std::string_view WIPE = "\r\033[K";

std::string Format(const char *format, double value)
{
    char text[48];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

// Bytes in few characters: "512 B", "1.4 MiB".
std::string Amount(double bytes)
{
    static constexpr const char *units[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
    size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < std::size(units)) {
        bytes /= 1024;
        ++unit;
    }
    return Format(unit == 0 ? "%.0f " : "%.1f ", bytes) + units[unit];
}

std::string Duration(double seconds)
{
    const auto whole = static_cast<unsigned long>(std::min(seconds, 359999.0));
    char text[64];
    if (whole >= 3600) {
        std::snprintf(text, sizeof(text), "%lu:%02lu:%02lu", whole / 3600, whole / 60 % 60,
                      whole % 60);
    } else {
        std::snprintf(text, sizeof(text), "%lu:%02lu", whole / 60, whole % 60);
    }
    return text;
}

} // namespace

Meter::Meter(bool shown, size_t transfers)
    : shown_(shown)
    , begin_(Clock::now())
    , transfers_(transfers)
{
}

Meter::~Meter()
{
    Clear();
}

void Meter::Update(size_t transfer, Direction direction, uint64_t total, uint64_t now) noexcept
{
    if (!shown_) {
        return;
    }
    const std::lock_guard lock(mutex_);
    transfers_[transfer][direction] = {total, now, total != 0 || now == 0};
    const auto time = Clock::now();
    if (time - begin_ >= PATIENCE && time - drawn_ >= BETWEEN) {
        Draw(time);
    }
}

void Meter::Done(size_t transfer) noexcept
{
    if (!shown_) {
        return;
    }
    const std::lock_guard lock(mutex_);
    for (Counts &counts : transfers_[transfer]) {
        counts.total = counts.now;
        counts.known = true;
    }
}

void Meter::Clear() noexcept
{
    const std::lock_guard lock(mutex_);
    if (visible_) {
        WriteAll(STDERR_FILENO, WIPE);
        visible_ = false;
    }
}

Meter::Counts Meter::Sum() const
{
    Counts sum;
    for (const auto &transfer : transfers_) {
        for (const Counts &counts : transfer) {
            sum.total += counts.total;
            sum.now += counts.now;
            sum.known = sum.known && counts.known;
        }
    }
    return sum;
}

void Meter::Draw(Clock::time_point now)
{
    drawn_ = now;
    visible_ = true;
    const double elapsed = std::chrono::duration<double>(now - begin_).count();
    WriteAll(STDERR_FILENO, std::string(WIPE) + MeterLine(Sum(), elapsed, TerminalWidth()));
}

std::string MeterLine(const Meter::Counts &counts, double elapsedSeconds, unsigned int width)
{
    const auto now = static_cast<double>(counts.now);
    const auto total = static_cast<double>(counts.total);
    const double rate = elapsedSeconds > 0 ? now / elapsedSeconds : 0;
    std::string text = Amount(now);
    const bool known = counts.known && counts.total != 0;
    if (known) {
        text += " of " + Amount(total);
    }
    text += "  " + Amount(rate) + "/s";
    text += known && rate > 0 ? "  " + Duration((total - now) / rate) + " left"
                              : "  " + Duration(elapsedSeconds);
    if (known && width > text.size() + 20) {
        const double done = std::min(1.0, now / total);
        const size_t room = std::min<size_t>(40, width - text.size() - 10);
        const auto filled = static_cast<size_t>(done * static_cast<double>(room));
        text = "[" + std::string(filled, '#') + std::string(room - filled, ' ') + "] " +
               Format("%3.0f%%  ", done * 100) + text;
    }
    return text.substr(0, width - 1);
}

} // namespace TnxTool
