#include "Platform/Foundation/FreedMemory.h"

#include <atomic>

namespace kova {

namespace {

constinit std::atomic<FreedMemoryHook> installed = nullptr;

} // namespace

void setFreedMemoryHook(FreedMemoryHook hook)
{
    installed = hook;
}

void returnFreedMemory()
{
    if (const auto hook = installed.load())
        hook();
}

} // namespace kova
