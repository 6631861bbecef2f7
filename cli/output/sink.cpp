// Where a body goes.
#include "sink.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/terminal.h"
#include "json_layout.h"

namespace TnxTool
{

namespace
{

constexpr size_t MAX_MEMORY = 1024 * 1024;
constexpr size_t MAX_LAID_OUT = 10 * 1024 * 1024;

} // namespace

Sink::Sink(Plan plan)
    : plan_(std::move(plan))
{
}

Sink::~Sink()
{
    if (file_ >= 0 && plan_.kind == Kind::FILE) {
        close(file_);
    }
}

bool Sink::Take(std::string_view piece) noexcept
{
    try {
        if (plan_.refuseBinary && count_ == 0 && piece.find('\0') != std::string_view::npos) {
            return Fail("binary output would garble the terminal; use -o FILE, or -o - to insist");
        }
        count_ += piece.size();
        if (plan_.kept && count_ <= MAX_MEMORY) {
            kept_.append(piece);
        }
        return layOut_ ? Gather(piece) : Deliver(piece);
    } catch (const std::exception &error) {
        return Fail(error.what());
    }
}

void Sink::TakeHead(std::string_view line)
{
    headed_ = true;
    if (plan_.kind == Kind::FILE) {
        head_ += line;
    } else {
        Deliver(line);
    }
}

void Sink::NameFile(const std::string &name)
{
    if (file_ < 0 && !name.empty()) {
        plan_.path = std::filesystem::path(plan_.path).replace_filename(name).string();
        plan_.fresh = true;
    }
}

void Sink::RemoveFile() noexcept
{
    if (file_ >= 0 && plan_.kind == Kind::FILE) {
        unlink(plan_.path.c_str());
    }
}

void Sink::SetTime(std::time_t time) noexcept
{
    if (file_ >= 0 && plan_.kind == Kind::FILE) {
        const timespec times[2] = {{time, 0}, {time, 0}};
        futimens(file_, times);
    }
}

void Sink::Restart() noexcept
{
    headed_ = false;
    head_.clear();
    layOut_ = false;
    json_.clear();
    memory_.clear();
    kept_.clear();
    overflow_.reset();
    failure_.clear();
    if (file_ >= 0 && plan_.kind == Kind::FILE && count_ != 0) {
        const bool cut = ftruncate(file_, static_cast<off_t>(start_)) == 0 &&
                         lseek(file_, static_cast<off_t>(start_), SEEK_SET) >= 0;
        if (!cut) {
            Fail("cannot start '" + plan_.path + "' anew");
        }
    }
    count_ = 0;
}

std::optional<std::string> Sink::TakeKept()
{
    const bool whole = plan_.kept && kept_.size() == count_;
    return whole ? std::optional(std::exchange(kept_, {})) : std::nullopt;
}

bool Sink::Finish() noexcept
{
    try {
        if (!failure_.empty()) {
            return false;
        }
        return (plan_.kind != Kind::FILE || Open()) && FinishLayout() && CopyHeld();
    } catch (const std::exception &error) {
        return Fail(error.what());
    }
}

// What is too much to be laid out goes as it is.
bool Sink::Gather(std::string_view piece)
{
    if (json_.size() + piece.size() <= MAX_LAID_OUT) {
        json_.append(piece);
        return true;
    }
    layOut_ = false;
    return Deliver(std::exchange(json_, {})) && Deliver(piece);
}

bool Sink::FinishLayout()
{
    return !layOut_ || Deliver(LayOutJson(json_, plan_.look.color).value_or(json_));
}

bool Sink::Deliver(std::string_view piece)
{
    return plan_.held ? Hold(piece) : Write(piece);
}

bool Sink::Hold(std::string_view piece)
{
    if (plan_.kind == Kind::COUNT) {
        return true;
    }
    if (!overflow_ && memory_.size() + piece.size() <= MAX_MEMORY) {
        memory_.append(piece);
        return true;
    }
    if (!overflow_) {
        overflow_.reset(std::tmpfile());
        if (!overflow_) {
            return Fail(std::string("cannot make a temporary file: ") + std::strerror(errno));
        }
    }
    return WriteAll(fileno(overflow_.get()), piece) ||
           Fail(std::string("cannot write a temporary file: ") + std::strerror(errno));
}

bool Sink::Write(std::string_view piece)
{
    const std::string head = std::exchange(head_, {});
    if (plan_.kind == Kind::COUNT || (piece.empty() && head.empty())) {
        return true;
    }
    return Open() && ((WriteAll(file_, head) && WriteAll(file_, piece)) ||
                      Fail(std::string("cannot write the body: ") + std::strerror(errno)));
}

bool Sink::Open()
{
    if (file_ >= 0) {
        return true;
    }
    if (plan_.kind == Kind::STANDARD_OUTPUT) {
        file_ = STDOUT_FILENO;
        return true;
    }
    if (plan_.createDirectories) {
        std::filesystem::create_directories(std::filesystem::path(plan_.path).parent_path());
    }
    const int mode = plan_.append ? O_APPEND : plan_.fresh ? O_EXCL : O_TRUNC;
    file_ = open(plan_.path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | mode, 0666);
    if (file_ < 0) {
        return Fail("cannot open '" + plan_.path + "': " + std::strerror(errno));
    }
    const off_t end = plan_.append ? lseek(file_, 0, SEEK_END) : 0;
    start_ = end > 0 ? static_cast<uint64_t>(end) : 0;
    return true;
}

bool Sink::CopyHeld()
{
    if (!Write(memory_)) {
        return false;
    }
    if (!overflow_) {
        return true;
    }
    const int source = fileno(overflow_.get());
    if (lseek(source, 0, SEEK_SET) < 0) {
        return Fail("cannot read a temporary file");
    }
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        const ssize_t got = read(source, buffer.data(), buffer.size());
        if (got == 0) {
            return true;
        }
        if (got < 0) {
            return Fail("cannot read a temporary file");
        }
        if (!Write({buffer.data(), static_cast<size_t>(got)})) {
            return false;
        }
    }
}

bool Sink::Fail(const std::string &what)
{
    failure_ = what;
    return false;
}

} // namespace TnxTool
