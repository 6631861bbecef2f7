// The header fields of a request: the tool's own, and those of -H, which come before them.
#ifndef TNX_CLI_REQUEST_HEADERS_H
#define TNX_CLI_REQUEST_HEADERS_H

#include <string>
#include <vector>

#include "base/settings.h"

namespace TnxTool
{

struct HeaderField {
    std::string name;
    std::string value;
};

struct HeaderFields {
    std::vector<HeaderField> sent;
    std::vector<std::string> omitted; // names of fields that the library is not to add either
};

// Throws UsageError for what is no field.
HeaderFields RequestHeaders(const Settings &settings, bool upload);

} // namespace TnxTool

#endif
