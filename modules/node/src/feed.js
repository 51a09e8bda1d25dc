// Feeds as text. The library searches a feed for its parts instead of parsing it.
'use strict';

const { VornicError, quoted } = require('./error');

const STRINGS = ['string', 'str'];
const MEMBERS = ['dtype', 'shape', 'data'];

// What the numbers of a feed may be, from lowest to highest. A float32 may be as large as what still
// rounds to one, since writers of shortest digits round the largest up.
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

/** An input tensor for a feed. An output of a run has the same form and can be fed as it is. */
function tensor(dtype, shape, data) {
    return { dtype, shape: Array.from(shape), data };
}

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

/** The text of numbers; JSON.stringify loses the sign of -0. */
function numbersJson(name, values) {
    let text = '';
    for (const value of values) {
        if (typeof value === 'number') text += (Object.is(value, -0) ? '-0' : value) + ',';
        else if (typeof value === 'bigint') text += value + ',';
        else if (typeof value === 'boolean') text += (value ? '1' : '0') + ','; // true is written, not read
        else throw unfit(name, 'data must be numbers alone');
    }
    return `[${text.slice(0, -1)}]`;
}

/** The text of one tensor, dtype and shape first: strings could spell the members' names. */
function tensorJson(name, item) {
    checkMembers(name, item);
    let data;
    if (STRINGS.includes(item.dtype)) {
        if (!Array.prototype.every.call(item.data, (text) => typeof text === 'string')) {
            throw unfit(name, 'data must be strings alone');
        }
        data = `[${item.data.map(quoted).join()}]`;
    } else {
        data = numbersJson(name, item.data);
    }
    return `{"dtype":${quoted(item.dtype)},"shape":${numbersJson(name, item.shape)},"data":${data}}`;
}

/** A feed's text, and an input whose name the library would find elsewhere first, if there is one. */
function joined(items, order) {
    let text = '{';
    const braces = new Map();
    for (const name of order) {
        text += `"${name}":`; // as it is: the library looks for names unescaped
        braces.set(name, text.length);
        text += items.get(name) + ',';
    }
    text = (order.length > 0 ? text.slice(0, -1) : text) + '}';
    for (const [name, brace] of braces) {
        const name_ = `"${name}"`;
        if (text.indexOf('{', text.indexOf(name_) + name_.length) !== brace) return { text, mistaken: name };
    }
    return { text };
}

/**
 * The feed text of an object of tensors by input name. Every tensor arrives as its own input: a feed that
 * the library would read in another way is refused.
 */
function feedJson(feed) {
    if (!isObject(feed)) {
        throw new VornicError('a feed must be an object of tensors by input name, or its text');
    }
    const names = Object.keys(feed);
    const items = new Map(names.map((name) => [name, tensorJson(name, feed[name])]));
    // The library looks for an input's quoted name first, and begins its tensor at the next {. So
    // inputs named like a word of the tensors themselves ("data" is a popular one) go first, and
    // strings, which may spell any name, last. An input that is both may do in either place.
    const words = new Set([...MEMBERS, ...names.map((name) => feed[name].dtype)]);
    const isStrings = (name) => Number(STRINGS.includes(feed[name].dtype));
    const isNoWord = (name) => Number(!words.has(name));
    let mistaken;
    for (const [first, second] of [[isStrings, isNoWord], [isNoWord, isStrings]]) {
        const order = [...names].sort((a, b) => first(a) - first(b) || second(a) - second(b));
        const made = joined(items, order);
        if (made.mistaken === undefined) return made.text;
        mistaken = made.mistaken;
    }
    throw unfit(mistaken, 'its name would be found among other words of the feed; bind it instead');
}

/** How many items a shape calls for, which the library holds in 8 dimensions of 65,536 at most. */
function checkedCount(name, shape, described) {
    if (shape.length > 8) throw unfit(name, 'shape must have at most 8 dimensions');
    if (!shape.every((size) => Number.isInteger(size) && size >= 0 && size <= 65536)) {
        throw unfit(name, 'shape must be whole numbers from 0 to 65536');
    }
    // An empty description may also be that of an unknown rank, for which ONNX Runtime takes any.
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
        if (typeof text !== 'string') throw unfit(name, 'data must be strings alone');
        if (/\p{Surrogate}/u.test(text)) {
            throw unfit(name, 'data holds a lone surrogate, which has no UTF-8');
        }
        if (Buffer.byteLength(text) > 4095) {
            throw unfit(name, 'data holds a string of more than 4095 bytes');
        }
        if (text.includes('\0')) throw unfit(name, 'data holds a zero byte, which no string can have');
    }
}

function checkNumbers(name, data, dtype) {
    const [lowest, highest] = RANGES.get(dtype);
    const isWhole = !dtype.startsWith('float');
    for (const value of data) {
        if (typeof value !== 'number' && !(dtype === 'bool' && typeof value === 'boolean')) {
            throw unfit(name, 'data must be numbers alone');
        }
        if (!(lowest <= value && value <= highest)) { // NaN is refused with them
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

/**
 * The text of a feed that somebody else made, as JSON.parse gives it, checked against a description
 * (session.inputs). Throws a VornicError that names the input and what is wrong with it unless every input
 * of the description is there and no other, each with the described dtype, dimensions that fit, as many
 * numbers or strings as they call for, and none that would arrive changed, but for the rounding of
 * fractions to float32 or float64.
 */
function checkFeed(feed, inputs) {
    if (!isObject(feed)) throw new VornicError('a feed must be an object of tensors by input name');
    // From 2,040 bytes on a description may lack entries, so the model may have more inputs.
    if (inputs.length > 16 || Buffer.byteLength(JSON.stringify(inputs)) >= 2040) {
        throw new VornicError('the model has more inputs than a feed can be checked for');
    }
    const described = new Map(inputs.map((entry) => [entry.name, entry]));
    for (const name of Object.keys(feed)) {
        if (!described.has(name)) throw unfit(name, 'the model has no such input');
    }
    for (const [name, { dtype, shape }] of described) {
        if (dtype !== 'string' && !RANGES.has(dtype)) {
            throw unfit(name, 'what the model takes there has no JSON form');
        }
        if (Buffer.byteLength(name) > 127) {
            throw unfit(name, 'a feed cannot hold names of more than 127 bytes');
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
