// Lists the entries of a map; the shared bodies of the public records use it.
#ifndef TNX_OBJECTS_TNX_RECORD_ACCESS_H
#define TNX_OBJECTS_TNX_RECORD_ACCESS_H

#include "tnx_c/headers.h"

namespace OHOS::Pelloria::TnxC
{

// What is left of a list when memory runs out.
enum class Shortage { DISCARD, KEEP_PART };

// Null for an empty map too. Borrows keys and values from the map.
Tnx_HeaderEntry *ListMapEntries(Tnx_Map *map, Shortage shortage) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
