'use strict';

/** A failure, with the message of the library or of this module. */
class VornicError extends Error {}
Object.defineProperty(VornicError.prototype, 'name', { value: 'VornicError' });

/** Checks a string for the library: it must have a UTF-8 form and no zero byte. */
function cText(text, what) {
    if (typeof text !== 'string') throw new VornicError(`${what} must be a string`);
    if (/\p{Surrogate}/u.test(text)) {
        throw new VornicError(`${what} contains a lone surrogate, which UTF-8 cannot encode`);
    }
    if (text.includes('\0')) {
        throw new VornicError(`${what} contains a zero byte, which would end it early`);
    }
    return text;
}

function int32(value, what) {
    if ((value | 0) !== value) throw new VornicError(`${what} must be a 32-bit integer`);
    return value;
}

/** Parses JSON from the library, which does not escape control characters. */
function parsed(text, what) {
    const escaped = (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0');
    try {
        return JSON.parse(text.replace(/[\0-\x1f]/g, escaped));
    } catch {
        throw new VornicError(`the JSON of the ${what} is truncated or holds inf or nan`);
    }
}

/** A JSON string. The library takes characters other than these two as they are, and does not decode \u. */
function quoted(text) {
    return '"' + text.replace(/["\\]/g, '\\$&') + '"';
}

/** A selection of outputs for the library; null selects all. */
function namesJson(names) {
    if (names == null) return null;
    if (!Array.isArray(names)) throw new VornicError('outputs must be an array of names');
    return '[' + names.map((name) => quoted(cText(name, 'a name'))).join(',') + ']';
}

module.exports = { VornicError, cText, int32, parsed, quoted, namesJson };
