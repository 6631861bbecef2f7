// Where a body goes: a file, standard output, or nowhere but a count. A body that must wait for the
// end of its transfer is held, in memory first and then in an unnamed file.
#ifndef TNX_CLI_SINK_H
#define TNX_CLI_SINK_H

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "style.h"

namespace TnxTool
{

class Sink
{
public:
    enum class Kind { STANDARD_OUTPUT, FILE, COUNT };

    struct Plan {
        Kind kind = Kind::STANDARD_OUTPUT;
        std::string path;
        bool held = false;
        bool append = false;
        bool fresh = false; // the file must not be there yet
        bool createDirectories = false;
        bool refuseBinary = false; // a terminal would be garbled by it
        bool kept = false;         // keep a copy of a small body
        Look look;                 // of a body that is JSON
    };

    explicit Sink(Plan plan);
    ~Sink();
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;

    // Takes the next piece. False when it cannot; Failure() then tells why.
    bool Take(std::string_view piece) noexcept;

    // Takes a line that stands before the body. A file gets it when it is begun.
    void TakeHead(std::string_view line);

    // The body is JSON: it waits for its end and is laid out, where the plan has it so.
    void ExpectJson() noexcept { layOut_ = plan_.look.pretty; }

    // Names the file anew, which must not be there yet. Before the first piece.
    void NameFile(const std::string &name);

    // Removes the file, if it was begun; sets the time of its last change.
    void RemoveFile() noexcept;
    void SetTime(std::time_t time) noexcept;

    // Forgets what came, for another try.
    void Restart() noexcept;

    // Writes what was held, and makes the file of an empty body. False as Take.
    bool Finish() noexcept;

    uint64_t Count() const { return count_; }
    bool IsEmpty() const { return count_ == 0 && !headed_; }

    // The whole body, where it was to be kept and is not above 1 MiB; else nothing.
    std::optional<std::string> TakeKept();

    const std::string &Failure() const { return failure_; }
    const Plan &GetPlan() const { return plan_; }

private:
    bool Gather(std::string_view piece);
    bool FinishLayout();
    bool Deliver(std::string_view piece);
    bool Hold(std::string_view piece);
    bool Write(std::string_view piece);
    bool Open();
    bool CopyHeld();
    bool Fail(const std::string &what);

    struct CloseFile {
        void operator()(std::FILE *file) const noexcept { std::fclose(file); }
    };

    Plan plan_;
    int file_ = -1;
    uint64_t start_ = 0; // where this transfer's bytes begin in the file
    uint64_t count_ = 0;
    bool headed_ = false;
    std::string head_; // of a file
    bool layOut_ = false;
    std::string json_; // so far
    std::string memory_;
    std::string kept_;
    std::unique_ptr<std::FILE, CloseFile> overflow_;
    std::string failure_;
};

} // namespace TnxTool

#endif
