// tnx_demo NGINX SCRIPTED TLS CA: requests on their whole road, each shown with its phase times.
#include <cstdio>
#include <string>

#include "scenes.h"

int main(int argc, char **argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: tnx_demo NGINX SCRIPTED TLS CA\n");
        return 2;
    }
    const Servers servers{argv[1], argv[2], argv[3], argv[4]};
    int failures = 0;
    for (const Scene scene : {ShowSynchronous, ShowAsynchronous, ShowPost, ShowParallel, ShowTls,
                              ShowCancel, ShowRefused}) {
        failures += scene(servers) ? 0 : 1;
    }
    std::printf(failures == 0 ? "\nEvery request travelled as it should.\n"
                              : "\n%d of the scenes did not go as they should.\n",
                failures);
    return failures == 0 ? 0 : 1;
}
