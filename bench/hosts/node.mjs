// The same by onnxruntime-node, a runtime of its own: node node.mjs MODEL DTYPE COUNT
import {deepStrictEqual} from 'node:assert';
import {createRequire} from 'node:module';

const require = createRequire(import.meta.url);
const {InferenceSession, Tensor} = require('onnxruntime-node');
const {version} = require('onnxruntime-node/package.json');
const [model, dtype, count] = process.argv.slice(2);
const session = await InferenceSession.create(model);
const numbers = dtype === 'float32' ? Float32Array.from({length: count}, (_, i) => Math.sin(i)) :
                                      BigInt64Array.from({length: count}, (_, i) => BigInt(i * 7919 % 30522));
const feed = JSON.stringify({dtype, shape: [numbers.length], data: Array.from(numbers, Number)});

async function run(data) {
  const {y0} = await session.run({x0: new Tensor(dtype, data, [data.length])});
  return y0;
}

const ways = {
  'tensor': async () => (await run(numbers)).data,
  // What a service does that takes and gives JSON.
  'JSON text to JSON text': async () => {
    const {data} = JSON.parse(feed);
    const y0 = await run(dtype === 'float32' ? Float32Array.from(data) : BigInt64Array.from(data, BigInt));
    JSON.stringify({outputs: {y0: {dtype: y0.type, shape: y0.dims, data: Array.from(y0.data)}}});
    return y0.data;
  },
};
for (const [way, call] of Object.entries(ways)) {
  let least = Infinity;
  let answer;
  for (let i = 0; i < 100; ++i) {
    const begin = performance.now();
    answer = await call();
    least = Math.min(least, performance.now() - begin);
  }
  deepStrictEqual(answer, Float32Array.from(numbers, (x) => dtype === 'float32' ? 2 * x : Number(x)));
  console.log(`onnxruntime-node ${version}\t${way}\t${(1000 * least).toFixed(1)}`);
}
