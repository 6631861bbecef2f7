// What the records over one map share: creation, destruction, and the adding of values to the list
// that stands under a name.
#ifndef TNX_OBJECTS_MAP_RECORD_H
#define TNX_OBJECTS_MAP_RECORD_H

#include "common/c_ptr.h"
#include "common/log.h"
#include "objects/tnx_map.h"

namespace OHOS::Pelloria::TnxC
{

// `noRecord` and `noMap` are logged when memory runs out; `room` is the map's.
template <class Record>
Record *CreateMapRecord(const char *noRecord, const char *noMap, size_t room = 0) noexcept
{
    CPtr<Record> record = AllocateRecord<Record>();
    if (record == nullptr) {
        TNX_LOGE("%{public}s", noRecord);
        return nullptr;
    }
    record->fields = CreateMap(room);
    if (record->fields == nullptr) {
        TNX_LOGE("%{public}s", noMap);
        return nullptr;
    }
    return record.release();
}

template <class Record> void DestroyMapRecord(Record *record, Tnx_MapValueRelease release) noexcept
{
    if (record != nullptr) {
        OVX_Tnx_DestroyMapWithValue(record->fields, release);
        std::free(record);
    }
}

// Adds what `make` returns, a guard or null, after the values that the name has, unless one of them
// is equal. A NUL stands behind the name.
template <class Value, class IsEqual, class Make>
uint32_t AddValue(Tnx_Map *map, std::string_view name, IsEqual isEqual, Make make) noexcept
{
    if (!IsUsable(map)) {
        return TNX_ERR_PARAMETER;
    }
    Value *last = nullptr;
    const MapPlace place = FindPlace(map, name.data());
    auto *value = static_cast<Value *>(place.entry == nullptr ? nullptr : place.entry->value);
    for (; value != nullptr; value = value->next) {
        if (isEqual(*value)) {
            return TNX_OK;
        }
        last = value;
    }
    auto added = make();
    if (added == nullptr) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
    if (last != nullptr) {
        last->next = added.release();
        return TNX_OK;
    }
    const uint32_t code = PutAt(map, place, name, added.get());
    if (code == TNX_OK) {
        static_cast<void>(added.release());
    }
    return code;
}

} // namespace OHOS::Pelloria::TnxC

#endif
