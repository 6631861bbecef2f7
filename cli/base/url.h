// The little that the tool has to know about URLs: it completes them and takes names from them.
#ifndef TNX_CLI_URL_H
#define TNX_CLI_URL_H

#include <string>
#include <string_view>

#include "settings.h"

namespace TnxTool
{

// The URL that is fetched for one of the command line: a scheme in front, the query of -G and
// --url-query, the name of an uploaded file.
std::string CompleteUrl(const Settings &settings, const std::string &url, const Text &upload);

// The last part of the URL's path; empty where it ends with a slash.
std::string UrlFileName(std::string_view url);

// Resolves a reference against the URL that it was found at; gives it as it is where that does not
// work.
std::string ResolveUrl(const std::string &base, const std::string &reference);

// A URL for people to see: without user and password.
std::string WithoutUser(std::string_view url);

std::string_view UrlScheme(std::string_view url);
std::string_view UrlAuthority(std::string_view url); // without user and password
std::string_view UrlUser(std::string_view url);      // "user" or "user:password", as it stands
std::string_view UrlHost(std::string_view url);
std::string UrlPort(std::string_view url);
std::string UrlTarget(std::string_view url);     // path and query, as they stand; at least "/"
std::string_view UrlQuery(std::string_view url); // without the question mark

} // namespace TnxTool

#endif
