#include "runtime/crash_note.h"

#include <QDir>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <windows.h>

namespace {

/// The handlers take no arguments of ours and allocate nothing, as the heap may be what broke.
struct Prepared
{
    std::array<wchar_t, 4096> path;
    std::array<char, 512> heading;
    std::atomic_flag writing;
};
Prepared* s_prepared = nullptr; // never destroyed: a crash may come at the very end

void put(HANDLE file, const char* text)
{
    DWORD written = 0;
    ::WriteFile(file, text, DWORD(std::strlen(text)), &written, nullptr);
}

template<typename... Values>
void putLine(HANDLE file, const char* format, Values... values)
{
    std::array<char, 1024> line;
    std::snprintf(line.data(), line.size(), format, values...);
    put(file, line.data());
}

void putFrame(HANDLE file, DWORD64 address)
{
    HMODULE module = nullptr;
    std::array<wchar_t, 512> wide = {};
    std::array<char, 512> name = {};
    const bool known =
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             reinterpret_cast<LPCWSTR>(address), &module) &&
        ::GetModuleFileNameW(module, wide.data(), DWORD(wide.size()) - 1) > 0 &&
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), -1, name.data(), int(name.size()), nullptr, nullptr) > 0;
    const auto base = reinterpret_cast<DWORD64>(module);
    if (known)
        putLine(file, "%s+0x%llx\n", name.data(), static_cast<unsigned long long>(address - base));
    else
        putLine(file, "0x%llx\n", static_cast<unsigned long long>(address));
}

/// Unwinds a copy of `context` by the tables that every x64 program carries.
void putStack(HANDLE file, CONTEXT context)
{
    constexpr int kMostFrames = 64;
    put(file, "stack:\n");
    for (int frame = 0; frame < kMostFrames && context.Rip != 0; ++frame) {
        putFrame(file, context.Rip);
        DWORD64 base = 0;
        PRUNTIME_FUNCTION function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
        if (function) {
            void* handler = nullptr;
            DWORD64 establisher = 0;
            ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handler, &establisher,
                               nullptr);
        } else { // a function that calls none: the return address lies on top of its stack
            SIZE_T read = 0;
            DWORD64 back = 0;
            if (!::ReadProcessMemory(::GetCurrentProcess(), reinterpret_cast<LPCVOID>(context.Rsp), &back, sizeof back,
                                     &read))
                return;
            context.Rip = back;
            context.Rsp += sizeof back;
        }
    }
}

void writeNote(const char* what, DWORD code, const CONTEXT& context)
{
    if (!s_prepared || s_prepared->writing.test_and_set())
        return;
    const HANDLE file = ::CreateFileW(s_prepared->path.data(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    put(file, s_prepared->heading.data());
    putLine(file, "%s: 0x%08lx at 0x%llx\n", what, static_cast<unsigned long>(code),
            static_cast<unsigned long long>(context.Rip));
    putStack(file, context);
    ::CloseHandle(file);
}

LONG WINAPI onException(EXCEPTION_POINTERS* exception)
{
    writeNote("exception", exception->ExceptionRecord->ExceptionCode, *exception->ContextRecord);
    // A parent may have asked for no box at a crash; then there is none.
    return ::GetErrorMode() & SEM_NOGPFAULTERRORBOX ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH;
}

/// abort(), which is also how an uncaught C++ exception ends, raises no exception of the system.
void onAbort(int)
{
    constexpr DWORD kFatalAppExit = 0x40000015; // STATUS_FATAL_APP_EXIT
    CONTEXT context = {};
    ::RtlCaptureContext(&context);
    writeNote("abort", kFatalAppExit, context);
}

} // namespace

void leaveCrashNote(const QString& path, const QByteArray& heading)
{
    auto* ready = new Prepared{};
    const QString native = QDir::toNativeSeparators(path).left(int(ready->path.size()) - 1);
    std::copy_n(reinterpret_cast<const wchar_t*>(native.utf16()), native.size(), ready->path.data());
    const QByteArray kept = heading.left(int(ready->heading.size()) - 1);
    std::copy_n(kept.constData(), kept.size(), ready->heading.data());
    s_prepared = ready;

    ULONG forHandler = 64 * 1024; // bytes of stack left for the handler when the stack is used up
    ::SetThreadStackGuarantee(&forHandler);
    ::SetUnhandledExceptionFilter(&onException);
    std::signal(SIGABRT, &onAbort);
}
