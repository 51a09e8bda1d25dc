// onnxruntime.dll converts numbers with Windows' Universal C Runtime, ucrtbase.dll. This library is
// linked with the older msvcrt.dll, so the functions are looked up in ucrtbase.dll at run time.
#include <locale.h>
#include <string.h>
#include <windows.h>

#include "core/c_locale.h"
#include "core/last_error.h"

using namespace vornic;

namespace {

// ucrtbase.dll's values, some of which differ from those in the older library's header.
constexpr int kNumericCategory = 4;
constexpr int kThreadHasOwnLocale = 1;
constexpr int kThreadSharesLocale = 2;

struct CLibrary {
    char*(__cdecl* set_locale)(int category, const char* locale);
    int(__cdecl* config_thread_locale)(int wanted);
    lconv*(__cdecl* locale_conventions)();
};

// All null if ucrtbase.dll is not loaded: its locale then affects nothing. Otherwise ONNX Runtime,
// which depends on it, keeps it loaded.
CLibrary g_c_library;

template <typename Function>
bool find(HMODULE library, const char* name, Function* function) {
    const FARPROC symbol = GetProcAddress(library, name);
    *function = reinterpret_cast<Function>(reinterpret_cast<void*>(symbol));
    return symbol != nullptr;
}

}  // namespace

void vornic::find_c_library() {
    const HMODULE library = GetModuleHandleW(L"ucrtbase.dll");
    CLibrary found;
    const bool is_found = library != nullptr && find(library, "setlocale", &found.set_locale) &&
                          find(library, "_configthreadlocale", &found.config_thread_locale) &&
                          find(library, "localeconv", &found.locale_conventions);
    g_c_library = is_found ? found : CLibrary{};
}

bool vornic::enter_c_locale(HostLocale* host) {
    host->is_changed = false;
    if (g_c_library.set_locale == nullptr) return true;
    const char* point = g_c_library.locale_conventions()->decimal_point;
    if (point[0] == '.' && point[1] == '\0') return true;
    const char* numeric = g_c_library.set_locale(kNumericCategory, nullptr);
    if (numeric == nullptr || strlen(numeric) >= sizeof host->numeric) {
        return fail("the name of the host's numeric locale cannot be kept");
    }
    strcpy(host->numeric, numeric);
    host->is_thread_own =
        g_c_library.config_thread_locale(kThreadHasOwnLocale) == kThreadHasOwnLocale;
    host->is_changed = true;
    if (g_c_library.set_locale(kNumericCategory, "C") != nullptr) return true;
    return fail("the host's numeric locale cannot be replaced");
}

// Sharing the process's locale again cannot fail. Restoring a thread's own locale allocates;
// if memory runs out, the thread keeps decimal points.
void vornic::leave_c_locale(const HostLocale& host) {
    if (host.is_thread_own) {
        g_c_library.set_locale(kNumericCategory, host.numeric);
    } else {
        g_c_library.config_thread_locale(kThreadSharesLocale);
    }
}
