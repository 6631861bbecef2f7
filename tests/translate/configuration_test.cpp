// Which value of a configuration reaches the engine, and which leaves its default.
#include "common/c_ptr.h"
#include "translate/tnx_configuration.h"
#include "translate/tnx_security.h"
#include "translate/tnx_session_configuration.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

Tnx::Configuration Translated(const Tnx_Configuration &record)
{
    Tnx::Configuration configuration;
    TnxToCppConfiguration(configuration, &record);
    return configuration;
}

TEST(ConfigurationTest, ZeroTimeoutsKeepTheDefault)
{
    const struct {
        uint32_t given;
        uint64_t expected;
    } cases[] = {{0, 60000}, {1, 1}, {60001, 60001}, {UINT32_MAX, UINT32_MAX}};
    for (const auto &[given, expected] : cases) {
        Tnx_Configuration record = {};
        record.transfer.connectTimeout = given;
        EXPECT_EQ(Translated(record).connectTimeout, expected);
        EXPECT_EQ(Translated(record).transferTimeout, 60000U);
        record.transfer = {};
        record.transfer.transferTimeout = given;
        EXPECT_EQ(Translated(record).transferTimeout, expected);
        EXPECT_EQ(Translated(record).connectTimeout, 60000U);
    }
}

TEST(ConfigurationTest, OtherTransferSettingsAreAlwaysTaken)
{
    EXPECT_FALSE(Translated({}).autoRedirect);
    Tnx_Configuration record = {};
    record.transfer = {true, 0, 0, true, TNX_PREFER_HTTP1_0};
    const Tnx::Configuration configuration = Translated(record);
    EXPECT_TRUE(configuration.autoRedirect);
    EXPECT_TRUE(configuration.transferHint);
    EXPECT_EQ(configuration.transferPreference, 10U);
    EXPECT_EQ(configuration.maxRedirects, 50U);
}

TEST(ConfigurationTest, NullRecordLeavesTheTargetAlone)
{
    Tnx::Configuration configuration;
    const auto rule = std::make_shared<Tnx::DnsRule>();
    configuration.dnsRule = rule;
    configuration.dnsResolverUrl = "https://resolver";
    TnxToCppConfiguration(configuration, nullptr);
    EXPECT_EQ(configuration.dnsRule, rule);
    EXPECT_TRUE(configuration.autoRedirect);

    const Tnx_Configuration record = {};
    TnxToCppConfiguration(configuration, &record);
    EXPECT_NE(configuration.dnsRule, rule);
    ASSERT_NE(configuration.dnsRule, nullptr);
    EXPECT_EQ(configuration.dnsRule->Get().index(), 0U);
    EXPECT_EQ(configuration.dnsResolverUrl, "");
}

TEST(SecurityTest, ValidationByKind)
{
    const struct {
        uint32_t kind;
        const char *text;
        bool skips;
        const char *expected; // of a target that held "old"
    } cases[] = {
        {TNX_VALIDATION_SYSTEM, "new", false, "old"},
        {TNX_VALIDATION_SKIP, "new", true, "old"},
        {TNX_VALIDATION_CUSTOM, "new", false, "new"},
        {TNX_VALIDATION_CUSTOM, nullptr, false, ""},
        {7, "new", false, "old"},
    };
    for (const auto &[kind, text, skips, expected] : cases) {
        Tnx_SecurityConfiguration record = {};
        record.remoteValidation = kind;
        record.customValidation1 = record.customValidation2 = record.customValidation3 = text;
        Tnx::SecurityConfiguration security;
        security.trustedCas = security.trustedCaDirectory = security.publicKeyPins = "old";
        TnxToCppSecurityConfiguration(security, record);
        EXPECT_EQ(security.skipValidation, skips) << kind;
        EXPECT_EQ(security.trustedCas, expected) << kind;
        EXPECT_EQ(security.trustedCaDirectory, expected) << kind;
        EXPECT_EQ(security.publicKeyPins, expected) << kind;
    }
}

TEST(SecurityTest, EachStringReachesItsMember)
{
    Tnx_SecurityConfiguration record = {};
    record.remoteValidation = TNX_VALIDATION_CUSTOM;
    record.customValidation1 = "cas";
    record.customValidation2 = "directory";
    record.customValidation3 = "pins";
    record.clientCertificate = {"cert", "info", "key", "password", TNX_CERTIFICATE_PKCS12};
    record.credentialName = "name";
    record.credentialPassword = "secret";
    record.credentialKind = TNX_CREDENTIAL_BEARER;
    Tnx::SecurityConfiguration security;
    TnxToCppSecurityConfiguration(security, record);
    EXPECT_EQ(security.trustedCas, "cas");
    EXPECT_EQ(security.trustedCaDirectory, "directory");
    EXPECT_EQ(security.publicKeyPins, "pins");
    EXPECT_EQ(security.clientCertificate.certificate, "cert");
    EXPECT_EQ(security.clientCertificate.certificateInfo, "info");
    EXPECT_EQ(security.clientCertificate.key.Get(), "key");
    EXPECT_EQ(security.clientCertificate.keyPassword.Get(), "password");
    EXPECT_EQ(security.clientCertificate.mode, 2U);
    EXPECT_EQ(security.credentialName.Get(), "name");
    EXPECT_EQ(security.credentialPassword.Get(), "secret");
    EXPECT_EQ(security.credentialKind, 5U);
}

TEST(SecurityTest, SecondPassKeepsTheKeyReplacesThePasswordAndAppendsCredentials)
{
    Tnx_SecurityConfiguration record = {};
    record.clientCertificate = {"cert", "info", "key1", "password1", 0};
    record.credentialName = "na";
    record.credentialPassword = "se";
    Tnx::SecurityConfiguration security;
    TnxToCppSecurityConfiguration(security, record);
    record.clientCertificate = {nullptr, nullptr, "key2", "password2", 0};
    record.credentialName = "me";
    record.credentialPassword = "cret";
    TnxToCppSecurityConfiguration(security, record);
    EXPECT_EQ(security.clientCertificate.certificate, "");
    EXPECT_EQ(security.clientCertificate.certificateInfo, "");
    EXPECT_EQ(security.clientCertificate.key.Get(), "key1");
    EXPECT_EQ(security.clientCertificate.keyPassword.Get(), "password2");
    EXPECT_EQ(security.credentialName.Get(), "name");
    EXPECT_EQ(security.credentialPassword.Get(), "secret");

    TnxToCppSecurityConfiguration(security, {});
    EXPECT_EQ(security.clientCertificate.keyPassword.Get(), "password2");
    EXPECT_EQ(security.credentialName.Get(), "name");
}

TEST(SessionConfigurationTest, NullRecordGivesTheDefaults)
{
    const auto session = TnxToCppSessionConfiguration(nullptr);
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(session->maxConnectionsPerHost, 6U);
    EXPECT_EQ(session->maxTotalConnections, 64U);
    EXPECT_FALSE(session->maxIdleConnections.has_value());
    EXPECT_FALSE(session->cookies.has_value());
    EXPECT_FALSE(session->onSessionCanceled || session->onSessionClosed);
    EXPECT_TRUE(session->configuration.autoRedirect);
}

TEST(SessionConfigurationTest, OnlyPositiveLimitsCount)
{
    const struct {
        int64_t given;
        uint64_t perHost;
        uint64_t total;
        std::optional<uint64_t> idle;
    } cases[] = {{-1, 6, 64, {}},
                 {std::numeric_limits<int64_t>::min(), 6, 64, {}},
                 {0, 6, 64, {}},
                 {1, 1, 1, 1},
                 {1000, 1000, 1000, 1000}};
    for (const auto &[given, perHost, total, idle] : cases) {
        Tnx_SessionConfiguration record = {};
        record.maxConnectionsPerHost = given;
        record.maxTotalConnections = given;
        record.optionalConnectionLimit = given;
        const auto session = TnxToCppSessionConfiguration(&record);
        EXPECT_EQ(session->maxConnectionsPerHost, perHost);
        EXPECT_EQ(session->maxTotalConnections, total);
        EXPECT_EQ(session->maxIdleConnections, idle);
    }
}

int g_canceled;
int g_closed;

TEST(SessionConfigurationTest, FieldsCallbacksAndRequestDefaults)
{
    const HeadersPtr headers(OVX_Tnx_CreateHeaders());
    const RequestCookiesPtr cookies(OVX_Tnx_CreateRequestCookies());
    Tnx_Configuration configuration = {};
    configuration.transfer.connectTimeout = 5;
    Tnx_SessionConfiguration record = {};
    record.headers = headers.get();
    record.cookies = cookies.get();
    record.requestConfiguration = &configuration;
    record.onSessionCanceled = [] { ++g_canceled; };
    record.onSessionClosed = [] { ++g_closed; };
    EXPECT_FALSE(TnxToCppSessionConfiguration(&record)->cookies.has_value());

    OVX_Tnx_SetHeaderValue(headers.get(), "accept", "a");
    OVX_Tnx_SetRequestCookieValue(cookies.get(), "k", "1");
    const auto session = TnxToCppSessionConfiguration(&record);
    EXPECT_EQ(session->headers, (Tnx::Headers{{"accept", {"a"}}}));
    EXPECT_EQ(session->cookies, (Tnx::RequestCookies{{"k", "1"}}));
    EXPECT_EQ(session->configuration.connectTimeout, 5U);
    session->onSessionCanceled();
    EXPECT_EQ(g_canceled * 10 + g_closed, 10);
    session->onSessionClosed();
    EXPECT_EQ(g_canceled * 10 + g_closed, 11);
}

} // namespace
