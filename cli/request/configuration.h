// Turns settings into the configuration record that all requests of a run share.
#ifndef TNX_CLI_CONFIGURATION_H
#define TNX_CLI_CONFIGURATION_H

#include <deque>
#include <string>

#include "base/settings.h"

namespace TnxTool
{

// Owns a record with all it points to; borrows the settings.
class RunConfiguration
{
public:
    // Throws UsageError for what the record cannot carry. Asks for missing passwords.
    explicit RunConfiguration(const Settings &settings);
    RunConfiguration(const RunConfiguration &) = delete;
    RunConfiguration &operator=(const RunConfiguration &) = delete;

    const Tnx_Configuration &Record() const { return record_; }

private:
    const char *Keep(std::string text);
    void FillSecurity(Tnx_SecurityConfiguration &record, const PeerSettings &peer,
                      const char *whom);
    void FillCertificate(Tnx_ClientCertificate &record, const PeerSettings &peer);
    void FillProxy(const Settings &settings);
    void FillExclusions(const std::string &list);
    void FillStaticRules(const std::vector<std::string> &rules);
    void FillDnsServers(const std::string &list);

    Tnx_Configuration record_{};
    Tnx_DnsRule dnsRule_{};
    PeerSettings proxyPeer_;        // with the credential out of the proxy's address
    std::deque<std::string> texts_; // never moves what it holds
    std::deque<Tnx_UrlNode> exclusions_;
    std::deque<Tnx_DnsServer> servers_;
    std::deque<Tnx_StaticDnsRule> staticRules_;
    std::deque<Tnx_IpAddress> addresses_;
};

} // namespace TnxTool

#endif
