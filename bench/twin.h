// The roads of the library in their most straightforward form, to measure against: the same records
// and the same calls of the runtime, but every key found by strstr, every number read by strtod into
// room for the most numbers there can be, and every number printed by snprintf, one after the other
// to the end of the data. Only for float32 and well-formed texts; anything else ends the program.
#pragma once

#include <onnxruntime_c_api.h>

#include <string>
#include <vector>

#include "run/run_result.h"

using Strings = std::vector<std::string>;

RunResult* twin_run_json(const OrtApi* api, OrtSession* session, const Strings& inputs,
                         const Strings& outputs, const char* feed);

RunResult* twin_run_tensor(const OrtApi* api, OrtSession* session, const char* input, float* data,
                           int64_t count, const Strings& outputs);

void twin_release(RunResult* result);
