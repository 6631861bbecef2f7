// Whom the client trusts, and as whom it comes: nothing that is wrong passes.
#include "certificates.h"
#include "tests/e2e/client.h"

#include <fstream>

namespace
{

using namespace EndToEnd;

class TlsTest : public EndToEndTest
{
protected:
    struct Trust {
        uint32_t validation = TNX_VALIDATION_SYSTEM;
        std::string authorities = {};
        std::string directory = {};
        std::string pins = {};
    };

    static std::function<void(Call &)> With(const Trust &trust)
    {
        return [&trust](Call &call) {
            Tnx_SecurityConfiguration &security = call.configuration.security;
            security = {};
            security.remoteValidation = trust.validation;
            security.customValidation1 = trust.authorities.c_str();
            security.customValidation2 = trust.directory.c_str();
            security.customValidation3 = trust.pins.c_str();
        };
    }

    void Expect(Site site, const Trust &trust, uint32_t code, const std::string &why = "")
    {
        SCOPED_TRACE(Nginx().Url("", site) + " " + trust.authorities.substr(0, 40) + " " +
                     trust.directory + " " + trust.pins);
        Both(With(trust), Nginx().Url("/1k", site), "GET", [&](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, code) << outcome.Why();
            EXPECT_EQ(outcome.body.size(), code == 0 ? 1024U : 0U);
            EXPECT_NE(outcome.Why().find(why), std::string::npos) << outcome.Why();
        });
    }
};

TEST_F(TlsTest, NoBadCertificateIsAccepted)
{
    const Trust system;
    const Trust unknownKind{.validation = 7};
    const Trust nothingGiven{.validation = TNX_VALIDATION_CUSTOM};
    const Trust ours{.validation = TNX_VALIDATION_CUSTOM, .authorities = Certificate("ca.pem")};
    for (const Site site : {Site::TLS, Site::TLS_HTTP1, Site::EXPIRED, Site::WRONG_NAME,
                            Site::SELF_SIGNED, Site::CLIENT_CERTIFICATE}) {
        for (const Trust &trust : {system, unknownKind, nothingGiven}) {
            Expect(site, trust, TNX_ERR_PEER_VERIFICATION, "certificate");
        }
    }
    Expect(Site::TLS, system, TNX_ERR_PEER_VERIFICATION, "issuer");
    Expect(Site::EXPIRED, ours, TNX_ERR_PEER_VERIFICATION, "expired");
    Expect(Site::WRONG_NAME, ours, TNX_ERR_PEER_VERIFICATION, "localhost");
    Expect(Site::SELF_SIGNED, ours, TNX_ERR_PEER_VERIFICATION, "self-signed");
    Expect(Site::OLD_TLS, ours, TNX_ERR_TLS_CONNECT, "protocol version");
    Expect(Site::OLD_TLS, {.validation = TNX_VALIDATION_SKIP}, TNX_ERR_TLS_CONNECT,
           "protocol version");
}

TEST_F(TlsTest, SkippingAcceptsWhatItSays)
{
    for (const Site site : {Site::TLS, Site::EXPIRED, Site::WRONG_NAME, Site::SELF_SIGNED}) {
        // The strings belong to another kind.
        Expect(site, {.validation = TNX_VALIDATION_SKIP, .authorities = "/no/file"}, 0);
        // On the same session: what was accepted unchecked is checked again for who wants that,
        // whatever connections and TLS sessions are kept.
        Expect(site, {}, TNX_ERR_PEER_VERIFICATION);
    }
}

TEST_F(TlsTest, AuthoritiesComeAsFileTextOrDirectory)
{
    const std::string file = Certificate("ca.pem");
    const std::string text = ReadFile(file);
    const std::string directory = Certificate("ca-dir");
    constexpr uint32_t CUSTOM = TNX_VALIDATION_CUSTOM;
    Expect(Site::TLS, {CUSTOM, file}, 0);
    Expect(Site::TLS, {CUSTOM, text}, 0);
    Expect(Site::TLS, {CUSTOM, "", directory}, 0);
    Expect(Site::TLS, {CUSTOM, text, directory}, 0);
    Expect(Site::SELF_SIGNED, {CUSTOM, Certificate("self-signed.pem")}, 0);
    // Others' authorities do not serve, however they come.
    const std::string other = Certificate("self-signed.pem");
    Expect(Site::TLS, {CUSTOM, other}, TNX_ERR_PEER_VERIFICATION);
    Expect(Site::TLS, {CUSTOM, ReadFile(other)}, TNX_ERR_PEER_VERIFICATION);
    Expect(Site::TLS, {CUSTOM, "", Certificate("issued")}, TNX_ERR_PEER_VERIFICATION);
    Expect(Site::TLS, {CUSTOM, "/no/such/file"}, TNX_ERR_TRUST_STORE, "/no/such/file");
    Expect(Site::TLS, {CUSTOM, "-----BEGIN NOTHING"}, TNX_ERR_TRUST_STORE);
}

TEST_F(TlsTest, PinsAddToTheOtherChecks)
{
    const std::string file = Certificate("ca.pem");
    const std::string good = ReadFile(Certificate("good.pin"));
    const std::string other = ReadFile(Certificate("self-signed.pin"));
    constexpr uint32_t CUSTOM = TNX_VALIDATION_CUSTOM;
    Expect(Site::TLS, {CUSTOM, file, "", good}, 0);
    Expect(Site::TLS, {CUSTOM, file, "", other + ";" + good}, 0);
    Expect(Site::TLS, {CUSTOM, file, "", other}, TNX_ERR_PIN_MISMATCH, "pin");
    Expect(Site::TLS, {CUSTOM, "", "", good}, TNX_ERR_PEER_VERIFICATION, "issuer");
    Expect(Site::SELF_SIGNED, {CUSTOM, "", "", other}, TNX_ERR_PEER_VERIFICATION);
}

TEST_F(TlsTest, ClientCertificatesOfEachKind)
{
    const std::string pem = Certificate("client.pem");
    const std::string key = Certificate("client.key");
    const std::string locked = Certificate("client-locked.key");
    const std::string pemText = ReadFile(pem);
    const std::string keyText = ReadFile(key);
    const std::string lockedText = ReadFile(locked);
    const std::string der = Certificate("client.der");
    const std::string derKey = Certificate("client-key.der");
    const std::string p12 = Certificate("client.p12");
    const std::string nothing = "/no/such/file";
    const struct {
        Tnx_ClientCertificate certificate;
        bool welcome;
        uint32_t code;
    } cases[] = {
        {{}, false, 0},
        {{pem.c_str(), nullptr, key.c_str(), nullptr, TNX_CERTIFICATE_PEM}, true, 0},
        {{pem.c_str(), nullptr, keyText.c_str(), nullptr, TNX_CERTIFICATE_PEM}, true, 0},
        {{nullptr, pemText.c_str(), key.c_str(), nullptr, TNX_CERTIFICATE_PEM}, true, 0},
        {{nullptr, pemText.c_str(), keyText.c_str(), nullptr, TNX_CERTIFICATE_PEM}, true, 0},
        {{pem.c_str(), "not read", key.c_str(), nullptr, TNX_CERTIFICATE_PEM}, true, 0},
        {{pem.c_str(), nullptr, locked.c_str(), "secret", TNX_CERTIFICATE_PEM}, true, 0},
        {{pem.c_str(), nullptr, lockedText.c_str(), "secret", TNX_CERTIFICATE_PEM}, true, 0},
        {{der.c_str(), nullptr, derKey.c_str(), nullptr, TNX_CERTIFICATE_DER}, true, 0},
        {{p12.c_str(), nullptr, nullptr, "secret", TNX_CERTIFICATE_PKCS12}, true, 0},
        {{pem.c_str(), nullptr, locked.c_str(), "wrong", TNX_CERTIFICATE_PEM},
         false,
         TNX_ERR_CLIENT_CERTIFICATE},
        {{pem.c_str(), nullptr, locked.c_str(), nullptr, TNX_CERTIFICATE_PEM},
         false,
         TNX_ERR_CLIENT_CERTIFICATE},
        {{p12.c_str(), nullptr, nullptr, "wrong", TNX_CERTIFICATE_PKCS12},
         false,
         TNX_ERR_CLIENT_CERTIFICATE},
        {{nothing.c_str(), nullptr, key.c_str(), nullptr, TNX_CERTIFICATE_PEM},
         false,
         TNX_ERR_CLIENT_CERTIFICATE},
        {{pem.c_str(), nullptr, nothing.c_str(), nullptr, TNX_CERTIFICATE_PEM},
         false,
         TNX_ERR_CLIENT_CERTIFICATE},
    };
    size_t number = 0;
    for (const auto &one : cases) {
        SCOPED_TRACE("case " + std::to_string(number++));
        Both(
            [&one](Call &call) { call.configuration.security.clientCertificate = one.certificate; },
            Nginx().Url("/fields", Site::CLIENT_CERTIFICATE), "GET",
            [&one](const Outcome &outcome) {
                EXPECT_EQ(outcome.code, one.code) << outcome.Why();
                EXPECT_EQ(outcome.Why().find("secret"), std::string::npos);
                if (one.code == 0) {
                    EXPECT_EQ(outcome.status, one.welcome ? 200 : 400);
                    EXPECT_EQ(outcome.body.find("CN=client") != std::string::npos, one.welcome);
                }
            });
    }
}

} // namespace
