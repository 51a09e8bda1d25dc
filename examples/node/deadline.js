// Runs a speech detector without blocking the event loop, with a deadline for each run: on one
// chunk, four runs at a time, and on 128 chunks at once, which the deadline interrupts.
//
// usage: node deadline.js MODEL [LIBRARY]   (needs: npm install onnxruntime-vornic-1.0.0.tgz)
'use strict';

const { Library, feedJson, tensor } = require('onnxruntime-vornic');

function feedOf(chunks) {
    const samples = Float32Array.from({ length: 512 * chunks }, (_, i) => ((i % 128) - 64) / 128);
    const state = tensor('float32', [2, chunks, 64], new Float32Array(128 * chunks));
    const input = tensor('float32', [chunks, 512], samples);
    return feedJson({ input, sr: tensor('int64', [], [16000]), h: state, c: state });
}

async function main(model, file) {
    // One thread in each run, since the runs are parallel.
    const session = new Library(file).session(model, { intraOpNumThreads: 1 });
    const [one, many, answers] = [feedOf(1), feedOf(128), new Set()];
    // Runs on another thread and gives the first number. The signal stops a run at its next node.
    const run = async (feed, ms) => {
        const signal = AbortSignal.timeout(ms);
        const result = await session.runAsync(feed, { outputs: ['output'], signal });
        const first = result.floatAt(0);
        result.close();
        return first;
    };
    let [ticks, runs] = [0, 0];
    const timer = setInterval(() => { ticks++; }, 1);
    const keepRunning = async (until) => {
        for (; performance.now() < until; runs++) {
            answers.add((await run(one, 1000)).toFixed(3));
        }
    };
    await Promise.all(new Array(4).fill(performance.now() + 1000).map(keepRunning));
    clearInterval(timer);
    console.log(`${[...answers]}: ${runs} runs in a second, while a timer fired ${ticks} times`);
    const begin = performance.now();
    const outcome = await run(many, 5).catch((e) => e.name);
    console.log(`128 chunks: ${outcome} after ${(performance.now() - begin).toFixed(1)} ms`);
    session.close();
}

main(...process.argv.slice(2)).catch((error) => {
    console.error(`deadline: ${error.message}`);
    process.exitCode = 1;
});
