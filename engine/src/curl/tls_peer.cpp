// Asks OpenSSL.
#include "tls_peer.h"

#include <memory>
#include <new>

#include <openssl/bio.h>
#include <openssl/pem.h>

namespace OHOS::Pelloria::Tnx
{

SSL *TlsOf(CURL *easy)
{
    curl_tlssessioninfo *info = nullptr;
    curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &info);
    const bool known = info != nullptr && info->backend == CURLSSLBACKEND_OPENSSL;
    return known ? static_cast<SSL *>(info->internals) : nullptr;
}

std::string PeerChain(const SSL *tls)
{
    const STACK_OF(X509) *chain = SSL_get_peer_cert_chain(tls);
    const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
    if (out == nullptr) {
        throw std::bad_alloc();
    }
    for (int i = 0; chain != nullptr && i < sk_X509_num(chain); ++i) {
        if (PEM_write_bio_X509(out.get(), sk_X509_value(chain, i)) != 1) {
            throw std::bad_alloc();
        }
    }
    char *text = nullptr;
    const long size = BIO_get_mem_data(out.get(), &text);
    return size > 0 ? std::string(text, static_cast<size_t>(size)) : std::string();
}

} // namespace OHOS::Pelloria::Tnx
