'use strict';

const koffi = require('koffi');
const { markAsUntransferable } = require('node:worker_threads');
const { VornicError, parsed } = require('./error');
const { Owned, holdFor } = require('./owned');

/** Float32Arrays over native memory. They share one buffer, which holds the memory until it is collected. */
class View {
    #buffer = new WeakRef(new ArrayBuffer(0));

    get(ownership, count, address) {
        let buffer = this.#buffer.deref();
        if (!buffer?.byteLength) {
            buffer = koffi.view(address, 4 * count);
            markAsUntransferable(buffer);
            holdFor(buffer, ownership);
            this.#buffer = new WeakRef(buffer);
        }
        return new Float32Array(buffer);
    }
}

class Result extends Owned {
    #view = new View();

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
        const { floatCount: count, library, handle } = this;
        if (count === 0) return new Float32Array(0);
        return this.#view.get(this._ownership, count, library.functions.result_float_data(handle));
    }
}

/** The number of elements of a shape. */
function product(shape) {
    const sizes = Array.from(shape, Number);
    const count = sizes.reduce((product, size) => product * size, 1);
    if (!sizes.every(Number.isSafeInteger) || count >= 2 ** 31) {
        throw new VornicError('a float32 tensor has whole dimensions and at most 2147483647 elements');
    }
    return count;
}

const C_LIBRARY = process.platform === 'win32' ? 'msvcrt.dll' : null;
let heap;

class FloatTensor extends Owned {
    #view = new View();
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

    /** A tensor over memory from the C library's heap, which its release frees. */
    static _allocated(library, shape) {
        const count = product(shape);
        if (!heap) {
            const loaded = koffi.load(C_LIBRARY);
            heap = {
                calloc: loaded.func('calloc', 'void *', ['size_t', 'size_t']),
                free: loaded.func('free', 'void', ['void *']),
            };
        }
        const address = heap.calloc(Math.max(count, 1), 4);
        const sizes = BigInt64Array.from(shape, BigInt);
        const handle = library.functions.tensor_adopt_f32(address, count, sizes, sizes.length);
        if (!handle) heap.free(address); // not adopted
        return new FloatTensor(library, handle, address, shape);
    }

    get data() {
        if (!this.#address) throw new VornicError('only tensors from allocate() have data');
        return this.#view.get(this._ownership, product(this.shape), this.#address);
    }
}

module.exports = { Result, FloatTensor };
