// One table of options a side, and one function that fills it.
#include "tls_options.h"

#include <string>

namespace OHOS::Pelloria::Tnx
{
namespace
{

struct TlsOptions {
    CURLoption version;
    CURLoption verifyPeer;
    CURLoption verifyHost;
    CURLoption caFile;
    CURLoption caBlob;
    CURLoption caDirectory;
    CURLoption pins;
    CURLoption certificate;
    CURLoption certificateBlob;
    CURLoption certificateType;
    CURLoption key;
    CURLoption keyBlob;
    CURLoption keyType;
    CURLoption keyPassword;
    CURLoption name;
    CURLoption password;
    CURLoption authentication;
};

constexpr TlsOptions SERVER = {
    CURLOPT_SSLVERSION,   CURLOPT_SSL_VERIFYPEER, CURLOPT_SSL_VERIFYHOST,  CURLOPT_CAINFO,
    CURLOPT_CAINFO_BLOB,  CURLOPT_CAPATH,         CURLOPT_PINNEDPUBLICKEY, CURLOPT_SSLCERT,
    CURLOPT_SSLCERT_BLOB, CURLOPT_SSLCERTTYPE,    CURLOPT_SSLKEY,          CURLOPT_SSLKEY_BLOB,
    CURLOPT_SSLKEYTYPE,   CURLOPT_KEYPASSWD,      CURLOPT_USERNAME,        CURLOPT_PASSWORD,
    CURLOPT_HTTPAUTH};

constexpr TlsOptions PROXY = {CURLOPT_PROXY_SSLVERSION,
                              CURLOPT_PROXY_SSL_VERIFYPEER,
                              CURLOPT_PROXY_SSL_VERIFYHOST,
                              CURLOPT_PROXY_CAINFO,
                              CURLOPT_PROXY_CAINFO_BLOB,
                              CURLOPT_PROXY_CAPATH,
                              CURLOPT_PROXY_PINNEDPUBLICKEY,
                              CURLOPT_PROXY_SSLCERT,
                              CURLOPT_PROXY_SSLCERT_BLOB,
                              CURLOPT_PROXY_SSLCERTTYPE,
                              CURLOPT_PROXY_SSLKEY,
                              CURLOPT_PROXY_SSLKEY_BLOB,
                              CURLOPT_PROXY_SSLKEYTYPE,
                              CURLOPT_PROXY_KEYPASSWD,
                              CURLOPT_PROXYUSERNAME,
                              CURLOPT_PROXYPASSWORD,
                              CURLOPT_PROXYAUTH};

// Collects the first refusal of a row of options.
class Setter
{
public:
    explicit Setter(CURL *easy)
        : easy_(easy)
    {
    }

    void Number(CURLoption option, long value) { Note(curl_easy_setopt(easy_, option, value)); }
    void Text(CURLoption option, const char *value)
    {
        Note(curl_easy_setopt(easy_, option, value));
    }
    void Blob(CURLoption option, const std::string &bytes)
    {
        curl_blob blob{const_cast<char *>(bytes.data()), bytes.size(), CURL_BLOB_COPY};
        Note(curl_easy_setopt(easy_, option, &blob));
    }
    CURLcode Result() const { return result_; }

private:
    void Note(CURLcode code)
    {
        if (result_ == CURLE_OK) {
            result_ = code;
        }
    }

    CURL *const easy_;
    CURLcode result_ = CURLE_OK;
};

bool IsPem(const std::string &text)
{
    return text.find("-----BEGIN") != std::string::npos;
}

const char *TypeName(uint32_t mode)
{
    switch (mode) {
    case CERTIFICATE_DER:
        return "DER";
    case CERTIFICATE_PKCS12:
        return "P12";
    default:
        return "PEM";
    }
}

bool HasOwnTrust(const SecurityConfiguration &security)
{
    return !security.skipValidation &&
           (!security.trustedCas.empty() || !security.trustedCaDirectory.empty());
}

// 1.2 at least.
long Versions(const Limits &limits)
{
    const long lowest =
        limits.lowestTls == TlsVersion::TLS1_3 ? CURL_SSLVERSION_TLSv1_3 : CURL_SSLVERSION_TLSv1_2;
    const long highest = limits.highestTls == TlsVersion::TLS1_2 ? CURL_SSLVERSION_MAX_TLSv1_2
                                                                 : CURL_SSLVERSION_MAX_DEFAULT;
    return lowest | highest;
}

CURLcode NameTrust(Options &named, const TlsOptions &options, const SecurityConfiguration &security,
                   long versions = CURL_SSLVERSION_TLSv1_2)
{
    CURLcode result = CURLE_OK;
    const auto take = [&result](CURLcode code) { result = result == CURLE_OK ? code : result; };
    take(named.Number(options.version, versions));
    if (security.skipValidation) {
        take(named.Number(options.verifyPeer, 0));
        take(named.Number(options.verifyHost, 0));
    } else if (HasOwnTrust(security)) {
        // The system's store, which is the default of both, is not to be used besides.
        take(named.Pointer(options.caFile, nullptr));
        take(named.Pointer(options.caDirectory, nullptr));
        if (!security.trustedCas.empty() && !IsPem(security.trustedCas)) {
            take(named.Text(options.caFile, security.trustedCas));
        }
        if (!security.trustedCaDirectory.empty()) {
            take(named.Text(options.caDirectory, security.trustedCaDirectory));
        }
    }
    if (!security.publicKeyPins.empty()) {
        take(named.Text(options.pins, security.publicKeyPins));
    }
    return result;
}

void SetCertificate(Setter &set, const TlsOptions &options, const ClientCertificate &certificate)
{
    if (certificate.certificate.empty() && certificate.certificateInfo.empty()) {
        return;
    }
    const char *const type = TypeName(certificate.mode);
    set.Text(options.certificateType, type);
    if (!certificate.certificate.empty()) {
        set.Text(options.certificate, certificate.certificate.c_str());
    } else {
        set.Blob(options.certificateBlob, certificate.certificateInfo);
    }
    if (!certificate.key.Empty()) {
        const bool isText = IsPem(certificate.key.Get());
        set.Text(options.keyType, isText ? "PEM" : type);
        if (isText) {
            set.Blob(options.keyBlob, certificate.key.Get());
        } else {
            set.Text(options.key, certificate.key.Get().c_str());
        }
    }
    // Given in any case: without one the TLS library would ask on the terminal, and wait.
    set.Text(options.keyPassword, certificate.keyPassword.Get().c_str());
}

CURLcode SetCertificates(CURL *easy, const TlsOptions &options,
                         const SecurityConfiguration &security)
{
    Setter set(easy);
    if (HasOwnTrust(security) && IsPem(security.trustedCas)) {
        set.Blob(options.caBlob, security.trustedCas);
    }
    SetCertificate(set, options, security.clientCertificate);
    return set.Result();
}

CURLcode SetTls(CURL *easy, const TlsOptions &options, const SecurityConfiguration &security)
{
    Options named(easy);
    const CURLcode code = NameTrust(named, options, security);
    return code != CURLE_OK ? code : SetCertificates(easy, options, security);
}

unsigned long AuthenticationOf(uint32_t kind)
{
    switch (kind) {
    case CREDENTIAL_BASIC:
        return CURLAUTH_BASIC;
    case CREDENTIAL_DIGEST:
        return CURLAUTH_DIGEST;
    case CREDENTIAL_NTLM:
        return CURLAUTH_NTLM;
    case CREDENTIAL_NEGOTIATE:
        return CURLAUTH_NEGOTIATE;
    default:
        return CURLAUTH_ANY;
    }
}

CURLcode SetCredential(CURL *easy, const TlsOptions &options, const SecurityConfiguration &security)
{
    if (security.credentialName.Empty() && security.credentialPassword.Empty()) {
        return CURLE_OK;
    }
    Setter set(easy);
    set.Text(options.name, security.credentialName.Get().c_str());
    set.Text(options.password, security.credentialPassword.Get().c_str());
    set.Number(options.authentication,
               static_cast<long>(AuthenticationOf(security.credentialKind)));
    return set.Result();
}

} // namespace

CURLcode NameServerTrust(Options &named, const SecurityConfiguration &security,
                         const Limits *limits)
{
    if (limits == nullptr) {
        return NameTrust(named, SERVER, security);
    }
    CURLcode code = NameTrust(named, SERVER, security, Versions(*limits));
    if (code == CURLE_OK && !limits->tls12Ciphers.empty()) {
        code = named.Text(CURLOPT_SSL_CIPHER_LIST, limits->tls12Ciphers);
    }
    if (code == CURLE_OK && !limits->tls13Ciphers.empty()) {
        code = named.Text(CURLOPT_TLS13_CIPHERS, limits->tls13Ciphers);
    }
    return code;
}

bool HasCertificates(const SecurityConfiguration &security)
{
    return (HasOwnTrust(security) && IsPem(security.trustedCas)) ||
           !security.clientCertificate.certificate.empty() ||
           !security.clientCertificate.certificateInfo.empty();
}

CURLcode SetServerCertificates(CURL *easy, const SecurityConfiguration &security)
{
    return SetCertificates(easy, SERVER, security);
}

CURLcode SetServerTls(CURL *easy, const SecurityConfiguration &security)
{
    return SetTls(easy, SERVER, security);
}

CURLcode SetProxyTls(CURL *easy, const SecurityConfiguration &security)
{
    return SetTls(easy, PROXY, security);
}

CURLcode SetServerCredential(CURL *easy, const SecurityConfiguration &security)
{
    if (security.credentialKind != CREDENTIAL_BEARER) {
        return SetCredential(easy, SERVER, security);
    }
    Setter set(easy);
    set.Number(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BEARER));
    set.Text(CURLOPT_XOAUTH2_BEARER, security.credentialPassword.Get().c_str());
    return set.Result();
}

CURLcode SetProxyCredential(CURL *easy, const SecurityConfiguration &security)
{
    return SetCredential(easy, PROXY, security);
}

} // namespace OHOS::Pelloria::Tnx
