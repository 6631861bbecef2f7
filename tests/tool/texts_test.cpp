// What the tool makes of an answer: its conversation, formats and drawings.
#include <string>

#include <gtest/gtest.h>

#include "cli/answer/conversation.h"
#include "cli/answer/phases.h"
#include "cli/base/url.h"
#include "cli/output/dump.h"
#include "cli/output/json_layout.h"
#include "cli/output/meter.h"
#include "cli/output/write_out.h"
#include "cli/run/retry.h"
#include "cli/run/speed_watch.h"

namespace
{

using namespace TnxTool;

// A list of debug entries that borrows its texts.
class DebugList
{
public:
    DebugList(std::initializer_list<std::pair<Tnx_DebugKind, std::string_view>> entries)
    {
        for (const auto &[kind, text] : entries) {
            nodes_.push_back({kind, text.data(), static_cast<uint32_t>(text.size()), nullptr});
        }
        for (size_t at = 1; at < nodes_.size(); ++at) {
            nodes_[at - 1].next = &nodes_[at];
        }
    }
    Tnx_DebugInfo *First() { return nodes_.data(); }

private:
    std::vector<Tnx_DebugInfo> nodes_;
};

DebugList Redirected()
{
    return {{TNX_DEBUG_TEXT, "Trying 127.0.0.1:80..."},
            {TNX_DEBUG_HEADER_OUT, "CONNECT h:80 HTTP/1.1\r\nHost: h:80\r\n\r\n"},
            {TNX_DEBUG_HEADER_IN, "HTTP/1.1 200 OK\r\n"},
            {TNX_DEBUG_HEADER_IN, "\r\n"},
            {TNX_DEBUG_HEADER_OUT, "POST /a HTTP/1.1\r\nHost: h\r\nReferer: r\r\n\r\n"},
            {TNX_DEBUG_HEADER_IN, "HTTP/1.1 100 Continue\r\n"},
            {TNX_DEBUG_HEADER_IN, "\r\n"},
            {TNX_DEBUG_HEADER_IN, "HTTP/1.1 302 Found\r\n"},
            {TNX_DEBUG_HEADER_IN, "Location: b?c\r\n"},
            {TNX_DEBUG_HEADER_IN, "\r\n"},
            {TNX_DEBUG_HEADER_OUT, "GET /b?c HTTP/2\r\nHost: h\r\n\r\n"},
            {TNX_DEBUG_HEADER_IN, "HTTP/2 204 \r\n"},
            {TNX_DEBUG_HEADER_IN, "content-type: t/u\r\n"},
            {TNX_DEBUG_HEADER_IN, "\r\n"}};
}

TEST(Conversation, IsReadHopByHop)
{
    DebugList list = Redirected();
    Tnx_Response response{};
    response.debugInfo = list.First();
    const Conversation conversation = ReadConversation(&response);
    const auto exchanges = conversation.Exchanges();
    ASSERT_EQ(conversation.hops.size(), 4U);
    ASSERT_EQ(exchanges.size(), 2U);
    EXPECT_EQ(exchanges[0]->method, "POST"); // told again after the interim answer
    EXPECT_EQ(exchanges[0]->status, 302);
    EXPECT_EQ(exchanges[0]->reason, "Found");
    EXPECT_EQ(exchanges[0]->RequestField("referer"), "r");
    EXPECT_EQ(exchanges[0]->AnswerField("location"), "b?c");
    EXPECT_EQ(exchanges[1]->target, "/b?c");
    EXPECT_EQ(exchanges[1]->version, "2");
    EXPECT_EQ(exchanges[1]->status, 204);
}

TEST(Dump, LooksAsCurlsDoes)
{
    const std::string width(64, 'w'); // a line end right behind a full row makes no empty one
    const struct {
        uint32_t kind;
        std::string bytes;
        std::string verbose;
        bool hex;
        std::string trace;
    } cases[] = {
        {TNX_DEBUG_TEXT, "hello", "* hello\n", false, "== Info: hello\n"},
        {TNX_DEBUG_HEADER_OUT, "GET / HTTP/1.1\r\nHost: a\r\n\r\n",
         "> GET / HTTP/1.1\n> Host: a\n> \n", false,
         "=> Send header, 27 bytes (0x1b)\n0000: GET / HTTP/1.1\n0010: Host: a\n0019: \n"},
        {TNX_DEBUG_HEADER_IN, "HTTP/1.1 200 OK\r\n", "< HTTP/1.1 200 OK\n", false,
         "<= Recv header, 17 bytes (0x11)\n0000: HTTP/1.1 200 OK\n"},
        {TNX_DEBUG_DATA_IN, "x=1\ny", "", false, "<= Recv data, 5 bytes (0x5)\n0000: x=1.y\n"},
        {TNX_DEBUG_DATA_OUT, "0123456789abcdefg", "", true,
         "=> Send data, 17 bytes (0x11)\n"
         "0000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef\n"
         "0010: 67                                              g\n"},
        {TNX_DEBUG_DATA_OUT, width + "\r\nz", "", false,
         "=> Send data, 67 bytes (0x43)\n0000: " + width + "\n0042: z\n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(VerboseText(c.kind, c.bytes, false), c.verbose);
        EXPECT_EQ(TraceText(c.kind, c.bytes, c.hex), c.trace);
    }
}

TEST(Json, IsLaidOutByteForByteOrLeftAlone)
{
    const struct {
        std::string text;
        std::string laid; // empty: it is left alone
    } cases[] = {
        {" {} ", "{}\n"},
        {"[ ]", "[]\n"},
        {R"({"a":[1,-2.50e+10,0],"a":{"\u00e9\"":"\\","":null}})",
         "{\n  \"a\": [\n    1,\n    -2.50e+10,\n    0\n  ],\n  \"a\": {\n"
         "    \"\\u00e9\\\"\": \"\\\\\",\n    \"\": null\n  }\n}\n"},
        {"\"\xff\"", "\"\xff\"\n"},
        {std::string(501, '[') + std::string(501, ']'), ""},
        {"", ""},
        {"{\"a\":1", ""},
        {"{\"a\":1,}", ""},
        {"{\"a\" 1}", ""},
        {"{a:1}", ""},
        {"[1,]", ""},
        {"[1 2]", ""},
        {"[1}", ""},
        {"01", ""},
        {"1.", ""},
        {"1e", ""},
        {"-", ""},
        {"nul", ""},
        {"\"\\x\"", ""},
        {"\"\\u12g4\"", ""},
        {"\"\n\"", ""},
        {"\"\\\"", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(LayOutJson(c.text, false).value_or(""), c.laid) << c.text;
    }
}

TEST(WriteOut, FillsItsVariables)
{
    DebugList list = Redirected();
    Tnx_TimeInfo times{};
    times.connect = 1234567;
    Tnx_Response response{};
    response.debugInfo = list.First();
    response.statusCode = 204;
    response.timeInfo = &times;
    response.destroyResponse = [](Tnx_Response *) {};
    Outcome outcome;
    outcome.url = "http://h/a";
    outcome.bodyLength = 5;
    outcome.response.reset(&response);
    outcome.conversation = ReadConversation(&response);
    const struct {
        const char *format;
        const char *text;
    } cases[] = {
        {"%{http_code} %{response_code}\\n", "204 204\n"},
        {"%{num_redirects} %{http_connect} %{http_version}", "1 200 2"},
        {"%{time_connect} %{time_total}", "1.234567 0.000000"},
        {"%{size_download}\\t%{content_type}", "5\tt/u"},
        {"%header{Content-Type}|%header{none}|", "t/u||"},
        {"%{header_json}", "{\"content-type\":[\"t/u\"]}"},
        {"a%{onerror}b", "a"},
        {"100%% %{filename_effective}\\x %{open", "100% \\x %{open"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(WriteOut(c.format, outcome).output, c.text) << c.format;
    }
    const Written both = WriteOut("a%{stderr}b%{stdout}c", outcome);
    EXPECT_EQ(both.output, "ac");
    EXPECT_EQ(both.error, "b");
    Outcome failed;
    failed.status = 7;
    EXPECT_EQ(WriteOut("%{http_code}%{onerror} %{exitcode}", failed).output, "000 7");
}

TEST(Url, IsCompletedAndTakenApart)
{
    Settings settings;
    EXPECT_EQ(CompleteUrl(settings, "host:8080/a", {}), "http://host:8080/a");
    EXPECT_EQ(CompleteUrl(settings, "https://host", "dir/a b"), "https://host/a%20b");
    EXPECT_EQ(CompleteUrl(settings, "h/d/?q", "f"), "http://h/d/f?q");
    EXPECT_EQ(CompleteUrl(settings, "h/d", "f"), "http://h/d");
    settings.get = true;
    settings.data = "x=1";
    EXPECT_EQ(CompleteUrl(settings, "h/?a#f", {}), "http://h/?a&x=1#f");
    settings.urlQuery = {"y"};
    EXPECT_EQ(CompleteUrl(settings, "h", {}), "http://h?x=1&y");

    EXPECT_EQ(UrlFileName("http://h/a/b%20c?d/e#f/g"), "b%20c");
    EXPECT_EQ(UrlFileName("http://h"), "");
    EXPECT_EQ(UrlHost("http://u:p@[::1]:80/"), "::1");
    EXPECT_EQ(UrlHost("http://u@h/"), "h");
    EXPECT_EQ(WithoutUser("http://u:p@h:1/a@b?c"), "http://h:1/a@b?c");

    const struct {
        const char *reference;
        const char *resolved;
    } cases[] = {{"https://x/y", "https://x/y"},
                 {"//x/y", "http://x/y"},
                 {"/y?u=http://z", "http://h/y?u=http://z"},
                 {"y", "http://h/a/y"},
                 {"?q", "http://h/a/b?q"}};
    for (const auto &c : cases) {
        EXPECT_EQ(ResolveUrl("http://h/a/b?c", c.reference), c.resolved);
    }
    EXPECT_EQ(ResolveUrl("http://h", "y"), "http://h/y");
}

TEST(Retry, WaitsAsTheServerAsks)
{
    const auto now = std::chrono::system_clock::from_time_t(784111777); // the date below
    EXPECT_EQ(ParseRetryAfter("120", now), std::chrono::seconds(120));
    EXPECT_EQ(ParseRetryAfter("Sun, 06 Nov 1994 08:50:07 GMT", now), std::chrono::seconds(30));
    EXPECT_EQ(ParseRetryAfter("Sun, 06 Nov 1994 08:49:37 GMT", now), std::chrono::seconds(0));
    EXPECT_EQ(ParseRetryAfter("soon", now), std::nullopt);

    Outcome outcome;
    outcome.status = 28;
    outcome.errorCode = TNX_ERR_TIMEOUT;
    RetrySettings settings;
    using std::chrono::milliseconds;
    using std::chrono::seconds;
    EXPECT_EQ(NextTry(settings, outcome, 0, seconds(0)), std::nullopt);
    settings.count = 20;
    EXPECT_EQ(NextTry(settings, outcome, 0, seconds(0)), milliseconds(1000));
    EXPECT_EQ(NextTry(settings, outcome, 3, seconds(0)), milliseconds(8000));
    EXPECT_EQ(NextTry(settings, outcome, 19, seconds(0)), milliseconds(600000));
    EXPECT_EQ(NextTry(settings, outcome, 20, seconds(0)), std::nullopt);
    settings.maxTime = 10;
    EXPECT_EQ(NextTry(settings, outcome, 0, seconds(9)), std::nullopt);
    outcome.errorCode = TNX_ERR_CONNECT;
    EXPECT_EQ(NextTry(settings, outcome, 0, seconds(0)), std::nullopt);
    settings.connectionRefused = true;
    settings.delay = 0;
    EXPECT_EQ(NextTry(settings, outcome, 5, seconds(0)), milliseconds(0));
}

TEST(Phases, EndWhereTheTransferFailed)
{
    Tnx_TimeInfo times{};
    times.nameLookup = 10;
    times.connect = 30;
    times.total = 100;
    const auto failed = ReadPhases(times, TNX_ERR_TLS_CONNECT);
    ASSERT_EQ(failed.size(), 3U);
    EXPECT_EQ(failed[2].kind, Phase::TLS);
    EXPECT_TRUE(failed[2].failed);
    EXPECT_EQ(failed[2].end - failed[2].begin, 70);
    EXPECT_EQ(ReadPhases(times, TNX_ERR_SEND).back().kind, Phase::SEND);
    EXPECT_EQ(ReadPhases({}, TNX_ERR_CONNECT).back().kind, Phase::CONNECT);
    EXPECT_EQ(ReadPhases({}, TNX_ERR_PEER_VERIFICATION).back().kind, Phase::CONNECT_AND_TLS);
    times.firstSend = 40;
    times.firstReceive = 90;
    const auto good = ReadPhases(times, TNX_OK);
    ASSERT_EQ(good.size(), 5U); // no TLS
    EXPECT_EQ(good[4].kind, Phase::RECEIVE);
    EXPECT_EQ(good[4].end - good[4].begin, 10);
}

TEST(Speed, IsWatchedOverItsTime)
{
    SpeedWatch watch(10, std::chrono::seconds(2));
    const SpeedWatch::Time start = std::chrono::steady_clock::now();
    const struct {
        int milliseconds;
        uint64_t bytes;
        bool slow;
    } cases[] = {{0, 5, false},     {1900, 5, false}, {2000, 25, false}, // a new window
                 {3900, 26, false}, {4100, 44, true}, {4200, 44, false}};
    for (const auto &c : cases) {
        EXPECT_EQ(watch.IsSlow(c.bytes, start + std::chrono::milliseconds(c.milliseconds)), c.slow)
            << c.milliseconds;
    }
}

TEST(Meter, ShowsBytesRateAndTimeLeft)
{
    EXPECT_EQ(MeterLine({.total = 4 * 1024 * 1024, .now = 1024 * 1024}, 2, 60),
              "1.0 MiB of 4.0 MiB  512.0 KiB/s  0:06 left");
    const std::string wide = MeterLine({.total = 1000, .now = 250}, 1, 120);
    EXPECT_EQ(wide, "[" + std::string(10, '#') + std::string(30, ' ') +
                        "]  25%  250 B of 1000 B  250 B/s  0:03 left");
    EXPECT_EQ(MeterLine({.total = 0, .now = 2048, .known = false}, 3661, 80),
              "2.0 KiB  1 B/s  1:01:01");
    EXPECT_LT(MeterLine({.total = 1000, .now = 250}, 1, 20).size(), 20U);
}

} // namespace
