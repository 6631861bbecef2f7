/**
 * @file configuration.h
 * @brief How requests are carried out: transfer, tracing, proxy, names, security.
 *
 * A session carries one Tnx_Configuration as a default; a request that carries its own replaces
 * the session's as a whole. Both are borrowed, with all they point to, while sessions and requests
 * use them: callbacks are read from the record at each call.
 */
#ifndef TNX_C_CONFIGURATION_H
#define TNX_C_CONFIGURATION_H

#include "headers.h"

TNX_BEGIN_DECLS

/** A time-out in milliseconds that never passes. */
#define TNX_NO_TIMEOUT UINT32_MAX

/** The default of both time-outs, in milliseconds. */
#define TNX_DEFAULT_TIMEOUT 60000

/** Which version of HTTP to speak. */
typedef enum Tnx_TransferPreference {
    TNX_PREFER_AUTOMATIC = 0, /**< HTTP/2 over TLS where the server offers it, else HTTP/1.1. */
    TNX_PREFER_HTTP1_1 = 1,
    TNX_PREFER_HTTP2 = 2, /**< In clear text too, by upgrade. */
    TNX_PREFER_HTTP3 = 3, /**< Where the libcurl at hand has it, else HTTP/2. */
    TNX_PREFER_HTTP1_0 = 10
} Tnx_TransferPreference;

/** Redirects, time-outs and versions. */
typedef struct Tnx_TransferConfiguration {
    bool autoRedirect;           /**< Follow redirects, at most 50 (RFC 9110 section 15.4). One that
                                      leaves the origin drops the credential, the cookies, the
                                      fields of credentials (Authorization, Proxy-Authorization,
                                      Cookie, Cookie2, WWW- and Proxy-Authenticate), Host, and the
                                      fields whose names speak of a secret: a word of the name is
                                      auth, token, secret, key, apikey, password, credential,
                                      session or csrf. They stay dropped on later hops. */
    uint32_t connectTimeout;     /**< Lookup, TCP, TLS and proxy; ms; 0: 60000. */
    uint32_t transferTimeout;    /**< The whole exchange with its redirects; ms; 0: 60000. The
                                      wait for a free connection does not count. */
    bool transferHint;           /**< The server is known to speak the preferred version: do not
                                      negotiate, fail if it does not. */
    uint32_t transferPreference; /**< A Tnx_TransferPreference. */
} Tnx_TransferConfiguration;

/** The kinds of debug information: the index of a switch and the `type` of a Tnx_DebugInfo. */
typedef enum Tnx_DebugKind {
    TNX_DEBUG_TEXT = 0,
    TNX_DEBUG_HEADER_IN = 1,
    TNX_DEBUG_HEADER_OUT = 2,
    TNX_DEBUG_DATA_IN = 3,
    TNX_DEBUG_DATA_OUT = 4,
    TNX_DEBUG_TLS_DATA_IN = 5,
    TNX_DEBUG_TLS_DATA_OUT = 6,
    TNX_DEBUG_KINDS = 7 /**< How many there are. */
} Tnx_DebugKind;

/** Takes a piece of the response's body as text: cut at its first NUL, no length is told. Return
 *  the length of the text to go on; less stops the request with TNX_ERR_WRITE. A
 *  Tnx_OnBinaryDataRecvCallback of the request replaces it. */
typedef size_t (*Tnx_OnDataReceiveCallback)(void *usrCtx, const char *data);

/** Tells the progress of one direction: bytes expected (0 when not known) and bytes so far. Called
 *  at the start, at most every 100 ms, and at the end. */
typedef void (*Tnx_OnProgressCallback)(void *usrCtx, uint64_t total, uint64_t now);

/** Takes the header fields of the final response, once, before its first data. The callee owns
 *  `headers` and destroys them with OVX_Tnx_DestroyHeaders. */
typedef void (*Tnx_OnHeaderReceiveCallback)(void *usrCtx, Tnx_Headers *headers);

/** Tells that something happened. */
typedef void (*Tnx_OnEventCallback)(void *usrCtx);

/**
 * Callbacks that follow a transfer. Each is called on a thread of the library, or on the caller's
 * own during a synchronous fetch, in order and one at a time for one request, without a lock held.
 */
typedef struct Tnx_HttpEventsHandler {
    struct {
        Tnx_OnDataReceiveCallback callback;
        void *usrCtx;
    } onDataReceive;
    struct {
        Tnx_OnProgressCallback callback;
        void *usrCtx;
    } onProgress1; /**< Download. */
    struct {
        Tnx_OnProgressCallback callback;
        void *usrCtx;
    } onProgress2; /**< Upload. */
    struct {
        Tnx_OnHeaderReceiveCallback callback;
        void *usrCtx;
    } onHeaderReceive;
    struct {
        Tnx_OnEventCallback callback;
        void *usrCtx;
    } onEvent; /**< The whole body has arrived; once, before the response callback. */
    struct {
        Tnx_OnEventCallback callback;
        void *usrCtx;
    } onCanceled; /**< The application canceled the request; on the thread that canceled. */
} Tnx_HttpEventsHandler;

/** What is recorded with a response, and who follows the transfer. */
typedef struct Tnx_TracingConfiguration {
    bool debugInfoSwitch;                 /**< Not read: the kinds alone decide. */
    bool debugInfoKinds[TNX_DEBUG_KINDS]; /**< Indexed by Tnx_DebugKind. Data kinds are kept up to
                                               1 MiB a request. */
    bool collectTimeInfo;                 /**< Fill `timeInfo` of the response. */
    Tnx_HttpEventsHandler eventsHandler;
} Tnx_TracingConfiguration;

/** How the peer's certificate is checked. */
typedef enum Tnx_RemoteValidation {
    TNX_VALIDATION_SYSTEM = 0, /**< Against the system's trusted CAs. */
    TNX_VALIDATION_SKIP = 1,  /**< Not at all: the strings, pins included, are not read. Anybody can
                                   then listen and answer. */
    TNX_VALIDATION_CUSTOM = 2 /**< By the three strings. */
} Tnx_RemoteValidation;

/** The encoding of the client certificate and its key. */
typedef enum Tnx_CertificateMode {
    TNX_CERTIFICATE_PEM = 0,
    TNX_CERTIFICATE_DER = 1,
    TNX_CERTIFICATE_PKCS12 = 2
} Tnx_CertificateMode;

/** How the credential is sent. */
typedef enum Tnx_CredentialKind {
    TNX_CREDENTIAL_AUTOMATIC = 0, /**< Answers challenges; never Basic unasked. */
    TNX_CREDENTIAL_BASIC = 1,
    TNX_CREDENTIAL_DIGEST = 2,
    TNX_CREDENTIAL_NTLM = 3,
    TNX_CREDENTIAL_NEGOTIATE = 4,
    TNX_CREDENTIAL_BEARER = 5 /**< The password is the token (RFC 6750). */
} Tnx_CredentialKind;

/** A client certificate with its key. `certificate` and `key` are paths; `key` may be PEM text. */
typedef struct Tnx_ClientCertificate {
    const char *certificate;
    const char *certificateInfo; /**< PEM text, used where there is no path. */
    const char *key;
    const char *keyPassword;
    uint32_t certificateMode; /**< A Tnx_CertificateMode. */
} Tnx_ClientCertificate;

/**
 * The security of one connection: to the server, or to the proxy. TLS 1.2 at least. Key, pass
 * phrase and credential are wiped from the library's memory when they are no longer needed.
 */
typedef struct Tnx_SecurityConfiguration {
    uint32_t remoteValidation;     /**< A Tnx_RemoteValidation. */
    const char *customValidation1; /**< Trusted CAs: a path, or PEM text. Replaces the system's. */
    const char *customValidation2; /**< A directory of trusted CAs. Replaces the system's. */
    const char *customValidation3; /**< Public-key pins, `sha256//...;sha256//...`, one of which
                                        must match besides the other checks. */
    Tnx_ClientCertificate clientCertificate;
    const char *credentialName;
    const char *credentialPassword;
    uint32_t credentialKind; /**< A Tnx_CredentialKind. */
} Tnx_SecurityConfiguration;

/** Where the proxy comes from. */
typedef enum Tnx_ProxyMode {
    TNX_PROXY_ENVIRONMENT = 0, /**< http_proxy, https_proxy, all_proxy and no_proxy, read once. */
    TNX_PROXY_EXPLICIT = 1,    /**< The record's own URL. */
    TNX_PROXY_NONE = 2
} Tnx_ProxyMode;

/** How a request travels through an HTTP proxy. */
typedef enum Tnx_ProxyOption {
    TNX_PROXY_FORWARD = 0, /**< Forwarded in clear text, tunnelled for https. */
    TNX_PROXY_TUNNEL = 1   /**< Always tunnelled (RFC 9110 section 9.3.6). */
} Tnx_ProxyOption;

/** Which member tells what is not proxied. */
typedef enum Tnx_ExclusionKind {
    TNX_EXCLUSION_LIST = 0,
    TNX_EXCLUSION_FUNCTION = 1
} Tnx_ExclusionKind;

/** One pattern: `*`, a host, a domain suffix, host:port, an address, a CIDR block, a URL prefix. */
typedef struct Tnx_UrlNode {
    const char *url;
    struct Tnx_UrlNode *next;
} Tnx_UrlNode;

/** Tells whether a URL bypasses the proxy; asked for every hop of a request. */
typedef bool (*Tnx_ExclusionFunction)(const char *url);

/** The proxy. Only TNX_PROXY_EXPLICIT reads more than the mode. */
typedef struct Tnx_WebProxy {
    uint32_t mode;          /**< A Tnx_ProxyMode. */
    const char *url;        /**< The scheme tells the kind: http, https, socks4, socks4a, socks5 or
                                 socks5h; http when there is none. */
    uint32_t proxyOption;   /**< A Tnx_ProxyOption. */
    uint32_t exclusionKind; /**< A Tnx_ExclusionKind. */
    union {
        Tnx_UrlNode *exclusionList;
        Tnx_ExclusionFunction exclusionFunction;
    } exclusions;
    Tnx_SecurityConfiguration security; /**< For the connection to the proxy. */
} Tnx_WebProxy;

/** Which member of a Tnx_DnsRule counts. */
typedef enum Tnx_DnsRuleKind {
    TNX_DNS_SERVERS = 0,
    TNX_DNS_STATIC = 1,
    TNX_DNS_DYNAMIC = 2
} Tnx_DnsRuleKind;

/** A name server, asked over UDP, then TCP; the next one when it does not answer. */
typedef struct Tnx_DnsServer {
    char ip[40];
    uint16_t port; /**< 0: 53. */
    struct Tnx_DnsServer *next;
} Tnx_DnsServer;

/** One literal address of a list. */
typedef struct Tnx_IpAddress {
    char ip[40];
    struct Tnx_IpAddress *next;
} Tnx_IpAddress;

/** Fixed addresses for a host. The first rule that matches counts. */
typedef struct Tnx_StaticDnsRule {
    char host[256]; /**< Compared without regard to case. */
    uint16_t port;  /**< 0: any. */
    Tnx_IpAddress *ipAddresses;
    struct Tnx_StaticDnsRule *next;
} Tnx_StaticDnsRule;

/** Gives the addresses of a host: a list of nodes, each its own block from malloc, which the
 *  library frees; or null for no opinion. Its results are not cached. May block. */
typedef Tnx_IpAddress *(*Tnx_DynamicDnsRuleFunction)(const char *host, uint16_t port);

/** How names are resolved. A rule without an address for a name leaves it to the resolver URL,
 *  then to the system. */
typedef struct Tnx_DnsRule {
    uint32_t kind; /**< A Tnx_DnsRuleKind. */
    union {
        Tnx_DnsServer *servers;
        Tnx_StaticDnsRule *staticRules;
        Tnx_DynamicDnsRuleFunction dynamicRule;
    } rule;
} Tnx_DnsRule;

/** How requests are carried out. */
typedef struct Tnx_Configuration {
    Tnx_TransferConfiguration transfer;
    Tnx_TracingConfiguration tracing;
    Tnx_WebProxy proxy;
    Tnx_DnsRule *dnsRule;       /**< Borrowed; may be null. */
    const char *dnsResolverUrl; /**< DNS over HTTPS (RFC 8484); null: none. */
    bool dnsResolverFlag;       /**< Encrypted lookups only: fail where the resolver URL does. */
    Tnx_SecurityConfiguration security;
} Tnx_Configuration;

TNX_END_DECLS

#endif
