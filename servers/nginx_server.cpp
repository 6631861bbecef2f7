// Writes nginx's configuration and keeps the process.
#include "nginx_server.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "bodies.h"
#include "certificates.h"
#include "ports.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr int ATTEMPTS = 3; // a free port may be taken by somebody else before nginx has it
constexpr uintmax_t GIBIBYTE = 1024 * 1024 * 1024;

constexpr char HEADER[] = R"(
load_module /usr/lib/nginx/modules/ngx_http_echo_module.so;
daemon off;
master_process off;
pid nginx.pid;
error_log error.log warn;
worker_rlimit_nofile 65536;
events { worker_connections 32768; }
http {
    log_format short '$request_method $request_uri $status $server_protocol';
    client_body_temp_path bodies;
    proxy_temp_path proxied;
    fastcgi_temp_path unused;
    uwsgi_temp_path unused;
    scgi_temp_path unused;
    client_max_body_size 0;
    client_body_buffer_size 1m;
    keepalive_requests 1000000000;
    keepalive_timeout 300;
    http2_max_concurrent_streams 128;
    open_file_cache max=16;
    tcp_nodelay on;
    auth_basic_user_file users;
)";

constexpr char LOCATIONS[] = R"(
root www;
access_log off;
location = /echo {
    echo_read_request_body;
    echo -n $echo_client_request_headers;
    echo_request_body;
}
location = /fields {
    echo "$request_method $request_uri $server_protocol";
    echo "host: $http_host";
    echo "user-agent: $http_user_agent";
    echo "content-type: $http_content_type";
    echo "content-length: $http_content_length";
    echo "authorization: $http_authorization";
    echo "cookie: $http_cookie";
    echo "range: $http_range";
    echo "x-one: $http_x_one";
    echo "x-two: $http_x_two";
    echo "client-certificate: $ssl_client_s_dn";
}
location = /sink { echo_read_request_body; echo_status 200; echo -n; }
location = /ten { echo_read_request_body; echo_exec @ten; }
location @ten {
    default_type text/plain;
    add_header Cache-Control "public, max-age=60";
    add_header ETag '"0123456789"';
    add_header Last-Modified "Thu, 01 Jan 2026 00:00:00 GMT";
    add_header Vary Accept-Encoding;
    add_header X-Request-Id 0123456789abcdef;
    return 200 %KIB%;
}
location = /slow { alias www/64k; limit_rate 16k; }
location = /private { auth_basic tests; alias www/1k; }
location = /redirect { return 302 /1k; }
location = /cookies {
    add_header Set-Cookie "plain=one";
    add_header Set-Cookie "full=two; Path=/; Max-Age=60; Secure; HttpOnly; SameSite=Lax";
    return 200 "ok";
}
)";

constexpr char SCRIPTED[] = R"(
location /scripted/ {
    access_log access.log short;
    proxy_pass http://127.0.0.1:%PORT%/;
    proxy_http_version 1.1;
    proxy_set_header Connection "";
    proxy_buffering off;
    proxy_request_buffering off;
}
)";

std::string Filled(std::string text, const std::string &mark, const std::string &value)
{
    return text.replace(text.find(mark), mark.size(), value);
}

std::string Server(const std::string &listen, const std::string &certificate,
                   const std::string &more = "")
{
    std::string text = "server { listen 127.0.0.1:" + listen + "; ";
    if (!certificate.empty()) {
        text += "ssl_certificate " + Certificate(certificate + ".pem") + "; " +
                "ssl_certificate_key " + Certificate(certificate + ".key") + "; ";
    }
    return text + more + " include locations.conf; }\n";
}

std::string Configuration(const std::array<uint16_t, static_cast<size_t>(Site::COUNT)> &ports)
{
    const auto port = [&ports](Site site) {
        return std::to_string(ports[static_cast<size_t>(site)]);
    };
    return HEADER + Server(port(Site::PLAIN) + " backlog=8192", "") +
           Server(port(Site::CLEAR_HTTP2) + " http2", "") +
           Server(port(Site::TLS) + " ssl http2", "good") +
           Server(port(Site::TLS_HTTP1) + " ssl", "good", "ssl_protocols TLSv1.2 TLSv1.3;") +
           Server(port(Site::EXPIRED) + " ssl", "expired") +
           Server(port(Site::WRONG_NAME) + " ssl", "wrong-name") +
           Server(port(Site::SELF_SIGNED) + " ssl", "self-signed") +
           Server(port(Site::CLIENT_CERTIFICATE) + " ssl", "good",
                  "ssl_client_certificate " + Certificate("ca.pem") + "; ssl_verify_client on;") +
           Server(port(Site::OLD_TLS) + " ssl", "good",
                  "ssl_protocols TLSv1.1; ssl_ciphers ALL:@SECLEVEL=0;") +
           "}\n";
}

} // namespace

NginxServer::NginxServer(uint16_t scripted)
{
    std::filesystem::create_directory(directory_.Path("www"));
    WriteFile(directory_.Path("www/1k"), Pattern(1024));
    WriteFile(directory_.Path("www/64k"), Pattern(65536));
    for (const auto &[name, size] : {std::pair{"www/big", GIBIBYTE}, {"www/huge", 10 * GIBIBYTE}}) {
        WriteFile(directory_.Path(name), "");
        std::filesystem::resize_file(directory_.Path(name), size);
    }
    WriteFile(directory_.Path("users"), "user:{PLAIN}password\n");
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        if (Start(scripted)) {
            return;
        }
    }
    throw std::runtime_error("nginx does not start:\n" + ReadFile(directory_.Path("error.log")));
}

bool NginxServer::Start(uint16_t scripted)
{
    for (auto &port : ports_) {
        do {
            port = FreePort();
        } while (std::count(ports_.begin(), ports_.end(), port) > 1);
    }
    std::string locations = Filled(LOCATIONS, "%KIB%", std::string(1024, 'k'));
    if (scripted != 0) {
        locations += Filled(SCRIPTED, "%PORT%", std::to_string(scripted));
    }
    WriteFile(directory_.Path("locations.conf"), locations);
    WriteFile(directory_.Path("nginx.conf"), Configuration(ports_));
    process_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"nginx", "-p", directory_.Path(), "-c",
                                 directory_.Path("nginx.conf"), "-e", directory_.Path("error.log")},
        directory_.Path("error.log"));
    // It writes its id when it listens at every port. That one can be connected to does not tell:
    // it may be somebody else's, for which nginx waits for seconds before it gives up.
    while (process_->Running() && ReadFile(directory_.Path("nginx.pid")).empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return process_->Running();
}

std::string NginxServer::Url(const std::string &target, Site site) const
{
    const bool clear = site == Site::PLAIN || site == Site::CLEAR_HTTP2;
    return (clear ? "http://127.0.0.1:" : "https://localhost:") + std::to_string(Port(site)) +
           target;
}

std::string NginxServer::AccessLog() const
{
    return ReadFile(directory_.Path("access.log"));
}

} // namespace OHOS::Pelloria::TnxTest
