// The certificates of the tests, made anew for each process; make_certificates.sh lists them.
#ifndef TNX_TESTS_SERVERS_CERTIFICATES_H
#define TNX_TESTS_SERVERS_CERTIFICATES_H

#include <string>

namespace OHOS::Pelloria::TnxTest
{

// The directory that has them. Made at the first call, removed at exit. Throws.
const std::string &CertificateDirectory();

// The path of one of its files.
std::string Certificate(const std::string &name);

} // namespace OHOS::Pelloria::TnxTest

#endif
