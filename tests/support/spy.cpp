#include "support/spy.h"

#include <stdlib.h>
#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <mutex>
#include <set>
#include <type_traits>

#include "core/runtime.h"
#include "core/runtime_entry.h"

Spy spy;

namespace {

std::recursive_mutex spy_mutex;
// Not thread_local: where that is emulated it takes heap blocks itself.
int inside_spy = 0;  // the spy's own heap blocks are not counted
int watching_heap = 0;
std::set<void*>* blocks = nullptr;

struct Inside {
    std::lock_guard<std::recursive_mutex> lock{spy_mutex};
    Inside() { ++inside_spy; }
    ~Inside() { --inside_spy; }
};

const OrtApi* real = nullptr;
OrtApi table;

// What the calls of these names make, and what the calls named Release + kind take back.
const std::map<std::string, std::string> kMakers = {
    {"CreateEnv", "Env"},
    {"CreateSessionOptions", "SessionOptions"},
    {"CreateSession", "Session"},
    {"CreateRunOptions", "RunOptions"},
    {"CreateCpuMemoryInfo", "MemoryInfo"},
    {"CreateTensorWithDataAsOrtValue", "Value"},
    {"CreateTensorAsOrtValue", "Value"},
    {"SessionGetInputTypeInfo", "TypeInfo"},
    {"SessionGetOutputTypeInfo", "TypeInfo"},
    {"SessionGetModelMetadata", "ModelMetadata"},
    {"GetTensorTypeAndShape", "TensorTypeAndShapeInfo"},
    {"CreateIoBinding", "IoBinding"},
    {"GetAvailableProviders", "AvailableProviders"},
};

template <typename Argument>
void describe(std::string& line, Argument argument) {
    if constexpr (std::is_enum_v<Argument>) {
        line += " " + std::to_string(static_cast<int>(argument));
    } else if constexpr (std::is_arithmetic_v<Argument>) {
        line += " " + std::to_string(argument);
    } else if constexpr (std::is_same_v<Argument, const char*>) {
        line += std::string(" ") + (argument != nullptr ? argument : "null");
    }
}

// Records a call; true when it is to fail.
template <typename... Arguments>
bool record(const char* name, bool returns_status, Arguments... arguments) {
    std::string line = name;
    (describe(line, arguments), ...);
    spy.log.push_back(line);
    if (!returns_status) return false;
    if (++spy.calls != spy.fail_call) return false;
    spy.failed = name;
    return true;
}

int count_values(OrtValue* const* values, size_t count) {
    int found = 0;
    for (size_t i = 0; i < count; ++i) found += values[i] != nullptr;
    return found;
}

template <auto member>
const char* name_of;

template <auto member, typename Function = std::remove_reference_t<decltype(table.*member)>>
struct Wrapper;

template <auto member, typename... Arguments>
struct Wrapper<member, OrtStatus* (*)(Arguments...) noexcept> {
    static OrtStatus* call(Arguments... arguments) noexcept {
        {
            Inside inside;
            if (record(name_of<member>, true, arguments...)) {
                if (is_release()) {
                    real->ReleaseStatus((real->*member)(arguments...));
                    --spy.live["AvailableProviders"];
                }
                ++spy.live["Status"];
                return real->CreateStatus(ORT_FAIL, spy.message.c_str());
            }
        }
        OrtStatus* status = (real->*member)(arguments...);
        Inside inside;
        if (status != nullptr) {
            ++spy.live["Status"];
        } else if (auto maker = kMakers.find(name_of<member>); maker != kMakers.end()) {
            ++spy.live[maker->second];
        } else {
            count_outputs(arguments...);
        }
        return status;
    }

    // The one release that gives a status does its work even where it is made to fail.
    static bool is_release() { return std::string("ReleaseAvailableProviders") == name_of<member>; }
    template <typename... Any>
    static void count_outputs(Any...) {
        if (is_release()) --spy.live["AvailableProviders"];
    }
    static void count_outputs(OrtSession*, const OrtRunOptions*, const char* const*,
                              const OrtValue* const*, size_t, const char* const*, size_t count,
                              OrtValue** values) {
        spy.live["Value"] += count_values(values, count);
    }
    static void count_outputs(const OrtIoBinding*, OrtAllocator*, OrtValue*** values,
                              size_t* count) {
        spy.live["Value"] += count_values(*values, *count);
    }
};

template <auto member, typename Argument>
struct Wrapper<member, void (*)(Argument*)> {
    static void call(Argument* argument) {
        {
            Inside inside;
            record(name_of<member>, false);
            --spy.live[std::string(name_of<member>).substr(sizeof "Release" - 1)];
        }
        (real->*member)(argument);
    }
};

template <auto member, typename Argument>
struct Wrapper<member, void (*)(Argument*) noexcept> {
    static void call(Argument* argument) noexcept {
        {
            Inside inside;
            record(name_of<member>, false);
        }
        (real->*member)(argument);
    }
};

// The default allocator, with what it has given out counted.
OrtAllocator* real_allocator = nullptr;
OrtAllocator counting_allocator;

void* ORT_API_CALL counted_alloc(OrtAllocator*, size_t size) {
    Inside inside;
    ++spy.live["allocator memory"];
    return real_allocator->Alloc(real_allocator, size);
}

void ORT_API_CALL counted_free(OrtAllocator*, void* memory) {
    Inside inside;
    if (memory != nullptr) --spy.live["allocator memory"];
    real_allocator->Free(real_allocator, memory);
}

const OrtMemoryInfo* ORT_API_CALL allocator_info(const OrtAllocator*) {
    return real_allocator->Info(real_allocator);
}

OrtStatus* ORT_API_CALL get_allocator(OrtAllocator** allocator) noexcept {
    OrtStatus* status = Wrapper<&OrtApi::GetAllocatorWithDefaultOptions>::call(&real_allocator);
    counting_allocator = *real_allocator;
    counting_allocator.Alloc = counted_alloc;
    counting_allocator.Free = counted_free;
    counting_allocator.Info = allocator_info;
    if (status == nullptr) *allocator = &counting_allocator;
    return status;
}

template <auto member>
void wrap(const char* name) {
    name_of<member> = name;
    table.*member = Wrapper<member>::call;
}

void wrap_table() {
    table = *real;
    // clang-format off
#define WRAP(name) wrap<&OrtApi::name>(#name);
    WRAP(BindInput) WRAP(BindOutputToDevice) WRAP(CastTypeInfoToTensorInfo) WRAP(ClearBoundInputs)
    WRAP(ClearBoundOutputs) WRAP(CreateCpuMemoryInfo) WRAP(CreateEnv) WRAP(CreateIoBinding)
    WRAP(CreateRunOptions) WRAP(CreateSession) WRAP(CreateSessionOptions)
    WRAP(CreateTensorAsOrtValue) WRAP(CreateTensorWithDataAsOrtValue) WRAP(DisableCpuMemArena)
    WRAP(DisableMemPattern) WRAP(DisableProfiling) WRAP(EnableCpuMemArena) WRAP(EnableMemPattern)
    WRAP(EnableProfiling) WRAP(FillStringTensor) WRAP(GetAvailableProviders)
    WRAP(GetBoundOutputValues) WRAP(GetDimensions) WRAP(GetDimensionsCount)
    WRAP(GetStringTensorContent) WRAP(GetStringTensorDataLength) WRAP(GetSymbolicDimensions)
    WRAP(GetTensorElementType) WRAP(GetTensorMutableData) WRAP(GetTensorShapeElementCount)
    WRAP(GetTensorTypeAndShape) WRAP(ModelMetadataGetCustomMetadataMapKeys)
    WRAP(ModelMetadataGetDescription) WRAP(ModelMetadataGetDomain) WRAP(ModelMetadataGetGraphName)
    WRAP(ModelMetadataGetProducerName) WRAP(ModelMetadataGetVersion)
    WRAP(ModelMetadataLookupCustomMetadataMap) WRAP(ReleaseAvailableProviders) WRAP(ReleaseEnv)
    WRAP(ReleaseIoBinding) WRAP(ReleaseMemoryInfo) WRAP(ReleaseModelMetadata)
    WRAP(ReleaseRunOptions) WRAP(ReleaseSession) WRAP(ReleaseSessionOptions) WRAP(ReleaseStatus)
    WRAP(ReleaseTensorTypeAndShapeInfo) WRAP(ReleaseTypeInfo) WRAP(ReleaseValue) WRAP(Run)
    WRAP(RunOptionsSetRunLogSeverityLevel) WRAP(RunOptionsSetRunLogVerbosityLevel)
    WRAP(RunOptionsSetRunTag) WRAP(RunOptionsSetTerminate) WRAP(RunOptionsUnsetTerminate)
    WRAP(RunWithBinding) WRAP(SessionEndProfiling) WRAP(SessionGetInputCount)
    WRAP(SessionGetInputName) WRAP(SessionGetInputTypeInfo) WRAP(SessionGetModelMetadata)
    WRAP(SessionGetOutputCount) WRAP(SessionGetOutputName) WRAP(SessionGetOutputTypeInfo)
    WRAP(SessionOptionsAppendExecutionProvider) WRAP(SetInterOpNumThreads)
    WRAP(SetIntraOpNumThreads) WRAP(SetSessionExecutionMode)
    WRAP(SetSessionGraphOptimizationLevel) WRAP(SetSessionLogId) WRAP(SetSessionLogSeverityLevel)
    WRAP(SetSessionLogVerbosityLevel) WRAP(SynchronizeBoundInputs) WRAP(SynchronizeBoundOutputs)
#undef WRAP
        // clang-format on
        wrap<&OrtApi::GetAllocatorWithDefaultOptions>("GetAllocatorWithDefaultOptions");
    table.GetAllocatorWithDefaultOptions = get_allocator;
}

const OrtApi* ORT_API_CALL get_api(uint32_t version) noexcept {
    if (spy.null_table || version != 24) return nullptr;
    return &table;
}

const OrtApiBase* real_base() {
#ifdef _WIN32
    void* entry =
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(VORNIC_TEST_RUNTIME), "OrtGetApiBase"));
#else
    void* entry = dlsym(dlopen(VORNIC_TEST_RUNTIME, RTLD_NOW), "OrtGetApiBase");
#endif
    return reinterpret_cast<const OrtApiBase*(ORT_API_CALL*)()>(entry)();
}

const char* ORT_API_CALL get_version() noexcept { return real_base()->GetVersionString(); }

bool fails_allocation() {
    if (watching_heap == 0 || inside_spy != 0) return false;
    ++spy.allocations;
    return spy.fail_allocation != 0 && (spy.persistent ? spy.allocations >= spy.fail_allocation
                                                       : spy.allocations == spy.fail_allocation);
}

void* note_block(void* block) {
    if (watching_heap == 0 || inside_spy != 0 || block == nullptr) return block;
    Inside inside;
    if (blocks == nullptr) blocks = new std::set<void*>;
    if (blocks->insert(block).second) ++spy.live["block"];
    return block;
}

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
    return fails_allocation() ? nullptr : note_block(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
    return fails_allocation() ? nullptr : note_block(__real_calloc(count, size));
}

void __wrap_free(void* block) {
    if (block != nullptr && inside_spy == 0 && blocks != nullptr) {
        Inside inside;
        if (blocks->erase(block) != 0) --spy.live["block"];
    }
    __real_free(block);
}
}

// The tests' own objects stay out of the count: where the C++ library is linked statically, its
// operators would call the functions above.
void* operator new(size_t size) {
    void* block = __real_malloc(size > 0 ? size : 1);
    if (block == nullptr) abort();
    return block;
}
void operator delete(void* block) noexcept { __real_free(block); }
void operator delete(void* block, size_t) noexcept { __real_free(block); }

void vnort_forget_runtime() {}

const OrtApiBase* vnort_runtime_entry() {
    static const OrtApiBase base = {get_api, get_version};
    if (spy.null_base) return nullptr;
    if (real == nullptr) {
        real = real_base()->GetApi(24);
        wrap_table();
    }
    return &base;
}

OrtApi& spy_table() { return table; }

void reset_spy() {
    Inside inside;
    std::map<std::string, int> live = std::move(spy.live);
    spy = Spy();
    spy.live = std::move(live);
    if (real != nullptr) wrap_table();
}

WatchHeap::WatchHeap() { ++watching_heap; }
WatchHeap::~WatchHeap() { --watching_heap; }

std::string Spy::leftovers() const {
    std::string text;
    for (const auto& [kind, count] : live) {
        if (count != 0) text += kind + " " + std::to_string(count) + "; ";
    }
    return text;
}
