// How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
//
// usage: node detect.js MODEL LIBRARY          (needs: npm install koffi)
//
// Every chunk is the same; the answers differ by the detector's state, which each run hands on.
'use strict';

const fs = require('node:fs');
const path = require('node:path');
// From the project that is called from, or from here.
const koffi = require(require.resolve('koffi', { paths: [process.cwd(), __dirname] }));

function load(file) {
    // By full path, so that no other library of this name, and no other runtime, is found.
    const full = path.resolve(file);
    const loaded = koffi.load(full);
    const library = {};
    // One type or function a line. In JavaScript every handle is a BigInt, or null; a result of
    // const char * is copied into a JavaScript string before the call returns.
    const cdef = fs.readFileSync(path.join(path.dirname(full), 'onnxruntime_vornic.cdef'), 'utf8');
    for (const line of cdef.trim().split('\n')) {
        const [, name] = line.match(/(?:struct |onnxruntime_vn_)(\w+)/);
        if (line.startsWith('typedef')) koffi.opaque(name);
        else library[name] = loaded.func(line.slice(0, -1));
    }
    // Hands on a handle or a 1. The error text means something after a failure only.
    library.check = (outcome) => {
        if (!outcome) throw new Error(library.last_error() || 'refused without a reason');
        return outcome;
    };
    library.check(library.available());
    return library;
}

function detect(library, model) {
    const sawtooth = Array.from({ length: 512 }, (_, i) => ((i % 128) - 64) / 128);
    const zeros = { dtype: 'float32', shape: [2, 1, 64], data: new Array(128).fill(0) };
    const feed = {
        input: { dtype: 'float32', shape: [1, 512], data: sawtooth },
        sr: { dtype: 'int64', shape: [], data: [16000] },
        h: zeros,
        c: zeros,
    };
    const session = library.check(library.create_session(model, null));
    try {
        for (let chunk = 0; chunk < 3; chunk++) {
            const result = library.check(library.run_json(session, null, JSON.stringify(feed)));
            let outputs;
            try {
                ({ outputs } = JSON.parse(library.result_json(result)));
            } finally {
                library.release_result(result);
            }
            console.log(`chunk ${chunk}: ${outputs.output.data[0].toFixed(3)}`);
            [feed.h, feed.c] = [outputs.hn, outputs.cn];
        }
    } finally {
        library.release_session(session);
    }
}

try {
    if (process.argv.length !== 4) throw new Error('usage: node detect.js MODEL LIBRARY');
    detect(load(process.argv[3]), process.argv[2]);
} catch (error) {
    console.error(`detect: ${error.message}`);
    process.exitCode = 1;
}
