// Decides where the body of a URL goes.
#include "output_plan.h"

#include <charconv>
#include <filesystem>

#include <unistd.h>

#include "base/terminal.h"
#include "base/url.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

Text OutputFile(const Settings &settings, const Job &job)
{
    if (!job.output) {
        return std::nullopt;
    }
    std::string file = job.output->file;
    if (job.output->remoteName) {
        const std::string &url = job.url;
        file = UrlFileName(url.find("://") == std::string::npos ? "http://" + url : url);
        const bool unnamed = file.empty() && !settings.remoteHeaderName;
        if (unnamed || file == "." || file == "..") {
            throw ToolError(EXIT_WRITE, "the URL '" + url + "' ends with no name for a file");
        }
    }
    if (file != "-" && settings.outputDirectory) {
        return (std::filesystem::path(*settings.outputDirectory) / file).string();
    }
    return file;
}

} // namespace

Sink::Plan PlanOutput(const Settings &settings, const Job &job)
{
    Sink::Plan plan;
    if (job.run > 0) {
        plan.kind = Sink::Kind::COUNT;
        return plan;
    }
    const Text file = OutputFile(settings, job);
    plan.createDirectories = settings.createDirectories;
    plan.append = settings.continueAt.has_value();
    plan.kept = settings.har.has_value();
    if (file && *file != "-") {
        plan.kind = Sink::Kind::FILE;
        plan.path = *file;
    } else if (settings.asJson) {
        plan.kind = Sink::Kind::COUNT;
    } else {
        const bool terminal = IsTerminal(STDOUT_FILENO);
        plan.refuseBinary = terminal && !file;
        plan.look = LookOf(settings, STDOUT_FILENO);
        // Whether it is shown, and when its turn is, is known at the end.
        plan.held = settings.parallel || settings.retry.count != 0;
    }
    return plan;
}

uint64_t ResumeOffset(const Settings &settings, const Sink::Plan &plan)
{
    if (!settings.continueAt) {
        return 0;
    }
    const std::string &value = *settings.continueAt;
    if (value == "-") {
        if (plan.kind != Sink::Kind::FILE) {
            throw UsageError("option -C -: needs a file to resume (-o or -O)");
        }
        return FileSize(plan.path).value_or(0);
    }
    uint64_t offset = 0;
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), offset);
    if (error != std::errc{} || rest != value.data() + value.size() ||
        offset > static_cast<uint64_t>(INT64_MAX)) {
        throw UsageError("option -C: expected an offset or -, not '" + value + "'");
    }
    return offset;
}

} // namespace TnxTool
