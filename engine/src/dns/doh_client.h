// Looks names up over HTTPS (RFC 8484), and remembers them for their time to live, per resolver.
#ifndef TNX_ENGINE_DOH_CLIENT_H
#define TNX_ENGINE_DOH_CLIENT_H

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "doh_query.h"
#include "lookup_book.h"
#include "resolver.h"

namespace OHOS::Pelloria::Tnx
{

class DohLookup;

class DohClient
{
public:
    DohClient(Loop &loop, Resolver &system, FloodWatch &watch);
    ~DohClient();

    // From memory alone; from any thread.
    std::optional<LookupResult> Remembered(const DohResolver &resolver, const std::string &host);

    // Asks. `done` runs in a round of the loop too: never before this returns, and always.
    void Lookup(const DohResolver &resolver, const std::string &host, LookupDone done)
        REQUIRES(ON_LOOP);

private:
    Loop &loop_;
    Resolver &system_; // finds the resolvers themselves
    LoopMulti multi_;
    LookupBook book_;
    std::unordered_map<std::string, std::unique_ptr<DohLookup>> lookups_ GUARDED_BY(ON_LOOP);
};

} // namespace OHOS::Pelloria::Tnx

#endif
