// Release functions of the value lists that stand in a map: each takes the first value and frees
// the whole list. They are releases for OVX_Tnx_DestroyMapWithValue and are not exported.
#ifndef TNX_OBJECTS_VALUE_LISTS_H
#define TNX_OBJECTS_VALUE_LISTS_H

extern "C" {

void OVX_Tnx_DestroyFormValue(void *firstValue) noexcept;
void OVX_Tnx_DestroyMultipartFormValue(void *firstValue) noexcept;

} // extern "C"

#endif
