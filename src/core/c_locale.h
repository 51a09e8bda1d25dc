// Numbers with decimal points for the calling thread, for as long as a scope lasts.
#pragma once

// What the thread had before, where it had to change.
struct HostLocale {
    bool is_changed;
    int config;         // on Windows: whether the thread's locale was its own
    void* locale;       // elsewhere: the thread's locale
    char numeric[192];  // on Windows: the name of the locale that numbers followed
};

void vnort_enter_c_locale(HostLocale* host);
void vnort_leave_c_locale(const HostLocale& host);

// ONNX Runtime reads and writes numbers as text with the C library: the constants in its operator
// schemas when a process makes its first environment, those in functions that it expands when it
// makes a session, and what a Cast between strings and floats converts in a run. Under a locale
// with decimal commas all of them come out wrong. Its own threads, which work on a run only where a
// session is set to run operators in parallel, are out of reach.
class CLocaleScope {
public:
    CLocaleScope() { vnort_enter_c_locale(&host_); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;
    ~CLocaleScope() {
        if (host_.is_changed) vnort_leave_c_locale(host_);
    }

private:
    HostLocale host_;
};
