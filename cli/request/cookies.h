// The cookies of a run, from a file and to one.
#ifndef TNX_CLI_COOKIES_H
#define TNX_CLI_COOKIES_H

#include "base/handles.h"
#include "base/settings.h"

namespace TnxTool
{

class Cookies
{
public:
    // Has the session keep cookies, where -b or -c asks for it. Throws ToolError.
    Cookies(const RunSettings &settings, Tnx_Session *session);

    // Writes the file of -c. Throws ToolError.
    void Save() const;

private:
    const RunSettings &settings_;
    CookieJarHandle jar_; // may be empty
};

} // namespace TnxTool

#endif
