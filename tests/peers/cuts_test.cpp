// Good answers, cut at each byte and ended in each way: only a whole answer is one.
#include "peers.h"

#include <numeric>

namespace
{

using namespace Peers;
using namespace Http2;

const std::vector<uint32_t> FAILED = {TNX_ERR_RECEIVE,     TNX_ERR_TRUNCATED_BODY,
                                      TNX_ERR_EMPTY_REPLY, TNX_ERR_WEIRD_REPLY,
                                      TNX_ERR_HTTP2,       TNX_ERR_HTTP2_STREAM};

// An answer, in parts, and how many of these are enough to know all that matters of it.
struct Answer {
    std::string what;
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
        {"counted", {Ok("Content-Length: 5"), "abcde"}, 2},
        {"chunked", {Chunked(""), "5\r\nabcde\r\n0\r\nX: y\r\n\r\n"}, 2, 200, true, 1},
        {"until the end", {Ok("X: y"), "abcde"}, 1},
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
    return !resetWithoutError && LibcurlIs(0x080e00);
}

TEST(CutPeers, OnlyAWholeAnswerIsOne)
{
    for (const Over over : {Over::HTTP1, Over::HTTP2}) {
        std::vector<Row> rows;
        for (const Answer &answer : over == Over::HTTP2 ? Http2Answers() : Http1Answers()) {
            const std::string name =
                answer.what + (over == Over::HTTP2 ? " in frames" : " in lines");
            Row cut{name + ", cut", {}, FAILED, "", CLOSED};
            Row whole{name + ", whole", {}, {}, "", EITHER, answer.status};
            whole.unsure = true; // what is not counted may be shorter
            const size_t enough = answer.First(answer.enough).size();
            const std::string all = answer.First(answer.parts.size());
            for (size_t size = 0; size <= all.size(); ++size) {
                if (size >= enough || size + answer.spare < enough) {
                    (size < enough ? cut : whole)
                        .plays.push_back(Play(all.substr(0, size)).Close());
                }
            }
            rows.push_back(std::move(cut));
            rows.push_back(std::move(whole));
        }
        Check(rows, over);
    }
}

TEST(CutPeers, AStreamEndsWithItsFlagOnly)
{
    const std::string tooMuch = Number(0x7fffffff, 4);
    const std::pair<const char *, std::string> endings[] = {
        {"reset without an error", Frame(RST_STREAM, 0, Number(0, 4))},
        {"reset", Frame(RST_STREAM, 0, Number(2, 4))},
        {"window of the stream", Frame(WINDOW_UPDATE, 0, tooMuch)},
        {"window of the connection", Frame(WINDOW_UPDATE, 0, tooMuch, 0)},
        {"going away", Frame(GOAWAY, 0, Number(1, 4) + Number(0, 4), 0)},
    };
    std::vector<Row> rows;
    for (const auto &[what, frame] : endings) {
        Row row{std::string("ended by ") + what, {}, FAILED, "", CLOSED};
        for (const Answer &answer : Http2Answers()) {
            for (size_t parts = 1; parts < answer.enough; ++parts) {
                if (answer.counted || LibcurlTells(frame == endings[0].second)) {
                    row.plays.push_back(Play(answer.First(parts) + frame).Close());
                    row.plays.push_back(Play(answer.First(parts)).Wait().Then(frame).Close());
                }
            }
        }
        rows.push_back(std::move(row));
    }
    Check(rows, Over::HTTP2);
}

TEST(CutPeers, AnEndWithoutAnAnswerIsToldByItsKind)
{
    const std::string settings = Frame(SETTINGS, 0, "", 0);
    const auto away = [](uint64_t error) {
        return Frame(GOAWAY, 0, Number(0, 4) + Number(error, 4), 0);
    };
    // In clear text 8.14 calls both kinds of silence a damaged frame.
    const bool newer = LibcurlTells(false);
    Check({{"nothing but settings",
            {Play(settings).Close()},
            {newer ? TNX_ERR_HTTP2 : TNX_ERR_EMPTY_REPLY},
            newer ? "no answer in HTTP/2" : "without an answer"},
           {"an answer in HTTP/1.1",
            {Play("HTTP/1.1 400 Bad Request\r\n\r\n").Close()},
            {TNX_ERR_HTTP2},
            "no answer in HTTP/2"}},
          Over::HTTP2);
    if (!newer) { // which tries again, and tells how often
        const std::string head = Head({{":status", "200"}});
        Check({{"going away, nothing begun",
                {Play(settings + away(0)).Close()},
                {TNX_ERR_HTTP2_STREAM},
                "ended the connection"},
               {"going away, a head begun",
                {Play(settings + head + away(11)).Close()},
                {TNX_ERR_HTTP2_STREAM},
                "ended the connection"}},
              Over::HTTP2);
    }
}

} // namespace
