// Makes the calls requested on standard input, as caller.cpp explains them, through the functions of the
// installed module: node module_calls.js LIBRARY
'use strict';

const fs = require('node:fs');
const readline = require('node:readline');
const koffi = require('koffi');
const { Library } = require('onnxruntime-vornic');

const { functions } = new Library(process.argv[2]);
const malloc = koffi.load(process.platform === 'win32' ? 'msvcrt.dll' : null).func('malloc', 'void *', ['size_t']);
const handles = {};
const replaced = (text, from, to) => [...text].map((c) => to[from.indexOf(c)] ?? c).join('');

function argument(word) {
    if (word.startsWith('f32:')) return word.slice(4).split(',').map(Number);
    if (word.startsWith('i64:')) return word.slice(4).split(',').map(BigInt);
    // A buffer, since texts may contain bytes that are not UTF-8.
    if (word[0] === "'") return Buffer.from(replaced(word.slice(1), '\x01\x02\x03', '\t\n\r') + '\0', 'latin1');
    return word[0] === '$' ? handles[word.slice(1)] : JSON.parse(word);
}

function answer([handle, type, name, ...words]) {
    const given = words.map(argument);
    if (name === 'tensor_adopt_f32' && given[0]) {
        const address = malloc(4 * given[0].length);
        koffi.encode(address, koffi.array('float', given[0].length), given[0]);
        given[0] = address;
    }
    const got = handles[handle] = functions[name](...given);
    if (type === 'i') return Number(got ?? 0);
    if (type === 'p' || got == null) return got ? 'something' : 'nothing';
    if (type === 't') return "'" + replaced(Buffer.from(got).toString('latin1'), '\t\n\r', '\x01\x02\x03');
    return type === 'f' ? got : koffi.decode(got, koffi.array('float', Number(type))).join();
}

const input = readline.createInterface(fs.createReadStream(null, { fd: 0, encoding: 'latin1' }));
input.on('line', (line) => fs.writeSync(1, answer(line.split('\t')) + '\n', null, 'latin1'));
