// The JSON run: a JSON feed in, the selected outputs as JSON out.
#include "core/host_state.h"
#include "core/last_error.h"
#include "core/runtime.h"
#include "core/status.h"
#include "json/array_reader.h"
#include "json/feed.h"
#include "onnxruntime_vornic.h"
#include "run/input_values.h"
#include "run/run_outputs.h"
#include "session/inference_session.h"

using namespace vornic;

namespace {

int32_t read_inputs(const InferenceSession* session, const char* feed, InputTensorScope* inputs) {
    FeedItem items[kMaxInputs];
    find_feed_items(feed, session->input_names, session->input_count, items);
    for (uint64_t i = 0; i < session->input_count; ++i) {
        const char* name = session->input_names[i];
        if (items[i].name == nullptr) {
            format_error("missing input '%s' in feed JSON", name);
            return 0;
        }
        if (items[i].brace == nullptr) return fail("input feed item must be an object");
        if (!inputs->read(items[i], name)) return 0;
    }
    return make_input_values(inputs->entries(), inputs->count());
}

int32_t run(const InferenceSession* session, const OrtRunOptions* options, InputTensorScope* inputs,
            const OutputSelection& selection, OutputValues* outputs) {
    const char* names[kMaxInputs];
    const OrtValue* values[kMaxInputs];
    for (uint64_t i = 0; i < inputs->count(); ++i) {
        names[i] = inputs->entries()[i].name;
        values[i] = inputs->entries()[i].value;
    }
    return vnort_status_ok(g_api->Run(session->session, options, names, values, inputs->count(),
                                      selection.names, selection.count, outputs->slots()),
                           "Run");
}

}  // namespace

RunResult* onnxruntime_vn_run_json_with_options(const InferenceSession* session,
                                                const char* output_names_json,
                                                const char* input_feed_json,
                                                const OrtRunOptions* options) {
    const HostStateScope host;
    if (!host.is_entered()) return nullptr;
    if (!is_usable(session)) return fail("invalid InferenceSession");
    if (input_feed_json == nullptr || input_feed_json[0] == '\0') {
        return fail("input_feed_json is empty");
    }
    OwnedResult result = new_result();
    if (result == nullptr) return nullptr;
    InputTensorScope inputs;
    if (!read_inputs(session, input_feed_json, &inputs)) return nullptr;
    OutputSelection selection;
    if (!vnort_parse_string_array(output_names_json, session->output_names, session->output_count,
                                  selection.names, &selection.count)) {
        return nullptr;
    }
    OutputValues outputs;
    if (!run(session, options, &inputs, selection, &outputs)) return nullptr;
    write_outputs(result.get(), selection, outputs.slots(), selection.count,
                  {.data = true, .strings = true, .capture = true});
    clear_error();
    return result.release();
}

RunResult* onnxruntime_vn_run_json(const InferenceSession* session, const char* output_names_json,
                                   const char* input_feed_json) {
    return onnxruntime_vn_run_json_with_options(session, output_names_json, input_feed_json,
                                                nullptr);
}
