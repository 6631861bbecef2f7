// Boost.Beast as its documentation shows it: one kept connection, or one for each request in
// flight.
#include <limits>
#include <memory>
#include <vector>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "lines.h"
#include "peer.h"

namespace TnxBench
{

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

constexpr size_t PIECE = 256 * 1024;

struct Place {
    std::string host;
    std::string port;
    std::string target;
};

// Of a URL of the servers here: http://host:port/target.
Place PlaceOf(const std::string &url)
{
    const size_t host = url.find("://") + 3;
    const size_t colon = url.find(':', host);
    const size_t slash = url.find('/', colon);
    return {url.substr(host, colon - host), url.substr(colon + 1, slash - colon - 1),
            url.substr(slash)};
}

Request MakeRequest(const Place &place, const std::string &body)
{
    Request request(body.empty() ? http::verb::get : http::verb::post, place.target, 11);
    request.set(http::field::host, place.host + ":" + place.port);
    request.set(http::field::accept, ACCEPT);
    request.set(http::field::accept_encoding, ACCEPT_ENCODING);
    if (!body.empty()) {
        request.set(http::field::content_type, CONTENT_TYPE);
        request.body() = body;
    }
    request.set(http::field::user_agent, USER_AGENT);
    if (!body.empty()) {
        request.prepare_payload();
    }
    return request;
}

void Connect(beast::tcp_stream &stream, asio::io_context &context, const Place &place)
{
    stream.connect(asio::ip::tcp::resolver(context).resolve(place.host, place.port));
}

void Check(beast::error_code error, uint64_t received, uint64_t expected)
{
    if (error || received != expected) {
        Fail("Boost.Beast: " + error.message());
    }
}

// A kept connection for requests one after another.
struct Connection {
    explicit Connection(const std::string &url, const std::string &body = "")
        : request(MakeRequest(PlaceOf(url), body))
    {
        Connect(stream, context, PlaceOf(url));
    }

    asio::io_context context;
    beast::tcp_stream stream{context};
    beast::flat_buffer buffer;
    Request request;
};

// One of the requests in flight: asks again as long as there is something to start.
class Asker
{
public:
    Asker(asio::io_context &context, const Place &place, uint64_t expected, uint64_t &toStart)
        : stream_(context)
        , request_(MakeRequest(place, ""))
        , expected_(expected)
        , toStart_(toStart)
    {
        Connect(stream_, context, place);
    }

    void Ask()
    {
        if (toStart_ == 0) {
            return;
        }
        --toStart_;
        http::async_write(stream_, request_, [this](beast::error_code error, size_t) {
            Check(error, expected_, expected_);
            Read();
        });
    }

private:
    void Read()
    {
        response_ = {};
        http::async_read(stream_, buffer_, response_, [this](beast::error_code error, size_t) {
            Check(error, response_.body().size(), expected_);
            Ask();
        });
    }

    beast::tcp_stream stream_;
    beast::flat_buffer buffer_;
    Request request_;
    Response response_;
    const uint64_t expected_;
    uint64_t &toStart_;
};

struct Askers {
    asio::io_context context{1};
    uint64_t toStart = 0;
    std::vector<std::unique_ptr<Asker>> all;
};

Run Sync(const Task &task)
{
    auto connection = std::make_shared<Connection>(task.url, task.body);
    return [connection, expected = task.expected](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            beast::error_code error;
            Response response;
            http::write(connection->stream, connection->request, error);
            if (!error) {
                http::read(connection->stream, connection->buffer, response, error);
            }
            Check(error, response.body().size(), expected);
        }
    };
}

Run Parallel(const Task &task)
{
    auto askers = std::make_shared<Askers>();
    for (size_t i = 0; i < task.width; ++i) {
        askers->all.push_back(std::make_unique<Asker>(askers->context, PlaceOf(task.url),
                                                      task.expected, askers->toStart));
    }
    return [askers](uint64_t count) {
        askers->toStart = count;
        for (const auto &asker : askers->all) {
            asker->Ask();
        }
        askers->context.restart();
        askers->context.run();
    };
}

void ReadPieces(Connection &connection, uint64_t expected)
{
    http::write(connection.stream, connection.request);
    http::response_parser<http::buffer_body> parser;
    parser.body_limit(std::numeric_limits<uint64_t>::max());
    http::read_header(connection.stream, connection.buffer, parser);
    std::vector<char> piece(PIECE);
    uint64_t received = 0;
    while (!parser.is_done()) {
        parser.get().body().data = piece.data();
        parser.get().body().size = piece.size();
        beast::error_code error;
        http::read(connection.stream, connection.buffer, parser, error);
        if (error && error != http::error::need_buffer) {
            Check(error, 0, 0);
        }
        received += piece.size() - parser.get().body().size;
    }
    Check({}, received, expected);
}

Run Stream(const Task &task)
{
    auto connection = std::make_shared<Connection>(task.url);
    connection->buffer.reserve(PIECE); // no more than it has room for is read at once
    return [connection, expected = task.expected](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            ReadPieces(*connection, expected);
        }
    };
}

} // namespace

Peer Beast()
{
    return {"Boost.Beast", Sync, Parallel, Stream, false};
}

} // namespace TnxBench
