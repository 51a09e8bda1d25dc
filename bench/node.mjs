// onnxruntime-node on the same work: node node.mjs MODELS. Lines as those of runs.cpp.
import {createRequire} from 'node:module';

const {InferenceSession, Tensor} = createRequire(import.meta.url)('onnxruntime-node');

const session = await InferenceSession.create(
    `${process.argv[2]}/inputs1.onnx`, {intraOpNumThreads: 1, interOpNumThreads: 1});

// As JSON.stringify writes it: a float32 number as the double that it is.
function feedText(data) {
  return JSON.stringify({x0: {dtype: 'float32', shape: [data.length], data: [...data]}});
}

async function runTensor(data) {
  const {y0} = await session.run({x0: new Tensor('float32', data, [data.length])});
  return y0;
}

async function runJson(text) {
  const {x0} = JSON.parse(text);
  const {y0} = await session.run({x0: new Tensor('float32', Float32Array.from(x0.data), x0.shape)});
  return JSON.stringify({outputs: {y0: {dtype: y0.type, shape: y0.dims, data: [...y0.data]}}});
}

async function timeCalls(road) {
  const start = process.hrtime.bigint();
  for (let i = 0; i < road.calls; ++i) await road.call();
  return Number(process.hrtime.bigint() - start) / road.calls;
}

for (const count of [2, 5000, 65536]) {
  const data = Float32Array.from({length: count}, () => Math.random() * 2 - 1);
  const text = feedText(data);
  const roads = [
    {name: 'node', call: () => runTensor(data)},
    {name: 'node json', call: () => runJson(text)},
  ];
  let round = 0;
  for (const road of roads) {
    road.calls = count === 2 ? 2000 : 20;
    await timeCalls(road);  // compiled and warm
    const once = await timeCalls(road);
    road.calls = Math.max(1, Math.min(1000, Math.floor(200000 / once)));
    road.times = [];
    round += once * road.calls;
  }
  const rounds = Math.max(5, Math.min(1000, Math.floor(2e9 / round)));
  for (let i = 0; i < rounds; ++i) {
    for (const road of roads) road.times.push(await timeCalls(road));
  }
  for (const {name, times} of roads) {
    times.sort((a, b) => a - b);
    const [median, least] = [times[times.length >> 1], times[0]];
    console.log([count, name, Math.round(median), Math.round(least), 0].join('\t'));
  }
}
