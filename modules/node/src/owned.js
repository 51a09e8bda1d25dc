// Ownership of the library's objects.
'use strict';

const { VornicError } = require('./error');
const workers = require('./workers');

// The reference count of a handle. References are held by the JavaScript object, by asynchronous calls in
// progress, by views of the handle's memory, and by a binding to its session. Dropping the last one
// releases the handle.
class Ownership {
    #count = 1;
    #slot;

    constructor(library, handle, kind, uses = []) {
        Object.assign(this, { library, handle, uses });
        this.kind = kind;
        uses.forEach((owned) => owned.hold());
        // Bindings are released before their sessions.
        this.#slot = workers.enter(handle, library.address(kind), kind === 'release_session' ? 1 : 0);
    }

    hold() {
        this.#count++;
        return this;
    }

    drop() {
        if (--this.#count > 0) return;
        workers.leave(this.#slot);
        this.library.functions[this.kind](this.handle);
        this.uses.forEach((owned) => owned.drop());
    }
}

// Releases what is garbage-collected without having been closed.
const registry = new FinalizationRegistry((ownership) => ownership.drop());

/** An object of the library, released by close() or at the end of a block with using. */
class Owned {
    #ownership;

    constructor(library, handle, kind, uses) {
        this.#ownership = new Ownership(library, library.check(handle), kind, uses);
        this.library = library;
        registry.register(this, this.#ownership, this);
    }

    /** Internal to this module. */
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
        registry.unregister(this);
        ownership?.drop();
    }
}
if (Symbol.dispose) Owned.prototype[Symbol.dispose] = Owned.prototype.close;

/** Keeps a handle until object is garbage-collected. */
function holdFor(object, ownership) {
    registry.register(object, ownership.hold());
    return object;
}

/** Calls a function on another thread; resolves to the handle or 1 that it returns. Holds uses until then. */
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
        } catch (error) { // such as too many queued calls
            done(error);
        }
    });
}

module.exports = { Owned, holdFor, callAsync };
