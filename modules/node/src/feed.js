// Feeds as JSON text. The library searches it for the parts it needs instead of parsing it.
'use strict';

const { VornicError, quoted } = require('./error');

const STRINGS = ['string', 'str'];
const MEMBERS = ['dtype', 'shape', 'data'];

// The lowest and the highest number of each type in a feed. The limit of float32 is the largest number that
// rounds to a finite one: the shortest decimal form of the largest float32 lies above it.
const LARGEST_FLOAT32 = 2 ** 128 - 2 ** 103 - 2 ** 75;
const RANGES = new Map([
    ['float32', [-LARGEST_FLOAT32, LARGEST_FLOAT32]],
    ['float64', [-Number.MAX_VALUE, Number.MAX_VALUE]],
    ['bool', [0, 1]],
    ...[8, 16, 32, 64].flatMap((bits) => [
        [`int${bits}`, [-(2 ** (bits - 1)), 2 ** (bits - 1) - 1]],
        [`uint${bits}`, [0, 2 ** bits - 1]],
    ]),
]);

function tensor(dtype, shape, data) {
    return { dtype, shape: Array.from(shape), data };
}

/** The error for an input. */
function unfit(name, reason) {
    const shown = JSON.stringify(name).slice(1, -1);
    return new VornicError(`input '${shown.length < 140 ? shown : shown.slice(0, 140) + '...'}': ${reason}`);
}

const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);
const isArray = (value) => Array.isArray(value) || (ArrayBuffer.isView(value) && 'length' in value);

function checkMembers(name, item) {
    if (!isObject(item) || Object.keys(item).sort().join() !== 'data,dtype,shape') {
        throw unfit(name, 'a tensor must have dtype, shape and data, and nothing else');
    }
    if (typeof item.dtype !== 'string') throw unfit(name, 'dtype must be a string');
    for (const member of ['shape', 'data']) {
        if (!isArray(item[member])) throw unfit(name, `${member} must be an array`);
    }
}

/** Numbers as JSON; JSON.stringify would lose the sign of -0. */
function numbersJson(name, values) {
    let text = '';
    for (const value of values) {
        if (typeof value === 'number') text += (Object.is(value, -0) ? '-0' : value) + ',';
        else if (typeof value === 'bigint') text += value + ',';
        else if (typeof value === 'boolean') text += (value ? '1' : '0') + ','; // the library reads no true
        else throw unfit(name, 'data must contain only numbers');
    }
    return `[${text.slice(0, -1)}]`;
}

/** One tensor as JSON; data comes last, since its strings may contain the members' names. */
function tensorJson(name, item) {
    checkMembers(name, item);
    let data;
    if (STRINGS.includes(item.dtype)) {
        if (!Array.prototype.every.call(item.data, (text) => typeof text === 'string')) {
            throw unfit(name, 'data must contain only strings');
        }
        data = `[${item.data.map(quoted).join()}]`;
    } else {
        data = numbersJson(name, item.data);
    }
    return `{"dtype":${quoted(item.dtype)},"shape":${numbersJson(name, item.shape)},"data":${data}}`;
}

/** A feed's text, and the input, if any, that the library would find elsewhere first. */
function joined(items, order) {
    let text = '{';
    const braces = new Map();
    for (const name of order) {
        text += `"${name}":`; // not escaped: the library searches for the plain name
        braces.set(name, text.length);
        text += items.get(name) + ',';
    }
    text = (order.length > 0 ? text.slice(0, -1) : text) + '}';
    for (const [name, brace] of braces) {
        const name_ = `"${name}"`;
        if (text.indexOf('{', text.indexOf(name_) + name_.length) !== brace) return { text, misread: name };
    }
    return { text };
}

function feedJson(feed) {
    if (!isObject(feed)) {
        throw new VornicError('a feed must be an object of tensors by input name, or its text');
    }
    const names = Object.keys(feed);
    const items = new Map(names.map((name) => [name, tensorJson(name, feed[name])]));
    // The library finds an input by the first occurrence of its quoted name and starts its tensor at the
    // next {. So inputs named like a word inside a tensor ("data" is common) go first, and string tensors,
    // which may contain any name, last. Inputs that are both are tried in either position.
    const words = new Set([...MEMBERS, ...names.map((name) => feed[name].dtype)]);
    const isStrings = (name) => Number(STRINGS.includes(feed[name].dtype));
    const isNoWord = (name) => Number(!words.has(name));
    let misread;
    for (const [first, second] of [[isStrings, isNoWord], [isNoWord, isStrings]]) {
        const order = [...names].sort((a, b) => first(a) - first(b) || second(a) - second(b));
        const made = joined(items, order);
        if (made.misread === undefined) return made.text;
        misread = made.misread;
    }
    throw unfit(misread, 'its name also occurs earlier in the feed; bind it instead');
}

/** The number of elements of a shape, at most 65,536 in 8 dimensions as in the library. */
function checkedCount(name, shape, described) {
    if (shape.length > 8) throw unfit(name, 'shape must have at most 8 dimensions');
    if (!shape.every((size) => Number.isInteger(size) && size >= 0 && size <= 65536)) {
        throw unfit(name, 'shape must be whole numbers from 0 to 65536');
    }
    // An empty description may stand for an unknown rank, for which ONNX Runtime accepts any.
    const fits = shape.length === described.length &&
        described.every((size, i) => size < 0 || size === shape[i]);
    if (described.length > 0 && !fits) {
        throw unfit(name, `shape must be [${described.join(', ')}], with any size for -1`);
    }
    const count = shape.reduce((product, size) => product * size, 1);
    if (count > 65536) throw unfit(name, 'shape calls for more than 65536 items');
    return count;
}

function checkStrings(name, data) {
    for (const text of data) {
        if (typeof text !== 'string') throw unfit(name, 'data must contain only strings');
        if (/\p{Surrogate}/u.test(text)) {
            throw unfit(name, 'data holds a lone surrogate, which UTF-8 cannot encode');
        }
        if (Buffer.byteLength(text) > 4095) {
            throw unfit(name, 'data holds a string of more than 4095 bytes');
        }
        if (text.includes('\0')) throw unfit(name, 'data holds a zero byte, which strings cannot contain');
    }
}

function checkNumbers(name, data, dtype) {
    const [lowest, highest] = RANGES.get(dtype);
    const isWhole = !dtype.startsWith('float');
    for (const value of data) {
        if (typeof value !== 'number' && !(dtype === 'bool' && typeof value === 'boolean')) {
            throw unfit(name, 'data must contain only numbers');
        }
        if (!(lowest <= value && value <= highest)) { // also refuses NaN
            throw unfit(name, `data must be finite numbers from ${lowest} to ${highest}`);
        }
        if (isWhole && Number(value) % 1 !== 0) {
            throw unfit(name, `data must be whole numbers, as its dtype is ${dtype}`);
        }
        if (isWhole && Math.abs(value) > Number.MAX_SAFE_INTEGER) { // JSON.parse may have rounded it
            throw unfit(name, 'data holds a number beyond 2^53 that would be rounded');
        }
    }
}

function checkFeed(feed, inputs) {
    if (!isObject(feed)) throw new VornicError('a feed must be an object of tensors by input name');
    // A description of 2,040 bytes or more may be truncated: inputs may be missing from it.
    if (inputs.length > 16 || Buffer.byteLength(JSON.stringify(inputs)) >= 2040) {
        throw new VornicError('the model has too many inputs for a feed to be checked');
    }
    const described = new Map(inputs.map((entry) => [entry.name, entry]));
    for (const name of Object.keys(feed)) {
        if (!described.has(name)) throw unfit(name, 'the model has no such input');
    }
    for (const [name, { dtype, shape }] of described) {
        if (dtype !== 'string' && !RANGES.has(dtype)) {
            throw unfit(name, 'its type in the model has no JSON form');
        }
        if (Buffer.byteLength(name) > 127) {
            throw unfit(name, 'a feed cannot hold names longer than 127 bytes');
        }
        if (!Object.hasOwn(feed, name)) throw unfit(name, 'it is missing');
        const item = feed[name];
        checkMembers(name, item);
        if (item.dtype !== dtype) throw unfit(name, `its dtype must be ${dtype}`);
        const count = checkedCount(name, item.shape, shape);
        if (item.data.length !== count) {
            throw unfit(name, `data must have ${count} items, as shape says, not ${item.data.length}`);
        }
        if (dtype === 'string') checkStrings(name, item.data);
        else checkNumbers(name, item.data, dtype);
    }
    return feedJson(feed);
}

module.exports = { tensor, feedJson, tensorJson, checkFeed };
