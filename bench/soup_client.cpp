// libsoup 3 as its documentation shows it: one session, a message for each request.
#include <algorithm>
#include <memory>
#include <vector>

#include <libsoup/soup.h>

#include "lines.h"
#include "peer.h"

namespace TnxBench
{

namespace
{

constexpr size_t PIECE = 256 * 1024;

[[noreturn]] void FailWith(const GError *error)
{
    Fail(std::string("libsoup: ") + (error != nullptr ? error->message : "a short body"));
}

class Client
{
public:
    Client(const Task &task, size_t connections)
        : url_(task.url)
        , body_(task.body.empty() ? nullptr : g_bytes_new(task.body.data(), task.body.size()))
        , session_(soup_session_new_with_options(
              "max-conns", static_cast<int>(connections), "max-conns-per-host",
              static_cast<int>(connections), "user-agent", USER_AGENT, nullptr))
    {
        if (!task.ca.empty()) {
            GError *error = nullptr;
            GTlsDatabase *const trusted = g_tls_file_database_new(task.ca.c_str(), &error);
            if (trusted == nullptr) {
                FailWith(error);
            }
            soup_session_set_tls_database(session_, trusted);
            g_object_unref(trusted);
        }
    }
    ~Client()
    {
        g_object_unref(session_);
        g_bytes_unref(body_);
    }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    SoupSession *Session() const { return session_; }

    SoupMessage *MakeMessage() const
    {
        SoupMessage *const message =
            soup_message_new(body_ == nullptr ? "GET" : "POST", url_.c_str());
        SoupMessageHeaders *const headers = soup_message_get_request_headers(message);
        soup_message_headers_append(headers, "Accept", ACCEPT);
        soup_message_headers_append(headers, "Accept-Encoding", ACCEPT_ENCODING);
        if (body_ != nullptr) {
            soup_message_set_request_body_from_bytes(message, CONTENT_TYPE, body_);
        }
        return message;
    }

private:
    const std::string url_;
    GBytes *const body_;
    SoupSession *const session_;
};

void Check(GBytes *body, const GError *error, uint64_t expected)
{
    if (body == nullptr || g_bytes_get_size(body) != expected) {
        FailWith(error);
    }
    g_bytes_unref(body);
}

// Keeps so many messages in flight on the main loop.
class InFlight
{
public:
    explicit InFlight(const Task &task)
        : client_(task, task.ca.empty() ? task.width : 1) // streams share one connection
        , width_(task.width)
        , expected_(task.expected)
        , loop_(g_main_loop_new(nullptr, FALSE))
    {
    }
    ~InFlight() { g_main_loop_unref(loop_); }
    InFlight(const InFlight &) = delete;
    InFlight &operator=(const InFlight &) = delete;

    void Run(uint64_t count)
    {
        toStart_ = count;
        toFinish_ = count;
        const uint64_t first = std::min<uint64_t>(width_, count);
        for (uint64_t i = 0; i < first; ++i) {
            Start();
        }
        g_main_loop_run(loop_);
    }

private:
    void Start()
    {
        --toStart_;
        SoupMessage *const message = client_.MakeMessage();
        soup_session_send_and_read_async(client_.Session(), message, G_PRIORITY_DEFAULT, nullptr,
                                         OnBody, this);
        g_object_unref(message);
    }

    static void OnBody(GObject *session, GAsyncResult *result, void *self)
    {
        auto &flights = *static_cast<InFlight *>(self);
        GError *error = nullptr;
        Check(soup_session_send_and_read_finish(SOUP_SESSION(session), result, &error), error,
              flights.expected_);
        if (flights.toStart_ > 0) {
            flights.Start();
        }
        if (--flights.toFinish_ == 0) {
            g_main_loop_quit(flights.loop_);
        }
    }

    Client client_;
    const size_t width_;
    const uint64_t expected_;
    GMainLoop *const loop_;
    uint64_t toStart_ = 0;
    uint64_t toFinish_ = 0;
};

Run Sync(const Task &task)
{
    auto client = std::make_shared<Client>(task, 1);
    return [client, expected = task.expected](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            SoupMessage *const message = client->MakeMessage();
            GError *error = nullptr;
            Check(soup_session_send_and_read(client->Session(), message, nullptr, &error), error,
                  expected);
            g_object_unref(message);
        }
    };
}

Run Parallel(const Task &task)
{
    auto flights = std::make_shared<InFlight>(task);
    return [flights](uint64_t count) { flights->Run(count); };
}

void ReadPieces(const Client &client, uint64_t expected)
{
    SoupMessage *const message = client.MakeMessage();
    GError *error = nullptr;
    GInputStream *const stream = soup_session_send(client.Session(), message, nullptr, &error);
    if (stream == nullptr) {
        FailWith(error);
    }
    std::vector<char> piece(PIECE);
    uint64_t received = 0;
    gssize got = 0;
    while ((got = g_input_stream_read(stream, piece.data(), piece.size(), nullptr, &error)) > 0) {
        received += static_cast<uint64_t>(got);
    }
    if (got < 0 || received != expected) {
        FailWith(error);
    }
    g_object_unref(stream);
    g_object_unref(message);
}

Run Stream(const Task &task)
{
    auto client = std::make_shared<Client>(task, 1);
    return [client, expected = task.expected](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            ReadPieces(*client, expected);
        }
    };
}

} // namespace

Peer Soup()
{
    return {"libsoup3", Sync, Parallel, Stream};
}

} // namespace TnxBench
