// Writes what people asked to see of a transfer, in a settled order.
#include "report.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include <unistd.h>

#include "base/terminal.h"
#include "explain/explain.h"
#include "output/dump.h"
#include "output/json.h"
#include "output/style.h"
#include "output/write_out.h"

namespace TnxTool
{

void Reporter::Report(Transfer &transfer)
{
    const Settings &settings = transfer.GetRun().settings;
    const Outcome &outcome = transfer.GetOutcome();
    if (outcome.run > 0) {
        ReportTiming(outcome);
        return;
    }
    ReportDebug(settings, outcome);
    const bool head = (settings.include || settings.head) && !settings.asJson;
    transfer.FinishBody(head ? ReceivedHead(outcome, outcome.file.empty()) : "");
    if (settings_.asJson) {
        WriteAll(STDOUT_FILENO, ToJsonLine(outcome, settings_.verbose));
    }
    if (outcome.status != 0 && (!settings_.silent || settings_.showError)) {
        Complain("(" + std::to_string(outcome.status) + ") " + WhichOf(outcome) + outcome.error);
    }
    if (settings.writeOut) {
        const Written written = WriteOut(*settings.writeOut, outcome);
        WriteAll(STDOUT_FILENO, written.output);
        WriteAll(STDERR_FILENO, written.error);
    }
    if (settings_.timing) {
        ReportTiming(outcome);
    }
    if (settings_.explain) {
        WriteAll(STDERR_FILENO, Explain(outcome, transfer.GetRun().configuration));
    }
    if (settings_.har) {
        archive_.Add(outcome, settings_.harSecrets);
    }
}

void Reporter::Finish()
{
    if (settings_.har) {
        WriteTo(*settings_.har, archive_.Text());
    }
    WriteAll(STDERR_FILENO, timing_.Draw(TerminalWidth()));
}

// Transfers that run side by side stand on one axis.
void Reporter::ReportTiming(const Outcome &outcome)
{
    if (settings_.timingRuns > 1) {
        timing_.Measure(outcome);
    } else if (outcome.beside) {
        const std::chrono::duration<double, std::micro> begin = outcome.started - start_;
        timing_.Add(outcome, begin.count());
    } else {
        timing_.Add(outcome, 0);
        WriteAll(STDERR_FILENO, timing_.Draw(TerminalWidth()));
    }
}

void Reporter::ReportDebug(const Settings &settings, const Outcome &outcome)
{
    const Tnx_DebugInfo *info = outcome.response ? outcome.response->debugInfo : nullptr;
    if (settings_.verbose) {
        WriteAll(STDERR_FILENO, VerboseText(info, LookOf(settings_, STDERR_FILENO).color));
    }
    if (settings_.trace) {
        WriteTo(*settings_.trace, TraceText(info, true));
    }
    if (settings_.traceAscii) {
        WriteTo(*settings_.traceAscii, TraceText(info, false));
    }
    if (settings.dumpHeader) {
        WriteTo(*settings.dumpHeader, ReceivedHead(outcome, settings.dumpHeader == "-"));
    }
}

// The header sections as they go to standard output, or to a file.
std::string Reporter::ReceivedHead(const Outcome &outcome, bool toOutput) const
{
    const std::string &head = outcome.conversation.received;
    return toOutput && LookOf(settings_, STDOUT_FILENO).color ? PaintHead(head) : head;
}

// Begins the file at its first use in a run, and goes on with it later.
void Reporter::WriteTo(const std::string &file, const std::string &text)
{
    if (file == "-") {
        WriteAll(STDOUT_FILENO, text);
        return;
    }
    const auto mode = std::exchange(begun_[file], true) ? std::ios::app : std::ios::trunc;
    std::ofstream stream(file, std::ios::binary | mode);
    stream << text << std::flush;
    if (!stream) {
        throw ToolError(EXIT_WRITE, "cannot write '" + file + "': " + std::strerror(errno));
    }
}

} // namespace TnxTool
