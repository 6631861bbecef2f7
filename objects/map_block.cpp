// Maps in one allocation, with buckets and room.
#include "objects/map_block.h"

#include <cstdlib>
#include <functional>
#include <type_traits>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

struct MapBlock {
    Tnx_Map map;
    char *room; // what is left of it
    char *end;
    Tnx_MapEntry *buckets[MIN_CAPACITY];
};

static_assert(std::is_standard_layout_v<MapBlock>, "a map points to its block");

} // namespace

Tnx_Map *AllocateMap(size_t room) noexcept
{
    auto *block = static_cast<MapBlock *>(std::malloc(sizeof(MapBlock) + room));
    if (block == nullptr) {
        return nullptr;
    }
    char *const start = reinterpret_cast<char *>(block + 1);
    *block = {.map = {block->buckets, 0, MIN_CAPACITY},
              .room = start,
              .end = start + room,
              .buckets = {}};
    return &block->map;
}

void *AllocatePart(Tnx_Map *map, size_t size) noexcept
{
    auto *block = reinterpret_cast<MapBlock *>(map);
    if (static_cast<size_t>(block->end - block->room) < size) {
        return std::malloc(size);
    }
    return std::exchange(block->room, block->room + size);
}

void FreePart(const Tnx_Map *map, void *part) noexcept
{
    const auto *block = reinterpret_cast<const MapBlock *>(map);
    const std::less<const void *> before;
    if (before(part, block) || !before(part, block->end)) {
        std::free(part);
    }
}

} // namespace OHOS::Pelloria::TnxC
