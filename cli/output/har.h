// An HTTP archive (HAR 1.2) of a run.
#ifndef TNX_CLI_HAR_H
#define TNX_CLI_HAR_H

#include <string>

#include <nlohmann/json.hpp>

#include "answer/outcome.h"

namespace TnxTool
{

class HttpArchive
{
public:
    // Adds every hop of a transfer. Credentials are replaced unless `secrets` is on.
    void Add(const Outcome &outcome, bool secrets);

    std::string Text() const;

private:
    nlohmann::ordered_json entries_ = nlohmann::ordered_json::array();
};

} // namespace TnxTool

#endif
