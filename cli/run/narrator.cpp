// Tells of a transfer while it runs.
#include "narrator.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>

#include <unistd.h>

#include "base/terminal.h"
#include "output/dump.h"
#include "output/style.h"

namespace TnxTool
{

namespace
{

constexpr const char *STANDARD_ERROR = ""; // among names of files

} // namespace

void OutputFiles::Write(const std::string &file, const std::string &text)
{
    if (file == STANDARD_ERROR || file == "-") {
        WriteAll(file == "-" ? STDOUT_FILENO : STDERR_FILENO, text);
        return;
    }
    const auto mode = std::exchange(begun_[file], true) ? std::ios::app : std::ios::trunc;
    std::ofstream stream(file, std::ios::binary | mode);
    stream << text << std::flush;
    if (!stream) {
        throw ToolError(EXIT_WRITE, "cannot write '" + file + "': " + std::strerror(errno));
    }
}

Narrator::Narrator(const Settings &settings, OutputFiles &files, Sink &sink, bool held)
    : settings_(settings)
    , files_(files)
    , sink_(sink)
    , held_(held)
    , head_((settings.include || settings.head) && !settings.asJson)
{
}

bool Narrator::Listens() const
{
    return head_ || settings_.verbose || settings_.trace || settings_.traceAscii ||
           settings_.dumpHeader;
}

void Narrator::Hear(uint32_t kind, std::string_view bytes) noexcept
{
    try {
        if (kind < TNX_DEBUG_KINDS && failure_.empty()) {
            Tell(kind, bytes);
        }
    } catch (const std::exception &error) {
        failure_ = error.what();
    }
}

void Narrator::Tell(uint32_t kind, std::string_view bytes)
{
    if (settings_.verbose) {
        const bool color = LookOf(settings_, STDERR_FILENO).color;
        Write(STANDARD_ERROR, VerboseText(kind, bytes, color));
    }
    if (settings_.trace) {
        Write(*settings_.trace, TraceText(kind, bytes, true));
    }
    if (settings_.traceAscii) {
        Write(*settings_.traceAscii, TraceText(kind, bytes, false));
    }
    if (kind != TNX_DEBUG_HEADER_IN) {
        return;
    }
    const bool color = LookOf(settings_, STDOUT_FILENO).color;
    const std::string shown = color ? PaintHead(bytes) : std::string(bytes);
    if (settings_.dumpHeader) {
        Write(*settings_.dumpHeader, settings_.dumpHeader == "-" ? shown : std::string(bytes));
    }
    if (head_) {
        const bool toFile = sink_.GetPlan().kind == Sink::Kind::FILE;
        sink_.TakeHead(toFile ? bytes : shown);
    }
}

void Narrator::Write(const std::string &file, const std::string &text)
{
    if (text.empty()) {
        return;
    }
    if (!held_) {
        files_.Write(file, text);
    } else if (!pieces_.empty() && pieces_.back().first == file) {
        pieces_.back().second += text;
    } else {
        pieces_.emplace_back(file, text);
    }
}

void Narrator::Finish()
{
    for (const auto &[file, text] : std::exchange(pieces_, {})) {
        files_.Write(file, text);
    }
}

} // namespace TnxTool
