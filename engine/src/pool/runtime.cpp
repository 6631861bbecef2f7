// Starts, forks and stops what the sessions share.
#include "runtime.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <curl/curl.h>
#include <pthread.h>

#include "curl/wiping_allocator.h"
#include "dns/doh_client.h"
#include "dns/resolver.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

std::atomic<Runtime *> g_runtime = nullptr;
std::atomic<uint64_t> g_generation = 1;
std::mutex g_starting;

} // namespace

Runtime &Runtime::Get()
{
    Runtime *runtime = g_runtime.load(std::memory_order_acquire);
    if (runtime == nullptr) {
        const std::lock_guard<std::mutex> lock(g_starting);
        runtime = g_runtime.load(std::memory_order_acquire);
        if (runtime == nullptr) {
            runtime = new Runtime();
            g_runtime.store(runtime, std::memory_order_release);
        }
    }
    return *runtime;
}

uint64_t Runtime::Generation()
{
    return g_generation.load(std::memory_order_acquire);
}

Runtime::Runtime()
{
    // Once a process, not once a runtime: a forked child inherits what these set up.
    static const bool ready = [] {
        const bool initialised = InitialiseCurl() == CURLE_OK;
        pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
        // After the TLS library has registered its own clean-up, so that the loop stops before it.
        std::atexit(StopAtExit);
        return initialised;
    }();
    if (!ready) {
        throw std::runtime_error("libcurl could not be initialised");
    }
    resolver_ = std::make_unique<Resolver>(loop_);
    dohClient_ = std::make_unique<DohClient>(loop_, *resolver_, floodWatch_);
    workers_.Start();
}

void Runtime::RunAside(std::shared_ptr<AsideTask> task) noexcept
{
    if (aside_->Push(std::move(task))) {
        workers_.RunLater(aside_);
    }
}

void Runtime::BeforeFork()
{
    g_starting.lock();
}

void Runtime::AfterForkInParent()
{
    g_starting.unlock();
}

void Runtime::AfterForkInChild()
{
    g_runtime = nullptr; // leaked: its threads are the parent's, its locks may be held
    ++g_generation;
    g_starting.unlock();
}

void Runtime::StopAtExit()
{
    if (Runtime *runtime = g_runtime.load(); runtime != nullptr) {
        runtime->workers_.Stop();
    }
}

} // namespace OHOS::Pelloria::Tnx
