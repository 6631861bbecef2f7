// What all sessions of the process share: the loop, the callback threads and the resolver.
#ifndef TNX_ENGINE_RUNTIME_H
#define TNX_ENGINE_RUNTIME_H

#include <cstdint>
#include <memory>

#include "callback_pool.h"
#include "loop.h"

namespace OHOS::Pelloria::Tnx
{

class Resolver;

class Runtime
{
public:
    // Starts the threads at the first call. A forked child gets a runtime of its own, for it has
    // inherited no thread.
    static Runtime &Get();

    // Changes with each fork: what was made under another generation belongs to the parent.
    static uint64_t Generation();

    Loop &GetLoop() { return *loop_; }
    Resolver &GetResolver() { return *resolver_; }

    // Hands a task to the callback threads when the loop's round is over. On the loop's thread.
    void RunOnPool(std::shared_ptr<PoolTask> task) { batch_.push_back(std::move(task)); }

private:
    Runtime();
    ~Runtime() = delete; // lives as long as the process: callbacks may outlast main

    static void PrepareFork();
    static void AfterForkInParent();
    static void AfterForkInChild();
    static void StopAtExit();

    void AfterRound();
    void Rescue();

    CallbackPool pool_;
    CallbackPool::Batch batch_;
    std::unique_ptr<Loop> loop_;
    std::unique_ptr<Loop::Timer> rescue_;
    std::unique_ptr<Resolver> resolver_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
