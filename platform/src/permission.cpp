// Answers what the environment says, or what a control says.
#include "tnx_platform/permission.h"

#include "environment.h"
#include "tnx_platform/controls.h"

#include <atomic>

namespace OHOS::Pelloria::Platform
{
namespace
{

enum Answer { ENVIRONMENT, DENIED, GRANTED };

std::atomic<int> g_answer{ENVIRONMENT};

} // namespace

InternetPermission::InternetPermission(bool granted)
    : outer_(g_answer.exchange(granted ? GRANTED : DENIED))
{
}

InternetPermission::~InternetPermission()
{
    g_answer = outer_;
}

} // namespace OHOS::Pelloria::Platform

bool OHOS::Pelloria::CommonUtils::HasInternetPermission() noexcept
{
    const int answer = Platform::g_answer;
    return answer == Platform::ENVIRONMENT ? Platform::GetEnvironment().internet
                                           : answer == Platform::GRANTED;
}
