// Status lines and header sections of HTTP/1.1 that no server should send.
#include "peers.h"

namespace
{

using namespace Peers;

constexpr uint32_t WEIRD = TNX_ERR_WEIRD_REPLY;
constexpr uint32_t RECEIVE = TNX_ERR_RECEIVE;

TEST(HeadPeers, StatusLines)
{
    const auto with = [](const std::string &line) -> std::vector<Play> {
        return {Play(line + "\r\nContent-Length: 5\r\n\r\nabcde").Close()};
    };
    const auto refused = [&with](std::string name, const std::string &line) {
        return Row{std::move(name), with(line), {WEIRD}, "not HTTP", CLOSED};
    };
    // Where libcurl 7.88 takes what it should not.
    const auto lax = [&with](std::string name, const std::string &line) {
        return Row{std::move(name), with(line), {WEIRD, TNX_OK}, "abcde", CLOSED};
    };
    Check({
        {"no reason", with("HTTP/1.1 200"), {}, "abcde"},
        {"empty reason", with("HTTP/1.1 200 "), {}, "abcde"},
        {"reason of 90 KB", with("HTTP/1.1 200 " + std::string(90000, 'x')), {}, "abcde"},
        {"reason of 200 KB",
         with("HTTP/1.1 200 " + std::string(200000, 'x')),
         {RECEIVE},
         "too long"},
        {"reason with NUL", with(std::string("HTTP/1.1 200 a\0b", 16)), {WEIRD, RECEIVE}, ""},
        {"reason with 8 bits", with("HTTP/1.1 200 \xff\xfe"), {}, "abcde"},
        {"status 600", with("HTTP/1.1 600 x"), {WEIRD, 0}, "abcde", EITHER, 600},
        {"status 999", with("HTTP/1.1 999 x"), {WEIRD, 0}, "abcde", EITHER, 999},
        {"HTTP/1.2", with("HTTP/1.2 200 OK"), {WEIRD, 0}, "abcde"},
        refused("status 099", "HTTP/1.1 099 x"),
        refused("status 000", "HTTP/1.1 000 x"),
        refused("status 99", "HTTP/1.1 99 x"),
        refused("status 1000", "HTTP/1.1 1000 x"),
        refused("status 2000", "HTTP/1.1 2000 x"),
        refused("status -200", "HTTP/1.1 -200 x"),
        refused("status +200", "HTTP/1.1 +200 x"),
        refused("status 2OO", "HTTP/1.1 2OO x"),
        refused("status 200OK", "HTTP/1.1 200OK"),
        refused("status 20", "HTTP/1.1 20"),
        refused("no status", "HTTP/1.1"),
        refused("no status, a blank", "HTTP/1.1 "),
        refused("two blanks before the status", "HTTP/1.1  200 OK"),
        refused("tab before the status", "HTTP/1.1\t200 OK"),
        refused("a word as status", "HTTP/1.1 OK 200"),
        refused("HTTP/0.9", "HTTP/0.9 200 OK"),
        refused("HTTP/4.0", "HTTP/4.0 200 OK"),
        refused("HTTP/9.9", "HTTP/9.9 200 OK"),
        refused("HTTP/11", "HTTP/11 200 OK"),
        refused("HTTP/1.10", "HTTP/1.10 200 OK"),
        refused("HTTP/1", "HTTP/1 200 OK"),
        refused("HTTP/-1.1", "HTTP/-1.1 200 OK"),
        refused("HTTP /1.1", "HTTP /1.1 200 OK"),
        refused("http/1.1", "http/1.1 200 OK"),
        lax("HTTP/2 in the clear", "HTTP/2 200 OK"),
        refused("HTTP/3 in the clear", "HTTP/3 200 OK"),
        refused("HTTPS/1.1", "HTTPS/1.1 200 OK"),
        refused("HTTP/2 without a status", "HTTP/2 000 "),
        refused("ICY", "ICY 200 OK"),
        refused("RTSP", "RTSP/1.0 200 OK"),
        refused("a blank before", " HTTP/1.1 200 OK"),
        refused("an empty line before", "\r\nHTTP/1.1 200 OK"),
        refused("a byte order mark before", "\xef\xbb\xbfHTTP/1.1 200 OK"),
        refused("an answer of 0.9", "<html>hello</html>"),
        refused("fields without a status", "Server: x"),
        refused("a request", "GET / HTTP/1.1"),
        refused("a banner of SSH", "SSH-2.0-OpenSSH_9.2"),
        refused("a banner of SMTP", "220 mail.test ESMTP"),
        refused("an alert of TLS", std::string("\x15\x03\x01\x00\x02\x02\x16", 7)),
        refused("a frame of HTTP/2", Http2::Frame(Http2::SETTINGS, 0, "", 0)),
        refused("1 MiB of NUL", std::string(1 << 20, '\0')),
        refused("1 MiB of letters", std::string(1 << 20, 'x')),
        {"nothing but an empty line", {Play("\r\n").Close()}, {WEIRD, RECEIVE}, ""},
        {"empty lines without end",
         {Play("").Repeat(Times(10000, "\r\n"), 1000).Close()},
         {WEIRD, RECEIVE},
         ""},
        {"letters without end",
         {Play("").Repeat(std::string(65536, 'x'), 2000).Close()},
         {WEIRD, RECEIVE},
         ""},
    });
}

TEST(HeadPeers, Fields)
{
    const auto with = [](const std::string &lines) -> std::vector<Play> {
        return {Play(Five(lines)).Close()};
    };
    const auto bytes = [](const char *text, size_t length) { return std::string(text, length); };
    Check({
        {"the first line folded", with(" X: y"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"a folded field", with("X: y\r\n z"), {}, "abcde"},
        {"a folded field of blanks", with("X: y\r\n \r\n\t"), {}, "abcde"},
        {"1,000 folds", with("X: y" + Times(1000, "\r\n z")), {}, "abcde"},
        {"10,000 folds", with("X: y" + Times(10000, "\r\n z")), {RECEIVE}, "too large"},
        {"folds without end",
         {Play("HTTP/1.1 200 OK\r\nX: y\r\n").Repeat(Times(1000, " z\r\n"), 1000).Close()},
         {RECEIVE},
         ""},
        {"NUL in a value", with(bytes("X: a\0b", 6)), {WEIRD, RECEIVE}, ""},
        {"NUL in a name", with(bytes("X\0Y: a", 6)), {WEIRD, RECEIVE}, ""},
        {"NUL at the end of a line", with(bytes("X: a\0", 5)), {WEIRD, RECEIVE}, ""},
        {"NUL alone", with(bytes("\0", 1)), {WEIRD, RECEIVE}, ""},
        {"CR in a value", with("X: a\rContent-Length: 3"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"CR in a name", with("X\rY: a"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"CR CR LF", with("X: a\r"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"lines ended by LF alone",
         {Play("HTTP/1.1 200 OK\nContent-Length: 5\n\nabcde").Close()},
         {WEIRD, RECEIVE, 0},
         "abcde"},
        {"lines ended by CR alone",
         {Play("HTTP/1.1 200 OK\rContent-Length: 5\r\rabcde").Close()},
         {WEIRD, RECEIVE, TNX_ERR_EMPTY_REPLY},
         ""},
        {"a line without colon", with("nothing"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"a line of one colon", with(":"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"an empty name", with(": y"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"a blank in a name", with("X Y: z"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"an empty value", with("X:"), {}, "abcde"},
        {"colons in a value", with("X: :::"), {}, "abcde"},
        {"8 bits in a name", with("\xff\xfe: y"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"8 bits in a value", with("X: \xff\xfe"), {}, "abcde"},
        {"control characters in a value",
         with("X: \x01\x02\x7f\x1b[2J"),
         {WEIRD, RECEIVE, 0},
         "abcde"},
        {"a second status line", with("HTTP/1.1 500 No"), {WEIRD, RECEIVE, 0}, "abcde"},
        {"a status line as name", with("HTTP/1.1 500: x"), {}, "abcde"},
        {"4000 fields", with(Times(4000, "X: y\r\n") + "X: y"), {}, "abcde"},
        {"100,000 fields",
         {Play("HTTP/1.1 200 OK\r\n" + Times(100000, "X: y\r\n") + "\r\n").Close()},
         {RECEIVE},
         ""},
        {"a name of 60 KB", with(std::string(60000, 'x') + ": y"), {}, "abcde"},
        {"a value of 90 KB", with("X: " + std::string(90000, 'x')), {}, "abcde"},
        {"a value of 200 KB", with("X: " + std::string(200000, 'x')), {RECEIVE}, "too long"},
        {"values of 400 KB together",
         with(Times(8, "X: " + std::string(50000, 'x') + "\r\n") + "X: y"),
         {RECEIVE},
         ""},
        {"fields without end",
         {Play("HTTP/1.1 200 OK\r\n")
              .Repeat(Times(100, "X: " + std::string(1000, 'x') + "\r\n"), 1000)
              .Close()},
         {RECEIVE},
         ""},
        {"a value without end",
         {Play("HTTP/1.1 200 OK\r\nX: ").Repeat(std::string(65536, 'x'), 1000).Close()},
         {RECEIVE},
         "too long"},
        {"a name without end",
         {Play("HTTP/1.1 200 OK\r\n").Repeat(std::string(65536, 'x'), 1000).Close()},
         {RECEIVE},
         "too long"},
    });
}

TEST(HeadPeers, FieldsThatSteer)
{
    const auto kept = [](std::string name, const std::string &line, Fate fate = KEPT) {
        return Row{std::move(name), {Five(line)}, {}, "abcde", fate};
    };
    const auto status = [](std::string name, int32_t code, const std::string &lines) {
        return Row{std::move(name),
                   {"HTTP/1.1 " + std::to_string(code) + " x\r\n" + lines +
                    "Content-Length: 5\r\n\r\nabcde"},
                   {},
                   "abcde",
                   KEPT,
                   code};
    };
    const auto user = [](Call &call) {
        call.configuration.security.credentialName = "user";
        call.configuration.security.credentialPassword = "password";
    };
    std::vector<Row> rows = {
        kept("close, but it stays open", "Connection: close", CLOSED),
        kept("close in a list", "Connection: x, close",
             LibcurlIs(0x080e00) ? EITHER : CLOSED), // the newer keeps it
        kept("close and keep-alive", "Connection: keep-alive\r\nConnection: close", CLOSED),
        kept("unknown options of the connection", "Connection: x, y"),
        kept("a bad keep-alive", "Keep-Alive: timeout=-1, max=99999999999999999999"),
        kept("an upgrade that nobody asked for", "Upgrade: h2c\r\nConnection: Upgrade", EITHER),
        kept("another service", "Alt-Svc: h2=\"127.0.0.1:1\"; ma=86400"),
        kept("strict transport", "Strict-Transport-Security: max-age=31536000"),
        kept("a refresh", "Refresh: 0; url=http://127.0.0.1:1/"),
        kept("a location without a redirect", "Location: http://127.0.0.1:1/"),
        kept("a range that nobody asked for", "Content-Range: bytes 0-4/5"),
        kept("a range that is none", "Content-Range: bytes 9-1/x"),
        kept("trailers announced that do not come", "Trailer: X"),
        {"HTTP/1.0, kept alive",
         {"HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 5\r\n\r\nabcde"},
         {},
         "abcde",
         KEPT},
        {"HTTP/1.0", {"HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabcde"}, {}, "abcde", CLOSED},
        status("206 that nobody asked for", 206, "Content-Range: bytes 0-4/9\r\n"),
        status("401 without a challenge", 401, ""),
        status("401 of an unknown kind", 401, "WWW-Authenticate: Rot13 realm=x\r\n"),
        status("407 of an origin", 407, "Proxy-Authenticate: Basic realm=x\r\n"),
        status("408", 408, ""),
        status("413", 413, "Retry-After: 1\r\n"),
        status("421", 421, ""),
        status("426", 426, "Upgrade: TLS/1.0\r\nConnection: Upgrade\r\n"),
        status("429", 429, "Retry-After: -1\r\n"),
        status("503", 503, "Retry-After: 99999999999\r\n"),
    };
    for (auto [name, challenge] : std::vector<std::pair<std::string, std::string>>{
             {"401 again and again", "Basic realm=x"},
             {"401 of an empty Digest", "Digest"},
             {"401 of a stale Digest", "Digest realm=x, nonce=x, stale=true"},
             {"401 of a Digest unknown", "Digest realm=x, nonce=x, algorithm=rot13"},
             {"401 of a Digest of 64 KB", "Digest realm=x, nonce=" + std::string(64000, 'x')},
             {"401 of a Digest cut in quotes", "Digest realm=\"x, nonce=\"x"},
             {"401 of a bad NTLM", "NTLM !!!!"},
             {"401 of a cut NTLM", "NTLM TlRMTVNTUAACAAAA"}}) {
        rows.push_back(status(name, 401, "WWW-Authenticate: " + challenge + "\r\n"));
        rows.back().fill = user;
        rows.back().fate = EITHER;
        if (name.find("stale") != std::string::npos) {
            rows.back().codes = {TNX_ERR_TOO_MANY_REDIRECTS};
            rows.back().told = "stale";
        }
    }
    Check(rows);
}

TEST(HeadPeers, InterimResponses)
{
    const std::string go = "HTTP/1.1 100 Continue\r\n\r\n";
    const std::string hints = "HTTP/1.1 103 Hints\r\nLink: x\r\n\r\n";
    Check({
        {"100 unasked", {go + Five()}, {}, "abcde", KEPT},
        {"102, 103, 199",
         {"HTTP/1.1 102 P\r\n\r\n" + hints + "HTTP/1.1 199 X\r\n\r\n" + Five()},
         {},
         "abcde",
         KEPT},
        {"1000 of 103", {Times(1000, hints) + Five()}, {}, "abcde", KEPT},
        {"103 that redirects",
         {"HTTP/1.1 103 H\r\nLocation: http://127.0.0.1:1/\r\n\r\n" + Five()},
         {},
         "abcde",
         KEPT},
        {"103 that closes",
         {"HTTP/1.1 103 H\r\nConnection: close\r\n\r\n" + Five()},
         {},
         "abcde",
         EITHER},
        {"103 with a coding",
         {"HTTP/1.1 103 H\r\nContent-Encoding: gzip\r\n\r\n" + Five()},
         {},
         "abcde",
         EITHER},
        {"103 chunked",
         {"HTTP/1.1 103 H\r\nTransfer-Encoding: chunked\r\n\r\n" + Five()},
         {WEIRD},
         "interim"},
        {"100 in HTTP/1.0",
         {"HTTP/1.0 100 Continue\r\n\r\n" + Five()},
         {WEIRD, 0},
         "abcde",
         EITHER},
        {"100 and nothing", {Play(go).Close()}, {RECEIVE}, "final"},
        {"100 and a reset", {Play(go).Reset()}, {RECEIVE}, ""},
        {"100 without end", {Play("").Repeat(Times(1000, go), 1000).Close()}, {RECEIVE}, ""},
        {"103 without end", {Play("").Repeat(Times(1000, hints), 1000).Close()}, {RECEIVE}, ""},
        {"101 unasked", {"HTTP/1.1 101 Other\r\n\r\n"}, {WEIRD}, "another protocol"},
        {"101 to HTTP/2",
         {"HTTP/1.1 101 S\r\nConnection: Upgrade\r\nUpgrade: h2c\r\n\r\n" +
          Http2::Frame(Http2::SETTINGS, 0, "", 0)},
         {WEIRD},
         "another protocol"},
        {"101 and an answer", {"HTTP/1.1 101 Other\r\n\r\n" + Five()}, {WEIRD}, "another protocol"},
    });
}

} // namespace
