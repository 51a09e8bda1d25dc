// Plays a script over the library's objects and a function table that stands before ONNX Runtime's:
// it writes the calls down, counts what lives, and refuses a call or an allocation on demand. A scene
// whose title says "refused" is played again and again, each time with another refusal.
//
//     watch RUNTIME MODELS SCRIPT
#include <onnxruntime_c_api.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <regex>
#include <set>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "core/runtime.h"
#include "core/runtime_entry.h"
#include "onnxruntime_vornic.h"
#include "player.h"
#include "session/provider_options.h"
#include "support/platform.h"

namespace {

const OrtApi* real;
OrtApi table;

std::string log_of_calls;
std::map<std::string, int> live;              // objects, blocks and memory by kind
std::map<std::string, std::string> pretends;  // what the script wishes to be otherwise

// Which call that can be refused is, and which allocation; 0 for none. A scene's are counted from
// where it says "begin".
struct Refusals {
    int calls = 0, call = 0, next_call = 0;
    int allocations = 0, allocation = 0, next_allocation = 0;
    bool goes_on = false;  // all allocations from that one on
    std::string refused;   // the name of the call
    std::string message = "injected";
} refusals;

// The tests' own blocks are not counted.
struct Outside {
    const bool was_calling = g_is_calling.exchange(false);
    ~Outside() { g_is_calling = was_calling; }
};

template <typename Object>
const char* kind_of() {
    return strstr(typeid(Object*).name(), "Ort");
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
            if (*argument != nullptr) ++live[kind_of<Object>()];
        }
    }
}

// What some calls do beyond that, told apart by their arguments.
template <typename... Arguments>
void before(Arguments...) {}
template <typename... Arguments>
void after(Arguments...) {}

void before(OrtSessionOptions*, const char*, const char* const* keys, const char* const* values,
            size_t count) {
    for (size_t i = 0; i < count; ++i) log_of_calls += std::string(":") + keys[i] + "=" + values[i];
}

void after(OrtSession*, const OrtRunOptions*, const char* const*, const OrtValue* const*, size_t,
           const char* const*, size_t count, OrtValue** values) {
    for (size_t i = 1; i < count; ++i) count_made(values + i);
}

void after(const OrtIoBinding*, OrtAllocator*, OrtValue*** values, size_t* count) {
    for (size_t i = 0; i < *count; ++i) count_made(*values + i);
}

void after(char***, int*) { ++live["providers"]; }

void after(char**, int) { --live["providers"]; }

OrtAllocator* real_allocator;

void after(OrtAllocator** given) {
    static OrtAllocator counting = **given;
    if (*given == &counting) return;
    real_allocator = *given;
    counting.Alloc = [](OrtAllocator*, size_t size) {
        const Outside outside;
        ++live["memory"];
        return real_allocator->Alloc(real_allocator, size);
    };
    counting.Free = [](OrtAllocator*, void* memory) {
        const Outside outside;
        live["memory"] -= memory != nullptr;
        real_allocator->Free(real_allocator, memory);
    };
    counting.Info = [](const OrtAllocator*) { return real_allocator->Info(real_allocator); };
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
        const Outside outside;
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
        if (!is_played && (!is_refused || name == "ReleaseAvailableProviders")) {
            status = (real->*member)(arguments...);
            if (status == nullptr) {
                (count_made(arguments), ...);
                after(arguments...);
            }
        }
        if (is_refused) {
            refusals.refused = name;
            status = real->CreateStatus(ORT_FAIL, refusals.message.c_str());
        }
        if (status != nullptr) ++live["OrtStatus"];
        return status;
    }
};

template <auto member, typename Object>
struct Watch<member, void (*)(Object*)> {
    static void call(Object* object) {
        const Outside outside;
        log_of_calls += (log_of_calls.empty() ? "" : " ") + std::string(name_of<member>);
        --live[kind_of<Object>()];
        (real->*member)(object);
    }
};

template <auto member, typename Object>
struct Watch<member, void (*)(Object*) noexcept> {
    static void call(Object* object) noexcept {
        Watch<member, void (*)(Object*)>::call(object);
        ++live[kind_of<Object>()];  // these clear and do not release
    }
};

template <auto member>
struct Watch<member, const char* (*)(const OrtStatus*) noexcept> {
    static const char* call(const OrtStatus* status) noexcept {
        return !pretends["no message"].empty() ? nullptr : real->GetErrorMessage(status);
    }
};

// Every member of the table that the library's sources name.
void put_watchers() {
#define WATCHED(name) name_of<& OrtApi::name> = #name, table.name = Watch<&OrtApi::name>::call;
#include "watched_calls.inc"
#undef WATCHED
}

std::set<void*>* blocks;

void* noted(void* block) {
    if (g_is_calling && block != nullptr) {
        const Outside outside;
        if (blocks == nullptr) blocks = new std::set<void*>;
        live["block"] += blocks->insert(block).second;
    }
    return block;
}

bool is_refused_allocation() {
    if (!g_is_calling) return false;
    ++refusals.allocations;
    return refusals.allocation != 0 &&
           (refusals.goes_on ? refusals.allocations >= refusals.allocation
                             : refusals.allocations == refusals.allocation);
}

// How a refused call shows in a scene's answers, where it is not "NAME failed".
std::map<std::string, std::string> shown_as;

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size) {
    return is_refused_allocation() ? nullptr : noted(__real_malloc(size));
}
void* __wrap_calloc(size_t count, size_t size) {
    return is_refused_allocation() ? nullptr : noted(__real_calloc(count, size));
}
void __wrap_free(void* block) {
    if (block != nullptr && blocks != nullptr) {
        const Outside outside;
        if (blocks->erase(block) != 0) --live["block"];
    }
    __real_free(block);
}

// What the scripts played here can call besides; the head of watched.txt tells of it.
#define COMMAND(type, name) ONNXRUNTIME_VN_API(type) onnxruntime_vn_##name
COMMAND(const char*, calls)(const char* end) {
    const Outside outside;
    static std::string text;
    text = std::exchange(log_of_calls, "");
    if (end != nullptr) text.resize(std::min(text.find(end), text.size()));
    return text.c_str();
}
COMMAND(void, begin)() {
    refusals.calls = refusals.allocations = 0;
    refusals.call = refusals.next_call;
    refusals.allocation = refusals.next_allocation;
}
COMMAND(void, refuse)(Word k, const char* message) {
    const Outside outside;
    refusals.message = message;
    refusals.call = refusals.calls + static_cast<int>(k);
}
COMMAND(void, pretend)(const char* what, const char* value) {
    const Outside outside;
    pretends[what] = value;
}
COMMAND(void, shown)(const char* name, const char* as) {
    const Outside outside;
    shown_as[name] = as;
}
COMMAND(const char*, provider_options)(const char* text) {
    const Outside outside;
    static ProviderOptions list;
    static std::string got;
    got.clear();
    if (!vnort_parse_provider_options(text, &list)) return nullptr;
    for (uint64_t i = 0; i < list.count; ++i) {
        got += std::string(list.keys[i]) + "=" + list.values[i] + ";";
    }
    return got.c_str();
}
}

// Where the C++ library is part of this program, its operators would call the functions above.
void* operator new(size_t size) {
    void* block = __real_malloc(size);
    if (block == nullptr) abort();
    return block;
}
void operator delete(void* block) noexcept { __real_free(block); }
void operator delete(void* block, size_t) noexcept { __real_free(block); }

void vnort_forget_runtime() {}

const OrtApiBase* vnort_runtime_entry() {
    static const OrtApiBase base = {
        [](uint32_t version) noexcept -> const OrtApi* {
            return !pretends["no table"].empty() || version != 24 ? nullptr : &table;
        },
        []() noexcept { return "1.24"; }};
    return !pretends["no runtime"].empty() ? nullptr : &base;
}

namespace {

int failures;

// All answers of a scene, once it has left nothing behind.
std::string play(Player& player, const Scene& scene, const std::string& circumstances) {
    player.answers = "|";
    for (const Line& line : scene.lines) failures += !player.play(line);
    refusals.call = refusals.allocation = 0;
    refusals.message = "injected";
    player.close();
    pretends.clear();
    log_of_calls.clear();
    std::string left;
    for (const auto& [kind, count] : std::exchange(live, {})) {
        if (count != 0) left += " " + kind + " " + std::to_string(count);
    }
    failures += !left.empty();
    if (!left.empty()) {
        printf("%s: %s leaves behind:%s\n", scene.title.place.c_str(), circumstances.c_str(),
               left.c_str());
    }
    return player.answers;
}

void expect(bool truth, const Scene& scene, const std::string& circumstances,
            const std::string& answers) {
    failures += !truth;
    if (truth) return;
    printf("%s: %s does not show in the answers as it should\n  got       %.1000s\n",
           scene.title.place.c_str(), circumstances.c_str(), answers.c_str());
}

const std::regex kOutOfMemory("out of memory|\\|0\\||failed to read string");

void play_refusing(Player& player, const Scene& scene) {
    const std::string all_well = play(player, scene, "the scene");
    const int calls = refusals.calls, allocations = refusals.allocations;
    for (refusals.next_call = 1; refusals.next_call <= calls; ++refusals.next_call) {
        const std::string what = "refusing call " + std::to_string(refusals.next_call);
        const std::string answers = play(player, scene, what);
        const auto row = shown_as.find(refusals.refused);
        const std::string mark = row != shown_as.end() ? row->second : refusals.refused + " failed";
        expect(mark == "nowhere" ? answers == all_well
                                 : answers != all_well && (mark == "somehow" ||
                                                           answers.find(mark) != std::string::npos),
               scene, what + ", " + refusals.refused + ",", answers);
    }
    refusals.next_call = 0;
    for (int k = 2; k < 2 * allocations + 2; ++k) {
        refusals.next_allocation = k / 2;
        refusals.goes_on = k % 2 != 0;
        const std::string what = "refusing allocation " + std::to_string(k / 2);
        const std::string answers = play(player, scene, what);
        const bool is_shown = std::regex_search(answers, kOutOfMemory);
        expect(is_shown && answers != all_well, scene, what, answers);
    }
    refusals.next_allocation = 0;
    expect(play(player, scene, "the scene") == all_well, scene, "having refused", all_well);
    printf("%s: %d calls, %d allocations refused\n", scene.title.text.c_str(), calls, allocations);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    setvbuf(stdout, nullptr, _IONBF, 0);  // for the case that the process ends early
    void* entry = find_function(argv[1], "OrtGetApiBase");
    real = reinterpret_cast<const OrtApiBase* (*)()>(entry)()->GetApi(24);
    table = *real;
    put_watchers();
    Player player(nullptr, argv[2]);
    for (const Scene& scene : read_script(argv[3])) {
        player.compares = scene.title.text.find("refused") == std::string::npos;
        if (!player.compares) play_refusing(player, scene);
        player.compares = true;
        play(player, scene, "the scene");
    }
    printf("%zu calls played, %d failures\n", player.played, failures);
    return failures > 0 || player.played == 0;
}
