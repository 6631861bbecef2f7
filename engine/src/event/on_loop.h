// The right to what belongs to the loop. Whoever runs a round of it has that right meanwhile, and
// clang checks that nobody else touches what is GUARDED_BY(ON_LOOP).
#ifndef TNX_ENGINE_ON_LOOP_H
#define TNX_ENGINE_ON_LOOP_H

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

class CAPABILITY("loop") LoopRight
{
public:
    // A round begins and ends.
    void Enter() const ACQUIRE() {}
    void Leave() const RELEASE() {}

    // For what runs in a round though the compiler cannot see it: the callbacks of libraries, and
    // functions that the loop was given.
    void Have() const ASSERT_CAPABILITY(this) {}
};

inline constexpr LoopRight ON_LOOP;

} // namespace OHOS::Pelloria::Tnx

#endif
