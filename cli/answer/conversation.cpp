// Reads the debug information of a response.
#include "conversation.h"

#include <charconv>
#include <utility>

#include "base/values.h"

namespace TnxTool
{

namespace
{

std::string FindField(const std::vector<Field> &fields, std::string_view lowerName)
{
    for (const Field &field : fields) {
        if (ToLower(field.name) == lowerName) {
            return field.value;
        }
    }
    return {};
}

void AddField(std::vector<Field> &fields, std::string_view line)
{
    // A name of HTTP/2 may begin with a colon.
    const size_t mark = line.find(':', 1);
    if (mark != std::string_view::npos) {
        fields.push_back(
            {std::string(line.substr(0, mark)), std::string(Trim(line.substr(mark + 1)))});
    }
}

// Reads "METHOD target HTTP/version".
void ReadRequestLine(Hop &hop, std::string_view line)
{
    const size_t first = std::min(line.find(' '), line.size());
    const size_t last = std::max(line.rfind(' ') + 1, first); // npos + 1 is 0
    hop.method = line.substr(0, first);
    hop.target = Trim(line.substr(first, last - first));
    hop.requestVersion = line.substr(std::min(line.size(), line.find('/', last) + 1));
}

// Reads "HTTP/version status reason".
void ReadStatusLine(Hop &hop, std::string_view line)
{
    const size_t first = std::min(line.find(' '), line.size());
    hop.version = line.substr(5, first - 5);
    const std::string_view rest = Trim(line.substr(first));
    std::from_chars(rest.data(), rest.data() + rest.size(), hop.status);
    hop.reason = Trim(rest.substr(std::min<size_t>(3, rest.size())));
}

class Reader
{
public:
    void AddSent(std::string_view bytes)
    {
        if (!sending_) {
            conversation_.hops.emplace_back();
            sending_ = true;
            sentAny_ = false;
        }
        Hop &hop = conversation_.hops.back();
        hop.requestSize += bytes.size();
        for (const std::string &line : Split(bytes, '\n')) {
            const std::string_view text = Trim(line);
            if (!text.empty() && !std::exchange(sentAny_, true)) {
                ReadRequestLine(hop, text);
            } else {
                AddField(hop.requestFields, text);
            }
        }
    }

    void AddReceived(std::string_view bytes)
    {
        for (const std::string &line : Split(bytes, '\n')) {
            AddReceivedLine(Trim(line));
        }
        if (!conversation_.hops.empty()) {
            conversation_.hops.back().size += bytes.size();
        }
    }

    void AddSentBody(std::string_view bytes)
    {
        if (!conversation_.hops.empty()) {
            conversation_.hops.back().body += bytes;
        }
    }

    void AddText(std::string_view bytes) { conversation_.texts.emplace_back(bytes); }

    Conversation Take() { return std::move(conversation_); }

private:
    void AddReceivedLine(std::string_view line)
    {
        if (line.starts_with("HTTP/")) {
            if (!std::exchange(sending_, false)) {
                AddFurtherAnswer();
            }
            ReadStatusLine(conversation_.hops.back(), line);
        } else if (!line.empty() && !conversation_.hops.empty()) {
            AddField(conversation_.hops.back().fields, line);
        }
    }

    // An answer that follows an interim one belongs to the same request.
    void AddFurtherAnswer()
    {
        Hop hop;
        if (!conversation_.hops.empty() && conversation_.hops.back().IsInterim()) {
            hop = conversation_.hops.back();
            hop.fields.clear();
            hop.size = 0;
        }
        conversation_.hops.push_back(hop);
    }

    Conversation conversation_;
    bool sending_ = false;
    bool sentAny_ = false;
};

} // namespace

std::string Hop::RequestField(std::string_view lowerName) const
{
    return FindField(requestFields, lowerName);
}

std::string Hop::AnswerField(std::string_view lowerName) const
{
    return FindField(fields, lowerName);
}

std::vector<const Hop *> Conversation::Exchanges() const
{
    std::vector<const Hop *> exchanges;
    for (const Hop &hop : hops) {
        if (!hop.IsInterim() && hop.method != "CONNECT") {
            exchanges.push_back(&hop);
        }
    }
    return exchanges;
}

std::optional<ProxyUse> Conversation::Proxy() const
{
    constexpr std::string_view begin = "Uses the proxy ";
    constexpr std::string_view middle = ", which ";
    constexpr std::string_view end = " names";
    std::optional<ProxyUse> proxy;
    for (const std::string_view text : texts) {
        if (text.starts_with("hop over: ")) {
            proxy.reset();
        } else if (text.starts_with(begin) && text.ends_with(end)) {
            const size_t comma = std::min(text.find(middle), text.size() - end.size());
            const size_t name = std::min(comma + middle.size(), text.size() - end.size());
            proxy = {std::string(text.substr(begin.size(), comma - begin.size())),
                     std::string(text.substr(name, text.size() - end.size() - name))};
        }
    }
    return proxy;
}

std::string_view DebugBytes(const Tnx_DebugInfo &info)
{
    return {info.data == nullptr ? "" : info.data, info.data == nullptr ? 0 : info.length};
}

Conversation ReadConversation(const Tnx_Response *response)
{
    Reader reader;
    for (const Tnx_DebugInfo *info = response == nullptr ? nullptr : response->debugInfo;
         info != nullptr; info = info->next) {
        if (info->type == TNX_DEBUG_TEXT) {
            reader.AddText(DebugBytes(*info));
        } else if (info->type == TNX_DEBUG_HEADER_IN) {
            reader.AddReceived(DebugBytes(*info));
        } else if (info->type == TNX_DEBUG_HEADER_OUT) {
            reader.AddSent(DebugBytes(*info));
        } else if (info->type == TNX_DEBUG_DATA_OUT) {
            reader.AddSentBody(DebugBytes(*info));
        }
    }
    return reader.Take();
}

} // namespace TnxTool
