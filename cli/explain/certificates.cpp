// Looks at a server's certificates over a connection of its own.
#include "certificates.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

#include <arpa/inet.h>
#include <netdb.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/handles.h"

namespace TnxTool
{

namespace
{

using Context = Handle<SSL_CTX, &SSL_CTX_free>;
using Connection = Handle<SSL, &SSL_free>;
using Memory = Handle<BIO, &BIO_free_all>;

constexpr timeval PATIENCE = {5, 0};

class Socket
{
public:
    ~Socket()
    {
        if (file_ >= 0) {
            close(file_);
        }
    }
    Socket() = default;
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    bool Connect(const std::string &address, uint16_t port)
    {
        addrinfo hints{};
        hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo *found = nullptr;
        if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
            errno = EINVAL;
            return false;
        }
        const Handle<addrinfo, &freeaddrinfo> guard(found);
        file_ = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return file_ >= 0 &&
               setsockopt(file_, SOL_SOCKET, SO_SNDTIMEO, &PATIENCE, sizeof(PATIENCE)) == 0 &&
               setsockopt(file_, SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof(PATIENCE)) == 0 &&
               connect(file_, found->ai_addr, found->ai_addrlen) == 0;
    }

    int File() const { return file_; }

private:
    int file_ = -1;
};

std::string ReadMemory(BIO *memory)
{
    char *text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    return length > 0 ? std::string(text, static_cast<size_t>(length)) : std::string();
}

std::string NameText(const X509_NAME *name)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(memory.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    return ReadMemory(memory.get());
}

std::string TimeText(const ASN1_TIME *time)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    ASN1_TIME_print(memory.get(), time);
    return ReadMemory(memory.get());
}

// The hash of the key as certificates carry it (SubjectPublicKeyInfo), in base64.
std::string PinOf(const X509 *certificate)
{
    unsigned char *bytes = nullptr;
    const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &bytes);
    if (length <= 0) {
        return {};
    }
    std::array<unsigned char, SHA256_DIGEST_LENGTH> hash;
    SHA256(bytes, static_cast<size_t>(length), hash.data());
    OPENSSL_free(bytes);
    std::array<unsigned char, 64> base64;
    EVP_EncodeBlock(base64.data(), hash.data(), static_cast<int>(hash.size()));
    return "sha256//" + std::string(reinterpret_cast<const char *>(base64.data()));
}

std::string NameText(const GENERAL_NAME *name)
{
    const bool address = name->type == GEN_IPADD;
    if (!address && name->type != GEN_DNS) {
        return {};
    }
    const ASN1_STRING *value = address ? name->d.iPAddress : name->d.dNSName;
    const auto *bytes = ASN1_STRING_get0_data(value);
    const auto length = static_cast<size_t>(ASN1_STRING_length(value));
    if (!address) {
        return {reinterpret_cast<const char *>(bytes), length};
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (length == sizeof(in_addr) || length == sizeof(in6_addr)) {
        inet_ntop(length == sizeof(in_addr) ? AF_INET : AF_INET6, bytes, text.data(), text.size());
    }
    return text.data();
}

// The hosts that a certificate is for (RFC 9110 section 4.3.4).
std::string NamesOf(const X509 *certificate)
{
    const Handle<GENERAL_NAMES, &GENERAL_NAMES_free> names(static_cast<GENERAL_NAMES *>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    std::string all;
    for (int at = 0; at < (names ? sk_GENERAL_NAME_num(names.get()) : 0); ++at) {
        const std::string name = NameText(sk_GENERAL_NAME_value(names.get(), at));
        all += (all.empty() || name.empty() ? "" : ", ") + name;
    }
    return all.empty() ? "no host at all" : all;
}

struct Problem {
    std::string text;
    bool wrongHost = false;
};

using Problems = std::map<int, Problem>; // by depth in the chain

// Notes what is wrong with a link, and goes on to the next.
int NoteProblem(int good, X509_STORE_CTX *store)
{
    if (good == 0) {
        const auto *connection = static_cast<SSL *>(
            X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
        auto &problems = *static_cast<Problems *>(SSL_get_ex_data(connection, 0));
        Problem &problem = problems[X509_STORE_CTX_get_error_depth(store)];
        const int error = X509_STORE_CTX_get_error(store);
        problem.text += problem.text.empty() ? "" : "; ";
        problem.text += X509_verify_cert_error_string(error);
        problem.wrongHost = problem.wrongHost || error == X509_V_ERR_HOSTNAME_MISMATCH ||
                            error == X509_V_ERR_IP_ADDRESS_MISMATCH;
    }
    return 1;
}

// Keeps the first bytes that come from the peer.
long KeepFirst(BIO *bio, int operation, const char *data, size_t, int, long, int result,
               size_t *processed)
{
    auto &first = *reinterpret_cast<std::string *>(BIO_get_callback_arg(bio));
    if (operation == (BIO_CB_READ | BIO_CB_RETURN) && result > 0 && first.empty()) {
        first.assign(data, *processed);
    }
    return result;
}

// Why there is no chain, after what the peer began with.
std::string FailureText(const std::string &first)
{
    constexpr std::string_view tls = "\x15\x16"; // an alert, a handshake
    if (first.starts_with("HTTP/") || first.starts_with('<')) {
        return "this port speaks plain HTTP, not TLS";
    }
    if (!first.empty() && tls.find(first.front()) == std::string_view::npos) {
        return "this port does not speak TLS";
    }
    const char *reason = ERR_reason_error_string(ERR_get_error());
    return reason == nullptr ? "the handshake failed" : reason;
}

bool Trust(SSL_CTX *context, const char *caFile, const char *caDirectory)
{
    if (caFile == nullptr && caDirectory == nullptr) {
        return SSL_CTX_set_default_verify_paths(context) == 1;
    }
    return SSL_CTX_load_verify_locations(context, caFile, caDirectory) == 1;
}

// The name, or the address, that the certificate must be for.
void Expect(SSL *connection, const std::string &host)
{
    if (X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(connection), host.c_str()) != 1) {
        SSL_set1_host(connection, host.c_str());
        SSL_set_tlsext_host_name(connection, host.c_str());
    }
}

void ReadChain(CertificateChain &chain, const SSL *connection, const Problems &problems)
{
    const STACK_OF(X509) *const sent = SSL_get_peer_cert_chain(connection);
    for (int depth = 0; depth < (sent == nullptr ? 0 : sk_X509_num(sent)); ++depth) {
        const X509 *const certificate = sk_X509_value(sent, depth);
        const auto problem = problems.find(depth);
        const bool good = problem == problems.end();
        chain.certificates.push_back(
            {NameText(X509_get_subject_name(certificate)),
             NameText(X509_get_issuer_name(certificate)),
             TimeText(X509_get0_notBefore(certificate)), TimeText(X509_get0_notAfter(certificate)),
             good ? "" : problem->second.text,
             good || !problem->second.wrongHost ? "" : NamesOf(certificate)});
        if (depth == 0) {
            chain.pin = PinOf(certificate);
        }
    }
}

} // namespace

CertificateChain LookAtCertificates(const Server &server, const char *caFile,
                                    const char *caDirectory)
{
    CertificateChain chain;
    Socket socket;
    if (!socket.Connect(server.address, server.port)) {
        chain.failure = std::string("cannot connect again: ") + std::strerror(errno);
        return chain;
    }
    const Context context(SSL_CTX_new(TLS_client_method()));
    const Connection connection(context ? SSL_new(context.get()) : nullptr);
    if (!connection || !Trust(context.get(), caFile, caDirectory)) {
        chain.failure = "cannot read the trusted CAs";
        return chain;
    }
    Problems problems;
    SSL_set_ex_data(connection.get(), 0, &problems);
    SSL_set_verify(connection.get(), SSL_VERIFY_PEER, &NoteProblem);
    Expect(connection.get(), server.host);
    SSL_set_fd(connection.get(), socket.File());
    std::string first;
    BIO_set_callback_arg(SSL_get_rbio(connection.get()), reinterpret_cast<char *>(&first));
    BIO_set_callback_ex(SSL_get_rbio(connection.get()), &KeepFirst);
    SSL_connect(connection.get()); // a refused client comes after the chain, which is all we want
    ReadChain(chain, connection.get(), problems);
    if (chain.certificates.empty()) {
        chain.failure = FailureText(first);
    }
    return chain;
}

} // namespace TnxTool
