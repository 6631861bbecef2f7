// Reads the debug information of a response: the exchanges that it was made of, hop by hop.
#ifndef TNX_CLI_CONVERSATION_H
#define TNX_CLI_CONVERSATION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tnx_c.h"

namespace TnxTool
{

struct Field {
    std::string name;
    std::string value;
};

// One request with its answer. Interim answers (1xx) and those of proxies to CONNECT are hops of
// their own.
struct Hop {
    std::string method;
    std::string target;
    std::string requestVersion;
    std::vector<Field> requestFields;
    size_t requestSize = 0; // bytes of its header section
    std::string body;       // as it was sent, where data is recorded

    std::string version; // "1.1", "2"
    int status = 0;
    std::string reason;
    std::vector<Field> fields;
    size_t size = 0; // bytes of its header section

    bool IsInterim() const { return status / 100 == 1; }
    std::string RequestField(std::string_view lowerName) const;
    std::string AnswerField(std::string_view lowerName) const;
};

struct ProxyUse {
    std::string url;
    std::string namedBy; // the environment variable, or "the configuration"
};

struct Conversation {
    std::vector<Hop> hops;
    std::vector<std::string> texts;

    // The answers that the application sees: no interim ones, none to CONNECT.
    std::vector<const Hop *> Exchanges() const;

    // The proxy that the last hop took; nothing where it went directly.
    std::optional<ProxyUse> Proxy() const;
};

Conversation ReadConversation(const Tnx_Response *response);

std::string_view DebugBytes(const Tnx_DebugInfo &info);

} // namespace TnxTool

#endif
