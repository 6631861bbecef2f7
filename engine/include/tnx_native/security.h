// The security of one connection. Secrets are wiped before their memory is released.
#ifndef TNX_NATIVE_SECURITY_H
#define TNX_NATIVE_SECURITY_H

#include <cstdint>
#include <string>
#include <string_view>

#include "export.h"

namespace OHOS::Pelloria::Tnx
{

// The values of SecurityConfiguration::credentialKind.
enum CredentialKind : uint32_t {
    CREDENTIAL_AUTOMATIC,
    CREDENTIAL_BASIC,
    CREDENTIAL_DIGEST,
    CREDENTIAL_NTLM,
    CREDENTIAL_NEGOTIATE,
    CREDENTIAL_BEARER
};

// The values of ClientCertificate::mode.
enum CertificateMode : uint32_t { CERTIFICATE_PEM, CERTIFICATE_DER, CERTIFICATE_PKCS12 };

// A string whose memory is cleared before it is released or replaced.
class TNX_NATIVE_API SecretString
{
public:
    SecretString() = default;
    SecretString(const SecretString &other)
    {
        if (!other.Empty()) {
            Append(other.text_);
        }
    }
    SecretString(SecretString &&other) noexcept;
    SecretString &operator=(const SecretString &other);
    SecretString &operator=(SecretString &&other) noexcept;
    ~SecretString() { Wipe(); }

    void Assign(const char *text);
    void Append(std::string_view text);
    bool Empty() const { return text_.empty(); }
    const std::string &Get() const { return text_; }

private:
    // What is empty has been wiped, or never held anything.
    void Wipe() noexcept
    {
        if (!text_.empty()) {
            WipeBuffer();
        }
    }
    void WipeBuffer() noexcept;

    std::string text_;
};

struct ClientCertificate {
    std::string certificate;     // a path
    std::string certificateInfo; // PEM text, where there is no path
    SecretString key;            // a path or PEM text
    SecretString keyPassword;
    uint32_t mode = CERTIFICATE_PEM;
};

struct SecurityConfiguration {
    bool skipValidation = false;
    std::string trustedCas;         // a path or PEM text
    std::string trustedCaDirectory; // a path
    std::string publicKeyPins;      // sha256//...;sha256//...
    ClientCertificate clientCertificate;
    SecretString credentialName;
    SecretString credentialPassword;
    uint32_t credentialKind = CREDENTIAL_AUTOMATIC;
};

} // namespace OHOS::Pelloria::Tnx

#endif
