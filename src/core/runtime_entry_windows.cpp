// OrtGetApiBase is a delay-loaded import, so the library loads without a runtime and can choose its
// onnxruntime.dll. The default search order would try the host program's folder and then System32,
// where Windows keeps an old version.

#include "core/runtime_entry.h"

#include "core/owned.h"

#define WIN32_LEAN_AND_MEAN
#include <string.h>
#include <windows.h>

#include <delayimp.h>

#include <utility>

// Defined by the linker: this module's first byte, whose address is the module handle, and the
// import's slot in the import address table.
extern "C" IMAGE_DOS_HEADER __ImageBase;
extern "C" FARPROC __imp_OrtGetApiBase;

using namespace vornic;

namespace {

constexpr wchar_t kRuntimeName[] = L"onnxruntime.dll";

// The longest path on Windows, in UTF-16 units.
constexpr DWORD kMaxPathLength = 32768;

struct ModuleFree {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

using Module = std::unique_ptr<HINSTANCE__, ModuleFree>;

// The runtime in use.
HMODULE g_runtime_module;

// The import's state before its first call. Restoring it lets the next call choose a
// runtime again.
struct BoundImport {
    FARPROC unbound;  // the slot's value
    HMODULE* module;  // the import's module handle
};
BoundImport g_bound_import;

// Makes the import's slot writable while a scope lasts. Since version 2.44, GNU ld places the slot
// in read-only memory, although the delay-load thunk writes to it.
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

// Keeps Windows from showing a message box when the file is damaged.
class QuietLoading {
public:
    QuietLoading() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &earlier_); }
    ~QuietLoading() { SetThreadErrorMode(earlier_, nullptr); }
    QuietLoading(const QuietLoading&) = delete;
    QuietLoading& operator=(const QuietLoading&) = delete;

private:
    DWORD earlier_ = 0;
};

// Loads the runtime, and unloads it again if it lacks OrtGetApiBase: calling the import would then
// raise a structured exception and end the host, and a loaded file could not be replaced.
Module load_runtime(const wchar_t* path, DWORD flags) {
    Module module(LoadLibraryExW(path, nullptr, flags));
    if (module && GetProcAddress(module.get(), "OrtGetApiBase") == nullptr) module.reset();
    return module;
}

// Null if out of memory. The caller must then fail: the default search alone could bind the wrong
// runtime for the life of the process.
HeapBlock<wchar_t> path_beside_this_library() {
    HeapBlock<wchar_t> path = allocate_zeroed<wchar_t>(kMaxPathLength);
    if (!path) return nullptr;
    const HMODULE self = reinterpret_cast<HMODULE>(&__ImageBase);
    const DWORD length = GetModuleFileNameW(self, path.get(), kMaxPathLength);
    wchar_t* separator = wcsrchr(path.get(), L'\\');
    if (length >= kMaxPathLength || separator == nullptr) return nullptr;
    wchar_t* name = separator + 1;
    if (name + sizeof(kRuntimeName) / sizeof(wchar_t) > path.get() + kMaxPathLength) return nullptr;
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

// Called by the import's thunk on its first call.
FARPROC WINAPI provide_runtime(unsigned event, PDelayLoadInfo info) {
    if (event != dliNotePreLoadLibrary) return nullptr;
    const auto module = reinterpret_cast<BYTE*>(&__ImageBase) + info->pidd->rvaHmod;
    g_bound_import = {__imp_OrtGetApiBase, reinterpret_cast<HMODULE*>(module)};
    return reinterpret_cast<FARPROC>(g_runtime_module);
}

}  // namespace

PfnDliHook __pfnDliNotifyHook2 = provide_runtime;

const OrtApiBase* vornic::runtime_entry() {
    const WritableImport import;
    if (!import.is_writable()) return nullptr;
    g_runtime_module = find_runtime().release();
    return g_runtime_module != nullptr ? OrtGetApiBase() : nullptr;
}

// If the slot cannot be made writable, it still points into the runtime, which then stays loaded.
void vornic::forget_runtime() {
    const WritableImport import;
    if (g_runtime_module == nullptr || !import.is_writable()) return;
    __imp_OrtGetApiBase = g_bound_import.unbound;
    *g_bound_import.module = nullptr;
    FreeLibrary(std::exchange(g_runtime_module, nullptr));
}
