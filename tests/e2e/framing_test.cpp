// Where a response begins and ends: cut ones, ones whose length is none, and ones behind another.
#include "client.h"

#include "proxy_servers.h"

#include <curl/curl.h>

#include <numeric>

namespace
{

using namespace EndToEnd;

std::string Number(size_t number, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text += static_cast<char>(number >> (8 * i));
    }
    return text;
}

// HTTP/2 (RFC 9113 section 4.1), on the first stream unless another is named.
std::string Frame(int type, int flags, const std::string &payload, uint32_t stream = 1)
{
    return Number(payload.size(), 3) + static_cast<char>(type) + static_cast<char>(flags) +
           Number(stream, 4) + payload;
}

constexpr int DATA = 0;
constexpr int HEADERS = 1;
constexpr int RST_STREAM = 3;
constexpr int SETTINGS = 4;
constexpr int GOAWAY = 7;
constexpr int WINDOW_UPDATE = 8;
constexpr int PAUSE = 255; // for the server
constexpr int END_STREAM = 1;
constexpr int END_HEADERS = 4;

using Fields = std::vector<std::pair<std::string, std::string>>;

// Literal, so that nothing has to be remembered (RFC 7541 section 6.2.2).
std::string Head(const Fields &fields, int flags = 0)
{
    std::string block;
    for (const auto &[name, value] : fields) {
        block += '\0' + Number(name.size(), 1) + name + Number(value.size(), 1) + value;
    }
    return Frame(HEADERS, flags | END_HEADERS, block);
}

// An answer, in parts, and how many of these are enough to know all that matters of it.
struct Answer {
    const char *what;
    std::vector<std::string> parts;
    size_t enough;
    int32_t status = 200;
    bool counted = true; // its length is announced
    size_t spare = 0;    // bytes of that which not every libcurl waits for

    std::string First(size_t count) const
    {
        return std::accumulate(parts.begin(), parts.begin() + static_cast<long>(count),
                               std::string());
    }
};

std::vector<Answer> Http1Answers()
{
    const std::string found = "HTTP/1.1 302 Found\r\nLocation: " + Scripted().Url("/bytes?n=3");
    return {
        {"counted", {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n", "abcde"}, 2},
        {"chunked",
         {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
          "5\r\nabcde\r\n0\r\nX: y\r\n\r\n"},
         2,
         200,
         true,
         1},
        {"until the end", {"HTTP/1.1 200 OK\r\nX: y\r\n\r\n", "abcde"}, 1},
        {"after hints",
         {"HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n", "HTTP/1.1 201 OK\r\nContent-Length: 0\r\n",
          "\r\n"},
         3,
         201},
        {"bodiless", {"HTTP/1.1 204 No Content\r\nX: y\r\n\r\n"}, 1, 204},
        {"redirect", {found + "\r\nContent-Length: 5\r\n\r\n", "abcde"}, 1},
    };
}

std::vector<Answer> Http2Answers()
{
    const Fields ok = {{":status", "200"}, {"x", "y"}};
    const std::string settings = Frame(SETTINGS, 0, "", 0);
    const std::string last = Frame(DATA, END_STREAM, "");
    return {
        {"counted",
         {settings, Head({ok[0], {"content-length", "5"}}), Frame(DATA, 0, "abc"),
          Frame(DATA, END_STREAM, "de")},
         4},
        {"uncounted",
         {settings, Head(ok), Frame(DATA, 0, "abc"), Frame(DATA, 0, "de"), last},
         5,
         200,
         false},
        {"trailers",
         {settings, Head(ok), Frame(DATA, 0, "abc"), Head({{"x", "y"}}, END_STREAM)},
         4,
         200,
         false},
        {"after hints",
         {settings, Head({{":status", "103"}, ok[1]}), Head({{":status", "201"}}), last},
         4,
         201,
         false},
        {"bodiless", {settings, Head({{":status", "204"}}, END_STREAM)}, 2, 204, false},
        {"redirect",
         {settings, Head({{":status", "302"}, {"location", Nginx().Url("/1k", Site::CLEAR_HTTP2)}}),
          Frame(DATA, 0, "abc"), last},
         2,
         200,
         false},
    };
}

// Where nothing counts the body, 7.88 takes whatever ends a stream for the end of the response, and
// 8.14 a reset without an error still (docs/dependencies.md).
bool LibcurlTells(bool resetWithoutError)
{
    return !resetWithoutError && curl_version_info(CURLVERSION_NOW)->version_num >= 0x080e00;
}

class FramingTest : public EndToEndTest
{
protected:
    // Has the answer sent, byte by byte as it stands here, after which the connection ends.
    void Get(const std::string &answer, bool http2,
             const std::function<void(const Outcome &)> &check)
    {
        const auto fill = [&](Call &call) {
            call.Body(answer);
            if (http2) {
                call.configuration.transfer.transferPreference = TNX_PREFER_HTTP2;
                call.configuration.transfer.transferHint = true;
            }
        };
        Both(fill, Scripted().Url("/raw"), "POST", check);
    }
};

TEST_F(FramingTest, OnlyAWholeAnswerIsOne)
{
    for (const bool http2 : {false, true}) {
        for (const Answer &answer : http2 ? Http2Answers() : Http1Answers()) {
            const size_t enough = answer.First(answer.enough).size();
            const std::string all = answer.First(answer.parts.size());
            for (size_t cut = 0; cut <= all.size(); ++cut) {
                if (cut < enough && cut + answer.spare >= enough) {
                    continue;
                }
                SCOPED_TRACE(std::string(answer.what) + (http2 ? " HTTP/2 " : " ") +
                             std::to_string(cut) + " of " + std::to_string(all.size()));
                Get(all.substr(0, cut), http2, [&](const Outcome &outcome) {
                    EXPECT_EQ(outcome.code == 0, cut >= enough) << outcome.code << outcome.Why();
                    EXPECT_TRUE(outcome.code != 0 || outcome.status == answer.status);
                });
            }
        }
    }
}

TEST_F(FramingTest, AStreamEndsWithItsFlagOnly)
{
    const std::string tooMuch = Number(0x7fffffff, 4);
    const std::pair<const char *, std::string> endings[] = {
        {"reset without an error", Frame(RST_STREAM, 0, Number(0, 4))},
        {"reset", Frame(RST_STREAM, 0, Number(2, 4))},
        {"window of the stream", Frame(WINDOW_UPDATE, 0, tooMuch)},
        {"window of the connection", Frame(WINDOW_UPDATE, 0, tooMuch, 0)},
        {"going away", Frame(GOAWAY, 0, Number(1, 4) + Number(0, 4), 0)},
    };
    for (const Answer &answer : Http2Answers()) {
        for (size_t parts = 1; parts < answer.enough; ++parts) {
            for (const auto &[what, frame] : endings) {
                if (!answer.counted && !LibcurlTells(frame == endings[0].second)) {
                    continue;
                }
                SCOPED_TRACE(std::string(answer.what) + " " + std::to_string(parts) + " " + what);
                const auto check = [](const Outcome &outcome) { EXPECT_NE(outcome.code, 0U); };
                Get(answer.First(parts) + frame, true, check);
                Get(answer.First(parts) + Frame(PAUSE, 0, "", 0) + frame, true, check);
            }
        }
    }
}

TEST_F(FramingTest, AnEndWithoutAnAnswerIsToldByItsKind)
{
    const std::string settings = Frame(SETTINGS, 0, "", 0);
    // In clear text 8.14 calls both kinds of silence a damaged frame.
    const bool newer = LibcurlTells(false);
    const struct {
        std::string answer;
        uint32_t code;
        const char *why;
    } cases[] = {
        {settings, newer ? TNX_ERR_HTTP2 : TNX_ERR_EMPTY_REPLY,
         newer ? "no answer in HTTP/2" : "without an answer"},
        {settings + Frame(GOAWAY, 0, Number(0, 4) + Number(0, 4), 0), TNX_ERR_HTTP2_STREAM,
         "ended the connection"},
        {settings + Head({{":status", "200"}}) + Frame(GOAWAY, 0, Number(0, 4) + Number(11, 4), 0),
         TNX_ERR_HTTP2_STREAM, "ended the connection"},
        {"HTTP/1.1 400 Bad Request\r\n\r\n", TNX_ERR_HTTP2, "no answer in HTTP/2"},
    };
    for (const auto &one : cases) {
        if (one.code == TNX_ERR_HTTP2_STREAM && newer) {
            continue; // it tries again, and tells how often
        }
        Get(one.answer, true, [&one](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, one.code);
            EXPECT_NE(outcome.Why().find(one.why), std::string::npos) << outcome.Why();
        });
    }
}

TEST_F(FramingTest, WhatIsNoMessageIsRefused)
{
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string chunks = "Transfer-Encoding: chunked\r\n\r\n5\r\nabcde\r\n0\r\n";
    const struct {
        std::string answer;
        uint32_t code;
        const char *told; // in the text, or the body
    } cases[] = {
        {ok + "Content-Length: 5\r\nContent-Length: 5\r\n\r\nabcde", 0, "abcde"},
        {ok + "Content-Length: 5, 5\r\n\r\nabcde", 0, "abcde"},
        {ok + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nabcdef", TNX_ERR_WEIRD_REPLY,
         "length"},
        {ok + "Content-Length: 6\r\nContent-Length: 5\r\n\r\nabcdef", TNX_ERR_WEIRD_REPLY,
         "length"},
        {ok + "Content-Length: 5,6\r\n\r\nabcdef", TNX_ERR_WEIRD_REPLY, "length"},
        {ok + "Content-Length: 5\r\n 6\r\n\r\nabcdef", TNX_ERR_WEIRD_REPLY, "length"},
        {ok + "Content-Length: +5\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length: -5\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length: 5junk\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length: 0x5\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length:\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length: 9223372036854775808\r\n\r\nab", TNX_ERR_WEIRD_REPLY, "ength"},
        {ok + "Content-Length: 3\r\n" + chunks + "\r\n", 0, "abcde"},
        {ok + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n", TNX_ERR_WEIRD_REPLY, "coding"},
        {ok + "Transfer-Encoding: rot13\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "coding"},
        {ok + "Transfer-Encoding: chunked\r\n" + chunks + "\r\n", TNX_ERR_WEIRD_REPLY, "coding"},
        {"HTTP/1.1 103 Hints\r\nContent-Length: 3\r\n\r\n" + ok + "\r\nabcde", TNX_ERR_WEIRD_REPLY,
         "interim"},
        {ok + chunks + "HTTP/1.1 302: x\r\nLocation: /echo\r\nContent-Length: 1\r\n\r\n", 0,
         "abcde"},
        {"HTTP/1.1 302 F\r\nLocation: /bytes?n=3\r\n" + chunks + "HTTP/1.1 200: x\r\n\r\n", 0,
         "abc"},
        {"http/1.1 200 OK\r\nContent-Length: 5\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "not HTTP"},
        {"HTTP/2 000 \r\nContent-Length: 5\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "not HTTP"},
        {"HTTP/1.1 101 Other\r\n\r\nabcde", TNX_ERR_WEIRD_REPLY, "another protocol"},
        {"HTTP/1.1 101 Other\r\n\r\n", TNX_ERR_WEIRD_REPLY, "another protocol"},
        {ok + "Content-Len", TNX_ERR_RECEIVE, "final"},
    };
    for (const auto &[answer, code, told] : cases) {
        SCOPED_TRACE(answer);
        Get(answer, false, [&, code = code, told = told](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, code) << outcome.Why();
            const std::string text = code == 0 ? outcome.body : outcome.Why();
            EXPECT_TRUE(code == 0 ? text == told : text.find(told) != std::string::npos) << text;
        });
    }
    // Whose chunks count, but whose connection is left alone (RFC 9112 section 6.1).
    const std::string both = Scripted().Url("/chunked?n=5&line=Content-Length:%203");
    Both({}, both, "GET", [](const Outcome &outcome) { EXPECT_EQ(outcome.body, "abcde"); });
    EXPECT_TRUE(Scripted().WaitForOpenConnections(0));
}

TEST_F(FramingTest, NothingBehindAnAnswerAnswersTheNext)
{
    const TlsFront front(Scripted().Port());
    const std::pair<std::string, const char *> cases[] = {
        {Scripted().Url(""), "/unasked?ms=30"},
        {Scripted().Url(""), "/unasked?ms=30&in=body"},
        {front.Url(), "/unasked?ms=30&in=body"}, // within one TLS record
    };
    for (const auto &[root, path] : cases) {
        for (const char *method : {"GET", "POST"}) {
            SCOPED_TRACE(root + path + method);
            for (const bool synchronous : {false, true}) {
                const auto fetch = [&, root = root](const std::string &target) {
                    Call call(root + target, method);
                    return synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
                };
                EXPECT_EQ(fetch(path).body, "asked");
                uint32_t code = 1;
                Tnx_Session *other = OVX_Tnx_CreateSession(&configuration_, &code);
                // A later timer of the server's one thread: what nobody asked for has been sent.
                EXPECT_EQ(Call(Scripted().Url("/stall?ms=31")).FetchSync(other).code, 0U);
                OVX_Tnx_CloseSession(&other);
                const Outcome next = fetch("/sink");
                EXPECT_EQ(next.code, 0U) << next.Why();
                EXPECT_EQ(next.body, "0");
                Close();
            }
        }
    }
}

} // namespace
