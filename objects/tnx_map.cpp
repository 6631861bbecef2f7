// The string-keyed map: chained buckets, doubled once every bucket is in use.
#include "objects/tnx_map.h"

#include "common/c_ptr.h"
#include "common/log.h"
#include "objects/map_block.h"

#include <cstring>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

constexpr uint32_t MAX_CAPACITY = 16384;

uint32_t HashOf(const char *key)
{
    uint32_t hash = 0;
    for (; *key != '\0'; ++key) {
        // Signed on every machine, so that the order of a walk is the same everywhere.
        hash = hash * 31 + static_cast<uint32_t>(static_cast<signed char>(*key));
    }
    return hash;
}

uint32_t BucketOf(const char *key, uint32_t capacity)
{
    return HashOf(key) % capacity;
}

Tnx_MapEntry **AllocateBuckets(uint32_t capacity)
{
    return static_cast<Tnx_MapEntry **>(std::calloc(capacity, sizeof(Tnx_MapEntry *)));
}

// Behind the head: the first entry of a bucket stays its first.
void Link(Tnx_MapEntry *&head, Tnx_MapEntry *entry, uint32_t &size)
{
    if (head == nullptr) {
        entry->next = nullptr;
        head = entry;
        ++size;
    } else {
        entry->next = head->next;
        head->next = entry;
    }
}

void MoveEntries(Tnx_Map *map, Tnx_MapEntry **buckets, uint32_t capacity)
{
    map->size = 0;
    for (uint32_t i = 0; i < map->capacity; ++i) {
        Tnx_MapEntry *entry = map->entries[i];
        if (entry == nullptr || entry->key == nullptr) {
            continue;
        }
        while (entry != nullptr) {
            Tnx_MapEntry *next = entry->next;
            Link(buckets[BucketOf(entry->key, capacity)], entry, map->size);
            entry = next;
        }
    }
}

// A map that cannot grow still works, with longer chains.
void GrowIfFull(Tnx_Map *map)
{
    if (map->size < map->capacity) {
        return;
    }
    if (map->capacity == MAX_CAPACITY) {
        TNX_LOGE("map capacity reaches max, skip resize");
        return;
    }
    const uint32_t capacity = map->capacity * 2;
    Tnx_MapEntry **buckets = AllocateBuckets(capacity);
    if (buckets == nullptr) {
        TNX_LOGE("failed to insert map: no memory for resize");
        return;
    }
    MoveEntries(map, buckets, capacity);
    TNX_LOGI("success to resize map from %{public}u to %{public}u", map->capacity, capacity);
    FreePart(map, map->entries);
    map->entries = buckets;
    map->capacity = capacity;
}

Tnx_MapEntry *FindInBucket(Tnx_MapEntry *entry, const char *key)
{
    while (entry != nullptr && std::strcmp(entry->key, key) != 0) {
        entry = entry->next;
    }
    return entry;
}

void Delete(Tnx_Map *map, const char *key)
{
    Tnx_MapEntry *&head = map->entries[BucketOf(key, map->capacity)];
    Tnx_MapEntry **link = &head;
    while (*link != nullptr && std::strcmp((*link)->key, key) != 0) {
        link = &(*link)->next;
    }
    Tnx_MapEntry *entry = *link;
    if (entry == nullptr) {
        return;
    }
    *link = entry->next;
    FreePart(map, entry);
    if (head == nullptr) {
        --map->size;
    }
}

template <class Release> void Destroy(Tnx_Map *map, Release release)
{
    if (!IsUsable(map)) {
        return;
    }
    for (uint32_t i = 0; i < map->capacity; ++i) {
        Tnx_MapEntry *entry = std::exchange(map->entries[i], nullptr);
        while (entry != nullptr) {
            release(entry->value);
            FreePart(map, std::exchange(entry, entry->next));
        }
    }
    FreePart(map, map->entries);
    std::free(map);
}

// Independent of the locale.
constexpr char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsSpelling(const char *a, const char *b)
{
    while (*a != '\0' && ToLower(*a) == ToLower(*b)) {
        ++a;
        ++b;
    }
    return ToLower(*a) == ToLower(*b);
}

// Puts the iterator on the first entry at or after a bucket, or at the end.
void Seek(Tnx_MapIterator *iterator, uint32_t bucket)
{
    const Tnx_Map *map = iterator->map;
    while (bucket < map->capacity && map->entries[bucket] == nullptr) {
        ++bucket;
    }
    iterator->index = bucket;
    iterator->entry = bucket < map->capacity ? map->entries[bucket] : nullptr;
}

} // namespace

bool IsUsable(const Tnx_Map *map) noexcept
{
    return map != nullptr && map->entries != nullptr && map->capacity >= MIN_CAPACITY &&
           map->capacity <= MAX_CAPACITY;
}

Tnx_Map *CreateMap(size_t room) noexcept
{
    Tnx_Map *map = AllocateMap(room);
    if (map == nullptr) {
        TNX_LOGE("failed to alloc memory for map");
    }
    return map;
}

void DestroyMap(Tnx_Map *map, MapPartRelease release) noexcept
{
    Destroy(map, [map, release](void *value) { release(map, value); });
}

Tnx_MapEntry *FindMapEntry(const Tnx_Map *map, const char *key) noexcept
{
    if (!IsUsable(map) || key == nullptr) {
        return nullptr;
    }
    return FindPlace(map, key).entry;
}

MapPlace FindPlace(const Tnx_Map *map, const char *key) noexcept
{
    const uint32_t hash = HashOf(key);
    return {hash, FindInBucket(map->entries[hash % map->capacity], key)};
}

uint32_t PutAt(Tnx_Map *map, const MapPlace &place, std::string_view key, void *value) noexcept
{
    GrowIfFull(map);
    if (place.entry != nullptr) {
        place.entry->value = value;
        return TNX_OK;
    }
    Tnx_MapEntry *&head = map->entries[place.hash % map->capacity];
    Tnx_MapEntry *entry = AllocateWithText(map, &Tnx_MapEntry::key, key);
    if (entry == nullptr) {
        if (head == nullptr) {
            TNX_LOGE("failed to alloc map entry");
        }
        return TNX_ERR_OUT_OF_MEMORY;
    }
    entry->value = value;
    Link(head, entry, map->size);
    return TNX_OK;
}

const Tnx_MapEntry *FindSpelling(const Tnx_Map *map, const char *name) noexcept
{
    const Tnx_MapEntry *found = FindMapEntry(map, name);
    for (uint32_t i = 0; found == nullptr && i < map->capacity; ++i) {
        found = map->entries[i];
        while (found != nullptr && !IsSpelling(found->key, name)) {
            found = found->next;
        }
    }
    return found;
}

Tnx_MapEntry *TakeSpellings(Tnx_Map *map, const char *name, const Tnx_MapEntry *except) noexcept
{
    Tnx_MapEntry *taken = nullptr;
    for (uint32_t i = 0; i < map->capacity; ++i) {
        Tnx_MapEntry **link = &map->entries[i];
        const bool used = *link != nullptr;
        while (Tnx_MapEntry *entry = *link) {
            if (entry != except && IsSpelling(entry->key, name)) {
                *link = entry->next;
                entry->next = std::exchange(taken, entry);
            } else {
                link = &entry->next;
            }
        }
        if (used && map->entries[i] == nullptr) {
            --map->size;
        }
    }
    return taken;
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

Tnx_Map *OVX_Tnx_CreateMap() noexcept
{
    return CreateMap(0);
}

uint32_t OVX_Tnx_PutMapEntry(Tnx_Map *map, const char *key, void *value) noexcept
{
    if (!IsUsable(map) || key == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return PutAt(map, FindPlace(map, key), key, value);
}

void *OVX_Tnx_GetMapEntry(const Tnx_Map *map, const char *key) noexcept
{
    const Tnx_MapEntry *entry = FindMapEntry(map, key);
    return entry == nullptr ? nullptr : entry->value;
}

uint32_t OVX_Tnx_DeleteMapEntry(Tnx_Map *map, const char *key) noexcept
{
    if (!IsUsable(map) || key == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    Delete(map, key);
    return TNX_OK;
}

void OVX_Tnx_DestroyMap(Tnx_Map *map) noexcept
{
    OVX_Tnx_DestroyMapWithValue(map, nullptr);
}

void OVX_Tnx_DestroyMapWithValue(Tnx_Map *map, Tnx_MapValueRelease release) noexcept
{
    Destroy(map, [release](void *value) {
        if (release != nullptr) {
            release(value);
        }
    });
}

Tnx_MapIterator *OVX_Tnx_CreateMapIterator(Tnx_Map *map) noexcept
{
    if (!IsUsable(map)) {
        TNX_LOGE("create map iterator failed: invalid map");
        return nullptr;
    }
    CPtr<Tnx_MapIterator> iterator = AllocateRecord<Tnx_MapIterator>();
    if (iterator == nullptr) {
        TNX_LOGE("failed to alloc memory for map iterator");
        return nullptr;
    }
    iterator->map = map;
    Seek(iterator.get(), 0);
    if (iterator->entry == nullptr) {
        TNX_LOGI("map is empty, skip create map iterator");
        return nullptr;
    }
    return iterator.release();
}

void OVX_Tnx_MapIterateNext(Tnx_MapIterator *iterator) noexcept
{
    if (iterator == nullptr || iterator->entry == nullptr || !IsUsable(iterator->map) ||
        iterator->index >= iterator->map->capacity) {
        return;
    }
    if (iterator->entry->next != nullptr) {
        iterator->entry = iterator->entry->next;
    } else {
        Seek(iterator, iterator->index + 1);
    }
}

void OVX_Tnx_DestroyMapIterator(Tnx_MapIterator *iterator) noexcept
{
    std::free(iterator);
}
