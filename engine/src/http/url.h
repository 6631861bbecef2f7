// A URL taken apart, as far as the engine has to know it.
#ifndef TNX_ENGINE_URL_H
#define TNX_ENGINE_URL_H

#include <cstdint>
#include <memory>
#include <string>

#include <curl/curl.h>

namespace OHOS::Pelloria::Tnx
{

struct Url {
    std::string text;   // as given
    std::string scheme; // in lower case
    std::string host;   // in lower case and in ASCII, without brackets
    std::string path;   // starts with a slash, without query
    uint16_t port = 0;
    bool ownPort = false; // rather than the scheme's
    std::string problem;  // which part is wrong, where it is no URL

    // Where the name was given in letters beyond ASCII: that name, and the URL with ours.
    std::string givenName;
    std::string asciiText;

    // Scheme, host and port: who may see credentials, and whose connections are counted together.
    std::string origin;

    bool hostIsAddress = false;
    bool hasCredential = false;

    // For libcurl. Never changed.
    std::shared_ptr<CURLU> handle;

    // For people to read.
    const std::string &Name() const { return givenName.empty() ? host : givenName; }

    // For those who take what is beyond ASCII to be in the locale of the process.
    const std::string &Ascii() const { return asciiText.empty() ? text : asciiText; }

    bool Secure() const { return scheme == "https"; }
};

// Takes an absolute URL of http or https apart. Else code and `problem` tell what is wrong with it.
CURLcode ParseUrl(const std::string &text, Url &url);

// Resolves a reference against an absolute URL (RFC 3986 section 5.2). Gives the reference as it is
// where that does not work.
std::string ResolveUrl(const std::string &base, const std::string &reference);

} // namespace OHOS::Pelloria::Tnx

#endif
