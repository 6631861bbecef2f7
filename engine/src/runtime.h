// What all sessions of the process share: the loop, the threads and the resolvers.
#ifndef TNX_ENGINE_RUNTIME_H
#define TNX_ENGINE_RUNTIME_H

#include <cstdint>
#include <memory>

#include "aside.h"
#include "loop.h"
#include "workers.h"

namespace OHOS::Pelloria::Tnx
{

class DohClient;
class Resolver;

class Runtime
{
public:
    // Starts the threads at the first call. A forked child gets a runtime of its own, for it has
    // inherited no thread.
    static Runtime &Get();

    // Changes with each fork: what was made under another generation belongs to the parent.
    static uint64_t Generation();

    Loop &GetLoop() { return loop_; }
    Resolver &GetResolver() { return *resolver_; }
    DohClient &GetDohClient() { return *dohClient_; }

    Workers &GetWorkers() { return workers_; }

    // On the loop's thread.
    void RunAside(std::shared_ptr<AsideTask> task) noexcept;

private:
    Runtime();
    ~Runtime() = delete; // lives as long as the process: callbacks may outlast main

    static void PrepareFork();
    static void AfterForkInParent();
    static void AfterForkInChild();
    static void StopAtExit();

    Loop loop_;
    Workers workers_{loop_};
    const std::shared_ptr<Aside> aside_ = std::make_shared<Aside>();
    std::unique_ptr<Resolver> resolver_;
    std::unique_ptr<DohClient> dohClient_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
