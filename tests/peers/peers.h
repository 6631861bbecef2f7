// A matrix of hostile peers: what one sends, and what the library makes of it.
#ifndef TNX_TESTS_PEERS_PEERS_H
#define TNX_TESTS_PEERS_PEERS_H

#include "frames.h"
#include "tests/e2e/client.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Peers
{

using namespace EndToEnd;

// What the peer does when it is asked; it then waits for the next request, unless it closes.
class Play
{
public:
    Play(const char *bytes) { Then(bytes); }
    Play(std::string bytes) { Then(std::move(bytes)); }

    Play &&Then(std::string bytes)
    {
        script_.Send(std::move(bytes));
        return std::move(*this);
    }
    Play &&Repeat(std::string bytes, uint64_t times = UINT64_MAX)
    {
        script_.Repeat(std::make_shared<const std::string>(std::move(bytes)), times);
        return std::move(*this);
    }
    Play &&Wait(int milliseconds = 30)
    {
        script_.Sleep(std::chrono::milliseconds(milliseconds));
        return std::move(*this);
    }
    Play &&Close()
    {
        script_.Close();
        return std::move(*this);
    }
    Play &&Reset()
    {
        Wait(); // the peer is to see what was sent before
        script_.Reset();
        return std::move(*this);
    }
    const OHOS::Pelloria::TnxTest::Script &Steps() const { return script_; }

private:
    OHOS::Pelloria::TnxTest::Script script_;
};

// What becomes of the connection: seen by where the next request comes.
enum Fate { CLOSED, KEPT, EITHER };

// Where the peer sends more than libcurl asks for, which it drops, and keeps the connection.
constexpr Fate LAX = EITHER;

struct Row {
    std::string name;
    std::vector<Play> plays;
    std::vector<uint32_t> codes; // any of them; none is an answer
    std::string told;            // the body of an answer, or a piece of the text of a failure
    Fate fate = CLOSED;
    int32_t status = 200; // of an answer
    const char *method = "GET";
    std::function<void(Call &)> fill = {};
    bool late = false;                      // the peer may send more when the answer is there
    bool unsure = false;                    // nothing vouches for the body
    std::string url = {};                   // where not to the peer itself
    std::optional<std::string> cookie = {}; // that the last request had
};

enum class Over { HTTP1, HTTP2 };

// The server that plays.
ScriptedServer &Peer();

// Each row both ways, buffered and streamed, and a plain request behind.
void Check(const std::vector<Row> &rows, Over over = Over::HTTP1);

// Whether libcurl is at least this, as 0x080e00.
bool LibcurlIs(unsigned version);

inline std::string Ok(const std::string &lines, const std::string &body = "")
{
    return "HTTP/1.1 200 OK\r\n" + lines + "\r\n\r\n" + body;
}

inline std::string Chunked(const std::string &body)
{
    return Ok("Transfer-Encoding: chunked", body);
}

// A good answer of five bytes.
inline std::string Five(const std::string &lines = "X: y")
{
    return Ok(lines + "\r\nContent-Length: 5", "abcde");
}

inline std::string Moved(const std::string &lines, int status = 302)
{
    return "HTTP/1.1 " + std::to_string(status) + " x\r\n" + lines +
           "\r\nContent-Length: 0\r\n\r\n";
}

inline std::string To(const std::string &location, int status = 302)
{
    return Moved("Location: " + location, status);
}

inline std::string Times(size_t count, const std::string &text)
{
    std::string all;
    for (size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

inline Play Slowly(const std::string &bytes)
{
    Play play("");
    for (const char byte : bytes) {
        play.Then(std::string(1, byte)).Wait(1);
    }
    return play;
}

} // namespace Peers

#endif
