// Times whole calls from JavaScript, as host.py explains: node host.mjs LIBRARY MODEL DTYPE COUNT
// LIBRARY may also be onnxruntime-node, the package.
import {deepStrictEqual} from 'node:assert';
import {createRequire} from 'node:module';

const require = createRequire(import.meta.url);
const [path, model, dtype, count] = process.argv.slice(2);
const isFloat = dtype === 'float32';
const numbers = isFloat ? Float32Array.from({length: count}, (_, i) => Math.sin(i)) :
                          Array.from({length: count}, (_, i) => i * 7919 % 30522);
const shape = [numbers.length];
const feed = () => ({dtype, shape, data: Array.from(numbers)});

function byKoffi() {
  const koffi = require('koffi');
  const library = koffi.load(path);
  const declare = (declaration) => library.func(declaration.replace(/\w+\(/, 'onnxruntime_vn_$&'));
  const createSession = declare('void* create_session(str model, void* options)');
  const runJson = declare('void* run_json(void* session, str outputs, str feed)');
  const fromFloats = declare('void* tensor_from_f32(float* data, int count, int64_t* dims, int rank)');
  const runTensor = declare('void* run_tensor_fast(void* session, str name, void* tensor, str outputs)');
  const floatData = declare('void* result_float_data(void* result)');
  const releaseResult = declare('void release_result(void* result)');
  const releaseTensor = declare('void release_tensor(void* tensor)');
  const session = createSession(model, null);
  const take = (result) => {
    const floats = new Float32Array(koffi.view(floatData(result), 4 * count)).slice();
    releaseResult(result);
    return floats;
  };
  const json = () => take(runJson(session, null, JSON.stringify({x0: feed()})));
  const tensor = () => {
    const tensor = fromFloats(numbers, numbers.length, shape, 1);
    const floats = take(runTensor(session, 'x0', tensor, null));
    releaseTensor(tensor);
    return floats;
  };
  return {'JSON.stringify': json, ...(isFloat && {tensor})};
}

async function byPackage() {
  const {InferenceSession, Tensor} = require(path);
  const session = await InferenceSession.create(model);
  const run = async (data) => (await session.run({x0: new Tensor(dtype, data, shape)})).y0;
  const typed = (data) => isFloat ? Float32Array.from(data) : BigInt64Array.from(data, BigInt);
  const text = JSON.stringify(feed());
  const data = typed(numbers);
  return {
    'tensor': async () => (await run(data)).data,
    // As in a service that takes and returns JSON.
    'JSON text to JSON text': async () => {
      const y0 = await run(typed(JSON.parse(text).data));
      JSON.stringify({outputs: {y0: {dtype: y0.type, shape: y0.dims, data: Array.from(y0.data)}}});
      return y0.data;
    },
  };
}

const isPackage = path === 'onnxruntime-node';
const host = isPackage ? `${path} ${require(`${path}/package.json`).version}` : `Node.js ${process.versions.node}`;
for (const [way, run] of Object.entries(await (isPackage ? byPackage() : byKoffi()))) {
  let minimum = Infinity;
  let answer;
  for (let i = 0; i < 100; ++i) {
    const start = performance.now();
    answer = isPackage ? await run() : run();
    minimum = Math.min(minimum, performance.now() - start);
  }
  deepStrictEqual(answer, Float32Array.from(numbers, (x) => isFloat ? 2 * x : x));
  console.log(`${host}\t${way}\t${(1000 * minimum).toFixed(1)}`);
}
