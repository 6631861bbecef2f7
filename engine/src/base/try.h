// For what serves several, or answers to a library of C: whether memory sufficed is a bool there.
#ifndef TNX_ENGINE_TRY_H
#define TNX_ENGINE_TRY_H

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

// False when the action threw, for want of memory or of what the system gives. Whoever calls does
// without; and has what the action REQUIRES, which clang does not see from here.
template <class Action> bool Try(const Action &action) noexcept NO_THREAD_SAFETY_ANALYSIS
{
    try {
        action();
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace OHOS::Pelloria::Tnx

#endif
