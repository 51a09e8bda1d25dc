#include <locale.h>

#include "core/c_locale.h"

// The C library keeps one object for the "C" locale, so making it neither fails nor allocates.
void* vnort_enter_c_locale() { return uselocale(newlocale(LC_ALL_MASK, "C", nullptr)); }

void vnort_leave_c_locale(void* previous) { uselocale(static_cast<locale_t>(previous)); }
