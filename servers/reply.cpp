// Well-formed responses.
#include "reply.h"

namespace OHOS::Pelloria::TnxTest
{

unsigned Code(const Visit &visit)
{
    return static_cast<unsigned>(visit.query.Number("code", 200));
}

std::string ReplyHead(const Visit &visit, unsigned code, const Lines &lines)
{
    std::string head =
        "HTTP/1.1 " + std::to_string(code) + " " + visit.query.Text("reason", "Scripted") + "\r\n";
    for (const auto &line : lines) {
        head += line + "\r\n";
    }
    for (const auto &line : visit.query.All("line")) {
        head += line + "\r\n";
    }
    return head + "\r\n";
}

std::string LengthLine(uint64_t length)
{
    return "Content-Length: " + std::to_string(length);
}

void Reply(const Visit &visit, Script &script, unsigned code, const std::string &body, Lines lines)
{
    const bool bodiless = code == 204 || code == 304;
    if (!bodiless) {
        lines.push_back(LengthLine(body.size()));
    }
    script.Send(ReplyHead(visit, code, lines));
    if (!bodiless && visit.request.Method() != "HEAD") {
        script.Send(body);
    }
}

} // namespace OHOS::Pelloria::TnxTest
