'use strict';

const { VornicError } = require('./src/error');
const { tensor, feedJson, checkFeed } = require('./src/feed');
const { Library } = require('./src/library');
const { SessionOptions, RunOptions } = require('./src/options');
const { Session, Binding } = require('./src/session');
const { FloatTensor, Result } = require('./src/tensors');

module.exports = {
    Library, Session, SessionOptions, RunOptions, Binding, FloatTensor, Result, VornicError,
    tensor, feedJson, checkFeed,
};
