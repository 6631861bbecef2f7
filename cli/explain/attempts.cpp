// The addresses that were tried.
#include "attempts.h"

#include <algorithm>
#include <charconv>
#include <regex>

namespace TnxTool
{

namespace
{

uint16_t PortOf(const std::string &text)
{
    uint16_t port = 0;
    std::from_chars(text.data(), text.data() + text.size(), port);
    return port;
}

Attempt *Find(std::vector<Attempt> &attempts, const std::string &address, const std::string &port)
{
    for (Attempt &attempt : attempts) {
        if (attempt.address == address && attempt.port == PortOf(port)) {
            return &attempt;
        }
    }
    return nullptr;
}

} // namespace

// Reads what libcurl says. The newer one tells this end of a refused connection too, and tells of a
// good one only when TLS stands as well; before, the library's last text has the phase.
std::vector<Attempt> ReadAttempts(const std::vector<std::string> &texts)
{
    static const std::regex trying(R"(\s*Trying \[?([0-9a-fA-F.:]+?)\]?:(\d+)\.\.\.)");
    static const std::regex refused(R"(connect to (\S+) port (\d+)(?: from .*)? failed: (.*))");
    static const std::regex connected(R"(Connected to (\S+) \((\S+)\) port (\d+).*)");
    std::vector<Attempt> attempts;
    constexpr const char *UNDER_TLS = " (TLS handshake, ";
    bool over = false; // the next one tried belongs to the next hop
    for (const std::string &text : texts) {
        std::smatch match;
        if (std::regex_match(text, match, trying)) {
            if (over) {
                attempts.clear();
                over = false;
            }
            attempts.push_back({.address = match[1], .port = PortOf(match[2])});
        } else if (std::regex_match(text, match, refused)) {
            if (Attempt *attempt = Find(attempts, match[1], match[2])) {
                attempt->result = Attempt::REFUSED;
                attempt->reason = match[3];
            }
        } else if (std::regex_match(text, match, connected)) {
            if (Attempt *attempt = Find(attempts, match[2], match[3])) {
                attempt->result = Attempt::CONNECTED;
                attempt->host = match[1];
            }
            over = true;
        } else if (text.find(UNDER_TLS) != std::string::npos && !over) {
            const auto last =
                std::find_if(attempts.rbegin(), attempts.rend(),
                             [](const Attempt &a) { return a.result == Attempt::NO_ANSWER; });
            if (last != attempts.rend()) {
                last->result = Attempt::CONNECTED;
            }
        }
    }
    return attempts;
}

} // namespace TnxTool
