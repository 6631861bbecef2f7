// Where libcurl 7.88 and 8.14 differ in what they tell: each difference once, and evened out where
// it can be. One cannot: the newer hands out a kept connection that NTLM has authenticated without
// looking whether it has died within the last second, so that a body which must not be sent twice
// may be lost on it.
#ifndef TNX_ENGINE_QUIRKS_H
#define TNX_ENGINE_QUIRKS_H

#include <string>
#include <vector>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

// Whether a peer was connected to. The older tells its address from then on, the newer only when
// TLS stands too, but then when it was.
bool WasConnected(CURL *easy);

// Whether a hop that was to speak HTTP/2 from the start failed because the server does not. Within
// TLS the older lets the server choose another version, the newer offers no other and is refused
// with an alert; in clear text the older finds the reply empty, the newer finds it damaged.
bool LacksHttp2(CURL *easy, CURLcode code, bool secure, bool refused);

// Whether the server ended a connection of HTTP/2 that owed an answer. The older calls that a
// failure of the framing, of which it has no other; the newer sends the request again, as it does
// for a stream that was refused, and tells how often.
bool LeftHttp2(CURLcode code);

// Whether a header line was longer than libcurl takes, which is 100 KiB. The older says that memory
// ran out, the newer has a code for it, which the older lacks.
bool MetLongHeaderLine(CURL *easy, CURLcode code, bool memoryRanOut);

// Of the addresses that local names have for libcurl, the older tries that of IPv4 first, the newer
// that of IPv6; a SOCKS proxy is told the first one only.
std::vector<std::string> LoopbackAddresses();

// Whether a handle that has had a response must not have another: before 8.1 libcurl keeps a
// pointer to the last field, which it has released, and writes there if the next response begins
// with a folded line.
bool ServesOnce();

// Which part of a URL is wrong. The newer does not tell that of an empty one, or of one with a
// blank or a control character.
CURLUcode UrlProblem(const std::string &url, CURLUcode code);

} // namespace OHOS::Pelloria::Tnx

#endif
