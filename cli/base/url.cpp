// The little that the tool has to know about URLs.
#include "url.h"

#include <algorithm>
#include <filesystem>

#include "handles.h"
#include "values.h"

namespace TnxTool
{

namespace
{

size_t AuthorityStart(std::string_view url)
{
    const size_t scheme = url.find("://");
    return scheme == std::string_view::npos ? 0 : scheme + 3;
}

size_t PathStart(std::string_view url)
{
    return std::min(url.find_first_of("/?#", AuthorityStart(url)), url.size());
}

// The path with its leading slash; empty where the URL ends with its authority.
std::string_view Path(std::string_view url)
{
    const size_t start = PathStart(url);
    return url.substr(start, std::min(url.find_first_of("?#", start), url.size()) - start);
}

void AddQuery(std::string &url, const std::string &query)
{
    const size_t fragment = std::min(url.find('#'), url.size());
    const std::string_view before = std::string_view(url).substr(0, fragment);
    std::string separator = "?";
    if (before.find('?') != std::string_view::npos) {
        separator = before.ends_with('?') || before.ends_with('&') ? "" : "&";
    }
    url.insert(fragment, separator + query);
}

} // namespace

std::string CompleteUrl(const Settings &settings, const std::string &url, const Text &upload)
{
    std::string complete = url.find("://") == std::string::npos ? "http://" + url : url;
    if (upload && *upload != "-" && UrlFileName(complete).empty()) {
        const std::string name = std::filesystem::path(*upload).filename().string();
        const size_t end = PathStart(complete) + Path(complete).size();
        const std::string slash = Path(complete).ends_with('/') ? "" : "/";
        complete.insert(end, slash + UrlEncode(name));
    }
    if (settings.get && settings.data) {
        AddQuery(complete, *settings.data);
    }
    for (const std::string &query : settings.urlQuery) {
        AddQuery(complete, query);
    }
    return complete;
}

std::string UrlFileName(std::string_view url)
{
    const std::string_view path = Path(url);
    return std::string(path.substr(std::min(path.rfind('/') + 1, path.size())));
}

std::string ResolveUrl(const std::string &base, const std::string &reference)
{
    const TextHandle url(OVX_Tnx_ResolveUrl(base.c_str(), reference.c_str()));
    return url == nullptr ? reference : url.get();
}

std::string_view UrlScheme(std::string_view url)
{
    const size_t end = url.find("://");
    return end == std::string_view::npos ? std::string_view{} : url.substr(0, end);
}

std::string_view UrlAuthority(std::string_view url)
{
    const size_t start = AuthorityStart(url);
    const std::string_view authority = url.substr(start, PathStart(url) - start);
    return authority.substr(authority.rfind('@') + 1); // npos + 1 is 0
}

std::string_view UrlUser(std::string_view url)
{
    const size_t start = AuthorityStart(url);
    const std::string_view authority = url.substr(start, PathStart(url) - start);
    const size_t at = authority.rfind('@');
    return authority.substr(0, at == std::string_view::npos ? 0 : at);
}

std::string WithoutUser(std::string_view url)
{
    const size_t start = AuthorityStart(url);
    return std::string(url.substr(0, start)) + std::string(UrlAuthority(url)) +
           std::string(url.substr(PathStart(url)));
}

std::string_view UrlHost(std::string_view url)
{
    const std::string_view authority = UrlAuthority(url);
    if (authority.starts_with('[')) {
        return authority.substr(1, std::min(authority.find(']'), authority.size()) - 1);
    }
    return authority.substr(0, authority.find(':'));
}

std::string UrlPort(std::string_view url)
{
    const std::string_view authority = UrlAuthority(url);
    const size_t mark = authority.rfind(':');
    if (mark != std::string_view::npos && authority.find(']', mark) == std::string_view::npos) {
        return std::string(authority.substr(mark + 1));
    }
    return UrlScheme(url) == "https" ? "443" : "80";
}

std::string UrlTarget(std::string_view url)
{
    std::string_view rest = url.substr(0, url.find('#'));
    rest.remove_prefix(std::min(rest.size(), rest.find("://") + 3));
    const size_t begin = std::min(rest.find_first_of("/?"), rest.size());
    const std::string target(rest.substr(begin));
    return target.starts_with('/') ? target : "/" + target;
}

std::string_view UrlQuery(std::string_view url)
{
    const std::string_view whole = url.substr(0, url.find('#'));
    const size_t mark = whole.find('?');
    return mark == std::string_view::npos ? std::string_view{} : whole.substr(mark + 1);
}

} // namespace TnxTool
