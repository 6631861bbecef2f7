/* versions: tells the version that it was built with, and the one that it runs with. */
#include <stdio.h>

#include <tnx_c_ext.h>

#if TNX_VERSION_NUMBER < 0x010000
#error "this program needs the functions of libtnx 1.0.0"
#endif

int main(void)
{
    const uint32_t number = OVX_Tnx_GetVersionNumber();
    printf("built with %d.%d.%d\n", TNX_VERSION_MAJOR, TNX_VERSION_MINOR, TNX_VERSION_PATCH);
    printf("runs with %u.%u.%u\n", number >> 16, number >> 8 & 0xff, number & 0xff);
    printf("%s\n", OVX_Tnx_GetVersion());
    if (number < TNX_VERSION_NUMBER) {
        fprintf(stderr, "the library is older than what this program was built with\n");
        return 1;
    }
    return 0;
}
