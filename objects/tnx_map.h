// What the records built on the map need of it besides its public functions.
#ifndef TNX_OBJECTS_TNX_MAP_H
#define TNX_OBJECTS_TNX_MAP_H

#include "tnx_c/map.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace OHOS::Pelloria::TnxC
{

bool IsUsable(const Tnx_Map *map) noexcept;

// As OVX_Tnx_CreateMap, with room in its block for what is to come; see objects/map_block.h.
Tnx_Map *CreateMap(size_t room) noexcept;

// As OVX_Tnx_DestroyMapWithValue, for values that are parts of the map.
using MapPartRelease = void (*)(const Tnx_Map *map, void *value);
void DestroyMap(Tnx_Map *map, MapPartRelease release) noexcept;

// The entry under `key`; null when there is none, or when the map is not usable.
Tnx_MapEntry *FindMapEntry(const Tnx_Map *map, const char *key) noexcept;

// Where a key is in a map, or belongs: who puts what he has not found searches once.
struct MapPlace {
    uint32_t hash;
    Tnx_MapEntry *entry; // null where there is none
};

// Of a usable map.
MapPlace FindPlace(const Tnx_Map *map, const char *key) noexcept;

// Puts a value under the key that was looked for, behind which a NUL stands. Returns a code.
uint32_t PutAt(Tnx_Map *map, const MapPlace &place, std::string_view key, void *value) noexcept;

// Keys that differ in the case of ASCII letters only are spellings of one name. The map is usable.
// The entry under the spelling that is given, else under any other; null when there is none.
const Tnx_MapEntry *FindSpelling(const Tnx_Map *map, const char *name) noexcept;

// Takes the entries under all spellings out of the map, except one, which may be null. The caller
// frees them, which are parts of the map.
Tnx_MapEntry *TakeSpellings(Tnx_Map *map, const char *name, const Tnx_MapEntry *except) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
