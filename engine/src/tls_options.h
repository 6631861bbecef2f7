// The security of a connection as options of libcurl: to the server, or to the proxy.
#ifndef TNX_ENGINE_TLS_OPTIONS_H
#define TNX_ENGINE_TLS_OPTIONS_H

#include <curl/curl.h>

#include "tnx_native/security.h"

namespace OHOS::Pelloria::Tnx
{

CURLcode SetServerTls(CURL *easy, const SecurityConfiguration &security);
CURLcode SetProxyTls(CURL *easy, const SecurityConfiguration &security);

// The credential, if there is one.
CURLcode SetServerCredential(CURL *easy, const SecurityConfiguration &security);
CURLcode SetProxyCredential(CURL *easy, const SecurityConfiguration &security);

} // namespace OHOS::Pelloria::Tnx

#endif
