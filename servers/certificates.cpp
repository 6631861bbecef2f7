// The certificates of the tests.
#include "certificates.h"

#include <stdexcept>

#include "child_process.h"

namespace OHOS::Pelloria::TnxTest
{

const std::string &CertificateDirectory()
{
    static const TemporaryDirectory directory;
    static const bool made = [] {
        ChildProcess script({TNX_MAKE_CERTIFICATES, directory.Path()}, "");
        return script.Wait() == 0;
    }();
    if (!made) {
        throw std::runtime_error("no certificates:\n" +
                                 ReadFile(directory.Path("make_certificates.log")));
    }
    return directory.Path();
}

std::string Certificate(const std::string &name)
{
    return CertificateDirectory() + "/" + name;
}

} // namespace OHOS::Pelloria::TnxTest
