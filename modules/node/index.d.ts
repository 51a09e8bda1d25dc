/// <reference lib="esnext.disposable" />

/** The element types that have a JSON form. */
export type DType =
    | 'float32' | 'float64' | 'int8' | 'int16' | 'int32' | 'int64'
    | 'uint8' | 'uint16' | 'uint32' | 'uint64' | 'bool' | 'string';

type Numbers =
    | readonly (number | bigint | boolean)[]
    | Float32Array | Float64Array | Int8Array | Int16Array | Int32Array | BigInt64Array
    | Uint8Array | Uint8ClampedArray | Uint16Array | Uint32Array | BigUint64Array;

/** An input of a JSON run or a binding. data is flat, in row-major order; a scalar has the shape []. */
export interface Tensor {
    dtype: DType | 'float' | 'double' | 'int' | 'boolean' | 'str';
    shape: readonly number[];
    data: Numbers | readonly string[];
}

/** Tensors by input name. */
export type Feed = Readonly<Record<string, Tensor>>;

/**
 * An output. After a fast run data is missing; an output that cannot be represented has only error. Integers
 * beyond 2^53 are rounded; Result.text has them in full.
 */
export interface Output {
    dtype: DType;
    shape: number[];
    data: number[] & boolean[] & string[];
    error?: string;
}

/** An input or output of a model; -1 in its shape is a dimension that each run chooses. */
export interface Description {
    name: string;
    type: string;
    dtype: DType | 'unknown';
    shape: number[];
    shape_symbols: string[];
}

export interface Metadata {
    producer_name: string;
    graph_name: string;
    domain: string;
    description: string;
    version: number;
    custom_metadata_map: Record<string, string>;
}

export type GraphOptimizationLevel = 'none' | 'basic' | 'extended' | 'layout' | 'all' | number;
export type ExecutionMode = 'sequential' | 'parallel' | number;
export type Provider = string | readonly [name: string, options?: Record<string, unknown>];

export interface SessionSettings {
    /** Threads that one operator uses; 0 lets ONNX Runtime choose. */
    intraOpNumThreads?: number;
    /** Threads that run operators in parallel, with the execution mode 'parallel'. */
    interOpNumThreads?: number;
    graphOptimizationLevel?: GraphOptimizationLevel;
    executionMode?: ExecutionMode;
    /** A prefix for the profile's path, true for the default one, or false. */
    profiling?: string | boolean;
    cpuMemArena?: boolean;
    memPattern?: boolean;
    logId?: string;
    logVerbosityLevel?: number;
    /** 0 verbose, 1 info, 2 warning, 3 error, 4 fatal. */
    logSeverityLevel?: number;
    /** Execution providers in order of preference, at most 8. */
    providers?: readonly Provider[];
}

export interface RunSettings {
    logVerbosityLevel?: number;
    logSeverityLevel?: number;
    /** Appears in the log messages of the run. */
    tag?: string;
    terminate?: boolean;
}

export interface OutputChoice {
    /** The outputs to compute, by name and in this order; all by default. */
    outputs?: readonly string[];
}

export interface WithOptions {
    options?: RunOptions;
}

export interface WithSignal extends WithOptions {
    /**
     * Ends the run at its next node and rejects the promise with the signal's reason. If options are
     * given, it sets their terminate, which ends their other runs too and stays set.
     */
    signal?: AbortSignal;
}

export interface TensorRunChoice extends OutputChoice {
    /** Does not convert numbers to text: read them from Result.floats. */
    fast?: boolean;
}

/** A failure, with the message of the library or of this module. */
export class VornicError extends Error {}

/** An object of the library, released by close(), by using, or some time after garbage collection. */
declare abstract class Owned {
    readonly library: Library;
    /** The address, to pass to library.functions; throws after close(). */
    readonly handle: bigint;
    readonly closed: boolean;
    /**
     * Releases the object; idempotent. Asynchronous runs in progress, bindings and views of its memory
     * keep what they use alive.
     */
    close(): void;
    [Symbol.dispose](): void;
}

/** A function of the C library. */
export interface NativeFunction {
    (...args: any[]): any;
    async(...args: any[]): void;
}

/** The loaded library. */
export class Library {
    /**
     * Loads file, else the one named by ONNXRUNTIME_VORNIC_LIBRARY, else the one in this module, else
     * the one that the system's loader finds.
     */
    constructor(file?: string);
    readonly file: string;
    /** The version of ONNX Runtime. */
    readonly version: string;
    /** The execution providers that ONNX Runtime was built with. */
    readonly providers: string[];
    /** All 58 functions of the C library, by their names without onnxruntime_vn_. */
    readonly functions: Readonly<Record<string, NativeFunction>>;
    /** Returns the handle or 1 that a function returned; throws the library's reason for null or 0. */
    check<T>(outcome: T): NonNullable<T>;
    sessionOptions(settings?: SessionSettings): SessionOptions;
    runOptions(settings?: RunSettings): RunOptions;
    /** Loads a model file. */
    session(model: string, options?: SessionOptions | SessionSettings): Session;
    /** Loads a model file on another thread. */
    sessionAsync(model: string, options?: SessionOptions | SessionSettings): Promise<Session>;
    /** A float32 tensor over a copy of values; a Float32Array is fastest. */
    tensor(values: Float32Array | Iterable<number>, shape: readonly number[]): FloatTensor;
    /** A float32 tensor of zeros. */
    zeros(shape: readonly number[]): FloatTensor;
    /** A float32 tensor whose data can be written. */
    allocate(shape: readonly number[]): FloatTensor;
}

/** Settings for any number of sessions; methods can be chained. */
export class SessionOptions extends Owned {
    constructor(library: Library, settings?: SessionSettings);
    intraOpNumThreads(count: number): this;
    interOpNumThreads(count: number): this;
    graphOptimizationLevel(level: GraphOptimizationLevel): this;
    executionMode(mode: ExecutionMode): this;
    profiling(prefix: string | boolean): this;
    cpuMemArena(on: boolean): this;
    memPattern(on: boolean): this;
    logId(id: string): this;
    logVerbosityLevel(level: number): this;
    logSeverityLevel(level: number): this;
    provider(name: string, options?: Record<string, unknown>): this;
    providers(list: readonly Provider[]): this;
}

/** Settings for any number of runs; methods can be chained. */
export class RunOptions extends Owned {
    constructor(library: Library, settings?: RunSettings);
    logVerbosityLevel(level: number): this;
    logSeverityLevel(level: number): this;
    tag(text: string): this;
    /** Ends every run with these options at its next node; false undoes it. */
    terminate(on?: boolean): this;
}

/** A loaded model. Any number of asynchronous runs may overlap. */
export class Session extends Owned {
    private constructor();
    readonly inputs: Description[];
    readonly outputs: Description[];
    readonly metadata: Metadata;
    /** Runs the model on a feed or its JSON text. */
    run(feed: Feed | string, choice?: OutputChoice & WithOptions): Result;
    runAsync(feed: Feed | string, choice?: OutputChoice & WithSignal): Promise<Result>;
    /** Runs a model with one float32 input, without converting it to text. */
    runTensor(input: string, tensor: FloatTensor, choice?: TensorRunChoice): Result;
    runTensorAsync(input: string, tensor: FloatTensor, choice?: TensorRunChoice): Promise<Result>;
    binding(): Binding;
    /** Ends profiling and returns the path of the profile, "" if the session was not profiling. */
    endProfiling(): string;
}

/** The outputs of a run. Iterates over pairs of name and output. */
export class Result extends Owned implements Iterable<[string, Output]> {
    private constructor();
    /** The outputs as JSON, as the library wrote them. */
    readonly text: string;
    /** The outputs by name, parsed at each access. */
    readonly outputs: Record<string, Output>;
    /**
     * A copy of the first float32 output; empty if there is none. Scalars do not count, and a run with a
     * binding has none.
     */
    readonly floats: Float32Array;
    /** The same without a copy; read-only, and valid after close(). */
    readonly floatView: Float32Array;
    readonly floatShape: number[];
    readonly floatCount: number;
    floatAt(index: number): number;
    [Symbol.iterator](): Iterator<[string, Output]>;
}

/** A float32 tensor for Session.runTensor. */
export class FloatTensor extends Owned {
    private constructor();
    readonly shape: number[];
    /** The elements of a tensor from Library.allocate, writable between runs and valid after close(). */
    readonly data: Float32Array;
}

/** Inputs and outputs bound once for many runs; methods other than the runs can be chained. */
export class Binding extends Owned {
    private constructor();
    bindInput(name: string, tensor: Tensor): this;
    bindOutput(name: string): this;
    clearInputs(): this;
    clearOutputs(): this;
    synchronizeInputs(): this;
    synchronizeOutputs(): this;
    /** The outputs of the last run by name. */
    readonly outputs: Record<string, Output>;
    run(choice?: WithOptions): Result;
    /** A binding takes one run at a time. */
    runAsync(choice?: WithSignal): Promise<Result>;
}

/** An input tensor. An output of a run has the same form and can be fed as it is. */
export function tensor(dtype: Tensor['dtype'], shape: Iterable<number>, data: Tensor['data']): Tensor;

/** The JSON text of a feed. Refuses feeds that the library would misread; see checkFeed for the rest. */
export function feedJson(feed: Feed): string;

/**
 * The JSON text of an untrusted feed, checked against Session.inputs. The feed is what JSON.parse returned.
 * It must have exactly the inputs described, each with only dtype, shape and data: the dtype described,
 * dimensions that fit, and as many elements as they require. Elements that would arrive changed are
 * refused, apart from fractions rounded to float32 or float64. The VornicError names the input and says
 * what is wrong with it.
 */
export function checkFeed(feed: unknown, inputs: readonly Description[]): string;
