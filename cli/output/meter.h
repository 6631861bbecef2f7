// The progress meter: one line on a terminal, for transfers longer than a second.
#ifndef TNX_CLI_METER_H
#define TNX_CLI_METER_H

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace TnxTool
{

class Meter
{
public:
    enum Direction { DOWN, UP };

    struct Counts {
        uint64_t total = 0; // 0: not known
        uint64_t now = 0;
        bool known = true;
    };

    Meter(bool shown, size_t transfers);
    ~Meter();
    Meter(const Meter &) = delete;
    Meter &operator=(const Meter &) = delete;

    // From any thread.
    void Update(size_t transfer, Direction direction, uint64_t total, uint64_t now) noexcept;
    void Done(size_t transfer) noexcept;

    // Wipes the line, so that something else can be written.
    void Clear() noexcept;

private:
    void Draw(std::chrono::steady_clock::time_point now);
    Counts Sum() const;

    const bool shown_;
    const std::chrono::steady_clock::time_point begin_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point drawn_;
    std::vector<std::array<Counts, 2>> transfers_;
    bool visible_ = false;
};

// The line for so many bytes after so many seconds.
std::string MeterLine(const Meter::Counts &counts, double elapsedSeconds, unsigned int width);

} // namespace TnxTool

#endif
