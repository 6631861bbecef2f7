// In which order the addresses of a host are tried. libcurl races both families, but waits half of
// the time for the first address of each, and 7.88 does not notice when the second then answers.
#ifndef TNX_ENGINE_ATTEMPTS_H
#define TNX_ENGINE_ATTEMPTS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/clock.h"

namespace OHOS::Pelloria::Tnx
{

class Attempts
{
public:
    Attempts() = default;
    explicit Attempts(const std::vector<std::string> &addresses);

    // Those of the same addresses to try now: the next of each family.
    const std::vector<std::string> &Of(const std::vector<std::string> &addresses) const
    {
        return attempts_.empty() ? addresses : attempts_[now_];
    }

    bool Last() const { return now_ + 1 >= attempts_.size(); }
    void Next() { ++now_; }

    // How long the addresses of now may take to answer, where others are left. `left`: the time for
    // all of them, if that has an end.
    Clock::duration Share(std::optional<Clock::duration> left) const;

private:
    std::vector<std::vector<std::string>> attempts_; // none where one is enough
    size_t now_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
