// Makes the calling thread use decimal points while a scope lasts, whatever the host's locale.
#pragma once

namespace vornic {

// The thread's own locale, saved if it has to be changed.
struct HostLocale {
    bool is_changed;
    bool is_thread_own;  // Windows: whether the thread had its own locale
    void* locale;        // POSIX: the thread's locale
    char numeric[256];   // Windows: name of the thread's numeric locale
};

// Called once, while the runtime is being bound and no other thread is inside the library.
void find_c_library();

// False, with the reason in the last-error text, when the locale cannot be changed.
bool enter_c_locale(HostLocale* host);
void leave_c_locale(const HostLocale& host);

// ONNX Runtime converts numbers to and from text with the C library: constants in operator schemas
// when the process creates its first environment, constants of functions that it inlines when it
// creates a session, and the elements of a Cast between strings and floats during a run. Under a
// locale with decimal commas all of these go wrong. The locale of ONNX Runtime's own threads, which
// matters only when a session runs operators in parallel, cannot be set from here.
class CLocaleScope {
public:
    CLocaleScope() : is_entered_(enter_c_locale(&host_)) {}
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;
    ~CLocaleScope() {
        if (host_.is_changed) leave_c_locale(host_);
    }

    // When false, the reason is in the last-error text and ONNX Runtime must not be called.
    bool is_entered() const { return is_entered_; }

private:
    HostLocale host_;
    bool is_entered_;
};

}  // namespace vornic
