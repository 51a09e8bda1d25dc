#include "twin.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "json/input_tensor.h"
#include "roads.h"

namespace {

// A result's text while it is written; what does not fit is cut.
struct Text {
    char* buffer;
    size_t length;

    void append(const char* piece) {
        size_t room = kResultCapacity - 1 - length;
        size_t wanted = strlen(piece);
        size_t taken = wanted < room ? wanted : room;
        memcpy(buffer + length, piece, taken);
        length += taken;
        buffer[length] = '\0';
    }

    template <typename Value>
    void append_printed(const char* format, Value value) {
        char piece[64];
        snprintf(piece, sizeof piece, format, value);
        append(piece);
    }
};

size_t read_numbers(const char* key, double* numbers, size_t capacity) {
    const char* at = strchr(key, '[') + 1;
    size_t count = 0;
    while (*at != ']') {
        char* end = nullptr;
        if (count == capacity) abort();
        numbers[count++] = strtod(at, &end);
        if (end == at) abort();
        at = *end == ',' ? end + 1 : end;
    }
    return count;
}

void read_input(const char* feed, const char* name, InputTensor* entry) {
    memset(entry, 0, sizeof *entry);
    snprintf(entry->name, sizeof entry->name, "%s", name);
    std::string quoted = "\"" + std::string(name) + "\"";
    const char* brace = strchr(strstr(feed, quoted.c_str()), '{');
    const char* dtype = strchr(strstr(brace, "\"dtype\"") + 7, '"');
    if (strncmp(dtype, "\"float32\"", 9) != 0) abort();
    entry->element_type = ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT;
    double dims[kMaxRank];
    entry->rank = read_numbers(strstr(brace, "\"shape\""), dims, kMaxRank);
    for (size_t i = 0; i < entry->rank; ++i) entry->shape[i] = static_cast<int64_t>(dims[i]);

    double* numbers = static_cast<double*>(malloc(kMaxElements * sizeof(double)));
    entry->element_count = read_numbers(strstr(brace, "\"data\""), numbers, kMaxElements);
    entry->byte_size = entry->element_count * sizeof(float);
    float* data = static_cast<float*>(calloc(entry->element_count, sizeof(float)));
    for (size_t i = 0; i < entry->element_count; ++i) data[i] = static_cast<float>(numbers[i]);
    entry->data = data;
    free(numbers);
}

OrtValue* make_value(const OrtApi* api, float* data, size_t bytes, const int64_t* shape,
                     size_t rank) {
    OrtMemoryInfo* memory = nullptr;
    check(api, api->CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, &memory));
    OrtValue* value = nullptr;
    check(api, api->CreateTensorWithDataAsOrtValue(memory, data, bytes, shape, rank,
                                                   ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &value));
    api->ReleaseMemoryInfo(memory);
    return value;
}

void capture(RunResult* result, const float* data, size_t count, const int64_t* dims, size_t rank) {
    if (result->float_data != nullptr) return;
    result->float_data = static_cast<float*>(malloc(count * sizeof(float)));
    memcpy(result->float_data, data, count * sizeof(float));
    result->float_count = count;
    result->float_rank = rank;
    memcpy(result->float_shape, dims, rank * sizeof(int64_t));
}

void write_output(const OrtApi* api, RunResult* result, Text& text, OrtValue* value) {
    OrtTensorTypeAndShapeInfo* info = nullptr;
    ONNXTensorElementDataType type = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    int64_t dims[kMaxRank];
    size_t rank = 0;
    size_t count = 0;
    void* data = nullptr;
    check(api, api->GetTensorTypeAndShape(value, &info));
    check(api, api->GetTensorElementType(info, &type));
    check(api, api->GetDimensionsCount(info, &rank));
    check(api, api->GetDimensions(info, dims, rank));
    check(api, api->GetTensorShapeElementCount(info, &count));
    api->ReleaseTensorTypeAndShapeInfo(info);
    check(api, api->GetTensorMutableData(value, &data));
    const float* elements = static_cast<const float*>(data);
    capture(result, elements, count, dims, rank);
    text.append("{\"dtype\":\"float32\",\"shape\":[");
    for (size_t i = 0; i < rank; ++i) {
        text.append_printed(i > 0 ? ",%lld" : "%lld", static_cast<long long>(dims[i]));
    }
    text.append("],\"data\":[");
    for (size_t i = 0; i < count; ++i) {
        text.append_printed(i > 0 ? ",%.9g" : "%.9g", static_cast<double>(elements[i]));
    }
    text.append("]}");
}

void run_and_write(const OrtApi* api, OrtSession* session, const char* const* names,
                   const OrtValue* const* values, size_t count, const Strings& outputs,
                   RunResult* result) {
    const char* wanted[kMaxOutputs];
    OrtValue* made[kMaxOutputs] = {};
    for (size_t i = 0; i < outputs.size(); ++i) wanted[i] = outputs[i].c_str();
    check(api, api->Run(session, nullptr, names, values, count, wanted, outputs.size(), made));
    Text text = {result->json, 0};
    text.append("{\"outputs\":{");
    for (size_t i = 0; i < outputs.size(); ++i) {
        text.append(i > 0 ? ",\"" : "\"");
        text.append(wanted[i]);
        text.append("\":");
        write_output(api, result, text, made[i]);
        api->ReleaseValue(made[i]);
    }
    text.append("}}");
}

RunResult* new_result() { return static_cast<RunResult*>(calloc(1, sizeof(RunResult))); }

}  // namespace

RunResult* twin_run_json(const OrtApi* api, OrtSession* session, const Strings& inputs,
                         const Strings& outputs, const char* feed) {
    RunResult* result = new_result();
    InputTensorSet entries;
    const char* names[kMaxInputs];
    const OrtValue* values[kMaxInputs];
    for (size_t i = 0; i < inputs.size(); ++i) {
        InputTensor& entry = entries[i];
        read_input(feed, inputs[i].c_str(), &entry);
        entry.value = make_value(api, static_cast<float*>(entry.data), entry.byte_size, entry.shape,
                                 entry.rank);
        names[i] = entry.name;
        values[i] = entry.value;
    }
    run_and_write(api, session, names, values, inputs.size(), outputs, result);
    for (size_t i = 0; i < inputs.size(); ++i) {
        api->ReleaseValue(entries[i].value);
        free(entries[i].data);
    }
    return result;
}

RunResult* twin_run_tensor(const OrtApi* api, OrtSession* session, const char* input, float* data,
                           int64_t count, const Strings& outputs) {
    RunResult* result = new_result();
    OrtValue* value = make_value(api, data, static_cast<size_t>(count) * sizeof(float), &count, 1);
    run_and_write(api, session, &input, &value, 1, outputs, result);
    api->ReleaseValue(value);
    return result;
}

void twin_release(RunResult* result) {
    free(result->float_data);
    free(result);
}
