// Looks options up, and knows what is out of reach.
#include "options.h"

#include <algorithm>
#include <iterator>

#include "options_table.h"
#include "unsupported.h"

namespace TnxTool
{

namespace
{

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
    if (const char *reason = FindUnsupported(name)) {
        throw UsageError(std::string("is not supported: ") + reason);
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
                                 LimitOptions(), SecurityOptions(), ProxyOptions()}) {
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
