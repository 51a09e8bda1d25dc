// What bench/service.py compares with: the same service with onnxruntime-node and Node's http, two workers
// with a session of one thread each. It knows the detector's types, and checks JSON and sizes alone.
import cluster from 'node:cluster';
import http from 'node:http';
import {createRequire} from 'node:module';

const {InferenceSession, Tensor} = createRequire(import.meta.url)('onnxruntime-node');

function tensorOf({dtype, shape, data}) {
  return dtype === 'int64' ?
      new Tensor(dtype, BigInt64Array.from(data, BigInt), shape) :
      new Tensor(dtype, Float32Array.from(data), shape);
}

async function answer(session, body) {
  try {
    const feed = Object.entries(JSON.parse(body)).map(([name, item]) => [name, tensorOf(item)]);
    const results = await session.run(Object.fromEntries(feed));
    const outputs = Object.entries(results).map(
        ([name, {type, dims, data}]) => [name, {dtype: type, shape: dims, data: Array.from(data)}]);
    return [200, {outputs: Object.fromEntries(outputs)}];
  } catch (error) {
    return [400, {error: error.message || 'refused'}];
  }
}

if (cluster.isPrimary) {
  for (let i = 0; i < 2; ++i) cluster.fork();
  let told = 0;
  cluster.on('listening', (_, {port}) => {
    if (++told === 2) console.log(`service: http://127.0.0.1:${port}`);
  });
  cluster.on('exit', () => process.exitCode === undefined && cluster.fork());
  cluster.on('fork', (worker) => worker.on('error', () => {}));  // killed before it was ready
  process.on('SIGTERM', () => {
    process.exitCode = 0;
    cluster.disconnect(() => process.exit());
  });
} else {
  const options = {intraOpNumThreads: 1, interOpNumThreads: 1};
  const session = await InferenceSession.create(process.argv[2], options);
  process.on('SIGTERM', () => {});
  const server = http.createServer((request, response) => {
    const parts = [];
    request.on('data', (part) => parts.push(part));
    request.on('end', async () => {
      const [status, value] = await answer(session, Buffer.concat(parts));
      const text = JSON.stringify(value);
      response.writeHead(status, {'Content-Length': Buffer.byteLength(text)});
      response.end(text);
    });
  });
  process.on('disconnect', () => server.closeAllConnections());
  server.listen(Number(process.env.PORT || 0), '127.0.0.1');
}
