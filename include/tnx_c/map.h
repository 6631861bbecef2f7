/**
 * @file map.h
 * @brief A string-keyed hash map: the base of headers, forms, cookies and cookie attributes.
 *
 * Keys are copied, values are untyped pointers that the map only stores. Names are compared byte
 * by byte. One thread at a time.
 */
#ifndef TNX_C_MAP_H
#define TNX_C_MAP_H

#include "base.h"

TNX_BEGIN_DECLS

/** One key with its value. Read `key` and `value`; the rest is the map's own. */
typedef struct Tnx_MapEntry {
    char *key;                 /**< The map's copy of the key. */
    void *value;               /**< The caller's pointer, as it was put. May be null. */
    struct Tnx_MapEntry *next; /**< The next entry of the same bucket. */
} Tnx_MapEntry;

/** The map. Its fields are told for debuggers, not for writing. */
typedef struct Tnx_Map {
    Tnx_MapEntry **entries; /**< The buckets. */
    uint32_t size;          /**< Buckets in use, which is not the number of keys. */
    uint32_t capacity;      /**< Buckets in all: 16, doubled up to 16384. */
} Tnx_Map;

/** A position in a map. `entry` is null once the walk is over. */
typedef struct Tnx_MapIterator {
    Tnx_Map *map;
    uint32_t index;
    Tnx_MapEntry *entry;
} Tnx_MapIterator;

/** Releases one value of a map; what it returns does not matter. */
typedef void (*Tnx_MapValueRelease)(void *value);

/** Creates an empty map. The caller destroys it with OVX_Tnx_DestroyMap. */
TNX_API Tnx_Map *OVX_Tnx_CreateMap(void) TNX_NOEXCEPT;

/**
 * Stores `value` under `key`. Copies the key, borrows the value. A value that stood there is
 * replaced, not released.
 * @return TNX_OK, TNX_ERR_PARAMETER or TNX_ERR_OUT_OF_MEMORY, which leaves the map as it was.
 */
TNX_API uint32_t OVX_Tnx_PutMapEntry(Tnx_Map *map, const char *key, void *value) TNX_NOEXCEPT;

/** Gets the value under `key`; null when there is none. */
TNX_API void *OVX_Tnx_GetMapEntry(const Tnx_Map *map, const char *key) TNX_NOEXCEPT;

/** Removes `key`; its value is not released. An absent key is no error. */
TNX_API uint32_t OVX_Tnx_DeleteMapEntry(Tnx_Map *map, const char *key) TNX_NOEXCEPT;

/** Destroys the map; its values are not released. */
TNX_API void OVX_Tnx_DestroyMap(Tnx_Map *map) TNX_NOEXCEPT;

/** Destroys the map and calls `release` (may be null) once for each value, null values too. */
TNX_API void OVX_Tnx_DestroyMapWithValue(Tnx_Map *map, Tnx_MapValueRelease release) TNX_NOEXCEPT;

/**
 * Starts a walk at the first entry. The order is not settled. The map must not be put to or
 * deleted from while it is walked. The caller destroys the iterator with
 * OVX_Tnx_DestroyMapIterator.
 * @return null for an empty map too.
 */
TNX_API Tnx_MapIterator *OVX_Tnx_CreateMapIterator(Tnx_Map *map) TNX_NOEXCEPT;

/** Goes on to the next entry; after the last one `entry` is null. */
TNX_API void OVX_Tnx_MapIterateNext(Tnx_MapIterator *iterator) TNX_NOEXCEPT;

/** Destroys the iterator, not the map. */
TNX_API void OVX_Tnx_DestroyMapIterator(Tnx_MapIterator *iterator) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
