// What workers leave behind. worker.terminate() runs nothing in the worker any more, no finalizer either,
// so that its handles would stay until the process ends. Each is therefore entered in a table that all
// threads share, and the thread that has made the worker releases what it finds there after its exit. By
// then no call of the worker's is under way: Node.js waits for asynchronous ones too.
'use strict';

const threads = require('node:worker_threads');
const koffi = require('koffi');

const KEY = 'onnxruntime-vornic handles 1'; // grows when the table's layout changes
const CAPACITY = 16384; // handles of all workers at a time; further ones are not entered
const FIELDS = 4; // owner, the worker that the main thread has made, the order of release, nothing

// A worker finds the table of the thread that has made it, if that thread had this module.
const inherited = threads.getEnvironmentData(KEY);
const memory = inherited?.memory ?? new SharedArrayBuffer(CAPACITY * (4 * FIELDS + 8 * 2));
const entries = new Int32Array(memory, 0, CAPACITY * FIELDS);
const pointers = new BigInt64Array(memory, 4 * CAPACITY * FIELDS); // a handle and what releases it
const ancestor = inherited?.ancestor || threads.threadId; // 0 is the main thread
threads.setEnvironmentData(KEY, { memory, ancestor });

let next = 0;

/** Enters a handle; returns its slot, or -1 where no other thread would look for it. */
function enter(handle, release, order) {
    if (!inherited) return -1;
    for (let tries = 0; tries < CAPACITY; tries++, next = (next + 1) % CAPACITY) {
        if (Atomics.compareExchange(entries, next * FIELDS, 0, threads.threadId) !== 0) continue;
        pointers[2 * next] = handle;
        pointers[2 * next + 1] = release;
        entries[next * FIELDS + 1] = ancestor;
        Atomics.store(entries, next * FIELDS + 2, order + 1);
        return next;
    }
    return -1;
}

function leave(slot) {
    if (slot < 0) return;
    Atomics.store(entries, slot * FIELDS + 2, 0);
    Atomics.store(entries, slot * FIELDS, 0);
    next = slot;
}

/** Releases what a worker has left, and what the workers that it had made have. */
function releaseAllOf(thread) {
    const left = [];
    for (let slot = 0; slot < CAPACITY; slot++) {
        const [owner, top, order] = entries.subarray(slot * FIELDS, slot * FIELDS + 3);
        if (owner === 0 || (owner !== thread && top !== thread)) continue;
        if (order > 0) left.push({ slot, order });
        else leave(slot);
    }
    left.sort((a, b) => a.order - b.order);
    for (const { slot } of left) {
        const [handle, release] = pointers.subarray(2 * slot, 2 * slot + 2);
        leave(slot);
        koffi.call(release, releaseType, handle);
    }
}

koffi.load(null); // before which koffi.call, in a thread without a library of its own, would crash
const releaseType = koffi.proto('void', ['void *']);
process.on('worker', (worker) => {
    const { threadId } = worker; // it has none after its exit
    worker.once('exit', () => releaseAllOf(threadId));
});

/** Keeps a library loaded, whose functions the table names, when the worker that has loaded it ends. */
function pin(path) {
    if (!inherited) return;
    if (process.platform === 'win32') {
        const find = koffi.load('kernel32.dll')
            .func('GetModuleHandleExW', 'int', ['uint32_t', 'str16', 'void *']);
        find(1, path, new BigInt64Array(1)); // GET_MODULE_HANDLE_EX_FLAG_PIN
    } else {
        koffi.load(null).func('dlopen', 'void *', ['str', 'int'])(path, 0x1002); // RTLD_NOW | RTLD_NODELETE
    }
}

module.exports = { enter, leave, pin };
