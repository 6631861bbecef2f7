// Looks options up, and knows what is out of reach.
#include "options.h"

#include <algorithm>
#include <iterator>

#include "options_table.h"

namespace TnxTool
{

namespace
{

struct Unsupported {
    char letter; // 0: it has no short form
    const char *name;
    const char *reason;
};

constexpr const char *NO_SETTING = "the library has no setting for it";
constexpr const char *NO_FAMILY = "the library races both address families";
constexpr const char *NO_JAR = "the library keeps no cookies between runs";
constexpr const char *NO_METHOD = "redirects change methods as RFC 9110 has it";

// Options that people who know curl may try, and why they are not here.
constexpr Unsupported UNSUPPORTED[] = {
    {0, "alt-svc", NO_SETTING},
    {0, "ciphers", NO_SETTING},
    {0, "connect-to", NO_SETTING},
    {'c', "cookie-jar", NO_JAR},
    {0, "curves", NO_SETTING},
    {0, "hsts", NO_SETTING},
    {0, "interface", NO_SETTING},
    {'4', "ipv4", NO_FAMILY},
    {'6', "ipv6", NO_FAMILY},
    {'j', "junk-session-cookies", NO_JAR},
    {0, "limit-rate", NO_SETTING},
    {0, "local-port", NO_SETTING},
    {0, "location-trusted", "credentials stay with their origin"},
    {0, "max-filesize", NO_SETTING},
    {0, "max-redirs", "the limit is 50 redirects"},
    {'n', "netrc", NO_SETTING},
    {':', "next", "all URLs share one set of options"},
    {0, "no-alpn", NO_SETTING},
    {0, "path-as-is", NO_SETTING},
    {0, "post301", NO_METHOD},
    {0, "post302", NO_METHOD},
    {0, "post303", NO_METHOD},
    {0, "preproxy", NO_SETTING},
    {0, "proto", "only http and https are spoken"},
    {0, "proxy-header", NO_SETTING},
    {0, "raw", "transfer codings are always decoded"},
    {'J', "remote-header-name", "name the file with -o"},
    {'R', "remote-time", "the time of a file is left alone"},
    {0, "request-target", NO_SETTING},
    {'Y', "speed-limit", NO_SETTING},
    {'y', "speed-time", NO_SETTING},
    {0, "tcp-fastopen", NO_SETTING},
    {0, "tls-max", NO_SETTING},
    {0, "tls13-ciphers", NO_SETTING},
    {0, "tlsv1.3", NO_SETTING},
    {0, "trace-time", "entries carry no times of their own"},
    {0, "unix-socket", NO_SETTING},
};

bool NameLess(const Option &left, const Option &right)
{
    return std::string_view(left.name) < std::string_view(right.name);
}

// How many letters must be put in, taken out, changed or swapped to get from one to the other.
size_t Distance(std::string_view from, std::string_view to)
{
    std::vector<std::vector<size_t>> table(from.size() + 1, std::vector<size_t>(to.size() + 1));
    for (size_t i = 0; i <= from.size(); ++i) {
        for (size_t j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            const size_t changed = table[i - 1][j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, changed});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table.back().back();
}

// The option that somebody may have meant, as a question; empty where none is near.
std::string Suggestion(std::string_view name)
{
    const std::string_view word = name.substr(0, name.find('='));
    const auto &options = Options();
    const auto nearest = std::min_element(
        options.begin(), options.end(), [word](const Option &left, const Option &right) {
            return Distance(word, left.name) < Distance(word, right.name);
        });
    const bool near = Distance(word, nearest->name) <= std::max<size_t>(1, word.size() / 3);
    return near ? std::string("; did you mean --") + nearest->name + "?" : "";
}

// Tells why an option that a user may expect is not there.
void RefuseUnsupported(std::string_view name)
{
    const auto found =
        std::find_if(std::begin(UNSUPPORTED), std::end(UNSUPPORTED), [name](const Unsupported &u) {
            return name == u.name || (name.size() == 1 && u.letter != 0 && name[0] == u.letter);
        });
    if (found != std::end(UNSUPPORTED)) {
        throw UsageError(std::string("is not supported: ") + found->reason);
    }
}

} // namespace

std::span<const TopicName> Topics()
{
    static constexpr TopicName topics[] = {
        {Topic::REQUEST, "request", "What is asked for: method, headers, cookies, ranges"},
        {Topic::POST, "post", "Bodies that are sent: data, forms, files"},
        {Topic::OUTPUT, "output", "Where the answer goes"},
        {Topic::VERBOSE, "verbose", "What is told about the transfer"},
        {Topic::CONNECTION, "connection", "Time-outs, protocol versions, parallel transfers"},
        {Topic::AUTH, "auth", "User names, passwords, tokens"},
        {Topic::TLS, "tls", "Certificates and trust"},
        {Topic::PROXY, "proxy", "Proxies"},
        {Topic::DNS, "dns", "How names are resolved"},
        {Topic::RETRY, "retry", "Trying again"},
        {Topic::TOOL, "tool", "The tool itself"},
    };
    return topics;
}

const std::vector<Option> &Options()
{
    static const std::vector<Option> options = [] {
        std::vector<Option> all;
        for (const auto &part : {RequestOptions(), OutputOptions(), ConnectionOptions(),
                                 SecurityOptions(), ProxyOptions()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        std::sort(all.begin(), all.end(), NameLess);
        return all;
    }();
    return options;
}

const Option &FindLetter(char letter)
{
    const auto &options = Options();
    const auto found = std::find_if(options.begin(), options.end(),
                                    [letter](const Option &o) { return o.letter == letter; });
    if (letter == 0 || found == options.end()) {
        RefuseUnsupported({&letter, 1});
        throw UsageError("is unknown");
    }
    return *found;
}

const Option &FindName(std::string_view name)
{
    RefuseUnsupported(name);
    const auto &options = Options();
    const auto first =
        std::lower_bound(options.begin(), options.end(), name, [](const Option &o, auto wanted) {
            return std::string_view(o.name) < wanted;
        });
    if (name.empty() || first == options.end() ||
        !std::string_view(first->name).starts_with(name)) {
        throw UsageError("is unknown" + Suggestion(name));
    }
    const auto second = std::next(first);
    if (first->name != name && second != options.end() &&
        std::string_view(second->name).starts_with(name)) {
        throw UsageError("is ambiguous");
    }
    return *first;
}

} // namespace TnxTool
