// Plays a script over the library's objects and a function table that stands before ONNX Runtime's:
// it writes the calls down, counts what lives, and refuses a call or an allocation on demand. A scene
// whose title says "refused" is played again and again, each time with another refusal.
//
//     watch RUNTIME MODELS SCRIPT
#include <onnxruntime_c_api.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <set>
#include <type_traits>
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
std::map<std::string, int> live;      // objects, blocks and memory by kind
std::map<std::string, int> pretends;  // what the script wishes to be otherwise
const char* given_text;               // what the next call that makes a text is to make

// Which call that can be refused is, and which allocation; 0 for none. A scene's are counted from
// where it says "begin".
struct Refusals {
    int calls = 0, call = 0, next_call = 0;
    int allocations = 0, allocation = 0, next_allocation = 0;
    bool goes_on = false;  // all allocations from that one on
    std::string refused;   // the name of the call
    const char* message = "injected";
} refusals;

// The tests' own blocks are not counted.
struct Outside {
    const bool was_calling = g_is_calling.exchange(false);
    ~Outside() { g_is_calling = was_calling; }
};

template <typename Object>
std::string kind_of() {
    const std::string name = __PRETTY_FUNCTION__;
    const size_t start = name.find("Object = ") + strlen("Object = ");
    return name.substr(start, name.find_first_of(";]", start) - start);
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

void give(OrtAllocator* allocator, char** text) {
    if (given_text == nullptr) return;
    allocator->Free(allocator, *text);
    *text = static_cast<char*>(allocator->Alloc(allocator, strlen(given_text) + 1));
    strcpy(*text, std::exchange(given_text, nullptr));
}

void after(OrtSession*, OrtAllocator* allocator, char** text) { give(allocator, text); }

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
            name == "SessionOptionsAppendExecutionProvider" && pretends["provider"];
        if (!is_played && (!is_refused || name == "ReleaseAvailableProviders")) {
            status = (real->*member)(arguments...);
            if (status == nullptr) {
                (count_made(arguments), ...);
                after(arguments...);
            }
        }
        if (is_refused) {
            refusals.refused = name;
            status = real->CreateStatus(ORT_FAIL, refusals.message);
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
        return pretends["no message"] ? nullptr : real->GetErrorMessage(status);
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

std::string leftovers() {
    std::string text;
    for (const auto& [kind, count] : live) {
        if (count != 0) text += kind + " " + std::to_string(count) + "; ";
    }
    return text;
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
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_calls(const char* end) {
    const Outside outside;
    static std::string text;
    text = std::exchange(log_of_calls, "");
    if (end != nullptr) text.resize(std::min(text.find(end), text.size()));
    return text.c_str();
}
ONNXRUNTIME_VN_API(void) onnxruntime_vn_begin() {
    refusals.calls = refusals.allocations = 0;
    refusals.call = refusals.next_call;
    refusals.allocation = refusals.next_allocation;
}
ONNXRUNTIME_VN_API(void) onnxruntime_vn_refuse(Word k, const char* message) {
    const Outside outside;
    static std::string kept;
    kept = message;
    refusals.message = kept.c_str();
    refusals.call = refusals.calls + static_cast<int>(k);
}
ONNXRUNTIME_VN_API(void) onnxruntime_vn_pretend(const char* what, Word truth) {
    const Outside outside;
    pretends[what] = truth != 0;
}
ONNXRUNTIME_VN_API(void) onnxruntime_vn_give(const char* text) {
    const Outside outside;
    static std::string kept;
    kept = text;
    given_text = kept.c_str();
}
ONNXRUNTIME_VN_API(void) onnxruntime_vn_shown(const char* names, const char* as) {
    const Outside outside;
    for (const char* at = names; *at != '\0'; at += strspn(at, " ")) {
        const size_t length = strcspn(at, " ");
        shown_as[std::string(at, length)] = as;
        at += length;
    }
}
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_provider_options(const char* text) {
    const Outside outside;
    static ProviderOptions list;
    static std::string got;
    got.clear();
    if (!vnort_parse_provider_options(text, &list)) return nullptr;
    for (uint64_t i = 0; i < list.count; ++i)
        got += std::string(list.keys[i]) + "=" + list.values[i] + ";";
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
    static const OrtApiBase base = {[](uint32_t version) noexcept -> const OrtApi* {
                                        return pretends["no table"] || version != 24 ? nullptr
                                                                                     : &table;
                                    },
                                    []() noexcept { return "1.24"; }};
    return pretends["no runtime"] ? nullptr : &base;
}

namespace {

using Lines = std::vector<Line>;

Player* player;
int failed;

void expect(bool truth, const std::string& where, const std::string& what) {
    if (truth) return;
    ++failed;
    printf("%s: %.1000s\n", where.c_str(), what.c_str());
}

// All answers of a scene; `left` tells what lives before the handles are released and after.
std::string play(const Lines& scene) {
    player->answers = "|";
    for (const Line& line : scene) failed += !player->play(line);
    refusals.call = refusals.allocation = 0;
    refusals.message = "injected";
    player->close();
    log_of_calls.clear();
    return player->answers;
}

void expect_outcome(const Line& title, const std::string& what, bool is_right,
                    const std::string& answers) {
    expect(is_right, title.place, what + ": the answers do not show it as they should: " + answers);
    expect(leftovers().empty(), title.place, what + ": left behind: " + leftovers());
    live.clear();
}

void play_refusing(const Line& title, const Lines& scene) {
    player->compares = false;
    const std::string all_well = play(scene);
    const int last_call = refusals.calls, last_allocation = refusals.allocations;
    for (refusals.next_call = 1; refusals.next_call <= last_call; ++refusals.next_call) {
        const std::string answers = play(scene), name = refusals.refused;
        const auto row = shown_as.find(name);
        const std::string marker = row != shown_as.end() ? row->second : name + " failed";
        const bool is_shown = answers != all_well && answers.find(marker) != std::string::npos;
        expect_outcome(title,
                       "call " + std::to_string(refusals.next_call) + ", " + name + ", refused",
                       marker == "nowhere"   ? answers == all_well
                       : marker == "somehow" ? answers != all_well
                                             : is_shown,
                       answers);
    }
    refusals.next_call = 0;
    for (int k = 2; k < 2 * last_allocation + 2; ++k) {
        refusals.next_allocation = k / 2;
        refusals.goes_on = k % 2 != 0;
        const std::string answers = play(scene);
        bool is_shown = false;
        for (const char* text : {"out of memory", "|0|", "failed to read string"}) {
            is_shown = is_shown || answers.find(text) != std::string::npos;
        }
        expect_outcome(title, "allocation " + std::to_string(k / 2) + " refused",
                       is_shown && answers != all_well, answers);
    }
    refusals.next_allocation = 0;
    expect_outcome(title, "after all refusals", play(scene) == all_well, all_well);
    player->compares = true;
    printf("%s: %d calls, %d allocations refused\n", title.text.c_str(), last_call,
           last_allocation);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    setvbuf(stdout, nullptr, _IONBF, 0);  // for the case that the process ends early
    void* entry = find_function(argv[1], "OrtGetApiBase");
    real = reinterpret_cast<const OrtApiBase* (*)()>(entry)()->GetApi(24);
    table = *real;
    put_watchers();
    Player first(nullptr, argv[2]);
    player = &first;
    std::ifstream script(argv[3]);
    Line line, title;
    Lines scene;
    const auto finish = [&] {
        if (title.text.find("refused") != std::string::npos) play_refusing(title, scene);
        play(scene);
        expect(leftovers().empty(), title.place, "left behind: " + leftovers());
        scene.clear();
        live.clear();
    };
    for (int number = 1; std::getline(script, line.text); ++number) {
        line.place = std::string(argv[3]) + ":" + std::to_string(number);
        if (line.text.rfind("== ", 0) == 0) {
            finish();
            title = line;
        } else if (!line.text.empty() && line.text[0] != '#') {
            scene.push_back(line);
        }
    }
    finish();
    printf("%zu calls played, %d failures\n", first.played, failed);
    return failed > 0 || first.played == 0;
}
