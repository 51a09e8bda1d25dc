// Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
// differ because of the detector's state, which each run passes on.
//
// usage: node detect.js MODEL [LIBRARY]     (needs: npm install onnxruntime-vornic-1.0.0.tgz)
'use strict';

const { Library, tensor } = require('onnxruntime-vornic');

function detect(library, model) {
    const sawtooth = Float32Array.from({ length: 512 }, (_, i) => ((i % 128) - 64) / 128);
    const zeros = tensor('float32', [2, 1, 64], new Float32Array(128));
    const feed = {
        input: tensor('float32', [1, 512], sawtooth),
        sr: tensor('int64', [], [16000]),
        h: zeros, c: zeros,
    };
    const session = library.session(model);
    try {
        for (let chunk = 0; chunk < 3; chunk++) {
            const result = session.run(feed);
            const { output, hn, cn } = result.outputs;
            result.close();
            console.log(`chunk ${chunk}: ${output.data[0].toFixed(3)}`);
            [feed.h, feed.c] = [hn, cn];
        }
    } finally {
        session.close();
    }
}

try {
    if (process.argv.length < 3) throw new Error('usage: node detect.js MODEL [LIBRARY]');
    detect(new Library(process.argv[3]), process.argv[2]);
} catch (error) {
    console.error(`detect: ${error.message}`);
    process.exitCode = 1;
}
