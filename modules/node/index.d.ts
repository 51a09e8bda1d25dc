/// <reference lib="esnext.disposable" />

/** The element types that have a form in JSON. */
export type DType =
    | 'float32' | 'float64' | 'int8' | 'int16' | 'int32' | 'int64'
    | 'uint8' | 'uint16' | 'uint32' | 'uint64' | 'bool' | 'string';

type Numbers =
    | readonly (number | bigint | boolean)[]
    | Float32Array | Float64Array | Int8Array | Int16Array | Int32Array | BigInt64Array
    | Uint8Array | Uint8ClampedArray | Uint16Array | Uint32Array | BigUint64Array;

/** An input of a JSON run or a binding: flat data in row-major order, [] as the shape of a scalar. */
export interface Tensor {
    dtype: DType | 'float' | 'double' | 'int' | 'boolean' | 'str';
    shape: readonly number[];
    data: Numbers | readonly string[];
}

/** Tensors by input name. */
export type Feed = Readonly<Record<string, Tensor>>;

/**
 * An output. data is missing after a fast run; error alone stands for what could not be read. Integers
 * beyond 2^53 are rounded: Result.text has them whole.
 */
export interface Output {
    dtype: DType;
    shape: number[];
    data: number[] & boolean[] & string[];
    error?: string;
}

/** The description of an input or output: -1 is a dimension that each run chooses. */
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
    /** Threads used inside one operator; 0 leaves their number to ONNX Runtime. */
    intraOpNumThreads?: number;
    /** Threads used to run operators side by side. */
    interOpNumThreads?: number;
    graphOptimizationLevel?: GraphOptimizationLevel;
    executionMode?: ExecutionMode;
    /** The beginning of the profile file's path, true for a default, or false. */
    profiling?: string | boolean;
    cpuMemArena?: boolean;
    memPattern?: boolean;
    logId?: string;
    logVerbosityLevel?: number;
    /** 0 verbose, 1 info, 2 warning, 3 error, 4 fatal. */
    logSeverityLevel?: number;
    /** Execution providers in the order in which they are asked, at most 8. */
    providers?: readonly Provider[];
}

export interface RunSettings {
    logVerbosityLevel?: number;
    logSeverityLevel?: number;
    /** Stands in the log lines of the run. */
    tag?: string;
    terminate?: boolean;
}

export interface OutputChoice {
    /** The names of the outputs wanted, in that order; all unless given. */
    outputs?: readonly string[];
}

export interface WithOptions {
    options?: RunOptions;
}

export interface WithSignal extends WithOptions {
    /**
     * Ends the run at its next node; the promise is then rejected with the signal's reason. Where options
     * are given, they are what is told to terminate, and stay so for their other runs.
     */
    signal?: AbortSignal;
}

export interface TensorRunChoice extends OutputChoice {
    /** Writes no numbers as text: see Result.floats. */
    fast?: boolean;
}

/** What went wrong, in the library's words or in those of this module. */
export class VornicError extends Error {}

/** Something of the library's: released by close(), by using, or some time after it was collected. */
declare abstract class Owned {
    readonly library: Library;
    /** The address, for library.functions; throws after close(). */
    readonly handle: bigint;
    readonly closed: boolean;
    /**
     * Releases it; a second time does nothing. Asynchronous runs under way, bindings and views of its
     * memory keep what they use until they have ended.
     */
    close(): void;
    [Symbol.dispose](): void;
}

/** A function of the C library, without the prefix onnxruntime_vn_. */
export interface NativeFunction {
    (...args: any[]): any;
    async(...args: any[]): void;
}

/** The loaded library. */
export class Library {
    /**
     * Loads the file given, else that of ONNXRUNTIME_VORNIC_LIBRARY, else the one that came with this
     * module, else what the system's loader finds.
     */
    constructor(file?: string);
    readonly file: string;
    /** The version of ONNX Runtime. */
    readonly version: string;
    /** The execution providers that ONNX Runtime was built with. */
    readonly providers: string[];
    /** All 58 functions of the library, by their names without the prefix. */
    readonly functions: Readonly<Record<string, NativeFunction>>;
    /** Hands on a handle or a 1; throws the library's reason for a null or a 0. */
    check<T>(outcome: T): NonNullable<T>;
    sessionOptions(settings?: SessionSettings): SessionOptions;
    runOptions(settings?: RunSettings): RunOptions;
    /** A session for a model file. */
    session(model: string, options?: SessionOptions | SessionSettings): Session;
    /** The same on another thread. */
    sessionAsync(model: string, options?: SessionOptions | SessionSettings): Promise<Session>;
    /** A float32 tensor over a copy of the numbers; a Float32Array is copied as it is. */
    tensor(values: Float32Array | Iterable<number>, shape: readonly number[]): FloatTensor;
    /** A float32 tensor of zeros. */
    zeros(shape: readonly number[]): FloatTensor;
    /** A float32 tensor to be written to by its data. */
    allocate(shape: readonly number[]): FloatTensor;
}

/** Settings for any number of sessions; each method returns the options. */
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

/** Settings for any number of runs; each method returns the options. */
export class RunOptions extends Owned {
    constructor(library: Library, settings?: RunSettings);
    logVerbosityLevel(level: number): this;
    logSeverityLevel(level: number): this;
    tag(text: string): this;
    /** Ends every run that uses the options at its next node; false takes it back. */
    terminate(on?: boolean): this;
}

/** A loaded model. Any number of asynchronous runs may overlap. */
export class Session extends Owned {
    private constructor();
    readonly inputs: Description[];
    readonly outputs: Description[];
    readonly metadata: Metadata;
    /** Runs on a feed or its text ready made. */
    run(feed: Feed | string, choice?: OutputChoice & WithOptions): Result;
    runAsync(feed: Feed | string, choice?: OutputChoice & WithSignal): Promise<Result>;
    /** Runs a model with one float32 input without writing its numbers as text. */
    runTensor(input: string, tensor: FloatTensor, choice?: TensorRunChoice): Result;
    runTensorAsync(input: string, tensor: FloatTensor, choice?: TensorRunChoice): Promise<Result>;
    binding(): Binding;
    /** Ends profiling; the path of the profile file, "" when the session was not profiling. */
    endProfiling(): string;
}

/** What a run gave. Iterating gives names and outputs. */
export class Result extends Owned implements Iterable<[string, Output]> {
    private constructor();
    /** The outputs as the library wrote them. */
    readonly text: string;
    /** Every output by name, read anew each time. */
    readonly outputs: Record<string, Output>;
    /**
     * A copy of the first float32 output; empty where there is none. Scalars do not count, and a run with
     * a binding has none.
     */
    readonly floats: Float32Array;
    /** The same without a copy: not to be written to. It may be used after close(). */
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
    /**
     * The numbers of a tensor of Library.allocate, to be written to between runs. It may be used after
     * close().
     */
    readonly data: Float32Array;
}

/** Inputs and outputs attached once for many runs; each method but run returns the binding. */
export class Binding extends Owned {
    private constructor();
    bindInput(name: string, tensor: Tensor): this;
    bindOutput(name: string): this;
    clearInputs(): this;
    clearOutputs(): this;
    synchronizeInputs(): this;
    synchronizeOutputs(): this;
    /** What the latest run gave, by name. */
    readonly outputs: Record<string, Output>;
    run(choice?: WithOptions): Result;
    /** One at a time for each binding. */
    runAsync(choice?: WithSignal): Promise<Result>;
}

/** An input tensor. An output of a run has the same form and can be fed as it is. */
export function tensor(dtype: Tensor['dtype'], shape: Iterable<number>, data: Tensor['data']): Tensor;

/** The text of a feed. Whether the tensors suit the model is not looked at; see checkFeed. */
export function feedJson(feed: Feed): string;

/**
 * The text of a feed that somebody else made, as JSON.parse gives it, checked against Session.inputs.
 * Throws a VornicError that names the input and what is wrong with it.
 */
export function checkFeed(feed: unknown, inputs: readonly Description[]): string;
