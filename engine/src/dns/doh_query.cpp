// The DNS message goes out by POST and comes back as the body (RFC 8484 section 4.1).
#include "doh_query.h"

#include <utility>

#include <arpa/nameser.h>

#include "base/text.h"
#include "base/try.h"
#include "curl/tls_options.h"
#include "message.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr long TIMEOUT_MS = 5000;
constexpr size_t MAX_MESSAGE = 65535; // the largest DNS message
constexpr const char *MEDIA_TYPE = "application/dns-message";

// Empty: it is a good one.
const char *MessageError(std::string_view message)
{
    constexpr size_t CODE_AT = 3;
    if (message.size() < HFIXEDSZ) {
        return "the resolver answers with no DNS message";
    }
    switch (message[CODE_AT] & 0x0F) {
    case ns_r_noerror:
        return "";
    case ns_r_nxdomain:
        return "the resolver knows no such name";
    default:
        return "the resolver could not find out";
    }
}

} // namespace

DohResolver::DohResolver(const Configuration &configuration)
    : url(configuration.dnsResolverUrl)
{
    trust.skipValidation = configuration.security.skipValidation;
    trust.trustedCas = configuration.security.trustedCas;
    trust.trustedCaDirectory = configuration.security.trustedCaDirectory;
}

DohQuery::DohQuery(LoopMulti &multi, std::function<void()> done)
    : multi_(multi)
    , easy_(MakeEasy())
    , done_(std::move(done))
{
}

DohQuery::~DohQuery()
{
    multi_.Remove(easy_.get());
}

void DohQuery::Start(const DohResolver &resolver, const std::string &resolve,
                     const std::string &host, int type)
{
    std::string question;
    if (std::string error = WriteQuestion(host, type, question); !error.empty()) {
        End(std::move(error));
        return;
    }
    curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(question.size()));
    SetText(easy_.get(), CURLOPT_COPYPOSTFIELDS, question.data());
    const CURLcode code = SetOptions(resolver, resolve);
    if (code != CURLE_OK) {
        End(curl_easy_strerror(code));
        return;
    }
    Options options(easy_.get());
    multi_.GetSockets().SetOptions(options);
    multi_.Add(easy_.get(), *this);
}

CURLcode DohQuery::SetOptions(const DohResolver &resolver, const std::string &resolve)
{
    CURL *const easy = easy_.get();
    AppendTo(headers_, std::string("Content-Type: ") + MEDIA_TYPE);
    AppendTo(headers_, std::string("Accept: ") + MEDIA_TYPE);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
    if (!resolve.empty()) {
        AppendTo(resolve_, resolve);
        curl_easy_setopt(easy, CURLOPT_RESOLVE, resolve_.get());
    }
    SetText(easy, CURLOPT_URL, resolver.url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
    curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
    SetText(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, TIMEOUT_MS);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, text_.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    return SetServerTls(easy, resolver.trust);
}

void DohQuery::ExchangeDone(CURLcode code)
{
    std::string error;
    End(Try([&] { error = ErrorOf(code); }) ? std::move(error) : NoMemory().error);
}

// Empty: there is an answer.
std::string DohQuery::ErrorOf(CURLcode code) const
{
    long status = 0;
    const char *type = nullptr;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy_.get(), CURLINFO_CONTENT_TYPE, &type);
    if (code != CURLE_OK) {
        return std::string("no answer of the resolver: ") +
               (text_.front() != '\0' ? text_.data() : curl_easy_strerror(code));
    }
    if (status != 200) {
        return "the resolver answers with status " + std::to_string(status);
    }
    if (type == nullptr || !Lower(type).starts_with(MEDIA_TYPE)) {
        return "the resolver answers with no DNS message";
    }
    return MessageError(message_);
}

void DohQuery::End(std::string error)
{
    error_ = std::move(error);
    ended_ = true;
    done_();
}

size_t DohQuery::OnBody(char *piece, size_t size, size_t count, void *self)
{
    std::string &message = static_cast<DohQuery *>(self)->message_;
    const size_t length = size * count;
    const bool taken =
        message.size() + length <= MAX_MESSAGE && Try([&] { message.append(piece, length); });
    return taken ? length : 0;
}

} // namespace OHOS::Pelloria::Tnx
