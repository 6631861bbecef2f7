// The options that say where the answer goes and what is told about it.
#include "base/values.h"
#include "options_table.h"
#include "output/write_out.h"

namespace TnxTool
{

namespace
{

constexpr const char *WRITE_OUT_MAN =
    "Write this after each transfer. %{name} stands for a variable, \\en, \\er and \\et for line "
    "ends and tabs, %% for a percent sign; @file reads the format from a file. The variables are "
    "listed below. The tool refuses a variable that it cannot fill.";

constexpr const char *AS_JSON_MAN =
    "Write one JSON object to standard output and nothing else, one a line for several URLs: "
    "status, errorCode, effectiveUrl, headers, bodyLength, cookies, times in microseconds, "
    "connection, hops, failure, debug.";

constexpr const char *HAR_MAN =
    "Write the transfers, with all their hops, as an HTTP archive (HAR 1.2), which the network "
    "panel of a browser opens. Bodies of up to 1 MiB stand in it where they are text. "
    "Authorization and cookies are replaced unless --har-secrets is on.";

constexpr const char *EXPLAIN_MAN =
    "Tell phase by phase what happened: the lookup, each address that was tried, TLS with the "
    "chain of certificates and the link that fails, and a pin ready for --pinnedpubkey. Where a "
    "server spoke TLS a second connection is made to read its chain; nothing is sent on it.";

Pretty ParsePretty(const std::string &value)
{
    if (value == "always" || value == "never") {
        return value == "always" ? Pretty::ALWAYS : Pretty::NEVER;
    }
    if (value != "auto") {
        throw UsageError("expected always, auto or never, not '" + value + "'");
    }
    return Pretty::AUTO;
}

const Option OPTIONS[] = {
    {.letter = 'o',
     .name = "output",
     .argument = "file",
     .topic = Topic::OUTPUT,
     .help = "Write the body to a file",
     .man = "Write the body to a file instead of standard output. Each -o goes with one URL. #1 "
            "stands for what the first glob of the URL stands for, and so on.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.outputs.push_back({value, false});
         },
     .important = true},
    {.letter = 'O',
     .name = "remote-name",
     .topic = Topic::OUTPUT,
     .help = "Write to a file named as in the URL",
     .man = "Write the body to a file named by the last part of the URL's path.",
     .target =
         +[](Settings &s) {
             s.outputs.push_back({{}, true});
         },
     .important = true},
    {.name = "remote-name-all",
     .topic = Topic::OUTPUT,
     .help = "Use -O for all URLs",
     .man = "Use -O for every URL that has no -o.",
     .target = &Settings::remoteNameAll},
    {.letter = 'J',
     .name = "remote-header-name",
     .topic = Topic::OUTPUT,
     .help = "Let the server name the file of -O",
     .man = "Write to a file named by the Content-Disposition field, where there is one; it is "
            "refused where it is there already (exit status 23). Folders in that name are left "
            "out.",
     .target = &Settings::remoteHeaderName},
    {.letter = 'R',
     .name = "remote-time",
     .topic = Topic::OUTPUT,
     .help = "Give the file the time of its original",
     .man = "Give the file the time that the Last-Modified field tells.",
     .target = &Settings::remoteTime},
    {.name = "remove-on-error",
     .topic = Topic::OUTPUT,
     .help = "Keep no file of a transfer that failed",
     .man = "Remove the file that a transfer wrote to before it failed.",
     .target = &Settings::removeOnError},
    {.name = "output-dir",
     .argument = "directory",
     .topic = Topic::OUTPUT,
     .help = "Put the files in this directory",
     .man = "Put the files of -o and -O in this directory.",
     .target = &Settings::outputDirectory},
    {.name = "create-dirs",
     .topic = Topic::OUTPUT,
     .help = "Make directories that are missing",
     .man = "Make the directories that -o or --output-dir name where they are missing.",
     .target = &Settings::createDirectories},
    {.letter = 'i',
     .name = "include",
     .topic = Topic::OUTPUT,
     .help = "Show the header fields too",
     .man = "Write the header lines of every answer in front of the body, as they come.",
     .target = &Settings::include,
     .important = true},
    {.letter = 'D',
     .name = "dump-header",
     .argument = "file",
     .topic = Topic::OUTPUT,
     .help = "Write the header fields to a file",
     .man = "Write the header lines of every answer to a file; - is standard output.",
     .target = &Settings::dumpHeader},
    {.name = "pretty",
     .argument = "always|auto|never",
     .topic = Topic::OUTPUT,
     .help = "Lay the answer out for people",
     .man = "Colour header fields, and lay out and colour JSON of up to 10 MiB, which waits for "
            "its end: on a terminal (auto), always, or never. Files of -o always get the bytes as "
            "they are.",
     .target = +[](Settings &s, const std::string &value) { s.pretty = ParsePretty(value); }},
    {.name = "no-color",
     .topic = Topic::OUTPUT,
     .help = "Use no colours",
     .man = "Use no colours. So does NO_COLOR in the environment, if it is not empty.",
     .target = +[](Settings &s) { s.color = false; }},
    {.letter = 'f',
     .name = "fail",
     .topic = Topic::OUTPUT,
     .help = "Fail silently on HTTP errors",
     .man =
         "End with exit status 22 when the status is 400 or more, at once and without the body; a "
         "file of -o or -O stays as it is.",
     .target = &Settings::fail,
     .important = true},
    {.name = "fail-with-body",
     .topic = Topic::OUTPUT,
     .help = "Fail on HTTP errors, but write the body",
     .man = "As -f, but the body is written.",
     .target = &Settings::failWithBody},
    {.name = "fail-early",
     .topic = Topic::OUTPUT,
     .help = "Stop at the first URL that fails",
     .man = "Start no further transfer after one has failed.",
     .target = &Settings::failEarly},
    {.letter = 'w',
     .name = "write-out",
     .argument = "format",
     .topic = Topic::OUTPUT,
     .help = "Write facts about the transfer",
     .man = WRITE_OUT_MAN,
     .target =
         +[](Settings &s, const std::string &value) {
             s.writeOut = DataValue(value);
             CheckWriteOut(*s.writeOut);
         }},
    {.name = "as-json",
     .topic = Topic::OUTPUT,
     .help = "Write one JSON object about the answer",
     .man = AS_JSON_MAN,
     .target = &Settings::asJson},
    {.name = "har",
     .argument = "file",
     .topic = Topic::OUTPUT,
     .help = "Write an HTTP archive",
     .man = HAR_MAN,
     .target = &Settings::har},
    {.name = "har-secrets",
     .topic = Topic::OUTPUT,
     .help = "Keep credentials in the HTTP archive",
     .man = "Write authorization fields and cookies into the archive of --har as they were.",
     .target = &Settings::harSecrets},
    {.letter = 'N',
     .name = "no-buffer",
     .topic = Topic::OUTPUT,
     .help = "Write the body as it comes",
     .man = "Does nothing: the body is always written as it comes.",
     .target = +[](Settings &) {}},

    {.letter = 'v',
     .name = "verbose",
     .topic = Topic::VERBOSE,
     .help = "Show the conversation",
     .man =
         "Show on standard error, as it happens, the header lines sent (>) and received (<), and "
         "what happened (*); under -Z when a transfer is over.",
     .target = &Settings::verbose,
     .important = true},
    {.letter = 's',
     .name = "silent",
     .topic = Topic::VERBOSE,
     .help = "Show neither progress nor errors",
     .man = "Show neither the progress meter nor errors.",
     .target = &Settings::silent,
     .important = true},
    {.letter = 'S',
     .name = "show-error",
     .topic = Topic::VERBOSE,
     .help = "Show errors even with -s",
     .man = "Show errors even with -s.",
     .target = &Settings::showError},
    {.name = "no-progress-meter",
     .topic = Topic::VERBOSE,
     .help = "Show no progress meter",
     .man = "Show no progress meter. It is only ever shown on a terminal that the body does not "
            "go to, for transfers longer than a second.",
     .target = &Settings::noProgress},
    {.letter = '#',
     .name = "progress-bar",
     .topic = Topic::VERBOSE,
     .help = "Show progress as a bar",
     .man = "Does nothing: progress is always shown as a bar.",
     .target = +[](Settings &) {}},
    {.name = "trace",
     .argument = "file",
     .topic = Topic::VERBOSE,
     .help = "Write the conversation, in hex",
     .man = "Write all that was sent and received, in hex and text, to a file; - is standard "
            "output.",
     .target = &Settings::trace},
    {.name = "trace-ascii",
     .argument = "file",
     .topic = Topic::VERBOSE,
     .help = "Write the conversation, as text",
     .man = "As --trace, without the hex.",
     .target = &Settings::traceAscii},
    {.name = "timing",
     .appendix = "runs",
     .topic = Topic::VERBOSE,
     .help = "Draw the phases of the transfer",
     .man = "Draw on standard error how long each phase of each hop took: lookup, connect, TLS, "
            "send, wait, receive; under -Z of all transfers on one axis. With a number of runs, "
            "fetch each URL so often and tell minimum, median and 95th percentile of each phase, "
            "and how many of the runs had it; the answer of the first run alone is shown.",
     .target = &Settings::timing,
     .append =
         +[](Settings &s, const std::string &value) {
             s.timing = true;
             s.timingRuns = ParseNumber(value, 100000);
         }},
    {.name = "explain",
     .topic = Topic::VERBOSE,
     .help = "Explain the transfer, or its failure",
     .man = EXPLAIN_MAN,
     .target = &Settings::explain},
};

} // namespace

std::span<const Option> OutputOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
