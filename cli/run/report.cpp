// Writes what people asked to see of a transfer, in a settled order.
#include "report.h"

#include <unistd.h>

#include "base/terminal.h"
#include "explain/explain.h"
#include "output/json.h"
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
    transfer.Finish();
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
        files_.Write(*settings_.har, archive_.Text());
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

} // namespace TnxTool
