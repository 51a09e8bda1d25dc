/* onnxruntime_vornic: a flat C interface to ONNX Runtime inference for foreign-function callers.
 *
 * CONVENTIONS
 *
 * 1. Handles are opaque pointers. Every handle belongs to the caller, who passes it once to the
 *    release function of its kind. Release functions accept null and never fail.
 * 2. Texts are zero-terminated UTF-8. Text arguments are read during the call only. A returned text
 *    is never null and is never freed by the caller; each function says how long it stays valid.
 *    Copy it before the next call if in doubt.
 * 3. Functions that return int32_t as a verdict give 1 on success and 0 on failure. Functions that
 *    return a handle give null on failure.
 * 4. The reason of a failure is the text of onnxruntime_vn_last_error(): one text for the whole
 *    process, meaningful right after a call that reported failure. Where a failure is documented as
 *    silent, the earlier text stays. The text is emptied only by the successful end of the first
 *    binding of the runtime, session creation, profiling end, the three float32 tensor
 *    constructors, and the runs. "X failed: ..." is a refusal by ONNX Runtime: X is the name of its
 *    API function (or of one of four members of the metadata), what follows the colon is its own
 *    message.
 * 5. Fixed limits: 16 inputs and 16 outputs for each session, run and binding; 8 dimensions for
 *    each tensor; 65,536 numbers or strings for each JSON input tensor; 4,095 bytes for each input
 *    string; 127 bytes for each name; 8 execution providers for each SessionOptions and 16 options
 *    for each of them; 65,535 bytes for each result text. What exceeds a limit inside a
 *    JSON text is refused with a message; any other text that is stored, and every text that is
 *    returned, is cut to its limit without notice, even inside a UTF-8 character.
 * 6. Threads: the library starts none and takes no locks. The binding to the runtime, the
 *    last-error text and the providers text are shared by the process. Once
 *    onnxruntime_vn_available has succeeded, every thread may make, use and release handles of its
 *    own, sessions included, while others do the same; and several threads may run one session,
 *    share a FloatTensor or run options between runs, and read one RunResult. Every other handle is
 *    used by one thread at a time, not always the same one, and none is released while it is in
 *    use. The last-error text is a hint then: it may be another thread's. Listing the providers is
 *    serialised by the caller, and so are runs of several sessions on a GPU.
 * 7. Nothing happens when the library is loaded or unloaded, and nothing has to be shut down. The
 *    first call that needs ONNX Runtime binds it (version 24 of its API, that is ONNX Runtime 1.24
 *    or later); a failed attempt is repeated by the next such call. Nothing that a text holds takes
 *    the process down; pointers must be null or valid. What ONNX Runtime does with a model or a
 *    provider is its own: appending a provider that the machine cannot use may fail, or hang, and
 *    a GPU provider can end the process or overwrite memory where the CPU fails
 *    (docs/surprises.md, On a GPU).
 * 8. The host's floating-point state (traps, rounding, flushed denormals) and the decimal commas of
 *    its locale change no answer: every call that computes does so in the default state and gives
 *    the host its own back, exception flags included. Two things still follow the locale: ONNX
 *    Runtime's own threads where it runs operators side by side, and what it read when the host
 *    used it by itself before.
 *
 * JSON TENSORS
 *
 * An input tensor is an object with three members, data last where it holds strings:
 *
 *     {"dtype":"float32","shape":[2,3],"data":[1,2,3,4,5,6]}
 *
 * dtype is one of float32 (or float), float64 (or double), int8, int16, int32 (or int), int64,
 * uint8, uint16, uint32, uint64, bool (or boolean), string (or str). shape is a flat array of at
 * most 8 numbers, [] for a scalar. data is a flat array in row-major order: of numbers or, for
 * string, of strings, in which \n, \t and \r are decoded and any other character after a backslash
 * stands for itself (\u is not decoded). Numbers are whatever strtod takes in the C locale:
 * hexadecimal, inf and nan included; true and false are not numbers here.
 *
 * Numbers are read as doubles, so whole ones are exact up to 2^53. For float32 they are rounded,
 * for bool everything but 0 is true, for integers fractions are dropped. int8, int16, uint8 and
 * uint16 keep the low bits of a 32-bit integer (300 as uint8 is 44), uint32 those of a 64-bit one;
 * NaN and what does not fit in that integer become its lowest value (-2147483648 as int32, 0 as
 * uint8 and uint32; for int64 also 9223372036854775807, which is 2^63 as a double). As uint64, -1 is
 * 18446744073709551615; NaN, -inf and all below -2^63 (-1e30) are 9223372036854775808; 2^64 and
 * more, inf included, are 0.
 *
 * The text is searched, not parsed: a key or a name is found at the first place where it stands
 * between double quotes in the rest of the text. Blanks between items are allowed, and so is a
 * comma before a closing bracket. A tensor may hold more numbers than its shape needs; ONNX Runtime
 * refuses one that holds fewer.
 *
 * An output is written as {"dtype":...,"shape":[...],"data":[...]} without blanks, or as
 * {"error":"..."} when it cannot be read or has no text form (float16, for example). float32 is
 * written with 9 significant digits and float64 with 17, so both read back exactly; inf, -inf and
 * nan appear bare and are not valid JSON. In strings only " and \ are escaped. A text that reaches
 * its limit is cut without notice and is then not valid JSON either.
 */
#ifndef ONNXRUNTIME_VORNIC_H
#define ONNXRUNTIME_VORNIC_H

#include <stdint.h>

/** The version of this header, whose three numbers follow. Libraries of later versions fit it as long as
 * the first number is the same. */
#define ONNXRUNTIME_VORNIC_VERSION "1.0.0"
/** Grows when callers have to change. */
#define ONNXRUNTIME_VORNIC_VERSION_MAJOR 1
/** Grows when something is added. */
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
/** What a run gave: copies only, independent of everything the run used. */
typedef struct RunResult RunResult;
/** A float32 tensor for the tensor run. */
typedef struct FloatTensor FloatTensor;
/** Inputs and outputs attached to a session once, for many runs. */
typedef struct IoBinding IoBinding;
/** ONNX Runtime's own run options. */
typedef struct OrtRunOptions OrtRunOptions;

/* ---- Runtime and errors ---------------------------------------------------------------------- */

/** Binds ONNX Runtime if that has not happened yet.
 * @return 1 when it is bound; 0 with "OrtGetApiBase returned NULL" (no runtime could be loaded; on
 *         Linux the loader refuses this library then, before any call) or "GetApi returned NULL"
 *         (the runtime is older than 1.24). */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_available(void);

/** The version of the bound ONNX Runtime, for example "1.24.3".
 * @return a text that lives as long as the process; "" when the runtime cannot be bound, with the
 *         messages of onnxruntime_vn_available. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_version_string(void);

/** The text of the most recent failure, at most 1,023 bytes; "" when there is none.
 * @return always the same address; its text changes with the next failure or clearing. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_last_error(void);

/** The execution providers that ONNX Runtime offers, as a JSON array of their names in its order.
 * @return a text that the next call of this function overwrites; "[]" on failure, with the messages
 *         of onnxruntime_vn_available or ONNX Runtime's reason. More than 1,023 bytes are cut. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_available_providers_json(void);

/* ---- Session options ------------------------------------------------------------------------- */

/** A new record of settings, all at their defaults: graph optimisation level 99 (all), everything
 * else left to ONNX Runtime. The setters below only store; settings take effect when a session is
 * created. A setter gives 0, silently, for a null handle. One record serves any number of sessions
 * and may be changed or released after each.
 * @return null with "out of memory". */
ONNXRUNTIME_VN_API(SessionOptions*) onnxruntime_vn_create_session_options(void);

/** Threads used inside one operator; 0 or less leaves ONNX Runtime's choice. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_intra_op_num_threads(SessionOptions* options, int32_t count);

/** Threads used to run operators side by side; 0 or less leaves ONNX Runtime's choice. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_inter_op_num_threads(SessionOptions* options, int32_t count);

/** Graph optimisation level: 0 none, 1 basic, 2 extended, 3 layout, 99 all. Any other has no
 * effect. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_graph_optimization_level(SessionOptions* options, int32_t level);

/** Execution mode: 0 sequential, 1 parallel; a negative number leaves the default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_execution_mode(SessionOptions* options, int32_t mode);

/** Switches profiling on. prefix begins the profile file's path (at most 511 bytes are kept); null
 * stands for "onnxruntime_profile". ONNX Runtime adds the local time to it, as in
 * PREFIX_2026-11-23_07-03-37.json: sessions of the same second need different prefixes. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_profiling(SessionOptions* options, const char* prefix);

/** Switches profiling off explicitly. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_profiling(SessionOptions* options);

/** Switches the CPU memory arena on. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_cpu_mem_arena(SessionOptions* options);

/** Switches the CPU memory arena off. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_cpu_mem_arena(SessionOptions* options);

/** Switches memory pattern planning on. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_enable_mem_pattern(SessionOptions* options);

/** Switches memory pattern planning off. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_disable_mem_pattern(SessionOptions* options);

/** The identifier under which the session logs; null or "" leaves the default. At most 127 bytes
 * are kept. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_id(SessionOptions* options, const char* id);

/** Verbosity of verbose logging; a negative number leaves the default. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_verbosity_level(SessionOptions* options, int32_t level);

/** Least severity that is logged: 0 verbose, 1 info, 2 warning, 3 error, 4 fatal; a negative number
 * leaves the default. No session can be made with a number above 4. What ONNX Runtime's
 * environment logs, which all sessions share, does not follow it. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_set_log_severity_level(SessionOptions* options, int32_t level);

/** Appends an execution provider without options, by ONNX Runtime's name for it. Providers are
 * asked in the order appended; the CPU provider is always there, last, and need not be appended.
 * @return 0, silently, for a null or empty name and for a ninth provider. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_append_execution_provider(SessionOptions* options, const char* name);

/** Appends an execution provider with options: a flat JSON object whose values are strings or bare
 * words, for example {"device_id":"0"}; null stands for {}. Nothing nests, and a backslash only
 * keeps the character after it. At most 1,023 bytes are kept. The text is read when a session is
 * created. For "CPUExecutionProvider" (or "CPU") only the key use_arena counts: 0 or false switches
 * the CPU memory arena off, everything else on, whatever the arena setters above say.
 * @return as onnxruntime_vn_session_options_append_execution_provider. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_session_options_append_execution_provider_with_options(SessionOptions* options,
                                                                      const char* name,
                                                                      const char* options_json);

/** Releases the record; sessions made from it are not touched. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_session_options(SessionOptions* options);

/* ---- Sessions -------------------------------------------------------------------------------- */

/** Loads a model file. options may be null (all defaults). On Windows the path is converted to
 * UTF-16 and must fit in 1,023 units; on Linux its bytes go to ONNX Runtime as they are.
 * @return null with "empty model path", "model path cannot be converted to at most 1023 UTF-16
 *         units" (Windows), "out of memory", the message of a malformed provider options object,
 *         the messages of onnxruntime_vn_available, or "CreateEnv failed", "CreateSessionOptions
 *         failed", "SessionOptionsAppendExecutionProvider failed" or "CreateSession failed" with
 *         ONNX Runtime's reason. A description that ONNX Runtime refuses is left out of the texts
 *         below and fails nothing; the last-error text tells of it only when the metadata could not
 *         be had. */
ONNXRUNTIME_VN_API(InferenceSession*)
onnxruntime_vn_create_session(const char* model_path, const SessionOptions* options);

/** Describes the model's inputs as a JSON array of objects such as
 * {"name":"x","type":"tensor","dtype":"float32","shape":[-1,3],"shape_symbols":["batch",""]}.
 * -1 is a dimension that each run chooses; shape_symbols holds its name. dtype is "unknown" for
 * what is not a tensor and for types without a form in JSON (float16, for example). shape is [] for
 * a scalar, for an unknown rank, for more than 16 dimensions and for what is not a tensor.
 * Descriptions past 2,040 bytes are left out; in a text that reaches 2,046 bytes the last one may
 * be cut, and the closing bracket is missing.
 * @return a text that lives as long as the session; "[]" for a null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_inputs_json(const InferenceSession* session);

/** Describes the model's outputs in the same way. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_outputs_json(const InferenceSession* session);

/** The model's metadata: an object with the members producer_name, graph_name, domain, description,
 * version (a whole number, 9223372036854775807 when the model has none) and custom_metadata_map (an
 * object of strings).
 * @return a text of at most 4,095 bytes (cut there) that lives as long as the session; "{}" for a
 *         null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_get_modelmeta_json(const InferenceSession* session);

/** Ends profiling.
 * @return the path of the profile file ("" when the session was not profiling; no such file when it
 *         could not be written), valid until the next call for this session or its release; "" on
 *         failure, with "invalid InferenceSession" or ONNX Runtime's refusal. Success empties the
 *         last-error text. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_session_end_profiling(InferenceSession* session);

/** Releases the session. Results made with it stay valid; bindings made for it must be released
 * first. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_session(InferenceSession* session);

/* ---- Run options ----------------------------------------------------------------------------- */

/** New run options for onnxruntime_vn_run_json_with_options and onnxruntime_vn_run_with_iobinding.
 * They may be shared between runs. The setters below give 0 for a null handle (silently), when the
 * runtime cannot be bound, and when ONNX Runtime refuses the call named after them.
 * @return null with the messages of onnxruntime_vn_available, or "CreateRunOptions failed" and ONNX
 *         Runtime's reason. */
ONNXRUNTIME_VN_API(OrtRunOptions*) onnxruntime_vn_create_run_options(void);

/** Verbosity of verbose logging during runs. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_log_verbosity_level(OrtRunOptions* options, int32_t level);

/** Least severity logged during runs, 0 (verbose) to 4 (fatal); -1 is the session's. Any other
 * makes the runs fail. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_log_severity_level(OrtRunOptions* options, int32_t level);

/** A tag that log lines of the run carry; null stands for "". */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_run_options_set_run_tag(OrtRunOptions* options, const char* tag);

/** Makes every run that uses the options end with a failure as soon as it can. This one may be
 * called from another thread while a run is under way. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_run_options_set_terminate(OrtRunOptions* options);

/** Takes onnxruntime_vn_run_options_set_terminate back. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_run_options_unset_terminate(OrtRunOptions* options);

/** Releases the run options, after the last run that uses them has returned. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_run_options(OrtRunOptions* options);

/* ---- JSON run -------------------------------------------------------------------------------- */

/** Runs the model on a feed, a JSON object with one input tensor for each input of the model, in
 * any order: {"x":{"dtype":"float32","shape":[1,2],"data":[0.5,1]}}. Names stand in the feed as the
 * model has them, unescaped; the first place where a quoted name stands counts, and the first {
 * after it begins its tensor. Names that the model does not have are ignored.
 * output_names_json is a JSON array of output names, in the order wanted, at most 16, repetitions
 * allowed; null, "" or exactly [] asks for every output. A model with more than 16 inputs is run
 * with its first 16; outputs past the 16th cannot be asked for. A name of more than 127 bytes is
 * known here by its first 127: an input of that name is missing in a feed that has the whole one,
 * and ONNX Runtime refuses the cut one, as it does that of an output when every output is asked
 * for. A binding can run such a model.
 * @return null with "invalid InferenceSession", "input_feed_json is empty", "out of memory",
 *         "missing input '...' in feed JSON", "input feed item must be an object", a message about
 *         a tensor or about the output names, or ONNX Runtime's refusal of a tensor or of the run
 *         ("Run failed: ..."). A tensor without dtype, shape or data takes those of a later tensor
 *         in the feed; only when none follows does the run fail, without shape or data silently,
 *         as with no colon anywhere after "dtype". An output that cannot be read never fails the
 *         run: it carries an error member. Success empties the last-error text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_json(const InferenceSession* session, const char* output_names_json,
                        const char* input_feed_json);

/** The same with run options, which may be null. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_json_with_options(const InferenceSession* session, const char* output_names_json,
                                     const char* input_feed_json, const OrtRunOptions* options);

/* ---- Run results ----------------------------------------------------------------------------- */

/** The outputs as {"outputs":{"y":{...},...}}, at most 65,535 bytes (cut there; about 5,400 float32
 * numbers of nine digits fill it).
 * @return a text that lives as long as the result; "{}" for a null handle. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_result_json(const RunResult* result);

/** The shape of the first float32 output, for example [1,3]. "First" means the first output of the
 * JSON run or the tensor run that is float32, has 1 to 8 dimensions and at least one element; a run
 * with a binding offers none.
 * @return a text that lives as long as the result; "[]" for a null handle or when there is none. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_result_float_shape_json(const RunResult* result);

/** Number of elements of the first float32 output; 0 when there is none or a null handle is given,
 * and when there are more than 2,147,483,647. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_result_float_count(const RunResult* result);

/** One element of the first float32 output, row-major; 0 when there is none at that index. */
ONNXRUNTIME_VN_API(float) onnxruntime_vn_result_float_at(const RunResult* result, int32_t index);

/** All elements of the first float32 output, row-major.
 * @return an array that lives as long as the result and is not the caller's to free; null when
 *         there is none. */
ONNXRUNTIME_VN_API(const float*) onnxruntime_vn_result_float_data(const RunResult* result);

/** Releases the result with its texts and its array. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_result(RunResult* result);

/* ---- Float32 tensors ------------------------------------------------------------------------- */

/** A tensor over a copy of data: data_count numbers, row-major, in the shape of rank (1 to 8)
 * dimensions of at least 1, whose product is data_count.
 * @return null with "invalid float32 tensor input" (null data or shape, data_count below 1, rank
 *         outside 1 to 8), "tensor shape dimensions must be positive", "tensor data_count does not
 *         match shape" or "out of memory". Success empties the last-error text. */
ONNXRUNTIME_VN_API(FloatTensor*)
onnxruntime_vn_tensor_from_f32(const float* data, int32_t data_count, const int64_t* shape,
                               int32_t rank);

/** A tensor that takes over data itself, without a copy. data must come from malloc, calloc or
 * realloc of the C library that this library uses: on Linux the process's libc, on Windows the
 * system's msvcrt.dll (not a compiler's own runtime, nor ucrtbase.dll). On success the buffer
 * belongs to the tensor, whose release frees it; on failure it stays the caller's.
 * @return as onnxruntime_vn_tensor_from_f32. */
ONNXRUNTIME_VN_API(FloatTensor*)
onnxruntime_vn_tensor_adopt_f32(float* data, int32_t data_count, const int64_t* shape,
                                int32_t rank);

/** A tensor of zeros in the shape of a JSON array of 1 to 8 numbers such as [1,3]; fractions are
 * dropped.
 * @return null with "invalid shape_json", "tensor shape dimensions must be positive" (a number that
 *         is not greater than 0), "invalid float32 tensor input" (a dimension that becomes 0, or
 *         more than 2,147,483,647 elements) or "out of memory". Success empties the last-error
 *         text. */
ONNXRUNTIME_VN_API(FloatTensor*) onnxruntime_vn_tensor_zeros_f32(const char* shape_json);

/** Releases the tensor and its buffer, after the last run that uses it has returned. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_tensor(FloatTensor* tensor);

/* ---- Tensor run ------------------------------------------------------------------------------ */

/** Runs a model with one float32 input on a tensor, in place. output_names_json is as in
 * onnxruntime_vn_run_json. input_name is handed on as it is, however long. String outputs carry
 * an error member here.
 * @return null with "invalid session, input name, or tensor", "out of memory", a message about the
 *         output names, or ONNX Runtime's refusal (an input name that the model does not have is
 *         "Run failed: ..."). Success empties the last-error text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_tensor(const InferenceSession* session, const char* input_name,
                          const FloatTensor* tensor, const char* output_names_json);

/** The same without numbers in the result's text: each output there has its dtype and shape only.
 * The first float32 output is read through onnxruntime_vn_result_float_data and its like. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_tensor_fast(const InferenceSession* session, const char* input_name,
                               const FloatTensor* tensor, const char* output_names_json);

/* ---- I/O binding ----------------------------------------------------------------------------- */

/** A binding for a session, with nothing bound.
 * @return null with "invalid InferenceSession", "out of memory" or "CreateIoBinding failed" and
 *         ONNX Runtime's reason. */
ONNXRUNTIME_VN_API(IoBinding*) onnxruntime_vn_create_iobinding(const InferenceSession* session);

/** Binds an input tensor (see JSON TENSORS) to an input of the model. The binding keeps the tensor
 * for every later run until the inputs are cleared. Each bind takes one of 16 places, also when it
 * repeats a name; the latest tensor of a name is the one that runs. A refused bind leaves the
 * binding as it was: what was accepted is bound anew, and an input that ONNX Runtime then refuses
 * is missing from the next run, which says so ("Missing Input").
 * @return 0 with "tensor_json must be an object", a message about the tensor, "out of memory", or
 *         ONNX Runtime's refusal; 0, silently, for a null argument, for a tensor without shape or
 *         data or with no colon after "dtype", and when 16 are bound. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_iobinding_bind_cpu_input_json(IoBinding* binding, const char* name,
                                             const char* tensor_json);

/** Asks for an output of the model in CPU memory. The outputs of a run carry the names bound, in
 * the order bound (at most 127 bytes of each; ONNX Runtime gets the whole name). Each bind takes
 * one of 16 places. Binding a name twice gives ONNX Runtime one output only, so that later outputs
 * carry the labels of their predecessors; a name that the model does not have is refused by the
 * run, not here.
 * @return 0 with ONNX Runtime's refusal; 0, silently, for a null argument and when 16 are bound. */
ONNXRUNTIME_VN_API(int32_t)
onnxruntime_vn_iobinding_bind_output(IoBinding* binding, const char* name);

/** Unbinds and frees all inputs.
 * @return 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_clear_inputs(IoBinding* binding);

/** Unbinds all outputs and empties the outputs text to "{}".
 * @return 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_clear_outputs(IoBinding* binding);

/** Waits until bound inputs have reached their device; nothing to wait for on the CPU.
 * @return 0 with ONNX Runtime's refusal; 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_synchronize_inputs(IoBinding* binding);

/** Waits until bound outputs have left their device.
 * @return 0 with ONNX Runtime's refusal; 0, silently, for a null handle. */
ONNXRUNTIME_VN_API(int32_t) onnxruntime_vn_iobinding_synchronize_outputs(IoBinding* binding);

/** Runs the session on what is bound. session must be the one that the binding was made for;
 * options may be null. ONNX Runtime keeps the outputs that the first run made: when a later input
 * changes their shape, clear and bind the outputs again. The result offers no float32 array.
 * @return null with "invalid InferenceSession or IoBinding", "out of memory" or ONNX Runtime's
 *         refusal ("RunWithBinding failed: ..."; a binding without outputs is refused). Success
 *         empties the last-error text and replaces the binding's outputs text. */
ONNXRUNTIME_VN_API(RunResult*)
onnxruntime_vn_run_with_iobinding(const InferenceSession* session, IoBinding* binding,
                                  const OrtRunOptions* options);

/** The text of the binding's last successful run, as in its result.
 * @return a text that the next run and the clearing of outputs change and that lives as long as the
 *         binding; "{}" for a null handle, before the first run and after clearing. */
ONNXRUNTIME_VN_API(const char*) onnxruntime_vn_iobinding_outputs_json(const IoBinding* binding);

/** Releases the binding with its input tensors; before its session. */
ONNXRUNTIME_VN_API(void) onnxruntime_vn_release_iobinding(IoBinding* binding);

#ifdef __cplusplus
}
#endif

#endif
