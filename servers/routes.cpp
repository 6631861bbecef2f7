// The table of routes, and the ones that answer as a well-behaved server does.
#include "routes.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>

#include "bodies.h"
#include "reply.h"
#include "routes_auth.h"
#include "routes_dns.h"
#include "routes_faults.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

std::string PercentDecode(std::string_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            out += static_cast<char>(
                std::strtoul(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

// /bytes?n=1024: a body of n bytes of the pattern.
void Bytes(const Visit &visit, Script &script)
{
    const uint64_t length = visit.query.Number("n");
    script.Send(ReplyHead(visit, Code(visit), {LengthLine(length)}));
    if (visit.request.Method() != "HEAD") {
        SendPattern(script, length);
    }
}

// /chunked?n=100&size=10&trailer=Name: value: the pattern in chunks.
void Chunked(const Visit &visit, Script &script)
{
    const uint64_t length = visit.query.Number("n", 100);
    const uint64_t size = std::max<uint64_t>(1, visit.query.Number("size", 10));
    script.Send(ReplyHead(visit, 200, {"Transfer-Encoding: chunked"}));
    for (uint64_t at = 0; at < length; at += size) {
        const uint64_t piece = std::min(size, length - at);
        char line[32];
        snprintf(line, sizeof line, "%llx\r\n", static_cast<unsigned long long>(piece));
        script.Send(line + Pattern(piece, at) + "\r\n");
    }
    std::string end = "0\r\n";
    for (const auto &line : visit.query.All("trailer")) {
        end += line + "\r\n";
    }
    script.Send(end + "\r\n");
}

// /echo: the raw bytes of the request.
void Echo(const Visit &visit, Script &script)
{
    Reply(visit, script, 200, visit.request.Raw(), {"Content-Type: text/plain"});
}

// /sink: how many bytes the body had.
void Sink(const Visit &visit, Script &script)
{
    Reply(visit, script, 200, std::to_string(visit.request.length));
}

// /status?code=404; with times=2 only for the first two visits of this target.
void Status(const Visit &visit, Script &script)
{
    const uint64_t times = visit.query.Number("times");
    const bool over = times > 0 && visit.ofTarget > times;
    const unsigned code = Code(visit);
    Reply(visit, script, over ? 200 : code, over ? "done" : "status " + std::to_string(code));
}

// /429?times=2&after=1: too many requests for the first two visits of this target.
void TooMany(const Visit &visit, Script &script)
{
    if (visit.ofTarget > visit.query.Number("times", 1)) {
        Reply(visit, script, 200, "done");
    } else {
        Reply(visit, script, 429, "later", {"Retry-After: " + visit.query.Text("after", "0")});
    }
}

// /redirect?to=/bytes&code=302; with n=5 five times to itself first.
void Redirect(const Visit &visit, Script &script)
{
    const uint64_t hops = visit.query.Number("n", 1);
    const std::string to = visit.query.Text("to", "/bytes");
    const std::string code = visit.query.Text("code", "302");
    const std::string location =
        hops > 1 ? "/redirect?n=" + std::to_string(hops - 1) + "&code=" + code + "&to=" + to : to;
    Reply(visit, script, static_cast<unsigned>(visit.query.Number("code", 302)), "elsewhere",
          {"Location: " + location});
}

// /header?line=Set-Cookie: a=b: any header lines, which every other route takes too.
void Header(const Visit &visit, Script &script)
{
    Reply(visit, script, 200, "ok");
}

// /range?n=1000: a resource that has byte ranges.
void Range(const Visit &visit, Script &script)
{
    const uint64_t length = visit.query.Number("n", 1000);
    std::vector<Span> spans;
    if (!ParseRanges(visit.request.Field("range"), length, spans)) {
        Reply(visit, script, 200, Pattern(length), {"Accept-Ranges: bytes"});
        return;
    }
    const std::string all = "/" + std::to_string(length);
    const auto field = [&all](const Span &span) {
        return "Content-Range: bytes " + std::to_string(span.first) + "-" +
               std::to_string(span.second) + all;
    };
    if (spans.empty()) {
        Reply(visit, script, 416, "", {"Content-Range: bytes *" + all});
    } else if (spans.size() == 1) {
        const auto [first, last] = spans.front();
        Reply(visit, script, 206, Pattern(last - first + 1, first), {field(spans.front())});
    } else {
        std::string body;
        for (const auto &span : spans) {
            body += "--part\r\n" + field(span) + "\r\n\r\n" +
                    Pattern(span.second - span.first + 1, span.first) + "\r\n";
        }
        Reply(visit, script, 206, body + "--part--\r\n",
              {"Content-Type: multipart/byteranges; boundary=part"});
    }
}

// /gzip?n=1000, /deflate, /br, /zstd: the pattern, encoded.
template <std::string (*encode)(std::string_view)>
void Encoded(const Visit &visit, Script &script, const char *name)
{
    Reply(visit, script, 200, encode(Pattern(visit.query.Number("n", 1000))),
          {std::string("Content-Encoding: ") + name});
}

void NotFound(const Visit &visit, Script &script)
{
    Reply(visit, script, 404, "no such route");
}

// /: what there is.
void Index(const Visit &visit, Script &script);

const std::unordered_map<std::string, Route> &Routes()
{
    // Never destroyed: servers that are static objects look up until the process ends.
    static const auto &routes = *new auto([] {
        std::unordered_map<std::string, Route> all = {
            {"/", {Index}},
            {"/bytes", {Bytes}},
            {"/chunked", {Chunked}},
            {"/echo", {Echo}},
            {"/sink", {Sink}},
            {"/status", {Status}},
            {"/429", {TooMany}},
            {"/redirect", {Redirect}},
            {"/header", {Header}},
            {"/range", {Range}},
            {"/gzip", {[](auto &visit, auto &script) { Encoded<Gzip>(visit, script, "gzip"); }}},
            {"/deflate",
             {[](auto &visit, auto &script) { Encoded<Deflate>(visit, script, "deflate"); }}},
            {"/br", {[](auto &visit, auto &script) { Encoded<Brotli>(visit, script, "br"); }}},
            {"/zstd", {[](auto &visit, auto &script) { Encoded<Zstd>(visit, script, "zstd"); }}},
        };
        all.merge(AuthRoutes());
        all.merge(DnsRoutes());
        all.merge(FaultRoutes());
        return all;
    }());
    return routes;
}

void Index(const Visit &visit, Script &script)
{
    std::vector<std::string> paths;
    for (const auto &[path, route] : Routes()) {
        paths.push_back(path + "\n");
    }
    std::sort(paths.begin(), paths.end());
    std::string list;
    for (const auto &path : paths) {
        list += path;
    }
    Reply(visit, script, 200, list, {"Content-Type: text/plain"});
}

} // namespace

Query::Query(const std::string &target)
{
    // A proxy is asked for an absolute URL; the route is in its path.
    const size_t scheme = target.find("://");
    const size_t begin = target[0] == '/' || scheme == std::string::npos
                             ? 0
                             : std::min(target.size(), target.find('/', scheme + 3));
    const size_t mark = std::min(target.size(), target.find('?', begin));
    path = PercentDecode(std::string_view(target).substr(begin, mark - begin));
    std::string_view rest = std::string_view(target).substr(std::min(target.size(), mark + 1));
    while (!rest.empty()) {
        const auto item = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), item.size() + 1));
        const size_t equals = std::min(item.size(), item.find('='));
        parameters.emplace_back(PercentDecode(item.substr(0, equals)),
                                PercentDecode(item.substr(std::min(item.size(), equals + 1))));
    }
}

std::string Query::Text(std::string_view name, std::string fallback) const
{
    for (const auto &[key, value] : parameters) {
        if (key == name) {
            return value;
        }
    }
    return fallback;
}

uint64_t Query::Number(std::string_view name, uint64_t fallback) const
{
    const std::string text = Text(name);
    return text.empty() ? fallback : std::strtoull(text.c_str(), nullptr, 10);
}

std::vector<std::string> Query::All(std::string_view name) const
{
    std::vector<std::string> values;
    for (const auto &[key, value] : parameters) {
        if (key == name) {
            values.push_back(value);
        }
    }
    return values;
}

Route FindRoute(const std::string &path)
{
    const auto found = Routes().find(path);
    return found == Routes().end() ? Route{NotFound} : found->second;
}

} // namespace OHOS::Pelloria::TnxTest
