// Fills records and waits for answers.
#include "client.h"

#include "certificates.h"
#include "tnx_c_ext/errors.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace EndToEnd
{
namespace
{

constexpr auto PATIENCE = std::chrono::seconds(60);

std::string TextOf(const char *text)
{
    return text == nullptr ? "" : text;
}

} // namespace

ScriptedServer &Scripted()
{
    static ScriptedServer server;
    return server;
}

NginxServer &Nginx()
{
    static NginxServer server(Scripted().Port());
    return server;
}

bool Eventually(const std::function<bool()> &condition)
{
    const auto limit = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

Outcome::Outcome(Tnx_Response *response, uint32_t errorCode)
    : code(errorCode)
    , empty(response == nullptr)
{
    if (empty) {
        return;
    }
    status = response->statusCode;
    url = TextOf(response->effectiveUrl);
    if (response->body != nullptr) {
        body.assign(response->body, response->bodyLength);
    }
    const HeaderEntryPtr entries(OVX_Tnx_GetHeaderEntries(response->headers));
    for (const Tnx_HeaderEntry *entry = entries.get(); entry != nullptr; entry = entry->next) {
        const auto *value = static_cast<const Tnx_HeaderValue *>(entry->value);
        std::string &joined = headers[entry->key];
        for (; value != nullptr; value = value->next) {
            joined += (joined.empty() ? "" : "|") + TextOf(value->value);
        }
    }
    for (const Tnx_DebugInfo *info = response->debugInfo; info != nullptr; info = info->next) {
        debug.emplace_back(info->type, std::string(info->data, info->length));
    }
    EXPECT_EQ(TextOf(OVX_Tnx_GetFailureText(response)), errorCode == TNX_OK ? "" : Why());
    if (response->timeInfo != nullptr) {
        times = *response->timeInfo;
    }
    for (const Tnx_ResponseCookies *cookie = response->cookies; cookie != nullptr;
         cookie = cookie->next) {
        cookies.push_back(TextOf(cookie->name) + "=" + TextOf(cookie->value));
    }
    response->destroyResponse(response);
}

std::string Outcome::Debug(uint32_t kind) const
{
    std::string all;
    for (const auto &[type, text] : debug) {
        all += type == kind ? text : "";
    }
    return all;
}

struct Call::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Outcome> outcome;
    size_t answers = 0;
};

Call::Call(const std::string &url, const char *method)
    : request_(OVX_Tnx_CreateRequest(url.c_str()))
    , state_(std::make_unique<State>())
{
    static const std::string authority = Certificate("ca.pem");
    request_->method = method;
    request_->configuration = &configuration;
    configuration.transfer.autoRedirect = true;
    configuration.security.remoteValidation = TNX_VALIDATION_CUSTOM;
    configuration.security.customValidation1 = authority.c_str();
}

Call::~Call() = default;

Call &Call::Header(const std::string &name, const std::string &value)
{
    if (headers_ == nullptr) {
        headers_.reset(OVX_Tnx_CreateHeaders());
        request_->headers = headers_.get();
    }
    OVX_Tnx_SetHeaderValue(headers_.get(), name.c_str(), value.c_str());
    return *this;
}

Call &Call::Cookie(const std::string &name, const std::string &value)
{
    if (cookies_ == nullptr) {
        cookies_.reset(OVX_Tnx_CreateRequestCookies());
        request_->cookies = cookies_.get();
    }
    OVX_Tnx_SetRequestCookieValue(cookies_.get(), name.c_str(), value.c_str());
    return *this;
}

Call &Call::Body(std::string body)
{
    body_ = std::move(body);
    content.type = TNX_CONTENT_STRING;
    content.value.string = {body_.data(), static_cast<uint32_t>(body_.size())};
    request_->content = &content;
    return *this;
}

Call &Call::Pull(Tnx_GetDataCallback callback)
{
    content.type = TNX_CONTENT_GET_DATA;
    content.value.getDataCallback = callback;
    request_->content = &content;
    return *this;
}

Call &Call::Form(FormPtr form)
{
    form_ = std::move(form);
    content.type = TNX_CONTENT_FORM;
    content.value.form = form_.get();
    request_->content = &content;
    return *this;
}

Call &Call::Multipart(MultipartFormPtr form)
{
    multipart_ = std::move(form);
    content.type = TNX_CONTENT_MULTIPART_FORM;
    content.value.multipartForm = multipart_.get();
    request_->content = &content;
    return *this;
}

Call &Call::Range(const Tnx_TransferRange &range)
{
    ranges_.push_back(std::make_unique<Tnx_TransferRange>(range));
    Tnx_TransferRange *const last = ranges_.back().get();
    if (ranges_.size() > 1) {
        ranges_[ranges_.size() - 2]->next = last;
    } else {
        request_->transferRange = last;
    }
    return *this;
}

Call &Call::OnData(std::function<size_t(std::string_view)> consumer)
{
    consumer_ = std::move(consumer);
    OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request_.get(), TakeData, this);
    return *this;
}

size_t Call::TakeData(void *self, const Tnx_Buffer *data)
{
    return static_cast<Call *>(self)->consumer_({data->data, data->length});
}

Outcome Call::FetchSync(Tnx_Session *session)
{
    uint32_t code = 0;
    Tnx_Response *const response = OVX_Tnx_FetchSync(session, Get(), &code);
    if (look && response != nullptr) {
        look(response);
    }
    return {response, code};
}

uint32_t Call::Start(Tnx_Session *session)
{
    const Tnx_ResponseCallbackObject callback = {Respond, this};
    return OVX_Tnx_Fetch(session, Get(), &callback);
}

void Call::Respond(void *self, Tnx_Response *response, uint32_t code)
{
    auto &call = *static_cast<Call *>(self);
    if (call.look && response != nullptr) {
        call.look(response);
    }
    Outcome outcome(response, code);
    if (call.then) {
        call.then(outcome);
    }
    State &state = *call.state_;
    const std::lock_guard lock(state.mutex);
    state.outcome = std::move(outcome);
    ++state.answers;
    state.changed.notify_all();
}

Outcome Call::Wait()
{
    std::unique_lock lock(state_->mutex);
    if (!state_->changed.wait_for(lock, PATIENCE, [this] { return state_->outcome.has_value(); })) {
        std::fprintf(stderr, "no answer from %s\n", request_->url);
        std::abort(); // the records must not go while the fetch may still use them
    }
    Outcome outcome = std::move(*state_->outcome);
    state_->outcome.reset();
    return outcome;
}

size_t Call::Answers() const
{
    const std::lock_guard lock(state_->mutex);
    return state_->answers;
}

void EndToEndTest::Both(const std::function<void(Call &)> &fill, const std::string &url,
                        const char *method, const std::function<void(const Outcome &)> &check)
{
    for (const bool synchronous : {false, true}) {
        SCOPED_TRACE(synchronous ? "synchronous" : "asynchronous");
        Call call(url, method);
        if (fill) {
            fill(call);
        }
        check(synchronous ? call.FetchSync(Session()) : call.Fetch(Session()));
    }
}

} // namespace EndToEnd
