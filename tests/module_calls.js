// Makes the calls that are requested on standard input, in the form that caller.cpp describes, through the
// functions of the installed module: node module_calls.js LIBRARY
'use strict';

const fs = require('node:fs');
const readline = require('node:readline');
const koffi = require(require.resolve('koffi', { paths: [process.cwd()] }));
const { Library } = require(require.resolve('onnxruntime-vornic', { paths: [process.cwd()] }));

const { functions } = new Library(process.argv[2]);
const malloc = koffi.load(process.platform === 'win32' ? 'msvcrt.dll' : null).func('malloc', 'void *', ['size_t']);
const handles = {};
const exchanged = (text, from, to) => [...text].map((c) => to[from.indexOf(c)] ?? c).join('');

function argument(word) {
    const numbers = word.slice(4).split(',');
    if (word.startsWith('f32:')) return Float32Array.from(numbers, Number);
    if (word.startsWith('i64:')) return BigInt64Array.from(numbers, BigInt);
    // A buffer, since texts may contain bytes that are not UTF-8.
    if (word[0] === "'") return Buffer.from(exchanged(word.slice(1), '\x01\x02\x03', '\t\n\r') + '\0', 'latin1');
    return word[0] === '$' ? handles[word.slice(1)] : word === 'null' ? null : Number(word);
}

function answer(request) {
    const [handle, comes, name, ...words] = request.split('\t');
    const given = words.map(argument);
    if (name === 'tensor_adopt_f32' && given[0]) { // takes memory from malloc
        const address = malloc(given[0].byteLength);
        koffi.encode(address, koffi.array('float', given[0].length), given[0]);
        given[0] = address;
    }
    const got = functions[name](...given);
    if (handle) handles[handle] = got;
    if (comes === 'f') return String(Math.fround(got));
    if (comes === 'i') return String(Number(got ?? 0));
    if (comes === 'p' || got == null) return got ? 'something' : 'nothing';
    if (comes === 't') return "'" + exchanged(Buffer.from(got).toString('latin1'), '\t\n\r', '\x01\x02\x03');
    return koffi.decode(got, koffi.array('float', Number(comes))).join();
}

const input = fs.createReadStream(null, { fd: 0, encoding: 'latin1' });
readline.createInterface({ input }).on('line', (line) => fs.writeSync(1, answer(line) + '\n', null, 'latin1'));
