// The cookies of a run, from a file and to one.
#include "cookies.h"

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "base/terminal.h"
#include "base/values.h"

namespace TnxTool
{

Cookies::Cookies(const RunSettings &settings, Tnx_Session *session)
    : settings_(settings)
{
    if (!settings.cookieFile && !settings.cookieJar) {
        return;
    }
    const std::string file = settings.cookieFile.value_or("");
    uint32_t code = TNX_OK;
    jar_.reset(OVX_Tnx_CreateCookieJar(file.empty() ? nullptr : file.c_str(), &code));
    if (!jar_) {
        throw ToolError(EXIT_READ, "the cookies of '" + file + "': " + OVX_Tnx_GetErrorText(code));
    }
    if (settings.junkSessionCookies) {
        OVX_Tnx_DropSessionCookies(jar_.get());
    }
    OVX_Tnx_UseCookieJar(session, jar_.get());
}

void Cookies::Save() const
{
    if (!settings_.cookieJar) {
        return;
    }
    std::string path = *settings_.cookieJar;
    const bool toOutput = path == "-";
    if (toOutput) { // the library replaces a file, so it gets one
        path = (std::filesystem::temp_directory_path() / "tnx-cookies-XXXXXX").string();
        close(mkstemp(path.data()));
    }
    const uint32_t code = OVX_Tnx_SaveCookieJar(jar_.get(), path.c_str());
    if (toOutput) {
        WriteAll(STDOUT_FILENO, ReadWhole(path));
        unlink(path.c_str());
    }
    if (code != TNX_OK) {
        throw ToolError(EXIT_WRITE, "the cookies to '" + path + "': " + OVX_Tnx_GetErrorText(code));
    }
}

} // namespace TnxTool
