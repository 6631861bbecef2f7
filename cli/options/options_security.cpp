// The options that say who we are and whom we trust.
#include "base/values.h"
#include "options_table.h"

namespace TnxTool
{

namespace
{

uint32_t ParseCertificateType(const std::string &value)
{
    const std::string type = ToLower(value);
    if (type == "pem") {
        return TNX_CERTIFICATE_PEM;
    }
    if (type == "der") {
        return TNX_CERTIFICATE_DER;
    }
    if (type == "p12") {
        return TNX_CERTIFICATE_PKCS12;
    }
    throw UsageError("expected PEM, DER or P12, not '" + value + "'");
}

std::string ParsePins(const std::string &value)
{
    for (const std::string &pin : Split(value, ';')) {
        if (!pin.starts_with("sha256//")) {
            throw UsageError("expected sha256//HASH[;sha256//HASH]...; files are not read");
        }
    }
    return value;
}

const Option OPTIONS[] = {
    {.letter = 'u',
     .name = "user",
     .argument = "user:password",
     .topic = Topic::AUTH,
     .help = "The user and password for the server",
     .man = "Authenticate with this name and password, by Basic unless another way is chosen. A "
            "missing password is asked for on the terminal.",
     .target = +[](Settings &s, const std::string &value) { s.server.user = value; },
     .important = true,
     .secret = true},
    {.name = "basic",
     .topic = Topic::AUTH,
     .help = "Authenticate by Basic",
     .man = "Authenticate by Basic (RFC 7617), which is the default.",
     .target = +[](Settings &s) { s.server.credentialKind = TNX_CREDENTIAL_BASIC; }},
    {.name = "digest",
     .topic = Topic::AUTH,
     .help = "Authenticate by Digest",
     .man = "Authenticate by Digest (RFC 7616).",
     .target = +[](Settings &s) { s.server.credentialKind = TNX_CREDENTIAL_DIGEST; }},
    {.name = "ntlm",
     .topic = Topic::AUTH,
     .help = "Authenticate by NTLM",
     .man = "Authenticate by NTLM.",
     .target = +[](Settings &s) { s.server.credentialKind = TNX_CREDENTIAL_NTLM; }},
    {.name = "negotiate",
     .topic = Topic::AUTH,
     .help = "Authenticate by Negotiate",
     .man = "Authenticate by Negotiate (RFC 4559).",
     .target = +[](Settings &s) { s.server.credentialKind = TNX_CREDENTIAL_NEGOTIATE; }},
    {.name = "anyauth",
     .topic = Topic::AUTH,
     .help = "Authenticate as the server asks",
     .man = "Answer what the server challenges with; never Basic unasked.",
     .target = +[](Settings &s) { s.server.credentialKind = TNX_CREDENTIAL_AUTOMATIC; }},
    {.name = "oauth2-bearer",
     .argument = "token",
     .topic = Topic::AUTH,
     .help = "Authenticate with a bearer token",
     .man = "Authenticate with this token (RFC 6750).",
     .target = +[](Settings &s, const std::string &value) { s.server.bearer = value; },
     .secret = true},

    {.letter = 'n',
     .name = "netrc",
     .topic = Topic::AUTH,
     .help = "Take user and password from ~/.netrc",
     .man =
         "Take user and password for the host of the URL from ~/.netrc, where neither -u nor the "
         "URL gives them.",
     .target = &Settings::netrc},
    {.name = "netrc-optional",
     .topic = Topic::AUTH,
     .help = "As -n, if the file is there",
     .man = "As -n, but a file that is not there is no error.",
     .target = &Settings::netrcOptional},
    {.name = "netrc-file",
     .argument = "file",
     .topic = Topic::AUTH,
     .help = "As -n, with this file",
     .man = "As -n, with this file.",
     .target = &Settings::netrcFile},
    {.letter = 'k',
     .name = "insecure",
     .topic = Topic::TLS,
     .help = "Do not check the server's certificate",
     .man = "Do not check the server's certificate. Anybody on the way can then listen and answer.",
     .target = +[](Settings &s) { s.server.insecure = true; },
     .important = true},
    {.name = "cacert",
     .argument = "file",
     .topic = Topic::TLS,
     .help = "Trust the CAs in this file",
     .man = "Trust the CAs in this PEM file instead of the system's.",
     .target = +[](Settings &s, const std::string &value) { s.server.caFile = value; }},
    {.name = "capath",
     .argument = "directory",
     .topic = Topic::TLS,
     .help = "Trust the CAs in this directory",
     .man = "Trust the CAs in this directory, prepared with openssl rehash, instead of the "
            "system's.",
     .target = +[](Settings &s, const std::string &value) { s.server.caDirectory = value; }},
    {.name = "pinnedpubkey",
     .argument = "hashes",
     .topic = Topic::TLS,
     .help = "Trust only these public keys",
     .man = "Refuse a server whose public key has none of these hashes: sha256//HASH, several "
            "with semicolons. --explain shows the pin of a server.",
     .target = +[](Settings &s, const std::string &value) { s.server.pins = ParsePins(value); }},
    {.letter = 'E',
     .name = "cert",
     .argument = "certificate[:password]",
     .topic = Topic::TLS,
     .help = "The client certificate",
     .man = "Show this certificate to the server. A colon within the path is written \\e:.",
     .target = +[](Settings &s, const std::string &value) { s.server.certificate = value; },
     .secret = true},
    {.name = "cert-type",
     .argument = "type",
     .topic = Topic::TLS,
     .help = "PEM, DER or P12",
     .man = "The type of the client certificate and its key: PEM, DER or P12.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.server.certificateMode = ParseCertificateType(value);
         }},
    {.name = "key",
     .argument = "file",
     .topic = Topic::TLS,
     .help = "The key of the client certificate",
     .man = "The private key of the client certificate.",
     .target = +[](Settings &s, const std::string &value) { s.server.key = value; }},
    {.name = "pass",
     .argument = "phrase",
     .topic = Topic::TLS,
     .help = "The pass phrase of the key",
     .man = "The pass phrase of the private key.",
     .target = +[](Settings &s, const std::string &value) { s.server.passPhrase = value; },
     .secret = true},
};

} // namespace

std::span<const Option> SecurityOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
