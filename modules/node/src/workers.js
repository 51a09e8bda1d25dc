// Releases the handles of terminated workers. worker.terminate() runs no more code in the worker, not even
// finalizers, so its handles would leak. Workers therefore enter them in a table shared by all threads; once a
// worker has exited, the thread that created it releases those that remain. No call of the worker is in
// progress then: Node.js waits for asynchronous ones too.
'use strict';

const threads = require('node:worker_threads');
const koffi = require('koffi');

const KEY = 'onnxruntime-vornic handles 1'; // increment when the table's layout changes
const CAPACITY = 16384; // handles of all workers together; more are not entered
const FIELDS = 4; // owner, the owner's top-level worker, release order + 1 or 0 while incomplete, padding

// A worker inherits the table of the thread that created it, if that thread had loaded this module.
const inherited = threads.getEnvironmentData(KEY);
const memory = inherited?.memory ?? new SharedArrayBuffer(CAPACITY * (4 * FIELDS + 8 * 2));
const entries = new Int32Array(memory, 0, CAPACITY * FIELDS);
const pointers = new BigInt64Array(memory, 4 * CAPACITY * FIELDS); // handle, release function
const ancestor = inherited?.ancestor || threads.threadId; // 0 is the main thread
threads.setEnvironmentData(KEY, { memory, ancestor });

let next = 0;

/** Enters a handle and returns its slot; -1 if the table is full or not shared. */
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

/** Releases the handles of a worker that has exited and of the workers it had created. */
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

koffi.load(null); // koffi.call crashes in a thread that has not loaded a library
const releaseType = koffi.proto('void', ['void *']);
process.on('worker', (worker) => {
    const { threadId } = worker; // no longer available once it has exited
    worker.once('exit', () => releaseAllOf(threadId));
});

/** Keeps a library loaded after its worker has ended, since the table has addresses of its functions. */
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
