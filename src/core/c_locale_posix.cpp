#include <langinfo.h>
#include <locale.h>

#include "core/c_locale.h"

void vornic::find_c_library() {}

// The C library has a static object for the "C" locale, so newlocale neither fails nor allocates.
bool vornic::enter_c_locale(HostLocale* host) {
    const char* point = nl_langinfo(RADIXCHAR);
    host->is_changed = point[0] != '.' || point[1] != '\0';
    if (host->is_changed) host->locale = uselocale(newlocale(LC_ALL_MASK, "C", nullptr));
    return true;
}

void vornic::leave_c_locale(const HostLocale& host) {
    uselocale(static_cast<locale_t>(host.locale));
}
