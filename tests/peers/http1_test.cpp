// Where a message of HTTP/1.1 ends: lengths, chunks, trailers, and what stands behind.
#include "peers.h"

namespace
{

using namespace Peers;

constexpr uint32_t WEIRD = TNX_ERR_WEIRD_REPLY;
constexpr uint32_t RECEIVE = TNX_ERR_RECEIVE;
constexpr uint32_t CUT = TNX_ERR_TRUNCATED_BODY;

TEST(Http1Peers, Lengths)
{
    const auto with = [](const std::string &lines) -> std::vector<Play> {
        return {Ok(lines, "abcde")};
    };
    Check({
        {"length twice", with("Content-Length: 5\r\nContent-Length: 5"), {}, "abcde", KEPT},
        {"length in a list", with("Content-Length: 5, 5"), {}, "abcde", EITHER},
        {"length with zeros", with("Content-Length: 0000000000000000000005"), {}, "abcde", KEPT},
        {"length with blanks", with("Content-Length: \t 5 \t"), {}, "abcde", KEPT},
        {"lengths, the second longer",
         with("Content-Length: 5\r\nContent-Length: 6"),
         {WEIRD},
         "length"},
        {"lengths, the second shorter",
         with("Content-Length: 6\r\nContent-Length: 5"),
         {WEIRD},
         "length"},
        {"lengths, one empty", with("Content-Length: 5\r\nContent-Length:"), {WEIRD}, "ength"},
        {"lengths in a list", with("Content-Length: 5,6"), {WEIRD}, "length"},
        {"length and a comma", with("Content-Length: 5,"), {WEIRD}, "length"},
        {"length on the second line",
         {Play(Ok("Content-Length:\r\n 5", "abcdefgh")).Close()},
         {WEIRD},
         "ength"},
        {"length folded", with("Content-Length: 5\r\n 6"), {WEIRD}, "length"},
        {"length with plus", with("Content-Length: +5"), {WEIRD}, "ength"},
        {"length with minus", with("Content-Length: -5"), {WEIRD}, "ength"},
        {"length minus one", with("Content-Length: -1"), {WEIRD}, "ength"},
        {"length with junk", with("Content-Length: 5junk"), {WEIRD}, "ength"},
        {"length with a second number", with("Content-Length: 5 5"), {WEIRD}, "ength"},
        {"length with a fraction", with("Content-Length: 5.0"), {WEIRD}, "ength"},
        {"length in hexadecimal", with("Content-Length: 0x5"), {WEIRD}, "ength"},
        {"length in quotes", with("Content-Length: \"5\""), {WEIRD}, "ength"},
        {"length empty", with("Content-Length:"), {WEIRD}, "ength"},
        {"length of a word", with("Content-Length: five"), {WEIRD}, "ength"},
        {"length above 63 bits", with("Content-Length: 9223372036854775808"), {WEIRD}, "ength"},
        {"length around 64 bits", with("Content-Length: 18446744073709551621"), {WEIRD}, "ength"},
        {"length of 1000 digits",
         with("Content-Length: " + std::string(1000, '9')),
         {WEIRD},
         "ength"},
        {"length of 63 bits",
         {Play(Ok("Content-Length: 9223372036854775807", "a")).Close()},
         {CUT, TNX_ERR_BODY_TOO_LARGE},
         ""},
        {"length of 3 GB",
         {Play(Ok("Content-Length: 3000000000", "a")).Close()},
         {CUT, TNX_ERR_BODY_TOO_LARGE},
         ""},
        {"length with NUL", with(std::string("Content-Length: 5\0", 18)), {WEIRD, RECEIVE}, ""},
        {"length name with blank",
         {Play(Ok("Content-Length : 5", "abcde")).Close()},
         {WEIRD, 0},
         "abcde"},
        {"length in an interim response",
         {"HTTP/1.1 103 Hints\r\nContent-Length: 3\r\n\r\n" + Five()},
         {WEIRD},
         "interim"},
    });
}

TEST(Http1Peers, TransferCodings)
{
    const std::string body = "5\r\nabcde\r\n0\r\n\r\n";
    const auto with = [&body](const std::string &lines) -> std::vector<Play> {
        return {Ok(lines, body)};
    };
    Check({
        {"chunked", with("Transfer-Encoding: chunked"), {}, "abcde", KEPT},
        {"chunked, a byte at a time", {Slowly(Chunked(body))}, {}, "abcde", KEPT},
        {"counted, a byte at a time", {Slowly(Five())}, {}, "abcde", KEPT},
        {"chunked in capitals", with("TRANSFER-ENCODING: CHUNKED"), {}, "abcde", KEPT},
        {"length before chunked",
         with("Content-Length: 3\r\nTransfer-Encoding: chunked"),
         {},
         "abcde"},
        {"length behind chunked",
         with("Transfer-Encoding: chunked\r\nContent-Length: 3"),
         {},
         "abcde"},
        {"bad length and chunked",
         with("Transfer-Encoding: chunked\r\nContent-Length: x"),
         {WEIRD, 0},
         "abcde"},
        {"chunked in HTTP/1.0",
         {"HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + body},
         {},
         "abcde"},
        {"chunked twice",
         with("Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked"),
         {WEIRD},
         "coding"},
        {"chunked twice in a list", with("Transfer-Encoding: chunked, chunked"), {WEIRD}, "coding"},
        {"gzip, chunked", with("Transfer-Encoding: gzip, chunked"), {WEIRD}, "coding"},
        {"chunked, gzip", with("Transfer-Encoding: chunked, gzip"), {WEIRD}, "coding"},
        {"chunked, identity", with("Transfer-Encoding: chunked, identity"), {WEIRD}, "coding"},
        {"identity", with("Transfer-Encoding: identity"), {WEIRD}, "coding"},
        {"chunked with a weight", with("Transfer-Encoding: chunked;q=1"), {WEIRD}, "coding"},
        {"chunked in quotes", with("Transfer-Encoding: \"chunked\""), {WEIRD}, "coding"},
        {"xchunked", with("Transfer-Encoding: xchunked"), {WEIRD}, "coding"},
        {"chunkedx", with("Transfer-Encoding: chunkedx"), {WEIRD}, "coding"},
        {"a vertical tab and chunked", with("Transfer-Encoding: \vchunked"), {WEIRD}, "coding"},
        {"coding folded",
         {Play(Ok("Transfer-Encoding:\r\n chunked", body)).Close()},
         {WEIRD},
         "coding"},
        {"coding of two lines",
         {Play(Ok("Transfer-Encoding:\r\n chunked\r\nTransfer-Encoding: chunked", body)).Close()},
         {WEIRD},
         ""},
        {"coding empty", with("Transfer-Encoding:"), {WEIRD}, "coding"},
        {"coding name with blank",
         {Play(Ok("Transfer-Encoding : chunked", body)).Close()},
         {WEIRD, 0},
         body},
        {"coding of 1000 members",
         with("Transfer-Encoding: " + Times(1000, "gzip, ") + "chunked"),
         {WEIRD},
         "coding"},
    });
}

TEST(Http1Peers, Chunks)
{
    const auto size = [](const std::string &line) -> std::vector<Play> {
        return {Play(Chunked(line + "\r\nabcde\r\n0\r\n\r\n")).Close()};
    };
    const std::string good = "5\r\nabcde\r\n0\r\n";
    Check({
        {"size of no number", size("zz"), {RECEIVE}, ""},
        {"size empty", size(""), {RECEIVE}, ""},
        {"size with minus", size("-5"), {RECEIVE}, ""},
        {"size with plus", size("+5"), {RECEIVE}, ""},
        {"size with 0x", size("0x5"), {RECEIVE, CUT, WEIRD}, ""},
        {"size with a blank before", size(" 5"), {RECEIVE, 0}, "abcde"},
        {"size with a blank behind", size("5 "), {RECEIVE, 0}, "abcde"},
        {"size of 16 digits", size("ffffffffffffffff"), {RECEIVE, CUT}, ""},
        {"size around 64 bits", size("10000000000000005"), {RECEIVE}, ""},
        {"size of 63 bits", size("7fffffffffffffff"), {CUT, RECEIVE, TNX_ERR_BODY_TOO_LARGE}, ""},
        {"size with 20 zeros", size("00000000000000000005"), {RECEIVE, 0}, "abcde"},
        {"size of 1 MiB of zeros", size(std::string(1 << 20, '0') + "5"), {RECEIVE}, ""},
        {"size too small", size("4"), {RECEIVE}, ""},
        {"size too large", size("6"), {RECEIVE, 0}, "abcde\r"},
        {"size cut", {Play(Chunked("5")).Close()}, {CUT, RECEIVE}, ""},
        {"extension", size("5;a=b"), {}, "abcde"},
        {"extension in quotes", size("5;a=\"b\\\"\\r\""), {}, "abcde"},
        {"extension of 1 MiB", size("5;" + std::string(1 << 20, 'a')), {RECEIVE, 0}, "abcde"},
        {"extension with NUL", size(std::string("5;\0a", 4)), {RECEIVE, 0}, "abcde"},
        {"extension with a bare CR", size("5;a\rb"), {RECEIVE, 0}, "abcde"},
        {"extension without end",
         {Play(Chunked("5;")).Repeat(std::string(65536, 'a'), 500).Close()},
         {CUT, RECEIVE},
         ""},
        {"bare LF behind the size",
         {Play(Chunked("5\nabcde\r\n0\r\n\r\n")).Close()},
         {RECEIVE, 0},
         "abcde"},
        {"bare LF behind the data",
         {Play(Chunked("5\r\nabcde\n0\r\n\r\n")).Close()},
         {RECEIVE, 0},
         "abcde"},
        {"bare CR behind the size",
         {Play(Chunked("5\rabcde\r\n0\r\n\r\n")).Close()},
         {RECEIVE, CUT},
         ""},
        {"no last chunk", {Play(Chunked("5\r\nabcde\r\n")).Close()}, {CUT}, "receiving"},
        {"no chunk at all", {Play(Chunked("")).Close()}, {CUT}, "receiving"},
        {"last chunk of zeros", {Chunked("5\r\nabcde\r\n000\r\n\r\n")}, {}, "abcde", KEPT},
        {"last chunk with extension", {Chunked("5\r\nabcde\r\n0;x\r\n\r\n")}, {}, "abcde", KEPT},
        {"100,000 chunks of a byte",
         {Chunked(Times(100000, "1\r\na\r\n") + "0\r\n\r\n")},
         {},
         std::string(100000, 'a'),
         KEPT},
        {"trailers", {Chunked(good + "X: y\r\nY: z\r\n\r\n")}, {}, "abcde", KEPT},
        {"trailer of a length",
         {Chunked(good + "Content-Length: 99\r\n\r\n")},
         {},
         "abcde",
         EITHER},
        {"trailer of a coding",
         {Chunked(good + "Transfer-Encoding: gzip\r\nContent-Encoding: br\r\n\r\n")},
         {},
         "abcde",
         EITHER},
        {"trailer that redirects",
         {Chunked(good + "Location: /bytes?n=3\r\n\r\n")},
         {},
         "abcde",
         EITHER},
        {"trailer like a status line",
         {Chunked(good + "HTTP/1.1 302: x\r\nLocation: /echo\r\nContent-Length: 1\r\n\r\n")},
         {},
         "abcde",
         EITHER},
        {"trailer without colon",
         {Play(Chunked(good + "nothing\r\n\r\n")).Close()},
         {RECEIVE, WEIRD, 0},
         "abcde"},
        {"trailer folded",
         {Play(Chunked(good + "X: y\r\n z\r\n\r\n")).Close()},
         {0, RECEIVE},
         "abcde"},
        {"trailer with NUL",
         {Play(Chunked(good + std::string("X: \0y\r\n\r\n", 10))).Close()},
         {RECEIVE, WEIRD, 0},
         "abcde"},
        {"trailers without end",
         {Play(Chunked(good)).Repeat("X-More: " + std::string(1000, 'x') + "\r\n", 20000).Close()},
         {RECEIVE, CUT, WEIRD, TNX_ERR_OUT_OF_MEMORY},
         ""},
        {"a trailer line without end",
         {Play(Chunked(good + "X: ")).Repeat(std::string(65536, 'x'), 500).Close()},
         {RECEIVE, CUT, WEIRD, TNX_ERR_OUT_OF_MEMORY},
         ""},
        {"no empty line behind trailers",
         {Play(Chunked(good + "X: y\r\n")).Close()},
         {CUT, RECEIVE},
         ""},
    });
}

TEST(Http1Peers, BodiesWhereNoneMayBe)
{
    const auto head = [](std::string name, std::string answer, std::string told, Fate fate) {
        return Row{std::move(name), {std::move(answer)}, {}, std::move(told), fate, 200, "HEAD"};
    };
    Check({
        head("HEAD with a length", Ok("Content-Length: 5"), "", KEPT),
        head("HEAD with a body", Five(), "", LAX),
        head("HEAD chunked", Chunked(""), "", KEPT),
        head("HEAD with chunks", Chunked("5\r\nabcde\r\n0\r\n\r\n"), "", LAX),
        head("HEAD with an answer as body", Ok("Content-Length: 5", Five()), "", LAX),
        {"204 with a length", {"HTTP/1.1 204 N\r\nContent-Length: 5\r\n\r\n"}, {}, "", EITHER, 204},
        {"204 with a body", {"HTTP/1.1 204 N\r\nContent-Length: 5\r\n\r\nabcde"}, {}, "", LAX, 204},
        {"204 with chunks",
         {"HTTP/1.1 204 N\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nabcde\r\n0\r\n\r\n"},
         {},
         "",
         LAX,
         204},
        {"304 with a length", {"HTTP/1.1 304 N\r\nContent-Length: 5\r\n\r\n"}, {}, "", KEPT, 304},
        {"304 with a body", {"HTTP/1.1 304 N\r\nContent-Length: 5\r\n\r\nabcde"}, {}, "", LAX, 304},
        {"304 with an answer behind", {"HTTP/1.1 304 N\r\n\r\n" + Five()}, {}, "", LAX, 304},
        {"205 with a body",
         {"HTTP/1.1 205 R\r\nContent-Length: 5\r\n\r\nabcde"},
         {},
         "abcde",
         EITHER,
         205},
    });
}

TEST(Http1Peers, BytesBehindAnAnswer)
{
    const std::string other = Ok("Content-Length: 7", "unasked");
    const auto row = [](std::string name, Play play, bool late = false, Fate fate = CLOSED) {
        return Row{std::move(name), {std::move(play)}, {}, "abcde", fate, 200, "GET", {}, late};
    };
    Check({
        row("junk behind a body", Five() + "junk"),
        row("an answer behind a body", Five() + other),
        row("an answer behind chunks", Chunked("5\r\nabcde\r\n0\r\n\r\n") + other, false, LAX),
        row("an answer behind trailers", Chunked("5\r\nabcde\r\n0\r\nX: y\r\n\r\n") + other, false,
            LAX),
        row("100 answers behind a body", Five() + Times(100, other)),
        row("an empty line behind a body", Five() + "\r\n"),
        row("half an answer behind a body", Five() + "HTTP/1.1 200 OK\r\nContent-Le"),
        row("1 MiB behind a body", Five() + std::string(1 << 20, 'x')),
        row("an interim response behind a body", Five() + "HTTP/1.1 100 Continue\r\n\r\n"),
        row("junk later", Play(Five()).Wait().Then("junk"), true),
        row("an answer later", Play(Five()).Wait().Then(other), true),
        row("an answer later, behind chunks",
            Play(Chunked("5\r\nabcde\r\n0\r\n\r\n")).Wait().Then(other), true),
        row("a byte later", Play(Five()).Wait().Then("\n"), true),
        row("body and an answer in one piece",
            Play(Ok("Content-Length: 5")).Wait().Then("abcde" + other)),
        row("a reset later", Play(Five()).Reset(), true),
        row("the end later", Play(Five()).Wait().Close(), true),
        {"an answer behind an empty body", {Ok("Content-Length: 0", other)}, {}, "", LAX},
        {"an answer behind an until-close body",
         {Play(Ok("X: y", "abcde" + other)).Close()},
         {},
         "abcde" + other,
         CLOSED},
    });
}

} // namespace
