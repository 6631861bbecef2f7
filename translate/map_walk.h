// Walks the map of a C record.
#ifndef TNX_TRANSLATE_MAP_WALK_H
#define TNX_TRANSLATE_MAP_WALK_H

#include "common/c_ptr.h"
#include "objects/tnx_map.h"

#include <new>

namespace OHOS::Pelloria::TnxC
{

// Calls `take` with each entry, in the map's order. False for a map that is null, unusable or
// empty. A map with entries that cannot be walked for want of memory must not pass for an empty
// one: a request would then be sent without its fields.
template <class Take> bool WalkMap(Tnx_Map *map, Take take)
{
    if (map == nullptr) {
        return false;
    }
    const MapIteratorPtr iterator(OVX_Tnx_CreateMapIterator(map));
    if (iterator == nullptr) {
        if (IsUsable(map) && map->size != 0) {
            throw std::bad_alloc();
        }
        return false;
    }
    for (; iterator->entry != nullptr; OVX_Tnx_MapIterateNext(iterator.get())) {
        take(*iterator->entry);
    }
    return true;
}

} // namespace OHOS::Pelloria::TnxC

#endif
