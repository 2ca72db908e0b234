// failing_call.h: a hook that makes the Nth call of a simulated system fail.
#pragma once

#include "driver/platform/simulated_platform.h"

#include <new>
#include <string>
#include <string_view>

/// Counts calls; the one with the number `failing` (from 1, 0 for none) fails.
struct FailingCall
{
    static constexpr driver::ErrorCode kInjected = 0xE0005555;

    int failing = 0;
    bool noMemory = false; ///< instead of an error
    int calls = 0;
    std::string failed = {}; ///< its name; empty while none has

    void watch(driver::SimulatedPlatform& platform)
    {
        platform.setHook([this](const char* call, const std::wstring&) -> driver::ErrorCode {
            if (call == std::string_view("setNonInteractiveMode") || ++calls != failing) // which cannot fail
                return 0;
            failed = call;
            if (noMemory)
                throw std::bad_alloc();
            return kInjected;
        });
    }
};
