// Tells of a transfer while it runs: the lines of -v, the dumps of --trace, the header fields of -D
// and -i.
#ifndef TNX_CLI_NARRATOR_H
#define TNX_CLI_NARRATOR_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/settings.h"
#include "output/sink.h"

namespace TnxTool
{

// The files that a run writes to. Each is begun at its first use and goes on after that.
class OutputFiles
{
public:
    // "-" is standard output. Throws ToolError.
    void Write(const std::string &file, const std::string &text);

private:
    std::map<std::string, bool> begun_;
};

class Narrator
{
public:
    // `held`: others run beside it, so that all is told at its end, in one piece.
    Narrator(const Settings &settings, OutputFiles &files, Sink &sink, bool held);

    // Whether there is anything to listen for.
    bool Listens() const;

    // Takes an event: a Tnx_DebugKind, or something that it leaves out. A failure is kept.
    void Hear(uint32_t kind, std::string_view bytes) noexcept;

    // Tells what was held. Throws ToolError.
    void Finish();

    // Why something could not be written; empty where all could.
    const std::string &Failure() const { return failure_; }

private:
    void Tell(uint32_t kind, std::string_view bytes);
    void Write(const std::string &file, const std::string &text);

    const Settings &settings_;
    OutputFiles &files_;
    Sink &sink_;
    const bool held_;
    const bool head_;                                         // header fields stand before the body
    std::vector<std::pair<std::string, std::string>> pieces_; // texts by their files
    std::string failure_;
};

} // namespace TnxTool

#endif
