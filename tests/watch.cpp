// Linked with caller.cpp and the library's objects: a function table that stands before ONNX Runtime's.
// It writes the calls down, counts what lives, and refuses a call or an allocation on demand.
#include <onnxruntime_c_api.h>
#include <stdlib.h>
#include <string.h>

#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "core/runtime.h"
#include "core/runtime_entry.h"
#include "float_state.h"
#include "onnxruntime_vornic.h"
#include "session/provider_options.h"
#include "support/platform.h"

namespace {

const OrtApi* real;
OrtApi table;

std::string log_of_calls;
std::map<std::string, int> live;              // objects, blocks and memory by kind
std::map<std::string, std::string> pretends;  // what the script wishes to be otherwise

// Which call that can be refused is, and which allocation; 0 for none.
struct Refusals {
    Word calls = 0, call = 0;
    Word allocations = 0, allocation = 0;
    bool goes_on = false;      // all allocations from that one on
    std::string refused = "";  // the name of the call
    std::string message = "injected";
} refusals;

template <typename Object>
int& living() {
    return live[strstr(typeid(Object*).name(), "Ort")];
}

// Texts and numbers; a path on Windows is a wide text.
template <typename Argument>
void note(Argument argument) {
    if constexpr (std::is_same_v<Argument, const char*> ||
                  std::is_same_v<Argument, const ORTCHAR_T*>) {
        for (log_of_calls += ':'; argument != nullptr && *argument != 0; ++argument) {
            log_of_calls += static_cast<char>(*argument);
        }
    } else if constexpr (std::is_enum_v<Argument> || std::is_integral_v<Argument>) {
        log_of_calls += ":" + std::to_string(static_cast<long long>(argument));
    }
}

// An object that a call has made.
template <typename Argument>
void count_made(Argument argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        using Place = std::remove_pointer_t<Argument>;
        using Object = std::remove_pointer_t<Place>;
        if constexpr (std::is_pointer_v<Place> && std::is_class_v<Object> &&
                      !std::is_const_v<Object> && !std::is_same_v<Object, OrtAllocator>) {
            if (*argument != nullptr) ++living<Object>();
        }
    }
}

// What some calls do beyond that, told apart by their arguments.
void before(...) {}
void after(...) {}

void before(OrtSessionOptions*, const char*, const char* const* keys, const char* const* values,
            size_t count) {
    for (size_t i = 0; i < count; ++i) log_of_calls += std::string(":") + keys[i] + "=" + values[i];
}

void after(OrtSession*, const OrtRunOptions*, const char* const*, const OrtValue* const*, size_t,
           const char* const*, size_t count, OrtValue** values) {
    raise_float_flags();  // as an operator may; the host's own must come back
    for (size_t i = 1; i < count; ++i) count_made(values + i);
}

void after(const OrtIoBinding*, OrtAllocator*, OrtValue*** values, size_t* count) {
    for (size_t i = 0; i < *count; ++i) count_made(*values + i);
}

void after(char***, int*) { ++live["providers"]; }
void after(char**, int) { --live["providers"]; }

OrtAllocator *its, counting;

void after(OrtAllocator** given) {
    its = *given;
    counting = *its;
    counting.Alloc = [](OrtAllocator*, size_t n) { return ++live["memory"], its->Alloc(its, n); };
    counting.Free = [](OrtAllocator*, void* p) {
        live["memory"] -= p != nullptr, its->Free(its, p);
    };
    counting.Info = [](const OrtAllocator*) { return its->Info(its); };
    *given = &counting;
}

void after(OrtSession*, OrtAllocator* allocator, char** text) {
    const std::string given = std::exchange(pretends["profile"], "");
    if (given.empty()) return;
    allocator->Free(allocator, *text);
    *text = static_cast<char*>(allocator->Alloc(allocator, given.size() + 1));
    strcpy(*text, given.c_str());
}

template <auto member>
const char* name_of;

template <auto member, typename Function = std::remove_reference_t<decltype(table.*member)>>
struct Watch;

template <auto member, typename... Arguments>
struct Watch<member, OrtStatus* (*)(Arguments...) noexcept> {
    static OrtStatus* call(Arguments... arguments) noexcept {
        const std::string name = name_of<member>;
        log_of_calls += (log_of_calls.empty() ? "" : " ") + name;
        (note(arguments), ...);
        before(arguments...);
        const bool is_refused = ++refusals.calls == refusals.call;
        OrtStatus* status = nullptr;
        // This build of the runtime has no provider to append; and what releases, does so even if
        // it gives a status.
        const bool is_played =
            name == "SessionOptionsAppendExecutionProvider" && !pretends["provider"].empty();
        const bool is_asked = !is_played && (!is_refused || name == "ReleaseAvailableProviders");
        if (is_asked) status = (real->*member)(arguments...);
        if (is_asked && status == nullptr) (count_made(arguments), ...), after(arguments...);
        if (is_refused) {
            refusals.refused = name;
            status = real->CreateStatus(ORT_FAIL, refusals.message.c_str());
        }
        if (status != nullptr) ++live["OrtStatus"];
        return status;
    }
};

// What releases, and what clears, which alone is noexcept.
template <auto member, typename Object, bool clears>
struct Watch<member, void (*)(Object*) noexcept(clears)> {
    static void call(Object* object) noexcept {
        log_of_calls += (log_of_calls.empty() ? "" : " ") + std::string(name_of<member>);
        if (!clears) --living<Object>();
        (real->*member)(object);
    }
};

template <auto member>
struct Watch<member, const char* (*)(const OrtStatus*) noexcept> {
    static const char* call(const OrtStatus* status) noexcept {
        return !pretends["no message"].empty() ? nullptr : real->GetErrorMessage(status);
    }
};

std::set<void*> blocks;
std::string text;  // what a command gives

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
static void* counted(void* block) {
    if (!g_is_calling) return block;
    const Word at = refusals.allocation, number = ++refusals.allocations;
    const bool is_refused = at != 0 && (refusals.goes_on ? number >= at : number == at);
    if (is_refused) return __real_free(block), nullptr;
    live["block"] += blocks.insert(block).second;
    return block;
}
void* __wrap_malloc(size_t size) { return counted(__real_malloc(size)); }
void* __wrap_calloc(size_t count, size_t size) { return counted(__real_calloc(count, size)); }
void __wrap_free(void* block) {
    if (g_is_calling) live["block"] -= static_cast<int>(blocks.erase(block));
    __real_free(block);
}

// What watched.txt and those who play it can call besides; its head tells of them.
#define COMMAND(type, name) ONNXRUNTIME_VN_API(type) onnxruntime_vn_##name
#define WATCHED(name) name_of<& OrtApi::name> = #name, table.name = Watch<&OrtApi::name>::call;
COMMAND(void, watch)(const char* library) {
    void* entry = find_function(library, "OrtGetApiBase");
    real = reinterpret_cast<const OrtApiBase* (*)()>(entry)()->GetApi(24);
    table = *real;
#include "watched_calls.inc"  // every member that the library's sources name
}
COMMAND(const char*, calls)(const char* end) {
    text = std::exchange(log_of_calls, "");
    if (end != nullptr) text.resize(std::min(text.find(end), text.size()));
    return text.c_str();
}
COMMAND(void, begin)(Word call, Word block, Word on) { refusals = {0, call, 0, block, on != 0}; }
COMMAND(void, refuse)(Word k, const char* message) {
    refusals.message = message;
    refusals.call = refusals.calls + k;
}
COMMAND(void, pretend)(const char* what, const char* value) { pretends[what] = value; }
COMMAND(const char*, end)() {
    text = std::to_string(refusals.calls) + " " + std::to_string(refusals.allocations) + " " +
           refusals.refused + ":";
    for (const auto& [kind, count] : std::exchange(live, {})) {
        if (count != 0) text += " " + kind + " " + std::to_string(count);
    }
    refusals = {};
    pretends.clear();
    log_of_calls.clear();
    return text.c_str();
}
COMMAND(const char*, provider_options)(const char* options) {
    static vornic::ProviderOptions list;
    text.clear();
    if (!vornic::vnort_parse_provider_options(options, &list)) return nullptr;
    for (uint64_t i = 0; i < list.count; ++i) {
        text += std::string(list.keys[i]) + "=" + list.values[i] + ";";
    }
    return text.c_str();
}
}

// Where the C++ library is part of this program, its operators would call the functions above.
void* operator new(size_t size) {
    if (void* block = __real_malloc(size)) return block;
    abort();
}
void operator delete(void* block) noexcept { __real_free(block); }
void operator delete(void* block, size_t) noexcept { __real_free(block); }

void vornic::forget_runtime() {}

const OrtApiBase* vornic::runtime_entry() {
    static const OrtApiBase base = {
        [](uint32_t version) noexcept -> const OrtApi* {
            return !pretends["no table"].empty() || version != 24 ? nullptr : &table;
        },
        []() noexcept { return "1.24"; }};
    return !pretends["no runtime"].empty() ? nullptr : &base;
}
