// contract.h: what every function of the stand-in libraries does at its start and end: take notes, judge arguments,
// fail when it is told to.
#pragma once

// The functions of the headers are defined here, not imported.
#define _SETUPAPI_
#define _CFGMGR32_
#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <cstdint>
#include <string>

namespace contract {

enum class Kind
{
    DeviceSet,
    Inf,
    FileQueue,
    Machine,
    LogicalConfiguration,
    ResourceDescriptor,
    Key,
    Service,
    Token,
    Search,
    Library
};

/// Writes lines to the file that CONTRACT_LOG names: "call NAME", "done NAME", "failed NAME", "breach NAME: WHAT" and,
/// at the end of the process, "open WHAT" for everything that is not closed and "end".
void note(const std::string& line);

/// Values of handles, never used twice.
std::uintptr_t openHandle(Kind kind);
template<class Handle>
Handle opened(Kind kind)
{
    return reinterpret_cast<Handle>(openHandle(kind));
}

/// Whether a handle of that kind was opened and is not closed.
bool isKnown(Kind kind, const void* handle);

/// A list of NUL-terminated texts with one more NUL, as bytes.
bool isMultiText(const BYTE* bytes, DWORD size);

/// Leads the program's calls of other libraries to functions that judge them (system_calls.cpp).
void judgeSystemCalls();

/// Path of a library beside this one: its name alone may find Wine's.
std::wstring besideThis(const wchar_t* name);

/// A function of Wine's own library that this one stands in for.
FARPROC functionOfWine(const char* name);

class Call
{
public:
    explicit Call(const char* name);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// A breach of the function's contract, unless `kept`.
    void must(bool kept, const std::string& what);

    void isOpen(Kind kind, std::uintptr_t handle);
    void isOpen(Kind kind, const void* handle) { isOpen(kind, reinterpret_cast<std::uintptr_t>(handle)); }
    void closes(Kind kind, std::uintptr_t handle);
    void closes(Kind kind, const void* handle) { closes(kind, reinterpret_cast<std::uintptr_t>(handle)); }

    /// A machine that was connected to, or null.
    void machine(HANDLE machine);
    void name(const wchar_t* name, std::size_t longest);
    /// A path from a drive on.
    void fullPath(const wchar_t* path);
    template<class Structure>
    void sized(const Structure* structure, const char* type)
    {
        must(structure != nullptr, std::string(type) + " is missing");
        if (structure != nullptr)
            must(structure->cbSize == sizeof(Structure), std::string(type) + ".cbSize is " +
                                                             std::to_string(structure->cbSize) + ", not " +
                                                             std::to_string(sizeof(Structure)));
    }

    /// This function as Wine has it.
    template<class Function>
    Function* wines() const
    {
        return reinterpret_cast<Function*>(reinterpret_cast<std::uintptr_t>(functionOfWine(m_name)));
    }

    /// What the system answered: whether it succeeded, a handle, an error of the registry.
    BOOL succeeds(BOOL answer);
    template<class Handle>
    Handle opens(Kind kind, Handle handle)
    {
        keep(kind, handle);
        return handle;
    }
    LSTATUS ends(LSTATUS result);

    /// The error that CONTRACT_FAIL ("NAME:ERROR") wants of this call; 0 for none. It then is the last error too.
    DWORD wanted();
    /// False with that error.
    BOOL fails(DWORD error);
    /// Whether the text fits; fails with "insufficient buffer" otherwise. `required` may be null.
    BOOL copies(const std::wstring& text, wchar_t* buffer, DWORD size, DWORD* required);

private:
    void keep(Kind kind, void* handle);

    const char* m_name;
    bool m_failed = false;
};

/// Whether the page of `address` was read since it was guarded.
void* guardedPage();
void guard(void* page);
bool wasRead(void* page);

} // namespace contract
