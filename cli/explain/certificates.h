// Looks at a server's certificates over a connection of its own.
#ifndef TNX_CLI_CERTIFICATES_H
#define TNX_CLI_CERTIFICATES_H

#include <string>
#include <vector>

#include "base/settings.h"

namespace TnxTool
{

struct Certificate {
    std::string subject;
    std::string issuer;
    std::string notBefore;
    std::string notAfter;
    std::string problem; // why this link of the chain is refused; empty for a good one
    std::string names;   // what it is for, where that is not the host that was asked for
};

struct CertificateChain {
    std::vector<Certificate> certificates; // the server's first
    std::string pin;                       // of the server's public key, sha256//...
    std::string failure;                   // why nothing could be seen
};

struct Server {
    std::string host;
    std::string address;
    uint16_t port = 0;
};

// Shakes hands with the server, sends nothing, and checks its chain against the given trust, or the
// system's where neither is given. Bounded in time.
CertificateChain LookAtCertificates(const Server &server, const char *caFile,
                                    const char *caDirectory);

} // namespace TnxTool

#endif
