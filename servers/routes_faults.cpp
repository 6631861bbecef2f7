// Routes that misbehave: slow, cut, damaged, endless, early.
#include "routes_faults.h"

#include <algorithm>
#include <sstream>

#include "bodies.h"
#include "bombs.h"
#include "reply.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

using std::chrono::milliseconds;

// Between the last byte and a reset, so that the peer sees the byte first.
constexpr milliseconds BEFORE_RESET{30};

milliseconds Pause(const Visit &visit)
{
    return milliseconds(visit.query.Number("ms", 100));
}

Lines Split(const std::string &list)
{
    Lines items;
    std::istringstream stream(list);
    for (std::string item; std::getline(stream, item, ',');) {
        items.push_back(item);
    }
    return items;
}

// /reset: a reset before any byte; with after=100 in the middle of a body, after 100 bytes of it.
void Reset(const Visit &visit, Script &script)
{
    if (!visit.query.Text("after").empty()) {
        const uint64_t sent = visit.query.Number("after");
        script.Send(ReplyHead(visit, 200, {LengthLine(sent + 1000)}) + Pattern(sent));
        script.Sleep(BEFORE_RESET);
    }
    script.Reset();
}

// /close: the end of the connection in place of an answer.
void Close(const Visit &, Script &script)
{
    script.Close();
}

// /stall?ms=500&code=200: a pause before the answer; with after=100 and n=1000 in the middle of the
// body.
void Stall(const Visit &visit, Script &script)
{
    const uint64_t length = visit.query.Number("n", 2);
    const uint64_t before = std::min(length, visit.query.Number("after"));
    if (visit.query.Text("after").empty()) {
        script.Sleep(Pause(visit));
    }
    script.Send(ReplyHead(visit, Code(visit), {LengthLine(length)}) + Pattern(before));
    if (!visit.query.Text("after").empty()) {
        script.Sleep(Pause(visit));
    }
    script.Send(Pattern(length - before, before));
}

// /drip?n=10&ms=100&size=1: n pieces of the body, a pause after each.
void Drip(const Visit &visit, Script &script)
{
    const uint64_t pieces = visit.query.Number("n", 10);
    const uint64_t size = visit.query.Number("size", 1);
    script.Send(ReplyHead(visit, 200, {LengthLine(pieces * size)}));
    for (uint64_t i = 0; i < pieces; ++i) {
        script.Send(Pattern(size, i * size));
        script.Sleep(Pause(visit));
    }
}

// /truncate?n=10&of=100: n bytes of a body that was to have more; with chunked=1 of a chunk.
void Truncate(const Visit &visit, Script &script)
{
    const std::string whole = visit.query.Text("of", "100");
    if (visit.query.Number("chunked") > 0) {
        script.Send(ReplyHead(visit, 200, {"Transfer-Encoding: chunked"}) + "fff\r\n");
    } else {
        script.Send(ReplyHead(visit, 200, {"Content-Length: " + whole}));
    }
    script.Send(Pattern(visit.query.Number("n", 10)));
    script.Close();
}

// /until-close?n=10: a body that ends with the connection.
void UntilClose(const Visit &visit, Script &script)
{
    script.Send(ReplyHead(visit, 200, {"Connection: close"}));
    SendPattern(script, visit.query.Number("n", 10));
    script.Close();
}

// /endless: a body without end.
void Endless(const Visit &visit, Script &script)
{
    script.Send(ReplyHead(visit, Code(visit), {}));
    SendPattern(script, UINT64_MAX);
}

// /bomb?n=3000000000: n zero bytes, compressed to a thousandth. /bomb?codings=gzip,br&of=nothing:
// what bombs.h tells, `times` blocks of it and then an end that comes too early.
void SendBomb(const Visit &visit, Script &script)
{
    const std::string codings = visit.query.Text("codings", "gzip");
    script.Send(ReplyHead(visit, 200, {"Content-Encoding: " + codings, "Connection: close"}));
    if (visit.query.Text("codings").empty()) {
        SendGzipBomb(script, visit.query.Number("n", 3'000'000'000));
    } else {
        auto [head, block] = MakeBomb(Split(codings), visit.query.Text("of", "zeros"));
        script.Send(std::move(head));
        script.Repeat(std::make_shared<const std::string>(std::move(block)),
                      visit.query.Number("times", 1));
    }
    script.Close();
}

// /early-answer?code=413&ms=0: answers without reading the body; with close=1 the connection ends,
// else the body is read afterwards.
void EarlyAnswer(const Visit &visit, Script &script)
{
    const bool close = visit.query.Number("close") > 0;
    script.Sleep(milliseconds(visit.query.Number("ms", 0)));
    Reply(visit, script, static_cast<unsigned>(visit.query.Number("code", 413)), "enough",
          close ? Lines{"Connection: close"} : Lines{});
    if (close) {
        script.Close();
    } else {
        script.ReadBody();
    }
}

// /slow-read?ms=500: a pause before the body is read.
void SlowRead(const Visit &visit, Script &script)
{
    script.Sleep(Pause(visit));
    script.ReadBody();
    Reply(visit, script, 200, "ok");
}

// /100-continue?code=100&n=1: interim responses before the body is read.
void Interim(const Visit &visit, Script &script)
{
    const std::string code = visit.query.Text("code", "100");
    for (uint64_t i = 0; i < visit.query.Number("n", 1); ++i) {
        script.Send("HTTP/1.1 " + code + " Interim\r\nX-Interim: yes\r\n\r\n");
    }
    script.ReadBody();
    Reply(visit, script, 200, "ok");
}

// /played: what the test says.
void Played(const Visit &visit, Script &script)
{
    script.Append(*visit.played);
}

// Whatever is asked for over HTTP/2, with prior knowledge: the same, in frames.
void PlayedFrames(const Visit &visit, Script &script)
{
    script.ReadFrames();
    script.Append(*visit.played);
}

// /keep-alive-then-close: answers the first request of a connection and then dies: when the next
// one comes, or with at-once=1 right after the answer. With how=reset by a reset.
void KeepAliveThenClose(const Visit &visit, Script &script)
{
    const bool atOnce = visit.query.Number("at-once") > 0;
    if (visit.ofConnection == 1) {
        Reply(visit, script, 200, "ok", {"Connection: keep-alive"});
        if (!atOnce) {
            return;
        }
        script.Sleep(BEFORE_RESET);
    }
    if (visit.query.Text("how") == "reset") {
        script.Reset();
    } else {
        script.Close();
    }
}

} // namespace

std::unordered_map<std::string, Route> FaultRoutes()
{
    return {
        {"/reset", {Reset}},
        {"/close", {Close}},
        {"/stall", {Stall}},
        {"/drip", {Drip}},
        {"/truncate", {Truncate}},
        {"/until-close", {UntilClose}},
        {"/endless", {Endless}},
        {"/bomb", {SendBomb}},
        {"/early-answer", {EarlyAnswer, true}},
        {"/slow-read", {SlowRead, true}},
        {"/100-continue", {Interim, true}},
        {"/played", {Played}},
        {"*", {PlayedFrames}}, // the target of the preface
        {"/keep-alive-then-close", {KeepAliveThenClose}},
    };
}

} // namespace OHOS::Pelloria::TnxTest
