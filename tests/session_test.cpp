#include "session/inference_session.h"

#include "session/provider_options.h"
#include "session/session_options.h"
#include "support/vornic_test.h"

namespace {

class SessionTest : public VornicTest {};

const char kCreation[] = "CreateEnv 2 vornic-onnxruntime; CreateSessionOptions; ";

std::string options_calls() {
    std::string calls;
    for (const std::string& line : spy.log) {
        if (line.rfind("CreateSession", 0) == 0 && line != "CreateSessionOptions") break;
        calls += line + "; ";
    }
    return calls;
}

std::string last_calls(size_t count) {
    std::string calls;
    for (size_t i = spy.log.size() - count; i < spy.log.size(); ++i) calls += spy.log[i] + "; ";
    return calls;
}

TEST_F(SessionTest, AppliesSettingsInOrder) {
    auto all = [](SessionOptions* o) {
        onnxruntime_vn_session_options_append_execution_provider_with_options(
            o, "CPU", R"({"use_arena":"1","other":"0","use_arena":false,"use_arena":"0"})");
        onnxruntime_vn_session_options_set_log_severity_level(o, 3);
        onnxruntime_vn_session_options_set_log_verbosity_level(o, 0);
        onnxruntime_vn_session_options_set_log_id(o, "me");
        onnxruntime_vn_session_options_disable_mem_pattern(o);
        onnxruntime_vn_session_options_enable_cpu_mem_arena(o);
        onnxruntime_vn_session_options_set_execution_mode(o, 0);
        onnxruntime_vn_session_options_set_graph_optimization_level(o, 1);
        onnxruntime_vn_session_options_set_inter_op_num_threads(o, 3);
        onnxruntime_vn_session_options_set_intra_op_num_threads(o, 2);
        onnxruntime_vn_session_options_enable_profiling(o, nullptr);
        onnxruntime_vn_session_options_disable_profiling(o);
    };
    auto others = [](SessionOptions* o) {
        onnxruntime_vn_session_options_set_intra_op_num_threads(o, -1);
        onnxruntime_vn_session_options_set_graph_optimization_level(o, 12345);  // refused, ignored
        onnxruntime_vn_session_options_disable_cpu_mem_arena(o);
        onnxruntime_vn_session_options_enable_mem_pattern(o);
        onnxruntime_vn_session_options_set_log_id(o, nullptr);
        onnxruntime_vn_session_options_append_execution_provider(o, "CPUExecutionProvider");
    };
    struct {
        void (*set)(SessionOptions*);
        std::string calls;
    } cases[] = {
        {[](SessionOptions*) {}, "SetSessionGraphOptimizationLevel 99; "},
        {all,
         "SetIntraOpNumThreads 2; SetInterOpNumThreads 3; SetSessionGraphOptimizationLevel 1; "
         "SetSessionExecutionMode 0; EnableCpuMemArena; DisableMemPattern; SetSessionLogId me; "
         "SetSessionLogVerbosityLevel 0; SetSessionLogSeverityLevel 3; DisableProfiling; "
         "EnableCpuMemArena; DisableCpuMemArena; DisableCpuMemArena; "},
        {others,
         "SetSessionGraphOptimizationLevel 12345; ReleaseStatus; DisableCpuMemArena; "
         "EnableMemPattern; "},
    };
    for (const auto& row : cases) {
        Options options(onnxruntime_vn_create_session_options());
        row.set(options.get());
        reset_spy();
        EXPECT_NE(open_session("double", options.get()), nullptr) << error();
        EXPECT_EQ(error(), "");
        EXPECT_EQ(options_calls(), kCreation + row.calls);
        EXPECT_EQ(last_calls(3), "ReleaseSession; ReleaseSessionOptions; ReleaseEnv; ");
    }
    reset_spy();
    EXPECT_NE(open_session("double"), nullptr);
    EXPECT_EQ(options_calls(), kCreation + std::string("SetSessionGraphOptimizationLevel 99; "));
}

TEST_F(SessionTest, StoresSettingsCut) {
    Options options(onnxruntime_vn_create_session_options());
    std::string name(200, 'n'), prefix(600, 'p'), json(2000, 'j');
    onnxruntime_vn_session_options_enable_profiling(options.get(), prefix.c_str());
    EXPECT_EQ(options->profile_file_prefix, prefix.substr(0, 511));
    onnxruntime_vn_session_options_enable_profiling(options.get(), nullptr);
    EXPECT_STREQ(options->profile_file_prefix, "onnxruntime_profile");
    onnxruntime_vn_session_options_enable_profiling(options.get(), "");
    EXPECT_STREQ(options->profile_file_prefix, "");
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(onnxruntime_vn_session_options_append_execution_provider_with_options(
                      options.get(), name.c_str(), json.c_str()),
                  1);
    }
    EXPECT_EQ(onnxruntime_vn_session_options_append_execution_provider(options.get(), "CPU"), 0);
    EXPECT_EQ(options->provider_names[7], name.substr(0, 127));
    EXPECT_EQ(options->provider_options[7], json.substr(0, 1023));
    EXPECT_EQ(onnxruntime_vn_session_options_append_execution_provider(nullptr, "CPU"), 0);
    Options empty(onnxruntime_vn_create_session_options());
    EXPECT_EQ(onnxruntime_vn_session_options_append_execution_provider(empty.get(), ""), 0);
    EXPECT_EQ(onnxruntime_vn_session_options_append_execution_provider(empty.get(), nullptr), 0);
    EXPECT_EQ(empty->provider_count, 0u);
}

TEST_F(SessionTest, RefusesLongPaths) {
    EXPECT_EQ(onnxruntime_vn_create_session(std::string(5000, 'x').c_str(), nullptr), nullptr);
    EXPECT_EQ(refusal(), VORNIC_TEST_LONG_PATH_ERROR);
}

TEST_F(SessionTest, ReadsProviderOptions) {
    auto text = [](size_t keys) {
        std::string json = "{";
        for (size_t i = 0; i < keys; ++i) json += R"("k":"v",)";
        return json + "}";
    };
    auto quoted = [](size_t key, size_t value) {
        return "{\"" + std::string(key, 'k') + "\":\"" + std::string(value, 'v') + "\"}";
    };
    struct {
        std::string text, expected;  // key=value; for each entry, or the message
    } cases[] = {
        {"", ""},
        {" \t\r\n", ""},
        {"{}", ""},
        {"{ } x", ""},
        {"x{}", ""},
        {"[1,2]", "provider options must be a JSON object"},
        {R"({"a":"b",})", "a=b;"},
        {R"({"a":})", "a=;"},
        {R"({"a":,"b":"c"})", "a=;b=c;"},
        {R"({"a":"b"} rest)", "a=b;"},
        {R"({"a":"b")", "malformed provider options JSON"},
        {R"({"a":)", "malformed provider options JSON"},
        {R"({"a":"b)", "unterminated provider option value"},
        {R"({"a":"b\)", "unterminated provider option value"},
        {R"({"a" "b"})", "provider option entry is missing ':'"},
        {R"({a:"b"})", "provider option key must be a string"},
        {R"({"a":"b",)", "provider option key must be a string"},
        {R"({"a)", "unterminated provider option key"},
        {R"({"a\"\n\\":"x\"y"})", "a\"n\\=x\"y;"},
        {R"({"n": 1 2 ,"f":false})", "n=12;f=false;"},
        {R"({"x": [1,2]})", "provider option key must be a string"},
        {"{\f\"a\":1}", "provider option key must be a string"},
        {"{\"a\"\f:1}", "provider option entry is missing ':'"},
        {"{\"a\":\"1\"\f}", "malformed provider options JSON"},
        {"{\"a\":1\f}", "a=1\f;"},
        {quoted(127, 255), std::string(127, 'k') + "=" + std::string(255, 'v') + ";"},
        {quoted(128, 1), "unterminated provider option key"},
        {quoted(1, 256), "unterminated provider option value"},
        {"{\"w\":" + std::string(255, '1') + " }", "w=" + std::string(255, '1') + ";"},
        {"{\"w\":" + std::string(256, '1') + "}", "malformed provider options JSON"},
        {text(16), std::string("k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;k=v;")},
        {text(17), "too many provider option entries"},
    };
    for (const auto& row : cases) {
        ProviderOptions list;
        std::string got;
        if (vnort_parse_provider_options(row.text.c_str(), &list)) {
            for (uint64_t i = 0; i < list.count; ++i) {
                got += std::string(list.keys[i]) + "=" + list.values[i] + ";";
            }
        } else {
            got = error();
        }
        EXPECT_EQ(got, row.expected) << row.text;
    }
}

TEST_F(SessionTest, DescribesWhatItCan) {
    Session session;
    for (int k = 1, names = 0; names < 2; ++k) {  // the second input's name cannot be had
        reset_spy();
        spy.fail_call = k;
        session = open_session("types");
        names += spy.failed == "SessionGetInputName";
    }
    std::string inputs = onnxruntime_vn_get_inputs_json(session.get());
    EXPECT_EQ(spy.failed, "SessionGetInputName");
    EXPECT_EQ(inputs.find(",,"), std::string::npos);
    EXPECT_EQ(inputs.find("in_float64"), std::string::npos);
    EXPECT_NE(inputs.find("in_string"), std::string::npos);
    EXPECT_STREQ(session->input_names[1], "");
    EXPECT_EQ(open_session("wide")->input_count, 16u);
    EXPECT_STREQ(open_session("wide")->input_names[15], "i15");
    EXPECT_EQ(open_session("wordy")->output_names[0], "00" + std::string(125, 'o'));
    spy_table().SessionGetInputName = [](const OrtSession*, size_t, OrtAllocator*,
                                         char** name) noexcept -> OrtStatus* {
        *name = nullptr;
        return nullptr;
    };
    EXPECT_EQ(std::string(open_session("double")->inputs_json).substr(0, 12), "[{\"name\":\"\",");
}

TEST_F(SessionTest, ListsProviders) {
    std::string providers = onnxruntime_vn_get_available_providers_json();
    EXPECT_NE(providers.find("\"CPUExecutionProvider\""), std::string::npos);
    const char* kept = onnxruntime_vn_get_available_providers_json();
    spy.fail_call = spy.calls + 2;  // ReleaseAvailableProviders: the list stays
    EXPECT_EQ(onnxruntime_vn_get_available_providers_json(), kept);
    EXPECT_EQ(kept, providers);
    EXPECT_EQ(error(), "ReleaseAvailableProviders failed: injected");
    spy.fail_call = spy.calls + 1;
    EXPECT_STREQ(onnxruntime_vn_get_available_providers_json(), "[]");
    EXPECT_STREQ(kept, "");
}

}  // namespace
