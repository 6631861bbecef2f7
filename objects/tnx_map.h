// What the records built on the map need of it besides its public functions.
#ifndef TNX_OBJECTS_TNX_MAP_H
#define TNX_OBJECTS_TNX_MAP_H

#include "tnx_c/map.h"

namespace OHOS::Pelloria::TnxC
{

// The entry under `key`; null when there is none, or when the map is not usable.
Tnx_MapEntry *FindMapEntry(const Tnx_Map *map, const char *key) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
