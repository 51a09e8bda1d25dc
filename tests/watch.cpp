// A function table between the library and ONNX Runtime that logs the calls, counts live objects,
// and makes a call or an allocation fail on demand. Linked with caller.cpp and the library's
// objects.
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
#include "onnxruntime_vornic.h"
#include "session/provider_options.h"
#include "support/platform.h"

namespace {

const OrtApi* real;
OrtApi table;

std::string log_of_calls;
std::map<std::string, int> live;              // objects, blocks and memory by kind
std::map<std::string, std::string> pretends;  // set by the script, see watched.txt

// The number of the call to refuse, and of the allocation; 0 for none.
struct Refusals {
    Word calls = 0, call = 0;
    Word allocations = 0, allocation = 0;
    bool refuses_later = false;  // all allocations from that one on
    std::string refused = "";    // the name of the call
    std::string message = "injected";
} refusals;

template <typename Object>
int& live_count() {
    return live[strstr(typeid(Object*).name(), "Ort")];
}

// Logs texts and numbers. A path is a wide text on Windows.
template <typename Argument>
void log_argument(Argument argument) {
    if constexpr (std::is_same_v<Argument, const char*> ||
                  std::is_same_v<Argument, const ORTCHAR_T*>) {
        for (log_of_calls += ':'; argument != nullptr && *argument != 0; ++argument) {
            log_of_calls += static_cast<char>(*argument);
        }
    } else if constexpr (std::is_enum_v<Argument> || std::is_integral_v<Argument>) {
        log_of_calls += ":" + std::to_string(static_cast<long long>(argument));
    }
}

// Counts the object that a call has stored through an argument.
template <typename Argument>
void count_made(Argument argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        using Slot = std::remove_pointer_t<Argument>;
        using Object = std::remove_pointer_t<Slot>;
        if constexpr (std::is_pointer_v<Slot> && std::is_class_v<Object> &&
                      !std::is_const_v<Object> && !std::is_same_v<Object, OrtAllocator>) {
            if (*argument != nullptr) ++live_count<Object>();
        }
    }
}

// What some calls need beyond that. They are distinguished by their parameters.
void before(...) {}
void after(...) {}

void before(OrtSessionOptions*, const char*, const char* const* keys, const char* const* values,
            size_t count) {
    for (size_t i = 0; i < count; ++i) log_of_calls += std::string(":") + keys[i] + "=" + values[i];
}

void after(OrtSession*, const OrtRunOptions*, const char* const*, const OrtValue* const*, size_t,
           const char* const*, size_t count, OrtValue** values) {
    // Raises flags in every unit, as an operator may; the library must restore the host's flags.
    volatile double third = 3;
    volatile long double x87_third = 3;
    third = 1 / third;
    x87_third = 1 / x87_third;
    for (size_t i = 1; i < count; ++i) count_made(values + i);
}

void after(const OrtIoBinding*, OrtAllocator*, OrtValue*** values, size_t* count) {
    for (size_t i = 0; i < *count; ++i) count_made(*values + i);
}

void after(char***, int*) { ++live["providers"]; }
void after(char**, int) { --live["providers"]; }

OrtAllocator *heap, counting;

void after(OrtAllocator** given) {
    heap = *given;
    counting = *heap;
    counting.Alloc = [](OrtAllocator*, size_t n) { return ++live["memory"], heap->Alloc(heap, n); };
    counting.Free = [](OrtAllocator*, void* p) {
        live["memory"] -= p != nullptr, heap->Free(heap, p);
    };
    counting.Info = [](const OrtAllocator*) { return heap->Info(heap); };
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
        (log_argument(arguments), ...);
        before(arguments...);
        const bool is_refused = ++refusals.calls == refusals.call;
        OrtStatus* status = nullptr;
        // This build of the runtime can append no provider. A failing release still releases.
        const bool appends = name == "SessionOptionsAppendExecutionProvider";
        const bool is_forwarded = (!is_refused || name == "ReleaseAvailableProviders") &&
                                  (!appends || pretends["provider"].empty());
        if (is_forwarded) status = (real->*member)(arguments...);
        if (is_forwarded && status == nullptr) (count_made(arguments), ...), after(arguments...);
        if (is_refused) {
            refusals.refused = name;
            status = real->CreateStatus(ORT_FAIL, refusals.message.c_str());
        }
        if (status != nullptr) ++live["OrtStatus"];
        return status;
    }
};

// Functions that release an object, and those that clear one: only these are noexcept.
template <auto member, typename Object, bool clears>
struct Watch<member, void (*)(Object*) noexcept(clears)> {
    static void call(Object* object) noexcept {
        log_of_calls += (log_of_calls.empty() ? "" : " ") + std::string(name_of<member>);
        if (!clears) --live_count<Object>();
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
std::string text;  // the result of the last command

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
static void* counted(void* block) {
    if (!g_is_calling) return block;
    const Word at = refusals.allocation, number = ++refusals.allocations;
    const bool is_refused = at != 0 && (refusals.refuses_later ? number >= at : number == at);
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

// Functions for watched.txt and watched.py, described at the top of watched.txt.
#define COMMAND(type, name) ONNXRUNTIME_VN_API(type) onnxruntime_vn_##name
#define WATCHED(name) name_of<& OrtApi::name> = #name, table.name = Watch<&OrtApi::name>::call;
COMMAND(void, watch)(const char* library) {
    void* entry = find_function(library, "OrtGetApiBase");
    real = reinterpret_cast<const OrtApiBase* (*)()>(entry)()->GetApi(24);
    table = *real;
#include "watched_calls.inc"  // WATCHED(member) for each that the sources use
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

// A statically linked C++ library would otherwise call the functions above.
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
