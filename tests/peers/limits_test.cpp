// Peers that take longer, or send more, than a request lets them.
#include "bodies.h"
#include "peers.h"
#include "tnx_c_ext/limits.h"

namespace
{

using namespace Peers;

// Sets limits, in pairs of which and value.
std::function<void(Call &)> Limit(const std::vector<std::pair<uint32_t, int64_t>> &limits)
{
    return [limits](Call &call) {
        for (const auto &[which, value] : limits) {
            EXPECT_EQ(OVX_Tnx_SetRequestLimit(call.Get(), which, value), uint32_t{TNX_OK});
        }
    };
}

Play Coded(const std::string &body)
{
    return Ok("Content-Encoding: gzip\r\nContent-Length: " + std::to_string(body.size()), body);
}

TEST(LimitPeers, Time)
{
    const auto idle = Limit({{TNX_LIMIT_IDLE_TIME, 80}});
    const auto first = Limit({{TNX_LIMIT_FIRST_BYTE, 80}, {TNX_LIMIT_IDLE_TIME, 60000}});
    const auto patient = Limit({{TNX_LIMIT_FIRST_BYTE, 700}, {TNX_LIMIT_IDLE_TIME, 60000}});
    constexpr int LONG = 60000;
    const std::string quiet = "no byte came or went for 80 ms";
    const std::string silent = "no byte of an answer came for 80 ms";
    const std::vector<uint32_t> late = {TNX_ERR_TIMEOUT};
    const auto row = [&](std::string name, Play play, std::string told, const auto &limits) {
        return Row{std::move(name), {std::move(play)}, late, std::move(told), CLOSED, 200, "GET",
                   limits};
    };
    Check({
        row("nothing at all", Play("").Wait(LONG), quiet, idle),
        row("half a header section", Play("HTTP/1.1 200 OK\r\n").Wait(LONG), quiet, idle),
        row("half a body", Play(Ok("Content-Length: 9", "abcde")).Wait(LONG), quiet, idle),
        row("nothing on the second hop", To("/stall?ms=60000"), quiet, idle),
        row("no first byte", Play("").Wait(LONG), silent, first),
        row("no first byte on the second hop", To("/stall?ms=60000"), silent, first),
        {"a first byte, then time",
         {Play(Ok("Content-Length: 5", "ab")).Wait(800).Then("cde")},
         {},
         "abcde",
         KEPT,
         200,
         "GET",
         patient},
        {"slow, but going on", {Slowly(Five())}, {}, "abcde", KEPT, 200, "GET", patient},
    });
}

TEST(LimitPeers, Size)
{
    const auto five = Limit({{TNX_LIMIT_RESPONSE_SIZE, 5}});
    const auto four = Limit({{TNX_LIMIT_RESPONSE_SIZE, 4}});
    const auto hundred = Limit({{TNX_LIMIT_RESPONSE_SIZE, 100}});
    const std::string announced = "announces 6 bytes, and the request takes 5";
    const std::string larger = "larger than the 4 bytes that the request takes";
    const std::vector<uint32_t> large = {TNX_ERR_BODY_TOO_LARGE};
    const std::string bomb = Gzip(std::string(100000, 'x'));
    const std::string found =
        "HTTP/1.1 302 Found\r\nLocation: /bytes?n=3\r\nContent-Length: 9\r\n\r\n";
    Check({
        {"just as much", {Five()}, {}, "abcde", KEPT, 200, "GET", five},
        {"announced, and never sent",
         {Play(Ok("Content-Length: 6")).Wait(60000)},
         large,
         announced,
         CLOSED,
         200,
         "GET",
         five},
        {"announced for HEAD", {Ok("Content-Length: 6")}, {}, "", KEPT, 200, "HEAD", five},
        {"announced for 304",
         {"HTTP/1.1 304 x\r\nContent-Length: 6\r\n\r\n"},
         {},
         "",
         KEPT,
         304,
         "GET",
         five},
        {"chunked", {Chunked("5\r\nabcde\r\n0\r\n\r\n")}, large, larger, CLOSED, 200, "GET", four},
        {"until the end",
         {Play(Ok("X: y", "abcde")).Close()},
         large,
         larger,
         CLOSED,
         200,
         "GET",
         four},
        {"a bomb", {Coded(bomb)}, large, "100 bytes", CLOSED, 200, "GET", hundred},
        {"larger in its coding", {Coded(Gzip("abcde"))}, {}, "abcde", KEPT, 200, "GET", five},
        {"of a redirect", {found + "123456789"}, {}, "abc", KEPT, 200, "GET", five},
    });
}

TEST(LimitPeers, Redirects)
{
    const auto one = Limit({{TNX_LIMIT_REDIRECTS, 1}});
    const auto none = Limit({{TNX_LIMIT_REDIRECTS, TNX_NO_REDIRECTS}});
    const std::vector<uint32_t> many = {TNX_ERR_TOO_MANY_REDIRECTS};
    const std::string other = To("/redirect?n=1");
    Check({
        {"as many", {To("/bytes?n=3")}, {}, "abc", KEPT, 200, "GET", one},
        {"one more", {other}, many, "Stopped after 1 redirects", EITHER, 200, "GET", one},
        {"none", {other}, many, "Stopped after 0 redirects", EITHER, 200, "GET", none},
        {"none needed", {Five()}, {}, "abcde", KEPT, 200, "GET", none},
    });
}

} // namespace
