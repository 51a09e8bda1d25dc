'use strict';

/** What went wrong, in the library's words or in those of this module. */
class VornicError extends Error {}
Object.defineProperty(VornicError.prototype, 'name', { value: 'VornicError' });

/** A text as the library takes it: it has UTF-8 and no zero byte before its end. */
function cText(text, what) {
    if (typeof text !== 'string') throw new VornicError(`${what} is not a string`);
    if (/\p{Surrogate}/u.test(text)) {
        throw new VornicError(`${what} holds a lone surrogate, which has no UTF-8`);
    }
    if (text.includes('\0')) {
        throw new VornicError(`${what} holds a zero byte, where the library would take it to end`);
    }
    return text;
}

function int32(value, what) {
    if ((value | 0) !== value) throw new VornicError(`${what} must be a 32-bit integer`);
    return value;
}

/** A text of the library's as JSON, in which it does not escape control characters. */
function parsed(text, what) {
    const escaped = (c) => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0');
    try {
        return JSON.parse(text.replace(/[\0-\x1f]/g, escaped));
    } catch {
        // The library cuts a text at its limit, and inf and nan have no JSON form.
        throw new VornicError(`the text of the ${what} is cut or holds inf or nan`);
    }
}

/** In strings all but these two arrives as it is; \u would not be decoded. */
function quoted(text) {
    return '"' + text.replace(/["\\]/g, '\\$&') + '"';
}

/** The list of output names as the library takes it; null for all. */
function namesJson(names) {
    if (names == null) return null;
    if (!Array.isArray(names)) throw new VornicError('outputs must be an array of names');
    return '[' + names.map((name) => quoted(cText(name, 'a name'))).join(',') + ']';
}

module.exports = { VornicError, cText, int32, parsed, quoted, namesJson };
