// How the peer is checked, the client certificate and the credential. The secrets go straight into
// strings that wipe themselves; no other copy is made.
#include "translate/tnx_security.h"

#include "translate/text.h"

namespace OHOS::Pelloria::TnxC
{
namespace
{

void TranslateValidation(Tnx::SecurityConfiguration &out, const Tnx_SecurityConfiguration &security)
{
    if (security.remoteValidation == TNX_VALIDATION_CUSTOM) {
        out.trustedCas = TextOf(security.customValidation1);
        out.trustedCaDirectory = TextOf(security.customValidation2);
        out.publicKeyPins = TextOf(security.customValidation3);
    } else if (security.remoteValidation == TNX_VALIDATION_SKIP) {
        out.skipValidation = true;
    }
}

void TranslateCertificate(Tnx::ClientCertificate &out, const Tnx_ClientCertificate &certificate)
{
    out.certificate = TextOf(certificate.certificate);
    out.certificateInfo = TextOf(certificate.certificateInfo);
    // The first key stays, whatever comes later.
    if (certificate.key != nullptr && out.key.Empty()) {
        out.key.Assign(certificate.key);
    }
    if (certificate.keyPassword != nullptr) {
        out.keyPassword.Assign(certificate.keyPassword);
    }
    out.mode = certificate.certificateMode;
}

} // namespace

void TnxToCppSecurityConfiguration(Tnx::SecurityConfiguration &out,
                                   const Tnx_SecurityConfiguration &security)
{
    TranslateValidation(out, security);
    TranslateCertificate(out.clientCertificate, security.clientCertificate);
    out.credentialKind = security.credentialKind;
    // Appended, not replaced: on a fresh configuration that is the same.
    if (security.credentialName != nullptr) {
        out.credentialName.Append(security.credentialName);
    }
    if (security.credentialPassword != nullptr) {
        out.credentialPassword.Append(security.credentialPassword);
    }
}

} // namespace OHOS::Pelloria::TnxC
