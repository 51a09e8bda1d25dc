'use strict';

const { VornicError, cText, int32 } = require('./error');
const { Owned } = require('./owned');

const LEVELS = { none: 0, basic: 1, extended: 2, layout: 3, all: 99 };
const MODES = { sequential: 0, parallel: 1 };

/** Applies settings by the methods of their names. */
function apply(setters, target, settings) {
    for (const [name, value] of Object.entries(settings)) {
        if (!Object.hasOwn(setters, name)) throw new VornicError(`there is no setting ${name}`);
        if (value !== undefined) target[name](value);
    }
}

/** Defines a chainable method for each setting. */
function define(type, setters) {
    for (const [name, setter] of Object.entries(setters)) {
        type.prototype[name] = function set(...values) {
            this.library.check(setter(this.library.functions, this.handle, ...values));
            return this;
        };
    }
}

function number(what, names) {
    return (value) => int32(names && Object.hasOwn(names, value) ? names[value] : value, what);
}

const level = number('graphOptimizationLevel', LEVELS);
const mode = number('executionMode', MODES);
const threads = number('a number of threads');
const verbosity = number('logVerbosityLevel');
const severity = number('logSeverityLevel');

const SESSION_SETTERS = {
    intraOpNumThreads: (f, h, count) => f.session_options_set_intra_op_num_threads(h, threads(count)),
    interOpNumThreads: (f, h, count) => f.session_options_set_inter_op_num_threads(h, threads(count)),
    graphOptimizationLevel: (f, h, name) => f.session_options_set_graph_optimization_level(h, level(name)),
    executionMode: (f, h, name) => f.session_options_set_execution_mode(h, mode(name)),
    profiling: (f, h, prefix) =>
        prefix === false
            ? f.session_options_disable_profiling(h)
            : f.session_options_enable_profiling(h, prefix === true ? null : cText(prefix, 'the prefix')),
    cpuMemArena: (f, h, on) =>
        on ? f.session_options_enable_cpu_mem_arena(h) : f.session_options_disable_cpu_mem_arena(h),
    memPattern: (f, h, on) =>
        on ? f.session_options_enable_mem_pattern(h) : f.session_options_disable_mem_pattern(h),
    logId: (f, h, id) => f.session_options_set_log_id(h, cText(id, 'logId')),
    logVerbosityLevel: (f, h, value) => f.session_options_set_log_verbosity_level(h, verbosity(value)),
    logSeverityLevel: (f, h, value) => f.session_options_set_log_severity_level(h, severity(value)),
    provider: (f, h, name, options) =>
        options === undefined
            ? f.session_options_append_execution_provider(h, cText(name, 'the provider'))
            : f.session_options_append_execution_provider_with_options(
                h, cText(name, 'the provider'), cText(providerJson(options), 'the provider options')),
    providers: (f, h, list) =>
        list.every((entry) => SESSION_SETTERS.provider(f, h, ...[entry].flat())) ? 1 : 0,
};

/** A flat object of strings; the library would truncate a longer one. */
function providerJson(options) {
    const json = JSON.stringify(options, (key, value) => (key ? String(value) : value));
    if (Buffer.byteLength(json) > 1023) throw new VornicError('provider options take at most 1023 bytes');
    return json;
}

class SessionOptions extends Owned {
    constructor(library, settings = {}) {
        super(library, library.functions.create_session_options(), 'release_session_options');
        closedOnError(this, () => apply(SESSION_SETTERS, this, settings));
    }

    /** Calls use with the options, or with temporary ones made from settings. */
    static _with(library, options, use) {
        if (options instanceof SessionOptions) return use(options);
        const own = new SessionOptions(library, options ?? {});
        try {
            return use(own);
        } finally {
            own.close(); // an asynchronous call holds them until it has ended
        }
    }
}
define(SessionOptions, SESSION_SETTERS);

const RUN_SETTERS = {
    logVerbosityLevel: (f, h, value) => f.run_options_set_log_verbosity_level(h, verbosity(value)),
    logSeverityLevel: (f, h, value) => f.run_options_set_log_severity_level(h, severity(value)),
    tag: (f, h, text) => f.run_options_set_run_tag(h, cText(text, 'the tag')),
    terminate: (f, h, on = true) =>
        on ? f.run_options_set_terminate(h) : f.run_options_unset_terminate(h),
};

class RunOptions extends Owned {
    constructor(library, settings = {}) {
        super(library, library.functions.create_run_options(), 'release_run_options');
        closedOnError(this, () => apply(RUN_SETTERS, this, settings));
    }
}
define(RunOptions, RUN_SETTERS);

function closedOnError(owned, action) {
    try {
        action();
    } catch (error) {
        owned.close();
        throw error;
    }
}

module.exports = { SessionOptions, RunOptions };
