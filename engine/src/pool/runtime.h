// What all sessions of the process share: the loop, the threads and the resolvers.
#ifndef TNX_ENGINE_RUNTIME_H
#define TNX_ENGINE_RUNTIME_H

#include <cstdint>
#include <memory>

#include "curl/flood_watch.h"
#include "dns/name_lookup.h"
#include "event/aside.h"
#include "event/loop.h"
#include "event/workers.h"

namespace OHOS::Pelloria::Tnx
{

class Runtime
{
public:
    // Starts the threads at the first call. A forked child gets a runtime of its own, for it has
    // inherited no thread.
    static Runtime &Get();

    // Changes with each fork: what was made under another generation belongs to the parent.
    static uint64_t Generation();

    Loop &GetLoop() { return loop_; }
    NameServices Names() { return {loop_, *resolver_, *dohClient_}; }

    Workers &GetWorkers() { return workers_; }
    FloodWatch &GetFloodWatch() { return floodWatch_; }

    void RunAside(std::shared_ptr<AsideTask> task) noexcept REQUIRES(ON_LOOP);

private:
    Runtime();
    ~Runtime() = delete; // lives as long as the process: callbacks may outlast main

    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();
    static void StopAtExit();

    Loop loop_;
    Workers workers_{loop_};
    FloodWatch floodWatch_;
    const std::shared_ptr<Aside> aside_ = std::make_shared<Aside>();
    std::unique_ptr<Resolver> resolver_;
    std::unique_ptr<DohClient> dohClient_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
