// The life of a connection: head, body, script, and again.
#include "connection.h"

#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string_view>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include "routes.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr size_t MAX_HEAD = 16 * 1024 * 1024;
constexpr int SENDS_IN_A_TURN = 16;
constexpr size_t FRAME_HEAD = 9; // of HTTP/2

} // namespace

Connection::Connection(int fd, uint32_t number, Ledger &ledger)
    : fd_(fd)
    , number_(number)
    , ledger_(ledger)
{
    // Else the last piece of a script waits for the peer's delayed acknowledgement.
    const int on = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Connection::~Connection()
{
    close(fd_);
}

Connection::Wait Connection::Run(bool hungUp)
{
    for (;;) {
        switch (Next()) {
        case Progress::ON:
            continue;
        case Progress::READ:
            return Wait::READ;
        case Progress::WRITE:
            return hungUp ? Wait::OVER : Wait::WRITE;
        case Progress::TIMER:
            return hungUp ? Wait::OVER : Wait::TIMER;
        case Progress::OVER:
            return Wait::OVER;
        }
    }
}

Connection::Progress Connection::Next()
{
    if (lingering_) {
        return Linger();
    }
    if (!body_) {
        return TakeHead();
    }
    if (!scripted_) {
        const Progress progress = TakeBody();
        if (body_->Done()) {
            StartScript();
        }
        return progress;
    }
    if (!script_.Empty()) {
        return Perform(script_.Front());
    }
    if (!body_->Done()) {
        return TakeBody();
    }
    body_.reset();
    if (!keepAlive_) {
        script_.Close();
        body_.emplace(ReceivedRequest{});
    }
    return Progress::ON;
}

Connection::Progress Connection::TakeHead()
{
    const size_t end = input_.find("\r\n\r\n");
    if (end == std::string::npos) {
        return input_.size() > MAX_HEAD ? Progress::OVER : Fill();
    }
    request_ = ReceivedRequest{};
    request_.head = input_.substr(0, end + 4);
    request_.connection = number_;
    input_.erase(0, end + 4);
    body_.emplace(request_);
    request_.complete = body_->Done();
    place_ = ledger_.Open(request_);
    ++requests_;
    const std::string connection = request_.Field("connection");
    keepAlive_ = request_.head.find(" HTTP/1.0\r\n") == std::string::npos
                     ? strcasecmp(connection.c_str(), "close") != 0
                     : strcasecmp(connection.c_str(), "keep-alive") == 0;
    scripted_ = false;
    if (FindRoute(Query(request_.Target()).path).early) {
        StartScript();
    }
    return Progress::ON;
}

Connection::Progress Connection::TakeBody()
{
    if (body_->Done()) {
        return Progress::ON;
    }
    body_->Feed(input_, request_);
    ledger_.Update(place_, request_);
    return body_->Done() ? Progress::ON : Fill();
}

void Connection::StartScript()
{
    const Query query(request_.Target());
    const Visit visit{request_, query, ledger_.Visits(request_.Target()), requests_,
                      ledger_.Played()};
    FindRoute(query.path).handler(visit, script_);
    scripted_ = true;
}

Connection::Progress Connection::Perform(Step &step)
{
    switch (step.kind) {
    case Step::Kind::SEND:
        return Send(step);
    case Step::Kind::SLEEP:
        return Sleep(step.pause);
    case Step::Kind::READ_BODY: {
        const Progress progress = TakeBody();
        if (progress == Progress::ON && body_->Done()) {
            script_.Pop();
        }
        return progress;
    }
    case Step::Kind::READ_FRAMES:
        return TakeFrames();
    case Step::Kind::CLOSE:
        // Closing with unread bytes would reset the connection and take back what was sent.
        shutdown(fd_, SHUT_WR);
        lingering_ = true;
        return Progress::ON;
    case Step::Kind::RESET: {
        const linger now{1, 0};
        setsockopt(fd_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        return Progress::OVER;
    }
    }
    return Progress::OVER;
}

Connection::Progress Connection::TakeFrames()
{
    constexpr std::string_view PREFACE = "SM\r\n\r\n"; // what is left of it
    if (input_.starts_with(PREFACE)) {
        input_.erase(0, PREFACE.size());
    }
    if (input_.size() < FRAME_HEAD) {
        return Fill();
    }
    const auto at = [this](size_t i) { return static_cast<unsigned char>(input_[i]); };
    const size_t length = static_cast<size_t>(at(0) << 16 | at(1) << 8 | at(2));
    if (input_.size() < FRAME_HEAD + length) {
        return Fill();
    }
    const bool ends = at(3) <= 1 && (at(4) & 1) != 0; // of data or headers
    input_.erase(0, FRAME_HEAD + length);
    if (ends) {
        script_.Pop();
    }
    return Progress::ON;
}

Connection::Progress Connection::Send(Step &step)
{
    for (int turn = 0; turn < SENDS_IN_A_TURN; ++turn) {
        const ssize_t count = send(fd_, step.bytes->data() + sent_, step.bytes->size() - sent_,
                                   MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0) {
            return errno == EAGAIN ? Progress::WRITE : Progress::OVER;
        }
        sent_ += static_cast<size_t>(count);
        if (sent_ < step.bytes->size()) {
            continue;
        }
        sent_ = 0;
        if (--step.times == 0) {
            script_.Pop();
            return Progress::ON;
        }
    }
    return Progress::WRITE;
}

Connection::Progress Connection::Sleep(std::chrono::milliseconds pause)
{
    const auto now = std::chrono::steady_clock::now();
    if (!sleeping_) {
        wakeAt_ = now + pause;
        sleeping_ = true;
    }
    if (now < wakeAt_) {
        return Progress::TIMER;
    }
    sleeping_ = false;
    script_.Pop();
    return Progress::ON;
}

Connection::Progress Connection::Linger()
{
    input_.clear();
    return Fill();
}

Connection::Progress Connection::Fill()
{
    std::array<char, 65536> buffer;
    const ssize_t count = recv(fd_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && errno == EAGAIN) {
        return Progress::READ;
    }
    if (count <= 0) {
        return Progress::OVER;
    }
    input_.append(buffer.data(), static_cast<size_t>(count));
    return Progress::ON;
}

} // namespace OHOS::Pelloria::TnxTest
