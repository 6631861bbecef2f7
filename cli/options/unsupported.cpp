// Options of curl's that this tool does not have.
#include "unsupported.h"

#include <algorithm>
#include <iterator>

namespace TnxTool
{

namespace
{

struct Unsupported {
    const char *name;
    const char *reason;
    char letter = 0; // 0: it has no short form
};

constexpr const char *NO_SETTING = "the library has no setting for it";
constexpr const char *NO_METHOD =
    "redirects change methods as RFC 9110 has it; name the new URL yourself";
constexpr const char *HTTP_ONLY = "only http and https are spoken; use curl for other protocols";
constexpr const char *ONLY_GIVEN =
    "the scheme of the URL is spoken; without -L no redirect changes it";
constexpr const char *OLD_TLS = "TLS before 1.2 is not spoken; use curl for such servers";
constexpr const char *NO_REVOCATION = "revocation is not checked; use curl where it must be";
constexpr const char *SYSTEM_RANDOM = "random numbers come from the system; leave it out";
constexpr const char *PEM_KEY = "the key of --key is PEM; convert it with 'openssl pkey'";
constexpr const char *PROXY_CERT = "proxies get no client certificate; use --proxy-user";
constexpr const char *PROXY_METHOD = "proxies take --proxy-basic, --proxy-digest, --proxy-anyauth";
constexpr const char *WINDOWS_ONLY = "it is for Windows only; leave it out";
constexpr const char *SYSTEM_CHOICE = "the system chooses; leave it out";
constexpr const char *ALWAYS_ON = "the library does so anyway; leave it out";
constexpr const char *NO_KERBEROS = "the service is HTTP; --negotiate takes the ticket at hand";
constexpr const char *NO_SRP = "TLS with passwords is out of use; use -u or a certificate (-E)";
constexpr const char *DOH_CHECKED = "the server of --doh-url is checked by the system's store";

constexpr Unsupported UNSUPPORTED[] = {
    {"abstract-unix-socket", NO_SETTING},
    {"alt-svc", "name the version with --http2 or --http3"},
    {"append", HTTP_ONLY, 'a'},
    {"aws-sigv4", "sign the request elsewhere and send the fields with -H"},
    {"cert-status", NO_REVOCATION},
    {"compressed-ssh", HTTP_ONLY},
    {"create-file-mode", "set the umask before, or the mode after with chmod"},
    {"crlf", "convert the file before, with sed 's/$/\\r/'"},
    {"crlfile", NO_REVOCATION},
    {"curves", SYSTEM_CHOICE},
    {"delegation", NO_KERBEROS},
    {"disable-eprt", HTTP_ONLY},
    {"disable-epsv", HTTP_ONLY},
    {"disallow-username-in-url", "look for an @ in the URL before"},
    {"dns-interface", "name the servers with --dns-servers"},
    {"dns-ipv4-addr", "name the servers with --dns-servers"},
    {"dns-ipv6-addr", "name the servers with --dns-servers"},
    {"doh-cert-status", DOH_CHECKED},
    {"doh-insecure", DOH_CHECKED},
    {"egd-file", SYSTEM_RANDOM},
    {"engine", "keys come from files; use --key"},
    {"etag-compare", "send the tag with -H 'If-None-Match: TAG'"},
    {"etag-save", "write the tag with -w '%header{etag}'"},
    {"expect100-timeout", "bodies are sent without waiting; leave it out"},
    {"false-start", SYSTEM_CHOICE},
    {"form-escape", "names of forms are escaped as RFC 7578 has it"},
    {"ftp-account", HTTP_ONLY},
    {"ftp-alternative-to-user", HTTP_ONLY},
    {"ftp-create-dirs", HTTP_ONLY},
    {"ftp-method", HTTP_ONLY},
    {"ftp-pasv", HTTP_ONLY},
    {"ftp-port", HTTP_ONLY, 'P'},
    {"ftp-pret", HTTP_ONLY},
    {"ftp-skip-pasv-ip", HTTP_ONLY},
    {"ftp-ssl-ccc", HTTP_ONLY},
    {"ftp-ssl-ccc-mode", HTTP_ONLY},
    {"ftp-ssl-control", HTTP_ONLY},
    {"happy-eyeballs-timeout-ms", ALWAYS_ON},
    {"haproxy-protocol", NO_SETTING},
    {"hostpubmd5", HTTP_ONLY},
    {"hostpubsha256", HTTP_ONLY},
    {"hsts", "write https in front of the URL"},
    {"http0.9", "answers without a status are refused; use curl for such servers"},
    {"http3-only", "use --http3"},
    {"ignore-content-length", "a length that is wrong is an error; use curl for such servers"},
    {"keepalive-time", SYSTEM_CHOICE},
    {"key-type", PEM_KEY},
    {"krb", HTTP_ONLY},
    {"libcurl", "the library's guide has programs to begin with"},
    {"list-only", HTTP_ONLY, 'l'},
    {"local-port", SYSTEM_CHOICE},
    {"location-trusted", "credentials stay with their origin; name the new URL yourself"},
    {"login-options", HTTP_ONLY},
    {"mail-auth", HTTP_ONLY},
    {"mail-from", HTTP_ONLY},
    {"mail-rcpt", HTTP_ONLY},
    {"mail-rcpt-allowfails", HTTP_ONLY},
    {"manual", "see 'man tnx'", 'M'},
    {"metalink", "fetch the file and choose a URL from it"},
    {"no-alpn", "name the version with --http1.1"},
    {"no-clobber", "test for the file before, or use -C -"},
    {"no-keepalive", SYSTEM_CHOICE},
    {"no-npn", "NPN is not spoken; leave it out"},
    {"no-sessionid", "sessions live as long as the run; leave it out"},
    {"ntlm-wb", "use --ntlm"},
    {"parallel-immediate", "use -Z"},
    {"post301", NO_METHOD},
    {"post302", NO_METHOD},
    {"post303", NO_METHOD},
    {"preproxy", "name one proxy with -x"},
    {"proto", ONLY_GIVEN},
    {"proto-default", "write the scheme in front of the URL"},
    {"proto-redir", ONLY_GIVEN},
    {"proxy-cert", PROXY_CERT},
    {"proxy-cert-type", PROXY_CERT},
    {"proxy-ciphers", SYSTEM_CHOICE},
    {"proxy-crlfile", NO_REVOCATION},
    {"proxy-header", "send fields with -H; those of the proxy are the library's"},
    {"proxy-key", PROXY_CERT},
    {"proxy-key-type", PROXY_CERT},
    {"proxy-negotiate", PROXY_METHOD},
    {"proxy-ntlm", PROXY_METHOD},
    {"proxy-pass", PROXY_CERT},
    {"proxy-pinnedpubkey", "check the proxy by --proxy-cacert"},
    {"proxy-service-name", NO_KERBEROS},
    {"proxy-ssl-allow-beast", OLD_TLS},
    {"proxy-ssl-auto-client-cert", WINDOWS_ONLY},
    {"proxy-tls13-ciphers", SYSTEM_CHOICE},
    {"proxy-tlsauthtype", NO_SRP},
    {"proxy-tlspassword", NO_SRP},
    {"proxy-tlsuser", NO_SRP},
    {"proxy-tlsv1", OLD_TLS},
    {"proxy1.0", "use -x"},
    {"pubkey", HTTP_ONLY},
    {"quote", HTTP_ONLY, 'Q'},
    {"random-file", SYSTEM_RANDOM},
    {"raw", "transfer codings are always decoded; see --trace for the bytes"},
    {"sasl-authzid", HTTP_ONLY},
    {"sasl-ir", HTTP_ONLY},
    {"service-name", NO_KERBEROS},
    {"socks5-basic", ALWAYS_ON},
    {"socks5-gssapi", "SOCKS takes user and password; use --proxy-user"},
    {"socks5-gssapi-nec", "SOCKS takes user and password; use --proxy-user"},
    {"socks5-gssapi-service", "SOCKS takes user and password; use --proxy-user"},
    {"ssl", "write https in front of the URL"},
    {"ssl-allow-beast", OLD_TLS},
    {"ssl-auto-client-cert", WINDOWS_ONLY},
    {"ssl-no-revoke", WINDOWS_ONLY},
    {"ssl-reqd", "write https in front of the URL"},
    {"ssl-revoke-best-effort", WINDOWS_ONLY},
    {"sslv2", OLD_TLS, '2'},
    {"sslv3", OLD_TLS, '3'},
    {"stderr", "use the shell's 2>file"},
    {"styled-output", "use --pretty"},
    {"suppress-connect-headers", "use -v without -i to see them apart from the answer"},
    {"tcp-fastopen", SYSTEM_CHOICE},
    {"tcp-nodelay", ALWAYS_ON},
    {"telnet-option", HTTP_ONLY, 't'},
    {"tftp-blksize", HTTP_ONLY},
    {"tftp-no-options", HTTP_ONLY},
    {"tlsauthtype", NO_SRP},
    {"tlspassword", NO_SRP},
    {"tlsuser", NO_SRP},
    {"tlsv1", OLD_TLS, '1'},
    {"tlsv1.0", OLD_TLS},
    {"tlsv1.1", OLD_TLS},
    {"tr-encoding", "use --compressed"},
    {"trace-time", "see --timing"},
    {"use-ascii", HTTP_ONLY, 'B'},
    {"xattr", "use -w '%{url_effective}' and setfattr"},
};

} // namespace

const char *FindUnsupported(std::string_view name)
{
    const auto found =
        std::find_if(std::begin(UNSUPPORTED), std::end(UNSUPPORTED), [name](const auto &option) {
            return name == option.name ||
                   (name.size() == 1 && option.letter != 0 && name[0] == option.letter);
        });
    return found == std::end(UNSUPPORTED) ? nullptr : found->reason;
}

} // namespace TnxTool
