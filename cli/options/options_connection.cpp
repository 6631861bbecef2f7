// The options that say how the transfer runs: time-outs, versions, names, trying again, and the
// tool's own.
#include "base/values.h"
#include "options_table.h"

namespace TnxTool
{

namespace
{

constexpr const char *RETRY_MAN =
    "Try again, up to this often, after a time-out, a failed lookup, or a status of 408, 429, 500, "
    "502, 503 or 504. The tool waits one second, then twice as long each time up to ten minutes, "
    "or as long as the server asks for with Retry-After.";

constexpr const char *CONFIG_MAN =
    "Read options from a file; - is standard input. Each line is one option, its name with or "
    "without dashes, then a blank, = or :, then its value, in double quotes where it has blanks "
    "(\\e\\e, \\e\", \\et, \\en, \\er and \\ev are understood). Lines that begin with # are "
    "comments.";

void Prefer(Settings &settings, Tnx_TransferPreference preference, bool priorKnowledge = false)
{
    settings.preference = preference;
    settings.priorKnowledge = priorKnowledge;
}

const Option OPTIONS[] = {
    {.letter = 'L',
     .name = "location",
     .topic = Topic::CONNECTION,
     .help = "Follow redirects",
     .man = "Follow redirects, at most 50. Credentials stay with their origin; methods change as "
            "RFC 9110 section 15.4 has it.",
     .target = &Settings::location,
     .important = true},
    {.letter = 'm',
     .name = "max-time",
     .argument = "seconds",
     .topic = Topic::CONNECTION,
     .help = "The most time for a transfer",
     .man = "End a transfer that takes longer with exit status 28. Fractions are allowed; 0 is no "
            "limit.",
     .target = +[](Settings &s, const std::string &value) { s.maxTime = ParseSeconds(value); },
     .important = true},
    {.name = "connect-timeout",
     .argument = "seconds",
     .topic = Topic::CONNECTION,
     .help = "The most time for connecting",
     .man = "The most time for lookup, connect, TLS and proxy; 300 unless set.",
     .target =
         +[](Settings &s, const std::string &value) { s.connectTimeout = ParseSeconds(value); }},
    {.letter = '0',
     .name = "http1.0",
     .topic = Topic::CONNECTION,
     .help = "Speak HTTP/1.0",
     .man = "Speak HTTP/1.0.",
     .target = +[](Settings &s) { Prefer(s, TNX_PREFER_HTTP1_0); }},
    {.name = "http1.1",
     .topic = Topic::CONNECTION,
     .help = "Speak HTTP/1.1",
     .man = "Speak HTTP/1.1.",
     .target = +[](Settings &s) { Prefer(s, TNX_PREFER_HTTP1_1); }},
    {.name = "http2",
     .topic = Topic::CONNECTION,
     .help = "Speak HTTP/2 where the server does",
     .man = "Speak HTTP/2 where the server does, in clear text too.",
     .target = +[](Settings &s) { Prefer(s, TNX_PREFER_HTTP2); }},
    {.name = "http2-prior-knowledge",
     .topic = Topic::CONNECTION,
     .help = "Speak HTTP/2 without asking",
     .man = "Speak HTTP/2 at once; fail where the server does not.",
     .target = +[](Settings &s) { Prefer(s, TNX_PREFER_HTTP2, true); }},
    {.name = "http3",
     .topic = Topic::CONNECTION,
     .help = "Speak HTTP/3 where the library can",
     .man = "Speak HTTP/3 where the libcurl at hand can, else HTTP/2.",
     .target = +[](Settings &s) { Prefer(s, TNX_PREFER_HTTP3); }},
    {.letter = 'Z',
     .name = "parallel",
     .topic = Topic::CONNECTION,
     .help = "Fetch the URLs at the same time",
     .man = "Fetch the URLs at the same time. Bodies on standard output stay whole, in the order "
            "of the URLs.",
     .target = &Settings::parallel,
     .important = true},
    {.name = "rate",
     .argument = "number/unit",
     .topic = Topic::CONNECTION,
     .help = "Start no more transfers in that time",
     .man = "Start that many transfers a second (s), minute (m), hour (h) or day (d), evenly "
            "spread: 2/s, 10/m; a number may stand before the unit, as in 3/15s. Transfers under "
            "-Z take no heed.",
     .target = +[](Settings &s, const std::string &value) { s.pace = ParsePace(value); }},
    {.name = "parallel-max",
     .argument = "number",
     .topic = Topic::CONNECTION,
     .help = "The most transfers at a time",
     .man = "The most transfers that -Z runs at a time; 50 unless set, 300 at most.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.parallelMax = std::max(1U, ParseNumber(value, 300));
         }},

    {.name = "resolve",
     .argument = "host:port:address[,address]...",
     .topic = Topic::DNS,
     .help = "Use these addresses for a host",
     .man = "Use these addresses for a host and port instead of looking it up. Goes not together "
            "with --dns-servers.",
     .target = &Settings::resolve},
    {.name = "dns-servers",
     .argument = "address[,address]...",
     .topic = Topic::DNS,
     .help = "Ask these name servers",
     .man = "Ask these name servers, in turn. A port may follow an address: 127.0.0.1:5353 or "
            "[::1]:5353.",
     .target = &Settings::dnsServers},
    {.name = "doh-url",
     .argument = "URL",
     .topic = Topic::DNS,
     .help = "Resolve names over HTTPS",
     .man = "Resolve names with DNS over HTTPS (RFC 8484) at this URL, and only there.",
     .target = &Settings::dohUrl},

    {.name = "retry",
     .argument = "number",
     .topic = Topic::RETRY,
     .help = "Try again when a problem may pass",
     .man = RETRY_MAN,
     .target = +[](Settings &s, const std::string &value) { s.retry.count = ParseNumber(value); }},
    {.name = "retry-delay",
     .argument = "seconds",
     .topic = Topic::RETRY,
     .help = "Wait this long between tries",
     .man = "Wait this long between tries, always.",
     .target = +[](Settings &s,
                   const std::string &value) { s.retry.delay = ParseNumber(value, 100000); }},
    {.name = "retry-max-time",
     .argument = "seconds",
     .topic = Topic::RETRY,
     .help = "Start no try after this time",
     .man = "Start no try when this time has passed since the first one began.",
     .target =
         +[](Settings &s, const std::string &value) { s.retry.maxTime = ParseNumber(value); }},
    {.name = "retry-connrefused",
     .topic = Topic::RETRY,
     .help = "Try again after a refused connection",
     .man = "Count a refused connection as a problem that may pass.",
     .target = +[](Settings &s) { s.retry.connectionRefused = true; }},
    {.name = "retry-all-errors",
     .topic = Topic::RETRY,
     .help = "Try again after any error",
     .man = "Count every error as one that may pass.",
     .target = +[](Settings &s) { s.retry.allErrors = true; }},

    {.letter = 'K',
     .name = "config",
     .argument = "file",
     .topic = Topic::TOOL,
     .help = "Read options from a file",
     .man = CONFIG_MAN,
     .target = +[](Settings &, const std::string &) {}},
    {.letter = 'q',
     .name = "disable",
     .topic = Topic::TOOL,
     .help = "Read no default file of options",
     .man = "As the first argument: do not read the file of options that is otherwise read before "
            "the command line, $XDG_CONFIG_HOME/tnxrc or ~/.config/tnxrc.",
     .target = +[](Settings &) {}},
    {.letter = ':',
     .name = "next",
     .topic = Topic::TOOL,
     .help = "Begin another set of options",
     .man = "The URLs that follow have options of their own. What is told about the transfers, and "
            "how they run side by side, holds for all: -s, -S, -v, -Z, --parallel-max, --rate, "
            "--fail-early, --as-json, --timing, --explain, --har, --trace, --pretty and their kin.",
     .target = +[](Settings &) {}},
    {.letter = 'h',
     .name = "help",
     .argument = "topic",
     .topic = Topic::TOOL,
     .help = "Show help about a topic",
     .man = "Show the most used options, those of a topic, or with all every one; topics lists "
            "the topics.",
     .target = &Settings::help,
     .important = true},
    {.letter = 'V',
     .name = "version",
     .topic = Topic::TOOL,
     .help = "Show the versions",
     .man = "Show the version of the tool and of the libraries that it stands on.",
     .target = &Settings::version,
     .important = true},
};

} // namespace

std::span<const Option> ConnectionOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
