// Guards of C memory and of the public records, and zero-filled C allocation.
#ifndef TNX_COMMON_C_PTR_H
#define TNX_COMMON_C_PTR_H

#include "tnx_c.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace OHOS::Pelloria::TnxC
{

template <auto Destroy> struct DestroyWith {
    template <class T> void operator()(T *p) const noexcept { Destroy(p); }
};

template <class T> using CPtr = std::unique_ptr<T, DestroyWith<&std::free>>;

using MapPtr = std::unique_ptr<Tnx_Map, DestroyWith<&OVX_Tnx_DestroyMap>>;
using MapIteratorPtr = std::unique_ptr<Tnx_MapIterator, DestroyWith<&OVX_Tnx_DestroyMapIterator>>;
using HeadersPtr = std::unique_ptr<Tnx_Headers, DestroyWith<&OVX_Tnx_DestroyHeaders>>;
using HeaderEntryPtr = std::unique_ptr<Tnx_HeaderEntry, DestroyWith<&OVX_Tnx_DestroyHeaderEntries>>;
using RequestCookiesPtr =
    std::unique_ptr<Tnx_RequestCookies, DestroyWith<&OVX_Tnx_DestroyRequestCookies>>;
using FormPtr = std::unique_ptr<Tnx_Form, DestroyWith<&OVX_Tnx_DestroyForm>>;
using MultipartFormPtr =
    std::unique_ptr<Tnx_MultipartForm, DestroyWith<&OVX_Tnx_DestroyMultipartForm>>;
using RequestPtr = std::unique_ptr<Tnx_Request, DestroyWith<&OVX_Tnx_DestroyRequest>>;

// A zero-filled record; empty when memory has run out.
template <class T> CPtr<T> AllocateRecord() noexcept
{
    void *const record = std::malloc(sizeof(T)); // quicker than calloc, which keeps no cache
    if (record != nullptr) {
        std::memset(record, 0, sizeof(T));
    }
    return CPtr<T>(static_cast<T *>(record));
}

} // namespace OHOS::Pelloria::TnxC

#endif
