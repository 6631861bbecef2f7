// Hand-written libcurl: every option that the library sets and that libcurl's work depends on, set
// once, and callbacks that do nothing.
#include "curl_client.h"

#include <array>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "harness.h"
#include "lines.h"

namespace TnxBench
{

namespace
{

constexpr size_t MAX_DESCRIPTORS = 65536;

size_t Count(char *, size_t size, size_t count, void *received)
{
    *static_cast<uint64_t *>(received) += size * count;
    return size * count;
}

size_t Drop(char *, size_t size, size_t count, void *)
{
    return size * count;
}

int Ready(void *, char *, char *, int, int)
{
    return CURL_PREREQFUNC_OK;
}

int GoOn(void *, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return 0;
}

int KeepHead(CURL *, curl_infotype type, char *data, size_t size, void *head)
{
    if (type == CURLINFO_HEADER_OUT) {
        static_cast<std::string *>(head)->append(data, size);
    }
    return 0;
}

curl_slist *Lines(bool body)
{
    curl_slist *list = nullptr;
    const auto add = [&list](const std::string &line) {
        list = curl_slist_append(list, line.c_str());
    };
    if (body) {
        add(std::string("content-type: ") + CONTENT_TYPE);
        add("Expect:");
    }
    add(std::string("User-Agent: ") + USER_AGENT);
    return list;
}

void SetTls(CURL *easy, const std::string &ca)
{
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_CAINFO, ca.c_str());
    curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
}

void SetBody(CURL *easy, const std::string &body)
{
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, body.data());
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, GoOn);
}

CurlEasy MakeHandle(const CurlOptions &options)
{
    CurlEasy owned(curl_easy_init());
    CURL *const easy = owned.get();
    curl_easy_setopt(easy, CURLOPT_URL, options.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, options.buffer);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, Ready);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, Drop);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, Drop);
    static curl_slist *const linesOfGet = Lines(false);
    static curl_slist *const linesOfPost = Lines(true);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, options.body.empty() ? linesOfGet : linesOfPost);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, ACCEPT_ENCODING);
    curl_easy_setopt(easy, CURLOPT_HTTP_CONTENT_DECODING, 0L);
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, options.body.empty() ? "GET" : "POST");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, 60000L);
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    if (!options.ca.empty()) {
        SetTls(easy, options.ca);
    }
    if (!options.body.empty()) {
        SetBody(easy, options.body);
    }
    if (options.head != nullptr) {
        curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, KeepHead);
        curl_easy_setopt(easy, CURLOPT_DEBUGDATA, options.head);
    }
    return owned;
}

uint32_t EventsOf(int what)
{
    return (what & CURL_POLL_IN ? EPOLLIN : 0U) | (what & CURL_POLL_OUT ? EPOLLOUT : 0U);
}

int ActionOf(uint32_t events)
{
    return (events & EPOLLIN ? CURL_CSELECT_IN : 0) | (events & EPOLLOUT ? CURL_CSELECT_OUT : 0) |
           (events & (EPOLLERR | EPOLLHUP) ? CURL_CSELECT_ERR : 0);
}

} // namespace

CurlSync::CurlSync(const CurlOptions &options, uint64_t expected)
    : easy_(MakeHandle(options))
    , expected_(expected)
{
    curl_easy_setopt(easy_.get(), CURLOPT_WRITEFUNCTION, Count);
    curl_easy_setopt(easy_.get(), CURLOPT_WRITEDATA, &received_);
}

void CurlSync::Run(uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i) {
        received_ = 0;
        const CURLcode code = curl_easy_perform(easy_.get());
        if (code != CURLE_OK || received_ != expected_) {
            Fail(std::string("libcurl: ") + curl_easy_strerror(code));
        }
    }
}

CurlParallel::CurlParallel(const CurlOptions &options, size_t width)
    : multi_(curl_multi_init())
    , epoll_(epoll_create1(EPOLL_CLOEXEC))
    , registered_(MAX_DESCRIPTORS, 0)
{
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, OnSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, OnTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, static_cast<long>(width));
    for (size_t i = 0; i < width; ++i) {
        handles_.push_back(MakeHandle(options));
        curl_easy_setopt(handles_.back().get(), CURLOPT_OPENSOCKETFUNCTION, OnOpen);
        curl_easy_setopt(handles_.back().get(), CURLOPT_OPENSOCKETDATA, this);
        idle_.push_back(handles_.back().get());
    }
}

CurlParallel::~CurlParallel()
{
    handles_.clear();
    curl_multi_cleanup(multi_);
    close(epoll_);
}

void CurlParallel::Run(uint64_t count)
{
    toStart_ = count;
    toFinish_ = count;
    while (toStart_ > 0 && !idle_.empty()) {
        CURL *easy = idle_.back();
        idle_.pop_back();
        Start(easy);
    }
    std::array<epoll_event, 64> events;
    int running = 0;
    while (toFinish_ > 0) {
        const int ready =
            epoll_wait(epoll_, events.data(), events.size(), static_cast<int>(timeout_));
        for (int i = 0; i < ready; ++i) {
            const auto &event = events[static_cast<size_t>(i)];
            curl_multi_socket_action(multi_, event.data.fd, ActionOf(event.events), &running);
        }
        if (ready == 0) {
            timeout_ = -1;
            curl_multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
        }
        Reap();
    }
}

void CurlParallel::Start(CURL *easy)
{
    --toStart_;
    curl_multi_add_handle(multi_, easy);
}

void CurlParallel::Reap()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(multi_, &left)) {
        if (message->data.result != CURLE_OK) {
            Fail(std::string("libcurl: ") + curl_easy_strerror(message->data.result));
        }
        CURL *easy = message->easy_handle;
        curl_multi_remove_handle(multi_, easy);
        --toFinish_;
        if (toStart_ > 0) {
            Start(easy);
        } else {
            idle_.push_back(easy);
        }
    }
}

int CurlParallel::OnSocket(CURL *, curl_socket_t fd, int what, void *self, void *)
{
    // A descriptor stays registered between requests: libcurl asks for two changes a request.
    auto &client = *static_cast<CurlParallel *>(self);
    auto &known = client.registered_[static_cast<size_t>(fd)];
    const uint32_t wanted = EventsOf(what);
    if (what == CURL_POLL_REMOVE || wanted == known) {
        return 0;
    }
    epoll_event event{};
    event.events = wanted;
    event.data.fd = fd;
    epoll_ctl(client.epoll_, known == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, fd, &event);
    known = wanted;
    return 0;
}

int CurlParallel::OnTimer(CURLM *, long milliseconds, void *self)
{
    static_cast<CurlParallel *>(self)->timeout_ = milliseconds;
    return 0;
}

curl_socket_t CurlParallel::OnOpen(void *self, curlsocktype, curl_sockaddr *address)
{
    const int fd = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (fd >= 0) {
        static_cast<CurlParallel *>(self)->registered_[static_cast<size_t>(fd)] = 0;
    }
    return fd;
}

} // namespace TnxBench
