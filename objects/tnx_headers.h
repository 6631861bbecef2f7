// Headers whose contents are known when they are made: they take two allocations, record and map.
#ifndef TNX_OBJECTS_TNX_HEADERS_H
#define TNX_OBJECTS_TNX_HEADERS_H

#include "tnx_c/headers.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace OHOS::Pelloria::TnxC
{

// The room that a value takes with its name.
size_t RoomForHeader(size_t nameLength, size_t valueLength) noexcept;

// As OVX_Tnx_CreateHeaders, with room for what is to be set.
Tnx_Headers *CreateHeaders(size_t room) noexcept;

// As OVX_Tnx_SetHeaderValue, for texts whose lengths are known. A NUL stands behind both, and none
// in them.
uint32_t AddHeader(Tnx_Map *fields, std::string_view name, std::string_view value) noexcept;

// Whether it can be the name of a field (RFC 9110 section 5.6.2).
bool IsToken(std::string_view name);

} // namespace OHOS::Pelloria::TnxC

#endif
