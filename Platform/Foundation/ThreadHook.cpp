#include "Platform/Foundation/ThreadHook.h"

#include <atomic>

namespace kova {

namespace {

constinit std::atomic<ThreadHook> installed = nullptr;

} // namespace

void setThreadHook(ThreadHook hook)
{
    installed = hook;
}

void announceThread(std::string_view name, QualityOfService quality)
{
    if (const auto hook = installed.load())
        hook(name, quality);
}

} // namespace kova
