// Runs beside JavaScript's own loop, each with a deadline: a speech detector on one chunk, four runs
// at a time, and on 128 chunks at once, which a deadline ends in the middle.
//
// usage: node deadline.js MODEL LIBRARY          (needs: npm install koffi)
'use strict';

const fs = require('node:fs');
const path = require('node:path');
// From the project that is called from, or from here.
const koffi = require(require.resolve('koffi', { paths: [process.cwd(), __dirname] }));

function load(file) {
    const full = path.resolve(file);
    const loaded = koffi.load(full);
    const library = {};
    const cdef = fs.readFileSync(path.join(path.dirname(full), 'onnxruntime_vornic.cdef'), 'utf8');
    for (const line of cdef.trim().split('\n')) {
        const [, name] = line.match(/(?:struct |onnxruntime_vn_)(\w+)/);
        if (line.startsWith('typedef')) koffi.opaque(name);
        else library[name] = loaded.func(line.slice(0, -1));
    }
    library.check = (outcome) => {
        if (!outcome) throw new Error(library.last_error() || 'refused without a reason');
        return outcome;
    };
    library.check(library.available());
    return library;
}

// The first number of a run on another of libuv's threads. The signal ends it at its next node. All
// other calls are JavaScript's own, one at a time; the error text may be that of another run.
function run(library, session, feed, signal) {
    const options = library.check(library.create_run_options());
    const stop = () => library.run_options_set_terminate(options);
    signal.addEventListener('abort', stop);
    return new Promise((resolve, reject) => {
        library.run_json_with_options.async(session, '["output"]', feed, options, (error, result) => {
            signal.removeEventListener('abort', stop);
            library.release_run_options(options);
            if (result) resolve(library.result_float_at(result, 0));
            else reject(error ?? (signal.aborted ? signal.reason : new Error(library.last_error())));
            library.release_result(result);
        });
    });
}

function feedOf(chunks) {
    const tensor = (shape, data) => ({ dtype: 'float32', shape, data });
    const samples = Array.from({ length: 512 * chunks }, (_, i) => ((i % 128) - 64) / 128);
    const state = tensor([2, chunks, 64], new Array(128 * chunks).fill(0));
    const sr = { dtype: 'int64', shape: [], data: [16000] };
    return JSON.stringify({ input: tensor([chunks, 512], samples), sr, h: state, c: state });
}

async function main(model, file) {
    const library = load(file);
    const options = library.check(library.create_session_options());
    library.session_options_set_intra_op_num_threads(options, 1); // The runs are the parallelism.
    const session = library.check(library.create_session(model, options));
    library.release_session_options(options);
    const [one, many, answers] = [feedOf(1), feedOf(128), new Set()];
    let [ticks, runs] = [0, 0];
    const timer = setInterval(() => { ticks++; }, 1);
    const keepRunning = async (until) => {
        for (; performance.now() < until; runs++) {
            answers.add((await run(library, session, one, AbortSignal.timeout(1000))).toFixed(3));
        }
    };
    await Promise.all(new Array(4).fill(performance.now() + 1000).map(keepRunning));
    clearInterval(timer);
    console.log(`${[...answers]}: ${runs} runs in a second, while a timer fired ${ticks} times`);
    const begin = performance.now();
    const outcome = await run(library, session, many, AbortSignal.timeout(5)).catch((e) => e.name);
    console.log(`128 chunks: ${outcome} after ${(performance.now() - begin).toFixed(1)} ms`);
    library.release_session(session);
}

main(...process.argv.slice(2)).catch((error) => {
    console.error(`deadline: ${error.message}`);
    process.exitCode = 1;
});
