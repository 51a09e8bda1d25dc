#include "session/inference_session.h"

#include <stdlib.h>

#include "core/float_state.h"
#include "core/runtime.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

void onnxruntime_vn_release_session(InferenceSession* session) {
    if (session == nullptr) return;
    const DefaultFloatState float_state;
    if (g_api != nullptr) {
        if (session->session != nullptr) g_api->ReleaseSession(session->session);
        if (session->options != nullptr) g_api->ReleaseSessionOptions(session->options);
        if (session->env != nullptr) g_api->ReleaseEnv(session->env);
    }
    free(session);
}

const char* onnxruntime_vn_get_inputs_json(const InferenceSession* session) {
    return session != nullptr ? session->inputs_json : "[]";
}

const char* onnxruntime_vn_get_outputs_json(const InferenceSession* session) {
    return session != nullptr ? session->outputs_json : "[]";
}

const char* onnxruntime_vn_get_modelmeta_json(const InferenceSession* session) {
    return session != nullptr ? session->modelmeta_json : "{}";
}
