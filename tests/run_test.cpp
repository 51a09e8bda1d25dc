// What the script of calls cannot see of the runs: what they ask of ONNX Runtime and in which
// order, that nothing piles up, and that the numbers are ONNX Runtime's own.
#include <string.h>

#include "binding/io_binding.h"
#include "core/runtime.h"
#include "run/run_result.h"
#include "support/vornic_test.h"

namespace {

class RunTest : public VornicTest {};

const char kItem[] = R"({"dtype":"float","shape":[1,3],"data":[0,1,2]})";
const char kReading[] =
    "GetTensorTypeAndShape GetTensorElementType GetDimensionsCount GetDimensions "
    "GetTensorShapeElementCount GetTensorMutableData ReleaseTensorTypeAndShapeInfo ";

// The names of the calls recorded since the last time.
std::string calls() {
    std::string names;
    for (const std::string& line : spy.log) names += line.substr(0, line.find(' ')) + " ";
    spy.log.clear();
    return names;
}

TEST_F(RunTest, CallsInOrder) {
    Session session = open_session("double");
    Tensor tensor(onnxruntime_vn_tensor_zeros_f32("[1,3]"));
    const std::string make =
        "CreateCpuMemoryInfo CreateTensorWithDataAsOrtValue ReleaseMemoryInfo ";
    calls();
    EXPECT_NE(run_json(session, std::string("{\"x\":") + kItem + "}"), nullptr);
    EXPECT_EQ(calls(), make + "Run " + kReading + "ReleaseValue ReleaseValue ");
    EXPECT_EQ(run_json(session, "{}", "bad"), nullptr);
    EXPECT_EQ(error(), "missing input 'x' in feed JSON");
    Result(onnxruntime_vn_run_tensor_fast(session.get(), "x", tensor.get(), nullptr));
    EXPECT_EQ(calls(), make + "Run ReleaseValue " + kReading + "ReleaseValue ");
    Binding binding(onnxruntime_vn_create_iobinding(session.get()));
    onnxruntime_vn_iobinding_bind_cpu_input_json(binding.get(), "x", kItem);
    onnxruntime_vn_iobinding_bind_output(binding.get(), "y");
    EXPECT_EQ(calls(), "CreateIoBinding " + make +
                           "BindInput CreateCpuMemoryInfo BindOutputToDevice ReleaseMemoryInfo ");
    Result(onnxruntime_vn_run_with_iobinding(session.get(), binding.get(), nullptr));
    EXPECT_EQ(calls(), std::string("RunWithBinding SynchronizeBoundOutputs "
                                   "GetAllocatorWithDefaultOptions GetBoundOutputValues ") +
                           kReading + "ReleaseValue ");
    onnxruntime_vn_iobinding_clear_inputs(binding.get());
    onnxruntime_vn_iobinding_bind_cpu_input_json(binding.get(), "x", kItem);
    binding.reset();
    EXPECT_EQ(calls(),
              "ClearBoundInputs ReleaseValue " + make + "BindInput ReleaseIoBinding ReleaseValue ");
}

TEST_F(RunTest, BindsSixteen) {
    Session session = open_session("double");
    Binding binding(onnxruntime_vn_create_iobinding(session.get()));
    std::string name(200, 'n');
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 17; ++i) {
            onnxruntime_vn_tensor_zeros_f32(nullptr);  // an earlier text, to be left alone
            EXPECT_EQ(onnxruntime_vn_iobinding_bind_cpu_input_json(binding.get(), "x", kItem),
                      i < 16);
            EXPECT_EQ(onnxruntime_vn_iobinding_bind_output(binding.get(), name.c_str()), i < 16);
            EXPECT_EQ(error(), "invalid shape_json");
        }
        EXPECT_EQ(binding->output_names[15], name.substr(0, 127));
        EXPECT_EQ(onnxruntime_vn_iobinding_clear_inputs(binding.get()), 1);
        EXPECT_EQ(onnxruntime_vn_iobinding_clear_outputs(binding.get()), 1);
    }
    RunResult huge = {};
    float element = 1;
    huge.float_data = &element;
    huge.float_count = 1ull << 31;
    EXPECT_EQ(onnxruntime_vn_result_float_count(&huge), 0);
    EXPECT_EQ(onnxruntime_vn_result_float_data(&huge), &element);
}

TEST_F(RunTest, PilesNothingUp) {
    Session session = open_session("double");
    Binding binding(onnxruntime_vn_create_iobinding(session.get()));
    WatchHeap watch;
    ASSERT_EQ(onnxruntime_vn_iobinding_bind_cpu_input_json(binding.get(), "x", kItem), 1);
    ASSERT_EQ(onnxruntime_vn_iobinding_bind_output(binding.get(), "y"), 1);
    const std::string before = spy.leftovers();
    for (int i = 0; i < 10000; ++i) {
        Result result(onnxruntime_vn_run_with_iobinding(session.get(), binding.get(), nullptr));
        ASSERT_NE(result, nullptr) << error();
        if (i % 100 == 0) reset_spy();
    }
    EXPECT_EQ(spy.leftovers(), before);
    binding.reset();
}

// The first output of a direct call of ONNX Runtime.
std::vector<float> run_directly(const Session& session, const char* input, std::vector<float>& data,
                                const std::vector<int64_t>& shape) {
    const OrtApi& api = *g_api;
    OrtMemoryInfo* memory = nullptr;
    OrtValue* value = nullptr;
    OrtValue* output = nullptr;
    OrtTensorTypeAndShapeInfo* info = nullptr;
    void* floats = nullptr;
    size_t count = 0;
    const char* name = session->output_names[0];
    bool all = !api.CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, &memory) &&
               !api.CreateTensorWithDataAsOrtValue(memory, data.data(), data.size() * 4,
                                                   shape.data(), shape.size(),
                                                   ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &value) &&
               !api.Run(session->session, nullptr, &input, &value, 1, &name, 1, &output) &&
               !api.GetTensorTypeAndShape(output, &info) &&
               !api.GetTensorShapeElementCount(info, &count) &&
               !api.GetTensorMutableData(output, &floats);
    EXPECT_TRUE(all);
    const float* first = static_cast<const float*>(floats);
    std::vector<float> result(first, first + count);
    api.ReleaseTensorTypeAndShapeInfo(info);
    api.ReleaseValue(output);
    api.ReleaseValue(value);
    api.ReleaseMemoryInfo(memory);
    return result;
}

TEST_F(RunTest, GivesTheRuntimesOwnFloats) {
    const struct {
        const char* model;
        std::vector<int64_t> shape;
    } rows[] = {
        {"melspectrogram", {1, 16000}},    {"embedding_model", {1, 76, 32, 1}},
        {"alexa_v0.1", {1, 16, 96}},       {"hey_jarvis_v0.1", {1, 16, 96}},
        {"hey_mycroft_v0.1", {1, 16, 96}}, {"hey_rhasspy_v0.1", {1, 16, 96}},
        {"weather_v0.1", {1, 22, 96}},
    };
    for (const auto& row : rows) {
        const std::string path = std::string(VORNIC_TEST_SPEECH_MODELS) + "/" + row.model + ".onnx";
        Session session(onnxruntime_vn_create_session(path.c_str(), nullptr));
        ASSERT_NE(session, nullptr) << error();
        std::vector<float> data(1);
        for (int64_t dim : row.shape) data.resize(data.size() * static_cast<size_t>(dim));
        for (size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<float>(i * 37 % 101) / 50 - 1;
        const char* input = session->input_names[0];
        std::vector<float> expected = run_directly(session, input, data, row.shape);
        Tensor tensor(onnxruntime_vn_tensor_from_f32(data.data(), static_cast<int32_t>(data.size()),
                                                     row.shape.data(),
                                                     static_cast<int32_t>(row.shape.size())));
        for (auto run : {onnxruntime_vn_run_tensor, onnxruntime_vn_run_tensor_fast}) {
            Result result(run(session.get(), input, tensor.get(), nullptr));
            ASSERT_NE(result, nullptr) << row.model << ": " << error();
            ASSERT_EQ(onnxruntime_vn_result_float_count(result.get()),
                      static_cast<int32_t>(expected.size()));
            EXPECT_EQ(memcmp(onnxruntime_vn_result_float_data(result.get()), expected.data(),
                             expected.size() * sizeof(float)),
                      0)
                << row.model;
        }
    }
}

// A real model whose output has a name of more than 127 bytes: only a binding reaches it.
TEST_F(RunTest, RunsALongNameThroughABinding) {
    const std::string path = std::string(VORNIC_TEST_SPEECH_MODELS) + "/timer_v0.1.onnx";
    Session session(onnxruntime_vn_create_session(path.c_str(), nullptr));
    ASSERT_NE(session, nullptr) << error();
    std::string name = onnxruntime_vn_get_outputs_json(session.get());
    name = name.substr(10, name.find("\",\"type\"") - 10);
    std::erase(name, '\\');  // it holds quotes, but no backslashes of its own
    ASSERT_GT(name.size(), 127u);
    std::string zeros = "0";
    for (int i = 1; i < 34 * 96; ++i) zeros += ",0";
    const std::string item = R"({"dtype":"float","shape":[1,34,96],"data":[)" + zeros + "]}";
    const std::string input = session->input_names[0];
    EXPECT_EQ(run_json(session, "{\"" + input + "\":" + item + "}"), nullptr);
    EXPECT_EQ(refusal(), "Run failed");
    Binding binding(onnxruntime_vn_create_iobinding(session.get()));
    EXPECT_EQ(
        onnxruntime_vn_iobinding_bind_cpu_input_json(binding.get(), input.c_str(), item.c_str()),
        1);
    EXPECT_EQ(onnxruntime_vn_iobinding_bind_output(binding.get(), name.c_str()), 1);
    Result result(onnxruntime_vn_run_with_iobinding(session.get(), binding.get(), nullptr));
    ASSERT_NE(result, nullptr) << error();
    std::string text = onnxruntime_vn_result_json(result.get());
    std::erase(text, '\\');
    EXPECT_EQ(text.substr(13, 139), name.substr(0, 127) + "\":{\"dtype\":\"");
}

}  // namespace
