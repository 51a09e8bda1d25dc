export {
    Library, Session, SessionOptions, RunOptions, Binding, FloatTensor, Result, VornicError,
    tensor, feedJson, checkFeed,
} from './index.js';
