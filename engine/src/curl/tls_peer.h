// The TLS of a connection, which libcurl tells nothing of but where it is.
#ifndef TNX_ENGINE_TLS_PEER_H
#define TNX_ENGINE_TLS_PEER_H

#include <string>

#include <curl/curl.h>
#include <openssl/ssl.h>

namespace OHOS::Pelloria::Tnx
{

// Of the connection that an exchange has now. Null where it speaks no TLS.
SSL *TlsOf(CURL *easy);

// What the peer has shown, in PEM, its own certificate first.
std::string PeerChain(const SSL *tls);

} // namespace OHOS::Pelloria::Tnx

#endif
