// The "C" locale for the calling thread, for as long as a scope lasts.
#pragma once

void* vnort_enter_c_locale();
void vnort_leave_c_locale(void* previous);

// ONNX Runtime reads the constants in its operator schemas with the C library when a process makes
// its first environment. Under a locale with decimal commas it reads them wrong, and models that
// use them (HardSwish, for one) then give zeros.
class CLocaleScope {
public:
    CLocaleScope() : previous_(vnort_enter_c_locale()) {}
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;
    ~CLocaleScope() { vnort_leave_c_locale(previous_); }

private:
    void* previous_;
};
