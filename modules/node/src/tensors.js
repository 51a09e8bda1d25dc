'use strict';

const koffi = require('koffi');
const { markAsUntransferable } = require('node:worker_threads');
const { VornicError, parsed } = require('./error');
const { Owned, holdFor } = require('./owned');

/** Floats of the library's without a copy, which stay until the array's buffer is collected. */
function viewOf(ownership, address, count) {
    const buffer = koffi.view(address, 4 * count);
    markAsUntransferable(buffer);
    holdFor(buffer, ownership);
    return new Float32Array(buffer);
}

class Result extends Owned {
    #lent = new WeakRef(new ArrayBuffer(0));

    constructor(library, handle) {
        super(library, handle, 'release_result');
    }

    get text() {
        return this.library.functions.result_json(this.handle);
    }

    get outputs() {
        return parsed(this.text, 'result').outputs;
    }

    [Symbol.iterator]() {
        return Object.entries(this.outputs)[Symbol.iterator]();
    }

    get floatShape() {
        return parsed(this.library.functions.result_float_shape_json(this.handle), 'shape');
    }

    get floatCount() {
        return this.library.functions.result_float_count(this.handle);
    }

    floatAt(index) {
        return this.library.functions.result_float_at(this.handle, index);
    }

    get floats() {
        const { floatCount: count, library, handle } = this;
        if (count === 0) return new Float32Array(0);
        const address = library.functions.result_float_data(handle);
        return koffi.decode(address, koffi.array('float', count, 'Typed'));
    }

    get floatView() {
        const { floatCount: count, handle } = this;
        if (count === 0) return new Float32Array(0);
        const lent = this.#lent.deref();
        if (lent?.byteLength) return new Float32Array(lent);
        const view = viewOf(this._ownership, this.library.functions.result_float_data(handle), count);
        this.#lent = new WeakRef(view.buffer);
        return view;
    }
}

/** How many numbers a shape calls for. */
function product(shape) {
    const sizes = Array.from(shape, Number);
    const count = sizes.reduce((product, size) => product * size, 1);
    if (!sizes.every(Number.isSafeInteger) || count >= 2 ** 31) {
        throw new VornicError('a float32 tensor holds at most 2147483647 numbers in whole dimensions');
    }
    return count;
}

const MALLOC = process.platform === 'win32' ? 'msvcrt.dll' : null;
let heap;

class FloatTensor extends Owned {
    #lent = new WeakRef(new ArrayBuffer(0));
    #address;

    constructor(library, handle, address, shape) {
        super(library, handle, 'release_tensor');
        this.#address = address;
        this.shape = Array.from(shape, Number);
    }

    static _from(library, values, shape) {
        product(shape);
        const numbers = values instanceof Float32Array ? values : Float32Array.from(values);
        const sizes = BigInt64Array.from(shape, BigInt);
        const make = library.functions.tensor_from_f32;
        return new FloatTensor(library, make(numbers, numbers.length, sizes, sizes.length), null, shape);
    }

    static _zeros(library, shape) {
        product(shape);
        const handle = library.functions.tensor_zeros_f32(`[${Array.from(shape)}]`);
        return new FloatTensor(library, handle, null, shape);
    }

    /** Over memory of the C library that the library uses, which its release frees. */
    static _allocated(library, shape) {
        const count = product(shape);
        if (!heap) {
            const loaded = koffi.load(MALLOC);
            heap = {
                calloc: loaded.func('calloc', 'void *', ['size_t', 'size_t']),
                free: loaded.func('free', 'void', ['void *']),
            };
        }
        const address = heap.calloc(Math.max(count, 1), 4);
        const sizes = BigInt64Array.from(shape, BigInt);
        const handle = library.functions.tensor_adopt_f32(address, count, sizes, sizes.length);
        if (!handle) heap.free(address); // it is still the caller's
        return new FloatTensor(library, handle, address, shape);
    }

    get data() {
        if (!this.#address) throw new VornicError('only a tensor of allocate() can be written to');
        const ownership = this._ownership;
        const lent = this.#lent.deref();
        if (lent?.byteLength) return new Float32Array(lent);
        const view = viewOf(ownership, this.#address, product(this.shape));
        this.#lent = new WeakRef(view.buffer);
        return view;
    }
}

module.exports = { Result, FloatTensor };
