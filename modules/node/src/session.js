'use strict';

const { VornicError, cText, namesJson, parsed } = require('./error');
const { feedJson, tensorJson } = require('./feed');
const { RunOptions } = require('./options');
const { Owned, callAsync } = require('./owned');
const { FloatTensor, Result } = require('./tensors');

function feedText(feed) {
    return cText(typeof feed === 'string' ? feed : feedJson(feed), 'the feed');
}

/** Awaits call(options); the signal terminates the run at its next node. */
async function withSignal(library, { signal, options }, call) {
    signal?.throwIfAborted();
    if (!signal) return call(options);
    const own = options ? null : new RunOptions(library);
    const used = own ?? options;
    const stop = () => used.terminate();
    signal.addEventListener('abort', stop);
    try {
        return await call(used);
    } catch (error) {
        throw signal.aborted ? signal.reason : error;
    } finally {
        signal.removeEventListener('abort', stop);
        own?.close();
    }
}

class Session extends Owned {
    constructor(library, handle) {
        super(library, handle, 'release_session');
    }

    get inputs() {
        return parsed(this.library.functions.get_inputs_json(this.handle), 'inputs');
    }

    get outputs() {
        return parsed(this.library.functions.get_outputs_json(this.handle), 'outputs');
    }

    get metadata() {
        return parsed(this.library.functions.get_modelmeta_json(this.handle), 'metadata');
    }

    /** The name of the function for a JSON run, and its arguments. */
    #jsonRun(feed, outputs, options) {
        const args = [this.handle, namesJson(outputs), feedText(feed)];
        return options ? ['run_json_with_options', ...args, options.handle] : ['run_json', ...args];
    }

    run(feed, { outputs, options } = {}) {
        const [name, ...args] = this.#jsonRun(feed, outputs, options);
        return new Result(this.library, this.library.functions[name](...args));
    }

    runAsync(feed, { outputs, options, signal } = {}) {
        return withSignal(this.library, { signal, options }, async (used) => {
            const [name, ...args] = this.#jsonRun(feed, outputs, used);
            const uses = [this._ownership, ...(used ? [used._ownership] : [])];
            return new Result(this.library, await callAsync(this.library, name, uses, ...args));
        });
    }

    #tensorRun(name, tensor, { outputs, fast }) {
        if (!(tensor instanceof FloatTensor)) {
            throw new VornicError('runTensor takes a FloatTensor');
        }
        const args = [this.handle, cText(name, 'the name'), tensor.handle, namesJson(outputs)];
        return [fast ? 'run_tensor_fast' : 'run_tensor', ...args];
    }

    runTensor(name, tensor, settings = {}) {
        const [run, ...args] = this.#tensorRun(name, tensor, settings);
        return new Result(this.library, this.library.functions[run](...args));
    }

    async runTensorAsync(name, tensor, settings = {}) {
        const [run, ...args] = this.#tensorRun(name, tensor, settings);
        const uses = [this._ownership, tensor._ownership];
        return new Result(this.library, await callAsync(this.library, run, uses, ...args));
    }

    binding() {
        return new Binding(this);
    }

    endProfiling() {
        const { functions } = this.library;
        const path = functions.session_end_profiling(this.handle);
        if (!path && functions.last_error()) this.library.check(0);
        return path;
    }
}

class Binding extends Owned {
    #session; // the ownership: the Session itself may be closed earlier

    constructor(session) {
        const { library } = session;
        const handle = library.functions.create_iobinding(session.handle);
        super(library, handle, 'release_iobinding', [session._ownership]);
        this.#session = session._ownership;
    }

    #call(name, ...args) {
        this.library.check(this.library.functions['iobinding_' + name](this.handle, ...args));
        return this;
    }

    bindInput(name, tensor) {
        const json = cText(tensorJson(name, tensor), 'the tensor');
        return this.#call('bind_cpu_input_json', cText(name, 'the name'), json);
    }

    bindOutput(name) {
        return this.#call('bind_output', cText(name, 'the name'));
    }

    clearInputs() {
        return this.#call('clear_inputs');
    }

    clearOutputs() {
        return this.#call('clear_outputs');
    }

    synchronizeInputs() {
        return this.#call('synchronize_inputs');
    }

    synchronizeOutputs() {
        return this.#call('synchronize_outputs');
    }

    get outputs() {
        const text = this.library.functions.iobinding_outputs_json(this.handle);
        return parsed(text, 'binding').outputs ?? {};
    }

    run({ options } = {}) {
        const run = this.library.functions.run_with_iobinding;
        const handle = run(this.#session.handle, this.handle, options?.handle ?? null);
        return new Result(this.library, handle);
    }

    runAsync({ options, signal } = {}) {
        return withSignal(this.library, { signal, options }, async (used) => {
            const args = [this.#session.handle, this.handle, used?.handle ?? null];
            const uses = [this._ownership, ...(used ? [used._ownership] : [])];
            const handle = await callAsync(this.library, 'run_with_iobinding', uses, ...args);
            return new Result(this.library, handle);
        });
    }
}

module.exports = { Session, Binding };
