// What the tests share: handles that release themselves, the folder of models, and a fixture that
// finds everything released at the end of each test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "onnxruntime_vornic.h"
#include "support/spy.h"

template <auto release>
struct Release {
    template <typename Handle>
    void operator()(Handle* handle) const {
        release(handle);
    }
};
using Options = std::unique_ptr<SessionOptions, Release<onnxruntime_vn_release_session_options>>;
using Session = std::unique_ptr<InferenceSession, Release<onnxruntime_vn_release_session>>;
using Result = std::unique_ptr<RunResult, Release<onnxruntime_vn_release_result>>;
using RunOptions = std::unique_ptr<OrtRunOptions, Release<onnxruntime_vn_release_run_options>>;
using Tensor = std::unique_ptr<FloatTensor, Release<onnxruntime_vn_release_tensor>>;
using Binding = std::unique_ptr<IoBinding, Release<onnxruntime_vn_release_iobinding>>;

inline std::string error() { return onnxruntime_vn_last_error(); }

// The last error up to ONNX Runtime's own words.
inline std::string refusal() { return error().substr(0, error().find(": ")); }

inline std::string model(const std::string& name) {
    return std::string(VORNIC_TEST_MODELS) + "/" + name + ".onnx";
}

inline Session open_session(const std::string& name, const SessionOptions* options = nullptr) {
    return Session(onnxruntime_vn_create_session(model(name).c_str(), options));
}

inline Result run_json(const Session& session, const std::string& feed,
                       const char* names = nullptr) {
    return Result(onnxruntime_vn_run_json(session.get(), names, feed.c_str()));
}

// A feed text with one float32 input called x.
inline std::string feed_x(const std::string& shape, const std::string& data) {
    return R"({"x":{"dtype":"float32","shape":)" + shape + R"(,"data":)" + data + "}}";
}

class VornicTest : public testing::Test {
protected:
    void SetUp() override {
        onnxruntime_vn_available();
        reset_spy();
    }
    void TearDown() override { EXPECT_EQ(spy.leftovers(), ""); }
};
