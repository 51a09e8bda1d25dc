// Handles and how long they live.
'use strict';

const { VornicError } = require('./error');
const workers = require('./workers');

// One for each handle of the library's. Its users are the object that stands for it, asynchronous calls
// under way, views of its memory, and what was made for it: a binding uses its session. The last one
// that drops it has it released.
class Ownership {
    #users = 1;
    #slot;

    constructor(library, handle, kind, uses = []) {
        Object.assign(this, { library, handle, uses });
        this.kind = kind;
        uses.forEach((owned) => owned.hold());
        // Bindings go before their sessions.
        this.#slot = workers.enter(handle, library.address(kind), kind === 'release_session' ? 1 : 0);
    }

    hold() {
        this.#users++;
        return this;
    }

    drop() {
        if (--this.#users > 0) return;
        workers.leave(this.#slot);
        this.library.functions[this.kind](this.handle);
        this.uses.forEach((owned) => owned.drop());
    }
}

// The net: whatever is collected without having been closed.
const collected = new FinalizationRegistry((ownership) => ownership.drop());

/** Something of the library's, released by close() or at the end of a block with using. */
class Owned {
    #ownership;

    constructor(library, handle, kind, uses) {
        this.#ownership = new Ownership(library, library.check(handle), kind, uses);
        this.library = library;
        collected.register(this, this.#ownership, this);
    }

    /** For the functions of this module. */
    get _ownership() {
        if (!this.#ownership) throw new VornicError(`this ${this.constructor.name} is closed`);
        return this.#ownership;
    }

    get handle() {
        return this._ownership.handle;
    }

    get closed() {
        return !this.#ownership;
    }

    close() {
        const ownership = this.#ownership;
        this.#ownership = null;
        collected.unregister(this);
        ownership?.drop();
    }
}
if (Symbol.dispose) Owned.prototype[Symbol.dispose] = Owned.prototype.close;

/** Keeps a handle until an object is collected. */
function holdFor(object, ownership) {
    collected.register(object, ownership.hold());
    return object;
}

/**
 * A call on another thread. The promise resolves to what it returned, a handle or a 1; what it uses is
 * not released before.
 */
function callAsync(library, name, uses, ...args) {
    uses.forEach((ownership) => ownership.hold());
    return new Promise((resolve, reject) => {
        const done = (error, outcome) => {
            uses.forEach((ownership) => ownership.drop());
            try {
                if (error) throw error;
                resolve(library.check(outcome));
            } catch (reason) {
                reject(reason);
            }
        };
        try {
            library.functions[name].async(...args, done);
        } catch (error) { // too many are waiting, for example
            done(error);
        }
    });
}

module.exports = { Owned, holdFor, callAsync };
