// The same in C++.
#include <iostream>
#include <memory>

#include <tnx_c.h>
#include <tnx_c_ext.h>

int main(int argc, char **argv)
{
    uint32_t code = TNX_OK;
    Tnx_Session *session = OVX_Tnx_CreateSession(nullptr, &code);
    const std::unique_ptr<Tnx_Request, void (*)(Tnx_Request *)> request(
        OVX_Tnx_CreateRequest(argv[argc - 1]),
        [](Tnx_Request *made) { OVX_Tnx_DestroyRequest(made); });
    Tnx_Response *response = OVX_Tnx_FetchSync(session, request.get(), &code);
    std::cout << OVX_Tnx_GetVersion() << ": " << OVX_Tnx_GetErrorText(code) << "\n";
    if (response != nullptr) {
        response->destroyResponse(response);
    }
    OVX_Tnx_CloseSession(&session);
    return code == TNX_OK ? 0 : 1;
}
