// Starts, forks and stops what the sessions share.
#include "runtime.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <stdexcept>

#include <curl/curl.h>
#include <pthread.h>

#include "resolver.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr auto RESCUE_INTERVAL = std::chrono::milliseconds(2);

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
        const bool initialised = curl_global_init(CURL_GLOBAL_ALL) == CURLE_OK;
        pthread_atfork(PrepareFork, AfterForkInParent, AfterForkInChild);
        // After the TLS library has registered its own clean-up, so that the loop stops before it.
        std::atexit(StopAtExit);
        return initialised;
    }();
    if (!ready) {
        throw std::runtime_error("libcurl could not be initialised");
    }
    loop_ = std::make_unique<Loop>([this] { AfterRound(); });
    rescue_ = std::make_unique<Loop::Timer>(*loop_, [this] { Rescue(); });
    resolver_ = std::make_unique<Resolver>(*loop_);
    loop_->Start();
}

void Runtime::PrepareFork()
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
        runtime->pool_.Stop();
        runtime->loop_->Stop();
    }
}

void Runtime::AfterRound()
{
    if (batch_.empty()) {
        return;
    }
    pool_.Post(batch_);
    if (!rescue_->Running()) {
        rescue_->Start(Clock::now() + RESCUE_INTERVAL);
    }
}

void Runtime::Rescue()
{
    if (pool_.Rescue()) {
        rescue_->Start(Clock::now() + RESCUE_INTERVAL);
    }
}

} // namespace OHOS::Pelloria::Tnx
