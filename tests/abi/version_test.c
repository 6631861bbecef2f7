/* The library that runs has the version of its header: the number is from there, the text from the
 * build. */
#include "tnx_c_ext.h"

#include <stdio.h>
#include <string.h>

int main(void)
{
    const unsigned number = OVX_Tnx_GetVersionNumber();
    char start[32];
    snprintf(start, sizeof start, "libtnx/%u.%u.%u ", number >> 16, number >> 8 & 0xff,
             number & 0xff);
    if (number != TNX_VERSION_NUMBER || strncmp(OVX_Tnx_GetVersion(), start, strlen(start)) != 0) {
        fprintf(stderr, "%s does not start with %s\n", OVX_Tnx_GetVersion(), start);
        return 1;
    }
    return 0;
}
