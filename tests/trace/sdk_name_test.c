/* Writes the SDK's name and looks for it in the event: the library must read the application's copy
   of the variable. Usage: sdk_name_test FILE, FILE being what TNX_APP_EVENTS names. */
#include "tnx_c.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    char text[1024] = "";
    if (argc != 2 || strcmp(g_sdkName, "Corvalith") != 0) {
        fprintf(stderr, "wrong use, or the name was not taken over\n");
        return 1;
    }
    unlink(argv[1]);
    g_sdkName = "another \"name\"";
    TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0);
    FILE *file = fopen(argv[1], "r");
    if (file == NULL || fgets(text, sizeof(text), file) == NULL) {
        fprintf(stderr, "no event was written\n");
        return 1;
    }
    fclose(file);
    if (strstr(text, "\"sdk_name\":\"another \\\"name\\\"\"") == NULL) {
        fprintf(stderr, "the event carries another name: %s\n", text);
        return 1;
    }
    return 0;
}
