// Frames of HTTP/2 that break its rules, or keep them to no good end.
#include "peers.h"

namespace
{

using namespace Peers;
using namespace Http2;

constexpr uint32_t HTTP2 = TNX_ERR_HTTP2;
constexpr uint32_t STREAM = TNX_ERR_HTTP2_STREAM;

const std::string START = Frame(SETTINGS, 0, "", 0);
const std::string HEAD = Head({{":status", "200"}});
const std::string COUNTED = Head({{":status", "200"}, {"content-length", "5"}});
const std::string BODY = Frame(DATA, END_STREAM, "abcde");

std::string Setting(int name, uint64_t value)
{
    return Frame(SETTINGS, 0, Number(static_cast<uint64_t>(name), 2) + Number(value, 4), 0);
}

std::string Away(uint64_t last, uint64_t error)
{
    return Frame(GOAWAY, 0, Number(last, 4) + Number(error, 4), 0);
}

std::string Whole(const Fields &more = {})
{
    Fields fields = {{":status", "200"}};
    fields.insert(fields.end(), more.begin(), more.end());
    return START + Head(fields) + BODY;
}

Row Good(std::string name, Play play, std::string told = "abcde", int32_t status = 200)
{
    return {std::move(name), {std::move(play)}, {}, std::move(told), EITHER, status};
}

// Refused; whether the stream or the connection is to blame is for libcurl's release to say.
Row Bad(std::string name, Play play)
{
    return {std::move(name),
            {std::move(play).Close()},
            {HTTP2, STREAM, TNX_ERR_WEIRD_REPLY, TNX_ERR_RECEIVE, TNX_ERR_EMPTY_REPLY,
             TNX_ERR_TRUNCATED_BODY},
            "",
            EITHER};
}

TEST(Http2Peers, Ends)
{
    std::vector<Row> rows;
    for (const uint64_t error : {0, 1, 2, 3, 5, 6, 7, 8, 9, 11, 12, 13, 255}) {
        const std::string reset = Frame(RST_STREAM, 0, Number(error, 4));
        const std::string which = " with error " + std::to_string(error);
        rows.push_back(Bad("reset at once" + which, START + reset));
        rows.push_back(Bad("reset behind the head" + which,
                           START + Head({{":status", "200"}, {"content-length", "9"}}) + reset));
    }
    for (const uint64_t error : {0, 1, 2, 11, 13}) {
        const std::string which = " with error " + std::to_string(error);
        rows.push_back(Bad("going away at once" + which, START + Away(0, error)));
        rows.push_back(Bad("going away behind the head" + which, START + COUNTED + Away(1, error)));
        rows.push_back(Good("going away behind the answer" + which, Whole() + Away(1, error)));
    }
    rows.push_back(Good("going away, and the answer comes", START + Away(1, 0) + HEAD + BODY));
    rows.push_back(
        Good("going away twice", START + Away(0x7fffffff, 0) + HEAD + Away(1, 0) + BODY));
    rows.push_back(Bad("going away from a higher stream than before",
                       START + Away(1, 0) + COUNTED + Away(3, 0)));
    rows.push_back(
        Bad("going away on a stream", START + Frame(GOAWAY, 0, Number(1, 4) + Number(0, 4), 1)));
    rows.push_back(
        Good("going away with 16 KB of text",
             Whole() + Frame(GOAWAY, 0, Number(1, 4) + Number(0, 4) + std::string(16000, 'x'), 0)));
    rows.push_back(Good("reset behind the answer", Whole() + Frame(RST_STREAM, 0, Number(0, 4))));
    rows.push_back(Bad("the end of the connection behind the head", START + COUNTED));
    rows.push_back(Bad("a reset of the connection", Play(START + COUNTED).Reset()));
    rows.push_back(Bad("no frame at all", Play("")));
    rows.push_back(Bad("an answer of HTTP/1.1", Five()));
    rows.push_back(Bad("junk", std::string(100, 'x')));
    Check(rows, Over::HTTP2);
}

TEST(Http2Peers, Heads)
{
    const auto bad = [](std::string name, const Fields &fields) {
        return Bad(std::move(name), START + Head(fields) + BODY);
    };
    const std::string split = Block({{":status", "200"}, {"x", "y"}});
    Check(
        {
            Good("fields", Whole({{"x", "y"}})),
            Good("a head byte by byte", START + Frame(HEADERS, 0, split.substr(0, 1)) +
                                            Frame(CONTINUATION, 0, split.substr(1, 1)) +
                                            Frame(CONTINUATION, END_HEADERS, split.substr(2)) +
                                            BODY),
            Good("padding", START + Frame(HEADERS, END_HEADERS | PADDED, "\x03" + split + "xxx") +
                                Frame(DATA, END_STREAM | PADDED,
                                      "\x02"
                                      "abcde"
                                      "xx")),
            Good("priority",
                 START + Frame(HEADERS, END_HEADERS | WITH_PRIORITY, Number(0, 4) + "x" + split) +
                     BODY),
            Good("hints", START + Head({{":status", "103"}, {"link", "x"}}) + HEAD + BODY),
            Good("1000 hints", START + Times(1000, Head({{":status", "103"}})) + HEAD + BODY),
            Good("trailers",
                 START + HEAD + Frame(DATA, 0, "abcde") + Head({{"x", "y"}}, END_STREAM)),
            Good("the length of the body", Whole({{"content-length", "5"}})),
            bad("no status", {{"x", "y"}}),
            bad("no fields at all", {}),
            bad("status twice", {{":status", "200"}, {":status", "200"}}),
            bad("status behind a field", {{"x", "y"}, {":status", "200"}}),
            bad("status of a word", {{":status", "OK"}}),
            bad("status empty", {{":status", ""}}),
            bad("status of 2000", {{":status", "2000"}}),
            bad("status of 20", {{":status", "20"}}),
            bad("status with a blank", {{":status", "200 OK"}}),
            bad("status of 101", {{":status", "101"}}),
            bad("a pseudo field of requests", {{":status", "200"}, {":path", "/"}}),
            bad("an unknown pseudo field", {{":status", "200"}, {":x", "y"}}),
            bad("a name in capitals", {{":status", "200"}, {"X-A", "y"}}),
            bad("an empty name", {{":status", "200"}, {"", "y"}}),
            bad("a blank in a name", {{":status", "200"}, {"x y", "z"}}),
            bad("a colon in a name", {{":status", "200"}, {"x:y", "z"}}),
            bad("CR LF in a value", {{":status", "200"}, {"x", "y\r\nz: a"}}),
            bad("NUL in a value", {{":status", "200"}, {"x", std::string("a\0b", 3)}}),
            bad("CR LF in a name", {{":status", "200"}, {"x\r\ny", "z"}}),
            bad("connection", {{":status", "200"}, {"connection", "close"}}),
            bad("transfer-encoding", {{":status", "200"}, {"transfer-encoding", "chunked"}}),
            bad("upgrade", {{":status", "200"}, {"upgrade", "h2c"}}),
            bad("length too small", {{":status", "200"}, {"content-length", "4"}}),
            bad("length too large", {{":status", "200"}, {"content-length", "6"}}),
            bad("length of a word", {{":status", "200"}, {"content-length", "x"}}),
            bad("lengths that differ",
                {{":status", "200"}, {"content-length", "5"}, {"content-length", "6"}}),
            bad("length minus one", {{":status", "200"}, {"content-length", "-1"}}),
            Bad("hints at the end", START + Head({{":status", "103"}}, END_STREAM)),
            Bad("a head in the middle", START + COUNTED + Frame(DATA, 0, "ab") + HEAD + BODY),
            Bad("trailers with a status",
                START + COUNTED + Frame(DATA, 0, "ab") + Head({{":status", "200"}}, END_STREAM)),
            Bad("trailers that do not end",
                START + COUNTED + Frame(DATA, 0, "ab") + Head({{"x", "y"}}) + BODY),
            Bad("a cut head", START + Frame(HEADERS, END_HEADERS, split.substr(0, 5)) + BODY),
            Bad("an index that is none",
                START + Frame(HEADERS, END_HEADERS, "\xff\xff\xff\xff\x0f") + BODY),
            Bad("index zero", START + Frame(HEADERS, END_HEADERS, "\x80") + BODY),
            Bad("a number without end",
                START + Frame(HEADERS, END_HEADERS, "\x3f" + std::string(20, '\xff')) + BODY),
            Bad("a table larger than allowed",
                START + Frame(HEADERS, END_HEADERS, "\x3f\xe1\xff\x7f" + split) + BODY),
            Bad("bad Huffman code",
                START + Frame(HEADERS, END_HEADERS, std::string("\0\x84\xff\xff\xff\xff\x01y", 8)) +
                    BODY),
            Bad("too much padding",
                START + Frame(HEADERS, END_HEADERS | PADDED, "\xff" + split) + BODY),
            Bad("continued by another frame", START + Frame(HEADERS, 0, split) + BODY),
            Bad("continued on another stream",
                START + Frame(HEADERS, 0, split) + Frame(CONTINUATION, END_HEADERS, "", 3) + BODY),
            Bad("continuation of nothing",
                START + COUNTED + Frame(CONTINUATION, END_HEADERS, split) + BODY),
            Bad("100 fields of 8 KB",
                START + Times(100, Head({{":status", "103"}, {"x", std::string(8000, 'x')}})) +
                    HEAD),
            Bad("a head of 1 MiB, continued",
                START + Frame(HEADERS, 0, split) +
                    Times(64, Frame(CONTINUATION, 0, Block({{"x", std::string(16000, 'x')}}))) +
                    Frame(CONTINUATION, END_HEADERS, "") + BODY),
            Bad("continuations without end",
                Play(START + Frame(HEADERS, 0, split))
                    .Repeat(Times(100, Frame(CONTINUATION, 0, Block({{"x", "y"}}))), 10000)),
            Bad("empty continuations without end",
                Play(START + Frame(HEADERS, 0, split))
                    .Repeat(Times(1000, Frame(CONTINUATION, 0, "")), 10000)),
            Bad("a bomb of a head", START +
                                        Frame(HEADERS, END_HEADERS,
                                              split + "\x40\x01z\x7f\xa1\x1e" +
                                                  std::string(4000, 'x') + Times(12000, "\xbe")) +
                                        BODY),
            Bad("hints without end",
                Play(START).Repeat(Times(1000, Head({{":status", "103"}})), 1000)),
        },
        Over::HTTP2);
}

TEST(Http2Peers, Data)
{
    const std::string more = Frame(DATA, 0, "xx");
    Check(
        {
            Good("data in 1000 frames",
                 START + HEAD + Times(1000, Frame(DATA, 0, "a")) + Frame(DATA, END_STREAM, ""),
                 std::string(1000, 'a')),
            Good("empty data in 1000 frames",
                 START + HEAD + Times(1000, Frame(DATA, 0, "")) + BODY),
            Good("data behind the end", Whole() + more),
            Good("a head behind the end", Whole() + HEAD),
            Good("another whole answer behind the end", Whole() + HEAD + BODY),
            Bad("data before the head", START + BODY),
            Bad("data on stream 0", START + COUNTED + Frame(DATA, 0, "xx", 0)),
            Bad("data on a stream that is idle", START + COUNTED + Frame(DATA, 0, "xx", 3)),
            Bad("data on a stream of the server", START + COUNTED + Frame(DATA, 0, "xx", 2)),
            Bad("a head on stream 0", START + Head({{":status", "200"}}, 0, 0)),
            Bad("a head on a stream that is idle",
                START + Head({{":status", "200"}}, END_STREAM, 3)),
            Bad("a head on a stream of the server",
                START + Head({{":status", "200"}}, END_STREAM, 2)),
            Bad("padding longer than the data", START + COUNTED +
                                                    Frame(DATA, END_STREAM | PADDED,
                                                          "\x09"
                                                          "abcde")),
            Bad("padding without a length", START + COUNTED + Frame(DATA, END_STREAM | PADDED, "")),
            Bad("a frame of 16 MB", START + COUNTED + Number(0xffffff, 3) + Number(0, 2) +
                                        Number(1, 4) + std::string(100000, 'x')),
            Bad("a frame of 16385 bytes",
                START + COUNTED + Frame(HEADERS, END_STREAM, std::string(16385, 'x'))),
            Bad("a frame that is cut",
                START + COUNTED + Frame(DATA, END_STREAM, std::string(1000, 'x')).substr(0, 500)),
            Bad("204 with data",
                START + Head({{":status", "204"}, {"content-length", "9"}}) + BODY),
        },
        Over::HTTP2);
}

TEST(Http2Peers, ControlFrames)
{
    const std::string ping = Frame(PING, 0, std::string(8, 'x'), 0);
    const auto before = [](std::string name, const std::string &frames) {
        return Good(std::move(name), START + frames + HEAD + frames + BODY);
    };
    const auto bad = [](std::string name, const std::string &frames) {
        return Bad(std::move(name), START + COUNTED + frames);
    };
    // The newer reads a share at a time, until the time-out.
    const uint64_t enough = LibcurlIs(0x080000) ? 1000 : UINT64_MAX;
    const auto flood = [enough](std::string name, const std::string &frame) {
        return Row{std::move(name),
                   {Play(START + COUNTED).Repeat(Times(1000, frame), enough).Close()},
                   {HTTP2, STREAM, TNX_ERR_SEND, TNX_ERR_RECEIVE, TNX_ERR_TRUNCATED_BODY},
                   "",
                   EITHER};
    };
    std::vector<Row> rows = {
        before("settings again", START),
        before("settings unknown", Setting(0x99, 7)),
        before("pings", Times(10, ping)),
        before("an answer to no ping", Frame(PING, ACK, std::string(8, 'x'), 0)),
        before("unknown frames", Frame(99, 255, "whatever", 0) + Frame(98, 255, "whatever", 1)),
        before("priorities", Frame(PRIORITY, 0, Number(3, 4) + "x")),
        before("windows",
               Frame(WINDOW_UPDATE, 0, Number(1, 4)) + Frame(WINDOW_UPDATE, 0, Number(1, 4), 0)),
        before("no concurrent streams", Setting(3, 0)),
        before("a window of zero", Setting(4, 0)),
        before("no table", Setting(1, 0)),
        before("a table of 4 GB", Setting(1, 0xffffffff)),
        bad("settings of a bad size", Frame(SETTINGS, 0, "xxxxx", 0)),
        bad("settings on a stream", Frame(SETTINGS, 0, "", 1)),
        bad("settings acknowledged with a body", Frame(SETTINGS, ACK, "xxxxxx", 0)),
        bad("push switched on", Setting(2, 1)),
        bad("push of 2", Setting(2, 2)),
        bad("a window above 31 bits", Setting(4, 0x80000000)),
        bad("frames of 1 byte", Setting(5, 1)),
        bad("frames of 4 GB", Setting(5, 0xffffffff)),
        bad("a ping of 7 bytes", Frame(PING, 0, "xxxxxxx", 0)),
        bad("a ping on a stream", Frame(PING, 0, std::string(8, 'x'))),
        bad("a reset of 3 bytes", Frame(RST_STREAM, 0, "xxx")),
        bad("a reset of stream 0", Frame(RST_STREAM, 0, Number(0, 4), 0)),
        bad("a reset of a stream that is idle", Frame(RST_STREAM, 0, Number(0, 4), 3)),
        bad("a priority of 4 bytes", Frame(PRIORITY, 0, "xxxx")),
        bad("a window of 0 more", Frame(WINDOW_UPDATE, 0, Number(0, 4))),
        bad("a window of 3 bytes", Frame(WINDOW_UPDATE, 0, "xxx")),
        bad("a stream's window that overflows", Frame(WINDOW_UPDATE, 0, Number(0x7fffffff, 4))),
        bad("the window that overflows", Frame(WINDOW_UPDATE, 0, Number(0x7fffffff, 4), 0)),
        bad("a window of a stream that is idle", Frame(WINDOW_UPDATE, 0, Number(1, 4), 3)),
        bad("going away in 7 bytes", Frame(GOAWAY, 0, "xxxxxxx", 0)),
        bad("a push", Frame(PUSH_PROMISE, END_HEADERS,
                            Number(2, 4) + Block({{":method", "GET"},
                                                  {":scheme", "http"},
                                                  {":authority", "x"},
                                                  {":path", "/"}}))),
        bad("a push of a stream of ours",
            Frame(PUSH_PROMISE, END_HEADERS, Number(3, 4) + Block({{":method", "GET"}}))),
        bad("a push on stream 0", Frame(PUSH_PROMISE, END_HEADERS, Number(2, 4), 0)),
        Bad("no settings first", HEAD + BODY),
        flood("a flood of settings", START),
        flood("a flood of pings", ping),
        flood("a flood of empty data", Frame(DATA, 0, "")),
        flood("a flood of padding", Frame(DATA, PADDED, std::string("\x02\0\0", 3))),
        flood("a flood of windows", Frame(WINDOW_UPDATE, 0, Number(1, 4), 0)),
        flood("a flood of priorities", Frame(PRIORITY, 0, Number(3, 4) + "x")),
        flood("a flood of unknown frames", Frame(99, 0, "")),
        flood("a flood of going away", Away(1, 0)),
        flood("a flood of resets", Frame(RST_STREAM, 0, Number(0, 4))),
    };
    Check(rows, Over::HTTP2);
}

} // namespace
