// The security of a connection as options of libcurl: to the server, or to the proxy.
#ifndef TNX_ENGINE_TLS_OPTIONS_H
#define TNX_ENGINE_TLS_OPTIONS_H

#include <curl/curl.h>

#include "options.h"
#include "tnx_native/limits.h"
#include "tnx_native/security.h"

namespace OHOS::Pelloria::Tnx
{

// Whom to trust and what to speak, as options that can be named again for each request; and the
// certificates and keys, if there are any, which cannot.
CURLcode NameServerTrust(Options &named, const SecurityConfiguration &security,
                         const Limits *limits);
bool HasCertificates(const SecurityConfiguration &security);
CURLcode SetServerCertificates(CURL *easy, const SecurityConfiguration &security);

// All of them.
CURLcode SetServerTls(CURL *easy, const SecurityConfiguration &security);
CURLcode SetProxyTls(CURL *easy, const SecurityConfiguration &security);

// The credential, if there is one.
CURLcode SetServerCredential(CURL *easy, const SecurityConfiguration &security);
CURLcode SetProxyCredential(CURL *easy, const SecurityConfiguration &security);

} // namespace OHOS::Pelloria::Tnx

#endif
