// From JavaScript's numbers to JavaScript's numbers, by koffi: node host.mjs LIBRARY MODEL DTYPE COUNT
import {deepStrictEqual} from 'node:assert';
import {createRequire} from 'node:module';

const koffi = createRequire(import.meta.url)('koffi');
const [path, model, dtype, count] = process.argv.slice(2);
const loaded = koffi.load(path);
const declare = (declaration) => loaded.func(declaration.replace(/\w+\(/, 'onnxruntime_vn_$&'));
const createSession = declare('void* create_session(str model, void* options)');
const runJson = declare('void* run_json(void* session, str outputs, str feed)');
const fromFloats = declare('void* tensor_from_f32(float* data, int count, int64_t* dims, int rank)');
const runTensor = declare('void* run_tensor_fast(void* session, str name, void* tensor, str outputs)');
const floatData = declare('void* result_float_data(void* result)');
const releaseResult = declare('void release_result(void* result)');
const releaseTensor = declare('void release_tensor(void* tensor)');

const session = createSession(model, null);
const numbers = dtype === 'float32' ? Float32Array.from({length: count}, (_, i) => Math.sin(i)) :
                                      Array.from({length: count}, (_, i) => i * 7919 % 30522);

function take(result) {
  const floats = new Float32Array(koffi.view(floatData(result), 4 * count)).slice();
  releaseResult(result);
  return floats;
}

const ways = {
  'JSON.stringify': () => take(runJson(session, null, JSON.stringify(
      {x0: {dtype, shape: [numbers.length], data: Array.from(numbers)}}))),
  'tensor': () => {
    const tensor = fromFloats(numbers, numbers.length, [numbers.length], 1);
    const floats = take(runTensor(session, 'x0', tensor, null));
    releaseTensor(tensor);
    return floats;
  },
};
if (dtype !== 'float32') delete ways.tensor;
for (const [way, run] of Object.entries(ways)) {
  let least = Infinity;
  let answer;
  for (let i = 0; i < 100; ++i) {
    const begin = performance.now();
    answer = run();
    least = Math.min(least, performance.now() - begin);
  }
  deepStrictEqual(answer, Float32Array.from(numbers, (x) => dtype === 'float32' ? 2 * x : x));
  console.log(`Node.js ${process.versions.node}\t${way}\t${(1000 * least).toFixed(1)}`);
}
