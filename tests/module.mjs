// Checks the installed module through its classes: node module.mjs MODELS DETECTOR LIBRARY fails, or prints
// the functions of the library that were called.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import { setTimeout as wait } from 'node:timers/promises';
import { Worker, isMainThread, parentPort } from 'node:worker_threads';
import * as vornic from 'onnxruntime-vornic';

const { Library, checkFeed, feedJson, tensor } = vornic;
const [models, detector, own] = process.argv.slice(2);
assert.equal(createRequire(import.meta.url)('onnxruntime-vornic').Library, Library);

// A feed, the description of the inputs, and a part of the error message.
const input = (name, dtype, shape) => ({ name, dtype, shape });
const numbers = [input('x', 'int8', [-1, 2])];
const x = (item) => ({ x: { dtype: 'int8', shape: [1, 2], data: [1, 2], ...item } });
const REFUSED = [
    [[], numbers, 'an object'],
    [{}, numbers, 'missing'],
    [{ ...x(), y: 1 }, numbers, 'no such input'],
    [JSON.parse('{"__proto__":{"x":1}}'), numbers, 'no such input'],
    [x({ more: 1 }), numbers, 'nothing else'],
    [x({ dtype: 'string' }), numbers, 'must be int8'],
    [x({ data: '12' }), numbers, 'must be an array'],
    ...[[2], [1, 3], [1.5, 2], [-1, 2], ['1', 2]].map((shape) => [x({ shape }), numbers, 'shape must be']),
    [x({ shape: [65536, 2] }), numbers, 'more than 65536'],
    [x({ data: [1] }), numbers, 'must have 2 items'],
    ...[128, -129, 1e400, NaN].map((n) => [x({ data: [1, n] }), numbers, 'from -128 to 127']),
    ...[true, '1', null, [1]].map((n) => [x({ data: [1, n] }), numbers, 'only numbers']),
    [x({ data: [1, 0.5] }), numbers, 'whole'],
    [{ n: tensor('int64', [], [2 ** 53]) }, [input('n', 'int64', [])], 'beyond 2^53'],
    [{ n: tensor('float32', [], [2 ** 128 - 2 ** 103]) }, [input('n', 'float32', [])], 'finite'],
    ...[['\ud800', 'surrogate'], ['\0', 'zero byte'], ['é'.repeat(2048), '4095'], [1, 'only strings']].map(
        ([text, why]) => [{ s: tensor('string', [], [text]) }, [input('s', 'string', [])], why]),
    [{ s: tensor('string', [], ['"n"']), n: tensor('string', [], ['"s"']) },
        [input('s', 'string', []), input('n', 'string', [])], null],
    [{ 'a"': tensor('string', [], ['x']), s: tensor('string', [], ['b']) },
        [input('a"', 'string', []), input('s', 'unknown', [])], 'no JSON form'],
    [{ shape: tensor('string', [], ['"data"{']), data: tensor('string', [], ['"shape"{']) },
        [input('shape', 'string', []), input('data', 'string', [])], 'bind it instead'],
];

async function main() {
    for (const [feed, inputs, why] of REFUSED) {
        let message = null;
        try { checkFeed(feed, inputs); } catch (error) { message = error.message; }
        assert.ok(why ? message?.includes(why) : !message, `${JSON.stringify(feed)}: expected ${why}, got ${message}`);
    }
    assert.equal(checkFeed({ data: tensor('bool', [2], [true, 0]), z: tensor('float32', [], [-0]) },
        [input('z', 'float32', []), input('data', 'bool', [2])]),
        '{"data":{"dtype":"bool","shape":[2],"data":[1,0]},"z":{"dtype":"float32","shape":[],"data":[-0]}}');
    assert.throws(() => new Library('/nowhere/at.all'), /nowhere.*not a usable/s);

    const library = new Library(own);
    const called = new Set();
    for (const [name, native] of Object.entries(library.functions)) {
        const recorded = (f) => (...args) => (called.add(name), f(...args));
        library.functions[name] = Object.assign(recorded(native), { async: recorded(native.async) });
    }
    library.check(library.functions.available());
    assert.match(library.version, /^1\.\d+\.\d+$/);
    assert.ok(library.providers.includes('CPUExecutionProvider'));

    const options = library.sessionOptions({
        intraOpNumThreads: 1, interOpNumThreads: 1, graphOptimizationLevel: 'basic', executionMode: 'sequential',
        profiling: false, cpuMemArena: true, memPattern: true, logId: 'test', logVerbosityLevel: 0,
        logSeverityLevel: 3, providers: ['CPU', ['CPU', { use_arena: 0 }]],
    }).cpuMemArena(false).memPattern(false).profiling('module_test');
    assert.throws(() => options.logSeverityLevel(1.5), /integer/);
    assert.throws(() => library.sessionOptions({ threads: 1 }), /no setting threads/);
    const session = library.session(`${models}/double.onnx`, options);
    options.close();
    assert.deepEqual([session.inputs[0].shape, session.outputs[0].name, session.metadata.version], [[-1, 3], 'y', 7]);
    const feed = { x: tensor('float32', [1, 3], Float32Array.of(1, 2.5, -0)) };
    const result = session.run(feed, { outputs: ['y'] });
    assert.deepEqual([...result], [['y', { dtype: 'float32', shape: [1, 3], data: [2, 5, -0] }]]);
    assert.deepEqual([result.floats, result.floatShape, result.floatAt(1)], [Float32Array.of(2, 5, -0), [1, 3], 5]);
    const { floatView } = result;
    result.close();
    result.close();
    assert.deepEqual(floatView, Float32Array.of(2, 5, -0));
    assert.throws(() => result.text, /closed/);
    assert.throws(() => session.run({ x: feed.x, '\ud800': feed.x }), /surrogate/);
    assert.throws(() => session.run('{}'), { name: 'VornicError', message: "missing input 'x' in feed JSON" });

    const filled = library.allocate([1, 3]);
    filled.data.set([1, 2, 3]);
    const tensors = [library.tensor([1, 2, 3], [1, 3]), library.zeros([1, 3]), filled];
    const doubled = tensors.map((each) => session.runTensor('x', each).floats[2]);
    const fast = await Promise.all(tensors.map((each) => session.runTensorAsync('x', each, { fast: true })));
    tensors.forEach((each) => each.close());
    assert.deepEqual([doubled, fast.map((each) => each.floats[2])], [[6, 0, 6], [6, 0, 6]]);
    fast.forEach((each) => each.close());
    assert.throws(() => library.tensor([1, 2], [1, 3]), /data_count does not match/);

    const tagged = library.runOptions({ tag: 'test', logVerbosityLevel: 0, logSeverityLevel: 3 }).terminate();
    assert.throws(() => session.run(feed, { options: tagged }), /Run failed/);
    const binding = session.binding().bindInput('x', feed.x).bindOutput('y');
    assert.deepEqual(binding.run({ options: tagged.terminate(false) }).outputs, binding.outputs);
    binding.synchronizeInputs().synchronizeOutputs().clearInputs().clearOutputs();
    assert.deepEqual(binding.outputs, {});
    fs.rmSync(session.endProfiling());
    session.close(); // the binding keeps it alive
    binding.bindInput('x', feed.x).bindOutput('y');
    assert.equal((await binding.runAsync({ signal: AbortSignal.timeout(60000) })).outputs.y.data[0], 2);
    binding.close();

    // Concurrent runs, one of them aborted; closing waits for them.
    const speech = await library.sessionAsync(detector, { intraOpNumThreads: 1 });
    const state = (n) => tensor('float32', [2, n, 64], new Float32Array(128 * n));
    const chunks = (n) => feedJson({
        input: tensor('float32', [n, 512], new Float32Array(512 * n)), sr: tensor('int64', [], [16000]),
        h: state(n), c: state(n),
    });
    const runs = Array.from({ length: 8 }, () => speech.runAsync(chunks(1), { outputs: ['output'] }));
    const ended = new AbortController();
    const late = speech.runAsync(chunks(128), { signal: ended.signal });
    ended.abort();
    speech.close();
    assert.equal(new Set((await Promise.all(runs)).map((each) => each.floatAt(0))).size, 1);
    await assert.rejects(late, { name: 'AbortError' });
    await assert.rejects(async () => speech.runAsync(chunks(1)), /closed/);

    // A terminated worker leaks nothing. A session of the detector takes 6 MB.
    let before;
    for (let i = 0; i < 25; i++) {
        const worker = new Worker(new URL(import.meta.url), { argv: process.argv.slice(2) });
        await new Promise((resolve, reject) => worker.once('message', resolve).once('error', reject));
        await worker.terminate();
        if (i === 4) before = process.memoryUsage().rss;
    }
    const left = (process.memoryUsage().rss - before) / 20e6;
    assert.ok(left < 3, `a terminated worker leaves ${left} MB`);
    // Nor does what the collector frees.
    for (const name of [...called].sort()) console.log('onnxruntime_vn_' + name);
    library.session(detector);
    for (let i = 0; i < 20 && !called.delete('release_session'); i++) {
        gc();
        await wait(10);
    }
    assert.ok(!called.has('release_session'));
}

if (isMainThread) {
    await main();
} else {
    new Library(own).session(detector).binding();
    parentPort.postMessage('ready');
    setInterval(() => {}, 1000);
}
