// The addresses that were tried, read from the texts of the debug information.
#ifndef TNX_CLI_ATTEMPTS_H
#define TNX_CLI_ATTEMPTS_H

#include <cstdint>
#include <string>
#include <vector>

namespace TnxTool
{

struct Attempt {
    enum Result { NO_ANSWER, REFUSED, CONNECTED };
    std::string address;
    uint16_t port = 0;
    Result result = NO_ANSWER;
    std::string reason = "no answer"; // why it did not connect
    std::string host = {};            // what it stands for, where it connected
};

// Those of the last hop that connected, or tried to.
std::vector<Attempt> ReadAttempts(const std::vector<std::string> &texts);

} // namespace TnxTool

#endif
