// Guards for the records of the C interface: each destroys its record when it goes.
#ifndef TNX_CLI_HANDLES_H
#define TNX_CLI_HANDLES_H

#include <memory>

#include "tnx_c.h"
#include "tnx_c_ext.h"

namespace TnxTool
{

template <auto Destroy> struct DestroyWith {
    template <class T> void operator()(T *record) const noexcept { Destroy(record); }
};

template <class T, auto Destroy> using Handle = std::unique_ptr<T, DestroyWith<Destroy>>;

inline void CloseSession(Tnx_Session *session) noexcept
{
    OVX_Tnx_CloseSession(&session);
}

inline void ReleaseResponse(Tnx_Response *response) noexcept
{
    response->destroyResponse(response);
}

using TextHandle = Handle<char, &OVX_Tnx_DestroyText>;
using CookieJarHandle = Handle<Tnx_CookieJar, &OVX_Tnx_DestroyCookieJar>;
using SessionHandle = Handle<Tnx_Session, &CloseSession>;
using TransferHandle = Handle<Tnx_Transfer, &OVX_Tnx_DestroyTransfer>;
using RequestHandle = Handle<Tnx_Request, &OVX_Tnx_DestroyRequest>;
using ResponseHandle = Handle<Tnx_Response, &ReleaseResponse>;
using HeadersHandle = Handle<Tnx_Headers, &OVX_Tnx_DestroyHeaders>;
using HeaderEntriesHandle = Handle<Tnx_HeaderEntry, &OVX_Tnx_DestroyHeaderEntries>;
using CookiesHandle = Handle<Tnx_RequestCookies, &OVX_Tnx_DestroyRequestCookies>;
using AttributeEntriesHandle = Handle<Tnx_HeaderEntry, &OVX_Tnx_DestroyResponseCookieAttrEntries>;
using MultipartFormHandle = Handle<Tnx_MultipartForm, &OVX_Tnx_DestroyMultipartForm>;

} // namespace TnxTool

#endif
