// The library's functions without their common prefix: the result type, then the argument types. Handles
// are BigInts or null; returned text is copied into a string before the call returns.
'use strict';

const [handle, text, int, floats, sizes] = ['void *', 'str', 'int32_t', 'const float *', 'const int64_t *'];

module.exports = {
    available: [int],
    get_version_string: [text],
    last_error: [text],
    get_available_providers_json: [text],

    create_session_options: [handle],
    session_options_set_intra_op_num_threads: [int, handle, int],
    session_options_set_inter_op_num_threads: [int, handle, int],
    session_options_set_graph_optimization_level: [int, handle, int],
    session_options_set_execution_mode: [int, handle, int],
    session_options_enable_profiling: [int, handle, text],
    session_options_disable_profiling: [int, handle],
    session_options_enable_cpu_mem_arena: [int, handle],
    session_options_disable_cpu_mem_arena: [int, handle],
    session_options_enable_mem_pattern: [int, handle],
    session_options_disable_mem_pattern: [int, handle],
    session_options_set_log_id: [int, handle, text],
    session_options_set_log_verbosity_level: [int, handle, int],
    session_options_set_log_severity_level: [int, handle, int],
    session_options_append_execution_provider: [int, handle, text],
    session_options_append_execution_provider_with_options: [int, handle, text, text],
    release_session_options: ['void', handle],

    create_session: [handle, text, handle],
    get_inputs_json: [text, handle],
    get_outputs_json: [text, handle],
    get_modelmeta_json: [text, handle],
    session_end_profiling: [text, handle],
    release_session: ['void', handle],

    create_run_options: [handle],
    run_options_set_log_verbosity_level: [int, handle, int],
    run_options_set_log_severity_level: [int, handle, int],
    run_options_set_run_tag: [int, handle, text],
    run_options_set_terminate: [int, handle],
    run_options_unset_terminate: [int, handle],
    release_run_options: ['void', handle],

    run_json: [handle, handle, text, text],
    run_json_with_options: [handle, handle, text, text, handle],

    result_json: [text, handle],
    result_float_shape_json: [text, handle],
    result_float_count: [int, handle],
    result_float_at: ['float', handle, int],
    result_float_data: [handle, handle],
    release_result: ['void', handle],

    tensor_from_f32: [handle, floats, int, sizes, int],
    tensor_adopt_f32: [handle, handle, int, sizes, int],
    tensor_zeros_f32: [handle, text],
    release_tensor: ['void', handle],

    run_tensor: [handle, handle, text, handle, text],
    run_tensor_fast: [handle, handle, text, handle, text],

    create_iobinding: [handle, handle],
    iobinding_bind_cpu_input_json: [int, handle, text, text],
    iobinding_bind_output: [int, handle, text],
    iobinding_clear_inputs: [int, handle],
    iobinding_clear_outputs: [int, handle],
    iobinding_synchronize_inputs: [int, handle],
    iobinding_synchronize_outputs: [int, handle],
    run_with_iobinding: [handle, handle, handle, handle],
    iobinding_outputs_json: [text, handle],
    release_iobinding: ['void', handle],
};
