// Bodies that are read while they are sent. The library's callback carries no context, so each
// source takes one of a fixed number of functions for as long as it lives.
#ifndef TNX_CLI_SOURCES_H
#define TNX_CLI_SOURCES_H

#include <cstddef>
#include <string>

#include "tnx_c.h"

namespace TnxTool
{

class BodySource
{
public:
    // Opens a file, or standard input for "-". Throws ToolError.
    explicit BodySource(const std::string &path);
    ~BodySource();
    BodySource(const BodySource &) = delete;
    BodySource &operator=(const BodySource &) = delete;

    // Gives the function that reads this source, good as long as the source.
    Tnx_GetDataCallback Callback() const;

    int Read(char *buffer, unsigned int size) noexcept;

private:
    int file_;
    size_t slot_;
};

} // namespace TnxTool

#endif
