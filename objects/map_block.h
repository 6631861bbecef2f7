// The block of memory that a map lies in, with its first buckets and with room for what is put into
// it: where that is known beforehand, the whole map is one allocation.
#ifndef TNX_OBJECTS_MAP_BLOCK_H
#define TNX_OBJECTS_MAP_BLOCK_H

#include "tnx_c/map.h"

#include <cstddef>
#include <cstring>
#include <string_view>

namespace OHOS::Pelloria::TnxC
{

constexpr uint32_t MIN_CAPACITY = 16;

// The room that a text of so many characters takes, alone and behind a record.
constexpr size_t RoomForText(size_t length)
{
    constexpr size_t UNIT = alignof(void *);
    return (length + UNIT) / UNIT * UNIT;
}

template <class Record> constexpr size_t RoomFor(size_t length)
{
    static_assert(alignof(Record) == alignof(void *));
    return sizeof(Record) + RoomForText(length);
}

// An empty map. Null when memory has run out.
Tnx_Map *AllocateMap(size_t room) noexcept;

// A part of the map: in its block while there is room, else on the heap.
void *AllocatePart(Tnx_Map *map, size_t size) noexcept;

// A part in the block stays until the map is freed.
void FreePart(const Tnx_Map *map, void *part) noexcept;

// A part that is a copy of a text.
inline char *CopyTextTo(Tnx_Map *map, const char *text) noexcept
{
    const size_t length = std::strlen(text);
    void *part = AllocatePart(map, RoomForText(length));
    return part == nullptr ? nullptr : static_cast<char *>(std::memcpy(part, text, length + 1));
}

// A part that is a record, zero-filled, with a copy of the text that its member points to. A NUL
// stands behind the text.
template <class Record>
Record *AllocateWithText(Tnx_Map *map, char *Record::*member, std::string_view text) noexcept
{
    auto *record = static_cast<Record *>(AllocatePart(map, RoomFor<Record>(text.size())));
    if (record != nullptr) {
        *record = {};
        record->*member =
            static_cast<char *>(std::memcpy(record + 1, text.data(), text.size() + 1));
    }
    return record;
}

} // namespace OHOS::Pelloria::TnxC

#endif
