// onnxruntime.dll reads and writes numbers with Windows' own C library, ucrtbase.dll. This library
// is linked with an older one, so the functions are looked up in the one that counts.
#include <locale.h>
#include <string.h>
#include <windows.h>

#include "core/c_locale.h"

namespace {

// ucrtbase's numbers for these, which are not all those of the older library's header.
constexpr int kNumericCategory = 4;
constexpr int kThreadHasOwnLocale = 1;

struct CLibrary {
    char*(__cdecl* set_locale)(int category, const char* locale);
    int(__cdecl* config_thread_locale)(int wanted);
    lconv*(__cdecl* locale_conventions)();
};

template <typename Function>
bool find(HMODULE library, const char* name, Function* function) {
    const FARPROC symbol = GetProcAddress(library, name);
    *function = reinterpret_cast<Function>(reinterpret_cast<void*>(symbol));
    return symbol != nullptr;
}

// Null where the library is not loaded: then nothing reads by its locale. It is loaded with ONNX
// Runtime and stays, so what was found once is kept.
const CLibrary* c_library() {
    static CLibrary found;
    static bool is_found = false;
    if (is_found) return &found;
    const HMODULE library = GetModuleHandleW(L"ucrtbase.dll");
    is_found = library != nullptr && find(library, "setlocale", &found.set_locale) &&
               find(library, "_configthreadlocale", &found.config_thread_locale) &&
               find(library, "localeconv", &found.locale_conventions);
    return is_found ? &found : nullptr;
}

}  // namespace

void vnort_enter_c_locale(HostLocale* host) {
    host->is_changed = false;
    const CLibrary* library = c_library();
    if (library == nullptr) return;
    const char* point = library->locale_conventions()->decimal_point;
    if (point[0] == '.' && point[1] == '\0') return;
    const char* numeric = library->set_locale(kNumericCategory, nullptr);
    if (numeric == nullptr || strlen(numeric) >= sizeof host->numeric) return;
    strcpy(host->numeric, numeric);
    host->config = library->config_thread_locale(kThreadHasOwnLocale);
    host->is_changed = library->set_locale(kNumericCategory, "C") != nullptr;
    if (!host->is_changed) library->config_thread_locale(host->config);
}

// A thread that shared the process's locale shares it again; one of its own gets it back.
void vnort_leave_c_locale(const HostLocale& host) {
    const CLibrary* library = c_library();
    library->set_locale(kNumericCategory, host.numeric);
    library->config_thread_locale(host.config);
}
