'use strict';

const fs = require('node:fs');
const path = require('node:path');
const koffi = require('koffi');
const { VornicError, cText, parsed } = require('./error');
const signatures = require('./functions');
const { SessionOptions, RunOptions } = require('./options');
const { Session } = require('./session');
const { FloatTensor } = require('./tensors');
const { callAsync } = require('./owned');
const workers = require('./workers');

const FILE = process.platform === 'win32' ? 'onnxruntime_vornic.dll' : 'libonnxruntime_vornic.so.1';

/** What is loaded: the file given or named by the environment, the module's own, or the system's. */
function choose(given) {
    const named = given || process.env.ONNXRUNTIME_VORNIC_LIBRARY;
    // By full path: the loader could find another library of that name, and beside it another ONNX
    // Runtime (Windows brings an old one of its own).
    if (named) return /[/\\]/.test(named) ? path.resolve(named) : named;
    const own = path.join(__dirname, '..', 'lib', `${process.platform}-${process.arch}`, FILE);
    return fs.existsSync(own) ? own : FILE;
}

class Library {
    #loaded;
    #addresses = {};

    constructor(file) {
        this.file = choose(file);
        this.functions = {};
        try {
            this.#loaded = koffi.load(this.file);
            for (const [name, [result, ...args]] of Object.entries(signatures)) {
                this.functions[name] = this.#loaded.func('onnxruntime_vn_' + name, result, args);
            }
        } catch (error) {
            throw new VornicError(
                `${this.file} is not a usable onnxruntime_vornic for ${process.platform}-${process.arch}: ` +
                `${error.message}; name one in new Library(file) or ONNXRUNTIME_VORNIC_LIBRARY`);
        }
        this.check(this.functions.available());
        workers.pin(this.file);
    }

    /** For the functions of this module: where a release function is. */
    address(name) {
        return (this.#addresses[name] ??= this.#loaded.symbol('onnxruntime_vn_' + name));
    }

    /** Hands on a handle or a 1; throws the library's reason for a null or a 0. */
    check(outcome) {
        if (outcome) return outcome;
        const text = this.functions.last_error();
        // Some refusals are silent and leave the text as it was. Making a tensor empties it, so that
        // such a refusal never shows the reason of an earlier one.
        this.functions.release_tensor(this.functions.tensor_zeros_f32('[1]'));
        throw new VornicError(text || 'the library refused the call without a reason');
    }

    get version() {
        return this.functions.get_version_string();
    }

    get providers() {
        return parsed(this.functions.get_available_providers_json(), 'providers');
    }

    sessionOptions(settings) {
        return new SessionOptions(this, settings);
    }

    runOptions(settings) {
        return new RunOptions(this, settings);
    }

    session(model, options) {
        return SessionOptions._with(this, options, ({ handle }) =>
            new Session(this, this.functions.create_session(cText(model, 'the path'), handle)));
    }

    async sessionAsync(model, options) {
        const session = SessionOptions._with(this, options, ({ _ownership }) =>
            callAsync(this, 'create_session', [_ownership], cText(model, 'the path'), _ownership.handle));
        return new Session(this, await session);
    }

    tensor(values, shape) {
        return FloatTensor._from(this, values, shape);
    }

    zeros(shape) {
        return FloatTensor._zeros(this, shape);
    }

    allocate(shape) {
        return FloatTensor._allocated(this, shape);
    }
}

module.exports = { Library };
