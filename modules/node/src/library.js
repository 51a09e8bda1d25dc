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

/** The library to load: the one given, the environment's, the module's own or the system's. */
function choose(given) {
    const named = given || process.env.ONNXRUNTIME_VORNIC_LIBRARY;
    // By full path: the loader could find another library of that name, next to another ONNX Runtime
    // (Windows ships an old one).
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
                `${error.message}; pass its path to new Library(file) or set ONNXRUNTIME_VORNIC_LIBRARY`);
        }
        this.check(this.functions.available());
        workers.pin(this.file);
    }

    /** Internal to this module: the address of a function. */
    address(name) {
        return (this.#addresses[name] ??= this.#loaded.symbol('onnxruntime_vn_' + name));
    }

    /** Returns the handle or 1 that a function returned; throws the library's reason for null or 0. */
    check(outcome) {
        if (outcome) return outcome;
        const text = this.functions.last_error();
        // Some calls fail without setting the error text. Creating a tensor clears it, so that they never
        // report the reason of an earlier failure.
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
