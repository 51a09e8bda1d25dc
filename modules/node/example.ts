// A tour of the module with a model that doubles its input x. Compile it with
// npx tsc --strict --target es2022 --module node16 example.ts and run node example.js double.onnx
import { Library, VornicError, checkFeed, tensor, type Result } from 'onnxruntime-vornic';

const library = new Library();

async function main(model: string): Promise<void> {
    using session = library.session(model, { intraOpNumThreads: 1, providers: ['CPUExecutionProvider'] });
    const [input] = session.inputs;
    console.log(input.name, input.dtype, input.shape);

    using result = session.run({ x: tensor('float32', [1, 3], [1, 2.5, 3]) });
    for (const [name, output] of result) console.log(name, output.shape, output.data);

    // Floats in and out without JSON.
    using pixels = library.allocate([1, 3]);
    pixels.data.set([4, 5, 6]);
    using fast = session.runTensor('x', pixels, { fast: true });
    const floats: Float32Array = fast.floats;
    console.log(floats);

    // Four concurrent runs, each with a deadline.
    const run = (i: number): Promise<Result> =>
        session.runAsync({ x: tensor('float32', [1, 3], Float32Array.of(i, i, i)) },
            { outputs: ['y'], signal: AbortSignal.timeout(10000) });
    for (const each of await Promise.all([1, 2, 3, 4].map(run))) {
        console.log(each.outputs.y.data[0]);
        each.close();
    }

    // A feed from an untrusted source.
    try {
        const body: unknown = JSON.parse('{"x":{"dtype":"float32","shape":[1,3],"data":[1,2]}}');
        session.run(checkFeed(body, session.inputs)).close();
    } catch (error) {
        if (!(error instanceof VornicError)) throw error;
        console.log(error.message);
    }
}

main(process.argv[2]).catch((error) => {
    console.error(error);
    process.exitCode = 1;
});
