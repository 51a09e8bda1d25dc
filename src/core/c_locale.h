// Numbers with decimal points for the calling thread, for as long as a scope lasts.
#pragma once

namespace vornic {

// What the thread had before, where it had to change.
struct HostLocale {
    bool is_changed;
    bool is_thread_own;  // on Windows: whether the thread had a locale of its own
    void* locale;        // elsewhere: the thread's locale
    char numeric[256];   // on Windows: the name of the locale that numbers followed
};

// Called once, while the runtime is being bound and no other thread is here.
void find_c_library();

// False, with the reason in the last-error text, when the thread cannot have decimal points.
bool enter_c_locale(HostLocale* host);
void leave_c_locale(const HostLocale& host);

// ONNX Runtime reads and writes numbers as text with the C library: the constants in its operator
// schemas when a process makes its first environment, those in functions that it expands when it
// makes a session, and what a Cast between strings and floats converts in a run. Under a locale
// with decimal commas all of them come out wrong. Its own threads, which work on a run only where a
// session is set to run operators in parallel, are out of reach.
class CLocaleScope {
public:
    CLocaleScope() : is_entered_(enter_c_locale(&host_)) {}
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;
    ~CLocaleScope() {
        if (host_.is_changed) leave_c_locale(host_);
    }

    // When false, the reason is in the last-error text, and nothing may be computed.
    bool is_entered() const { return is_entered_; }

private:
    HostLocale host_;
    bool is_entered_;
};

}  // namespace vornic
