// The scenes of the demo. Each prints what it does and returns whether it went as it should.
#ifndef TNX_EXAMPLES_DEMO_SCENES_H
#define TNX_EXAMPLES_DEMO_SCENES_H

#include <string>

struct Servers {
    std::string nginx;
    std::string scripted;
    std::string tls;
    std::string ca;
};

using Scene = bool (*)(const Servers &servers);

bool ShowSynchronous(const Servers &servers);
bool ShowAsynchronous(const Servers &servers);
bool ShowPost(const Servers &servers);
bool ShowParallel(const Servers &servers);
bool ShowTls(const Servers &servers);
bool ShowCancel(const Servers &servers);
bool ShowRefused(const Servers &servers);

#endif
