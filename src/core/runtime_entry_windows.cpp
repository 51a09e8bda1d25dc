// OrtGetApiBase is a delayed import, so the library loads without a runtime and can choose which
// onnxruntime.dll it gets. The ordinary search alone would look in the host program's folder and
// then in System32, where Windows keeps an old one.

#include "core/runtime_entry.h"

#include "core/owned.h"
#include "core/runtime.h"

#define WIN32_LEAN_AND_MEAN
#include <string.h>
#include <windows.h>

#include <delayimp.h>

#include <utility>

// The linker's names for this module's first byte, which is its handle, and for the slot through which
// the import is called.
extern "C" IMAGE_DOS_HEADER __ImageBase;
extern "C" FARPROC __imp_OrtGetApiBase;

namespace vornic {
namespace {

constexpr wchar_t kRuntimeName[] = L"onnxruntime.dll";

// The longest path that Windows has, in characters.
constexpr DWORD kPathRoom = 32768;

struct ModuleFree {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

using Module = std::unique_ptr<HINSTANCE__, ModuleFree>;

// What was found last and is in use.
HMODULE g_runtime_module;

// What undoes the binding of the import, which would keep to the first runtime that it reaches.
struct BoundImport {
    FARPROC unbound;  // what the slot held before
    HMODULE* module;
};
BoundImport g_bound_import;

// Write access to the import's slot for as long as a scope lasts. GNU's linker puts the slot into
// read-only memory from 2.44 on, and the import's thunk writes there without asking.
class WritableImport {
public:
    WritableImport() { is_writable_ = protect(PAGE_READWRITE, &earlier_); }
    ~WritableImport() {
        if (is_writable_) protect(earlier_, &earlier_);
    }
    WritableImport(const WritableImport&) = delete;
    WritableImport& operator=(const WritableImport&) = delete;

    bool is_writable() const { return is_writable_; }

private:
    static bool protect(DWORD protection, DWORD* earlier) {
        return VirtualProtect(&__imp_OrtGetApiBase, sizeof __imp_OrtGetApiBase, protection,
                              earlier) != 0;
    }

    DWORD earlier_ = 0;
    bool is_writable_;
};

// A damaged file is an answer like any other: no message box asks the user about it.
class QuietLoading {
public:
    QuietLoading() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &earlier_); }
    ~QuietLoading() { SetThreadErrorMode(earlier_, nullptr); }
    QuietLoading(const QuietLoading&) = delete;
    QuietLoading& operator=(const QuietLoading&) = delete;

private:
    DWORD earlier_ = 0;
};

// Loads the runtime and lets it go again when it lacks the entry point: calling the import would
// then end the host with a structured exception, and an open file could not be replaced.
Module load_runtime(const wchar_t* path, DWORD flags) {
    Module module(LoadLibraryExW(path, nullptr, flags));
    if (module && GetProcAddress(module.get(), "OrtGetApiBase") == nullptr) module.reset();
    return module;
}

// Null when there is no memory for it: going on with the ordinary search alone could then bind the
// wrong runtime for good.
HeapBlock<wchar_t> path_beside_this_library() {
    HeapBlock<wchar_t> path = allocate_zeroed<wchar_t>(kPathRoom);
    if (!path) return nullptr;
    const HMODULE self = reinterpret_cast<HMODULE>(&__ImageBase);
    const DWORD length = GetModuleFileNameW(self, path.get(), kPathRoom);
    wchar_t* separator = wcsrchr(path.get(), L'\\');
    if (length >= kPathRoom || separator == nullptr) return nullptr;
    wchar_t* name = separator + 1;
    if (name + sizeof(kRuntimeName) / sizeof(wchar_t) > path.get() + kPathRoom) return nullptr;
    memcpy(name, kRuntimeName, sizeof(kRuntimeName));
    return path;
}

Module find_runtime() {
    const HeapBlock<wchar_t> beside = path_beside_this_library();
    if (!beside) return nullptr;
    const QuietLoading quiet;
    Module found = load_runtime(beside.get(), LOAD_WITH_ALTERED_SEARCH_PATH);
    return found ? std::move(found) : load_runtime(kRuntimeName, 0);
}

// Asked by the import's thunk on its first call.
FARPROC WINAPI give_found_runtime(unsigned event, PDelayLoadInfo info) {
    if (event != dliNotePreLoadLibrary) return nullptr;
    const auto module = reinterpret_cast<BYTE*>(&__ImageBase) + info->pidd->rvaHmod;
    g_bound_import = {__imp_OrtGetApiBase, reinterpret_cast<HMODULE*>(module)};
    return reinterpret_cast<FARPROC>(g_runtime_module);
}

}  // namespace
}  // namespace vornic

PfnDliHook __pfnDliNotifyHook2 = vornic::give_found_runtime;

namespace vornic {

const OrtApiBase* runtime_entry() {
    const WritableImport import;
    if (!import.is_writable()) return nullptr;
    g_runtime_module = find_runtime().release();
    return g_runtime_module != nullptr ? OrtGetApiBase() : nullptr;
}

// A slot that cannot be written still leads into the runtime, which therefore stays.
void forget_runtime() {
    const WritableImport import;
    if (g_runtime_module == nullptr || !import.is_writable()) return;
    __imp_OrtGetApiBase = g_bound_import.unbound;
    *g_bound_import.module = nullptr;
    FreeLibrary(std::exchange(g_runtime_module, nullptr));
}

}  // namespace vornic
