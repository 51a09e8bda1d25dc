/* onnxruntime_vornic: a flat C interface to ONNX Runtime inference for foreign-function callers.
 *
 * CONVENTIONS
 *
 * 1. Handles are opaque pointers. The caller owns every handle and passes it exactly once to its
 *    release function. Release functions accept null and never fail.
 * 2. Texts are zero-terminated UTF-8. Text arguments are read only during the call. A returned text
 *    is never null and must not be freed; each function says how long it stays valid. If in doubt,
 *    copy it before the next call.
 * 3. Functions that return int32_t as a status return 1 on success and 0 on failure. Functions that
 *    return a handle return null on failure.
 * 4. onnxruntime_vn_last_error() returns the reason for a failure: one text for the whole process,
 *    meaningful only right after a call that reported failure. A failure documented as silent leaves the
 *    previous text. Only these clear the text, on success: the first binding of the runtime,
 *    session creation, the end of profiling, the three float32 tensor constructors, and the runs.
 *    "X failed: ..." is an error from ONNX Runtime: X is the name of its API function (or of one of
 *    four members of the metadata), and ONNX Runtime's own message follows the colon.
 * 5. Fixed limits: 16 inputs and 16 outputs for each session, run and binding; 8 dimensions for
 *    each tensor; 65,536 numbers or strings for each JSON input tensor; 4,095 bytes for each input
 *    string; 127 bytes for each name; 8 execution providers for each SessionOptions and 16 options
 *    for each of them; 65,535 bytes for each result text. An item in a JSON text
 *    that exceeds a limit is refused with a message; any other text that is stored, and every text
 *    that is returned, is cut to its limit without notice, even inside a UTF-8 character.
 * 6. Threads: the library starts none and takes no locks. The binding to the runtime, the
 *    last-error text and the providers text are shared by the whole process. Once
 *    onnxruntime_vn_available has succeeded, threads may concurrently create, use and release
 *    handles of their own, sessions included; several threads may also run one session, share a
 *    FloatTensor or run options between runs, and read one RunResult. Any other handle may be used
 *    by only one thread at a time, not necessarily the same one, and no handle may be released
 *    while it is in use. With several threads the last-error text is only a hint: it may be another
 *    thread's. The caller serialises listing the providers, and runs of several sessions on a GPU.
 * 7. Nothing happens when the library is loaded or unloaded, and nothing has to be shut down. The
 *    first call that needs ONNX Runtime binds it (version 24 of its API, i.e. ONNX Runtime 1.24 or
 *    later); if that fails, the next such call tries again. No content of a text can crash the
 *    process; pointers must be null or valid. How ONNX Runtime treats a model or a provider is
 *    beyond this library: appending a provider that the machine cannot use may fail or hang, and a
 *    GPU provider can end the process or overwrite memory where the CPU provider reports an error
 *    (docs/surprises.md, On a GPU).
 * 8. The host's floating-point state (traps, rounding mode, flushed denormals) and a locale with
 *    decimal commas do not affect results: every call that computes does so in the default state
 *    and then restores the host's, exception flags included. Two exceptions follow the locale: ONNX
 *    Runtime's own threads when it runs operators in parallel, and anything that ONNX Runtime
 *    parsed while the host used it directly, before this library did.
 *
 * JSON TENSORS
 *
 * An input tensor is an object with three members; put data last if it holds strings:
 *
 *     {"dtype":"float32","shape":[2,3],"data":[1,2,3,4,5,6]}
 *
 * dtype is one of float32 (or float), float64 (or double), int8, int16, int32 (or int), int64,
 * uint8, uint16, uint32, uint64, bool (or boolean), string (or str). shape is a flat array of at
 * most 8 numbers, [] for a scalar. data is a flat array in row-major order: of numbers or, for
 * string, of strings, in which \n, \t and \r are decoded and any other character after a backslash
 * is taken literally (\u is not decoded). Numbers are whatever strtod accepts in the C locale,
 * including hexadecimal, inf and nan; true and false are not accepted.
 *
 * Numbers are read as doubles, so integers are exact up to 2^53. For float32 they are rounded;
 * for bool, everything but 0 is true; for integers, fractions are dropped. int8, int16, uint8 and
 * uint16 keep the low bits of a 32-bit integer (300 as uint8 is 44), uint32 those of a 64-bit one;
 * NaN and numbers that do not fit in that integer become its lowest value (-2147483648 as int32, 0
 * as uint8 and uint32; for int64 this includes 9223372036854775807, which is 2^63 as a double). As
 * uint64, -1 is 18446744073709551615; NaN, -inf and numbers below -2^63 (-1e30) are
 * 9223372036854775808; 2^64 and above, inf included, are 0.
 *
 * The text is searched, not parsed: a key or name is found at its first occurrence in double quotes
 * in the rest of the text. Whitespace between items and a trailing comma are allowed. A tensor may
 * hold more numbers than its shape needs; ONNX Runtime refuses one that holds fewer.
 *
 * An output is written as {"dtype":...,"shape":[...],"data":[...]} without whitespace, or as
 * {"error":"..."} if it cannot be read or has no text form (float16, for example). float32 is
 * written with 9 significant digits and float64 with 17, so both read back exactly; inf, -inf and
 * nan are written without quotes and are not valid JSON. In strings only " and \ are escaped. A
 * text that reaches its limit is cut without notice and is then not valid JSON either.
 */
#ifndef ONNXRUNTIME_VORNIC_H
#define ONNXRUNTIME_VORNIC_H

#include <stdint.h>

/** The version of this header; its three parts follow. A library of a later version works with it
 * as long as the major version is the same. */
#define ONNXRUNTIME_VORNIC_VERSION "1.0.0"
/** Incremented for incompatible changes. */
#define ONNXRUNTIME_VORNIC_VERSION_MAJOR 1
/** Incremented for additions. */
#define ONNXRUNTIME_VORNIC_VERSION_MINOR 0
/** Incremented for fixes. */
#define ONNXRUNTIME_VORNIC_VERSION_PATCH 0

#if defined(_WIN32)
#define ONNXRUNTIME_VN_CALL __cdecl
#if defined(ONNXRUNTIME_VORNIC_BUILD)
#define ONNXRUNTIME_VN_EXPORT __declspec(dllexport)
#else
#define ONNXRUNTIME_VN_EXPORT __declspec(dllimport)
#endif
#else
#define ONNXRUNTIME_VN_CALL
#define ONNXRUNTIME_VN_EXPORT __attribute__((visibility("default")))
#endif

#define ONNXRUNTIME_VN_API(type) ONNXRUNTIME_VN_EXPORT type ONNXRUNTIME_VN_CALL

#ifdef __cplusplus
extern "C" {
#endif

/** Settings for a session to be created. */
typedef struct SessionOptions SessionOptions;
/** A loaded model, ready to run. */
typedef struct InferenceSession InferenceSession;
/** The result of a run: copies only, independent of everything the run used. */
typedef struct RunResult RunResult;
/** A float32 tensor for the tensor run. */
typedef struct FloatTensor FloatTensor;
/** Inputs and outputs bound to a session once, for many runs. */
typedef struct IoBinding IoBinding;
/** ONNX Runtime's own run options. */
typedef struct OrtRunOptions OrtRunOptions;

/* ---- Runtime and errors ---------------------------------------------------------------------- */

/** Binds ONNX Runtime unless it is bound already.
 * @return 1 if it is bound; 0 with "OrtGetApiBase returned NULL" (no runtime could be loaded; on
 *         Linux the dynamic linker then does not even load this library) or "GetApi returned NULL"
 *         (the runtime is older than 1.24). */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_available(void);

/** The version of the bound ONNX Runtime, for example "1.24.3".
 * @return a text that is valid for the life of the process; "" if the runtime cannot be bound, with
 *         the messages of onnxruntime_vn_available. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_version_string(void);

/** The message of the most recent failure, at most 1,023 bytes; "" if there is none.
 * @return always the same address; the text at it changes with the next failure or clearing. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_last_error(void);

/** The names of ONNX Runtime's execution providers, in its order, as a JSON array.
 * @return a text that the next call of this function overwrites; "[]" on failure, with the messages
 *         of onnxruntime_vn_available or ONNX Runtime's. At most 1,023 bytes (cut there). */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_available_providers_json(void);

/* ---- Session options ------------------------------------------------------------------------- */

/** A new record of settings, all at their defaults: graph optimisation level 99 (all), everything
 * else as ONNX Runtime chooses. The setters below only store; settings take effect when a session
 * is created. A setter returns 0, silently, for a null handle. One record may be used for any
 * number of sessions, and changed or released after each.
 * @return null with "out of memory". */
ONNXRUNTIME_VN_API(SessionOptions*) onnxruntime_vn_create_session_options(void);

/** Number of threads within an operator; 0 or less means ONNX Runtime's default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_intra_op_num_threads(SessionOptions* options, int32_t count);

/** Number of threads that run operators in parallel; 0 or less means ONNX Runtime's default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_inter_op_num_threads(SessionOptions* options, int32_t count);

/** Graph optimisation level: 0 none, 1 basic, 2 extended, 3 layout, 99 all. Other values have
 * no effect. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_graph_optimization_level(SessionOptions* options, int32_t level);

/** Execution mode: 0 sequential, 1 parallel; a negative number means the default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_execution_mode(SessionOptions* options, int32_t mode);

/** Enables profiling. The path of the profile file starts with prefix (at most 511 bytes are kept);
 * null means "onnxruntime_profile". ONNX Runtime appends the local time, as in
 * PREFIX_2026-11-23_07-03-37.json: sessions created within a second need different prefixes. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_profiling(SessionOptions* options, const char* prefix);

/** Disables profiling explicitly. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_profiling(SessionOptions* options);

/** Enables the CPU memory arena. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_cpu_mem_arena(SessionOptions* options);

/** Disables the CPU memory arena. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_cpu_mem_arena(SessionOptions* options);

/** Enables memory pattern planning. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_mem_pattern(SessionOptions* options);

/** Disables memory pattern planning. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_mem_pattern(SessionOptions* options);

/** The identifier in the session's log lines; null or "" means the default. At most 127 bytes are
 * kept. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_id(SessionOptions* options, const char* id);

/** Level of detail of verbose logging; a negative number means the default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_verbosity_level(SessionOptions* options, int32_t level);

/** Minimum severity that is logged: 0 verbose, 1 info, 2 warning, 3 error, 4 fatal; a negative
 * number means the default. With a number above 4, session creation fails. Messages logged by ONNX
 * Runtime's environment, which all sessions share, are not affected. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_severity_level(SessionOptions* options, int32_t level);

/** Appends an execution provider without options, by ONNX Runtime's name for it. Providers take
 * precedence in the order appended; the CPU provider always comes last and need not be appended.
 * @return 0, silently, for a null or empty name and for a ninth provider. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_append_execution_provider(SessionOptions* options, const char* name);

/** Appends an execution provider with options: a flat JSON object whose values are strings or bare
 * words, for example {"device_id":"0"}; null means {}. Nested values are not supported,
 * and a backslash only makes the next character literal. At most 1,023 bytes are kept. The text is
 * parsed when a session is created. For "CPUExecutionProvider" (or "CPU") only the key use_arena
 * matters: 0 or false disables the CPU memory arena and any other value enables it, overriding the
 * arena setters above.
 * @return as onnxruntime_vn_session_options_append_execution_provider. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_append_execution_provider_with_options(SessionOptions* options,
                                                                      const char* name,
                                                                      const char* options_json);

/** Releases the record; sessions created from it are not affected. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_session_options(SessionOptions* options);

/* ---- Sessions -------------------------------------------------------------------------------- */

/** Loads a model file. options may be null (all defaults). On Windows the path is converted to
 * UTF-16 and must fit in 1,023 units; on Linux its bytes are passed on unchanged.
 * @return null with "empty model path", "model path cannot be converted to at most 1023 UTF-16
 *         units" (Windows), "out of memory", the message of a malformed provider options object,
 *         the messages of onnxruntime_vn_available, or "CreateEnv failed", "CreateSessionOptions
 *         failed", "SessionOptionsAppendExecutionProvider failed" or "CreateSession failed" with
 *         ONNX Runtime's reason. Details of the model that ONNX Runtime does not return are left
 *         out of the texts below, and creation still succeeds; the last-error text reports only a
 *         failure to get the metadata. */
ONNXRUNTIME_VN_API(InferenceSession*)
onnxruntime_vn_create_session(const char* model_path, const SessionOptions* options);

/** Describes the model's inputs as a JSON array of objects such as
 * {"name":"x","type":"tensor","dtype":"float32","shape":[-1,3],"shape_symbols":["batch",""]}. -1 is
 * a dimension that may differ from run to run; shape_symbols holds its name. dtype is "unknown" for
 * a value that is not a tensor and for types without a JSON form (float16, for example). shape is
 * [] for a scalar, an unknown rank, more than 16 dimensions and a value that is not a tensor.
 * Descriptions past 2,040 bytes are left out; in a text that reaches 2,046 bytes the last one may
 * be cut and the closing bracket missing.
 * @return a text that is valid as long as the session; "[]" for a null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_inputs_json(const InferenceSession* session);

/** Describes the model's outputs in the same way. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_outputs_json(const InferenceSession* session);

/** The model's metadata: an object with the members producer_name, graph_name, domain, description,
 * version (an integer, 9223372036854775807 if the model has none) and custom_metadata_map (an
 * object of strings).
 * @return a text of at most 4,095 bytes (cut there) that is valid as long as the session; "{}" for
 *         a null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_modelmeta_json(const InferenceSession* session);

/** Ends profiling.
 * @return the path of the profile file ("" if the session was not profiling; the file is missing if
 *         it could not be written), valid until the next call for this session or its release; ""
 *         on failure, with "invalid InferenceSession" or ONNX Runtime's error. Success clears the
 *         last-error text. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_session_end_profiling(InferenceSession* session);

/** Releases the session. Its results stay valid; its bindings must be released first. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_session(InferenceSession* session);

/* ---- Run options ----------------------------------------------------------------------------- */

/** New run options for onnxruntime_vn_run_json_with_options and onnxruntime_vn_run_with_iobinding.
 * They may be shared between runs. The setters below return 0 for a null handle (silently), if the
 * runtime cannot be bound, and if ONNX Runtime's function of that name fails.
 * @return null with the messages of onnxruntime_vn_available, or "CreateRunOptions failed" and ONNX
 *         Runtime's reason. */
ONNXRUNTIME_VN_API(OrtRunOptions*) onnxruntime_vn_create_run_options(void);

/** Level of detail of verbose logging during runs. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_log_verbosity_level(OrtRunOptions* options, int32_t level);

/** Minimum severity logged during runs, 0 (verbose) to 4 (fatal); -1 means the session's. Any other
 * number makes runs fail. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_log_severity_level(OrtRunOptions* options, int32_t level);

/** A tag in the log lines of the run; null means "". */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_run_tag(OrtRunOptions* options, const char* tag);

/** Makes every run that uses the options fail as soon as possible. May be called from another
 * thread during a run. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_run_options_set_terminate(OrtRunOptions* options);

/** Reverts onnxruntime_vn_run_options_set_terminate. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_run_options_unset_terminate(OrtRunOptions* options);

/** Releases the run options, after the last run that uses them has returned. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_run_options(OrtRunOptions* options);

/* ---- JSON run -------------------------------------------------------------------------------- */

/** Runs the model on a feed, a JSON object with one input tensor for each input of the model, in
 * any order: {"x":{"dtype":"float32","shape":[1,2],"data":[0.5,1]}}. Names in the feed are exactly
 * the model's, not escaped. A name is found at its first occurrence in double quotes, and its
 * tensor starts at the next {. Names that the model does not have are ignored. output_names_json is
 * a JSON array of at most 16 output names, in any order, repetitions allowed; null, "" or exactly
 * [] selects every output. A model with more than 16 inputs is run with its first 16; outputs after
 * the 16th cannot be selected. A name of more than 127 bytes is recorded as its first 127: a feed
 * with the whole name lacks that input, and ONNX Runtime refuses the cut name, as it does an
 * output's if every output is selected. A binding can run such a model.
 * @return null with "invalid InferenceSession", "input_feed_json is empty", "out of memory",
 *         "missing input '...' in feed JSON", "input feed item must be an object", a message about
 *         a tensor or about the output names, or ONNX Runtime's error about a tensor or the run
 *         ("Run failed: ..."). A tensor without dtype, shape or data takes that of a later tensor
 *         in the feed; the run fails only if none follows, silently if shape or data is missing or
 *         no colon follows "dtype". An output that cannot be read does not fail the run: its body
 *         is an error member. Success clears the last-error text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_json(const InferenceSession* session, const char* output_names_json,
                        const char* input_feed_json);

/** The same with run options, which may be null. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_json_with_options(const InferenceSession* session, const char* output_names_json,
                                     const char* input_feed_json, const OrtRunOptions* options);

/* ---- Run results ----------------------------------------------------------------------------- */

/** The outputs as {"outputs":{"y":{...},...}}, at most 65,535 bytes (cut there; enough for about
 * 5,400 float32 numbers of nine digits).
 * @return a text that is valid as long as the result; "{}" for a null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_result_json(const RunResult* result);

/** The shape of the first float32 output, for example [1,3]. "First" means the first output of the
 * JSON run or the tensor run that is float32 and has 1 to 8 dimensions and at least one element; a
 * run with a binding has none.
 * @return a text valid as long as the result; "[]" for a null handle or if there is none. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_result_float_shape_json(const RunResult* result);

/** Number of elements of the first float32 output; 0 for a null handle, if there is none, and if
 * there are more than 2,147,483,647. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_result_float_count(const RunResult* result);

/** One element of the first float32 output, row-major; 0 if there is none at that index. */
ONNXRUNTIME_VN_API(float) onnxruntime_vn_result_float_at(const RunResult* result, int32_t index);

/** All elements of the first float32 output, row-major.
 * @return an array that is valid as long as the result and must not be freed; null if there is
 *         none. */
ONNXRUNTIME_VN_API(const float*) onnxruntime_vn_result_float_data(const RunResult* result);

/** Releases the result with its texts and its array. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_result(RunResult* result);

/* ---- Float32 tensors ------------------------------------------------------------------------- */

/** A tensor with a copy of data: data_count numbers, row-major. shape has rank (1 to 8) dimensions
 * of at least 1, whose product is data_count.
 * @return null with "invalid float32 tensor input" (null data or shape, data_count below 1, rank
 *         outside 1 to 8), "tensor shape dimensions must be positive", "tensor data_count does not
 *         match shape" or "out of memory". Success clears the last-error text. */
ONNXRUNTIME_VN_API(FloatTensor*)
onnxruntime_vn_tensor_from_f32(const float* data, int32_t data_count, const int64_t* shape,
                               int32_t rank);

/** A tensor that takes ownership of data, without a copy. data must come from malloc, calloc or
 * realloc of the C library that this library uses: on Linux the process's libc, on Windows the
 * system's msvcrt.dll (not a compiler's own runtime, nor ucrtbase.dll). On success the tensor owns
 * the buffer and frees it when released; on failure the caller still owns it.
 * @return as onnxruntime_vn_tensor_from_f32. */
ONNXRUNTIME_VN_API(FloatTensor*)
onnxruntime_vn_tensor_adopt_f32(float* data, int32_t data_count, const int64_t* shape,
                                int32_t rank);

/** A tensor of zeros. shape_json is a JSON array of 1 to 8 dimensions such as [1,3]; fractions are
 * dropped.
 * @return null with "invalid shape_json", "tensor shape dimensions must be positive" (a number that
 *         is not above 0), "invalid float32 tensor input" (a dimension that truncates to 0, or
 *         more than 2,147,483,647 elements) or "out of memory". Success clears the last-error
 *         text. */
ONNXRUNTIME_VN_API(FloatTensor*) onnxruntime_vn_tensor_zeros_f32(const char* shape_json);

/** Releases the tensor and its buffer, after the last run that uses it has returned. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_tensor(FloatTensor* tensor);

/* ---- Tensor run ------------------------------------------------------------------------------ */

/** Runs a model that has one float32 input on a tensor, without copying it. output_names_json is as
 * in onnxruntime_vn_run_json. input_name may be of any length. A string output's body is an error
 * member here.
 * @return null with "invalid session, input name, or tensor", "out of memory", a message about the
 *         output names, or ONNX Runtime's error ("Run failed: ..." for an input name that the model
 *         does not have). Success clears the last-error text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_tensor(const InferenceSession* session, const char* input_name,
                          const FloatTensor* tensor, const char* output_names_json);

/** The same without numbers in the result's text, which has only the dtype and shape of each
 * output. Read the first float32 output with onnxruntime_vn_result_float_data and its siblings. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_tensor_fast(const InferenceSession* session, const char* input_name,
                               const FloatTensor* tensor, const char* output_names_json);

/* ---- I/O binding ----------------------------------------------------------------------------- */

/** A binding for a session, with nothing bound.
 * @return null with "invalid InferenceSession", "out of memory" or "CreateIoBinding failed" and
 *         ONNX Runtime's reason. */
ONNXRUNTIME_VN_API(IoBinding*) onnxruntime_vn_create_iobinding(const InferenceSession* session);

/** Binds an input tensor (see JSON TENSORS) to an input of the model. The binding keeps the tensor
 * for all runs until the inputs are cleared. Each bind takes one of 16 slots, even if it repeats a
 * name; runs use the latest tensor bound to a name. A failed bind leaves the binding unchanged: the
 * earlier inputs are bound again, and if ONNX Runtime refuses one of them this time, the next run
 * reports it ("Missing Input").
 * @return 0 with "tensor_json must be an object", a message about the tensor, "out of memory", or
 *         ONNX Runtime's error; 0, silently, for a null argument, for a tensor without shape or
 *         data or with no colon after "dtype", and if 16 are bound. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_iobinding_bind_cpu_input_json(IoBinding* binding, const char* name,
                                             const char* tensor_json);

/** Binds an output of the model to CPU memory. The outputs of a run are labelled with the names
 * bound, in the order bound (at most 127 bytes of each; ONNX Runtime gets the whole name). Each
 * bind takes one of 16 slots. ONNX Runtime ignores a name bound twice, so each later output gets
 * the label of its predecessor; a name that the model does not have makes the run fail, not the
 * bind.
 * @return 0 with ONNX Runtime's error; 0, silently, for a null argument and if 16 are bound. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_iobinding_bind_output(IoBinding* binding, const char* name);

/** Unbinds and frees all inputs.
 * @return 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_clear_inputs(IoBinding* binding);

/** Unbinds all outputs and resets the outputs text to "{}".
 * @return 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_clear_outputs(IoBinding* binding);

/** Waits until the bound inputs are on their device; on the CPU there is nothing to wait for.
 * @return 0 with ONNX Runtime's error; 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_synchronize_inputs(IoBinding* binding);

/** Waits until the bound outputs have arrived from their device.
 * @return 0 with ONNX Runtime's error; 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_synchronize_outputs(IoBinding* binding);

/** Runs the session on the bound inputs and outputs. session must be the one that the binding was
 * created for; options may be null. ONNX Runtime reuses the outputs of the first run: if a later
 * input changes their shape, clear and bind the outputs again. The result has no float32 array.
 * @return null with "invalid InferenceSession or IoBinding", "out of memory" or ONNX Runtime's
 *         error ("RunWithBinding failed: ..."; a binding without outputs is an error). Success
 *         clears the last-error text and replaces the binding's outputs text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_with_iobinding(const InferenceSession* session, IoBinding* binding,
                                  const OrtRunOptions* options);

/** The result text of the binding's last successful run.
 * @return a text that is valid as long as the binding and changes with the next run or when outputs
 *         are cleared; "{}" for a null handle, before the first run and after clearing. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_iobinding_outputs_json(const IoBinding* binding);

/** Releases the binding and its input tensors. Call it before releasing the session. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_iobinding(IoBinding* binding);

#ifdef __cplusplus
}
#endif

#endif
