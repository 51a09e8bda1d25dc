// The service to compare with in bench/service.py: onnxruntime-node and Node's http, two workers with a session
// of one thread each. It checks only the JSON and the sizes of a feed.
import cluster from 'node:cluster';
import http from 'node:http';
import {createRequire} from 'node:module';
import {text} from 'node:stream/consumers';

const {InferenceSession, Tensor} = createRequire(import.meta.url)('onnxruntime-node');

async function answer(session, body) {
  try {
    const feed = {};
    for (const [name, {dtype, shape, data}] of Object.entries(JSON.parse(body))) {
      const typed = dtype === 'int64' ? BigInt64Array.from(data, BigInt) : Float32Array.from(data);
      feed[name] = new Tensor(dtype, typed, shape);
    }
    const outputs = {};
    for (const [name, {type, dims, data}] of Object.entries(await session.run(feed))) {
      outputs[name] = {dtype: type, shape: dims, data: Array.from(data)};
    }
    return [200, {outputs}];
  } catch (error) {
    return [400, {error: error.message || 'refused'}];
  }
}

if (cluster.isPrimary) {
  let ready = 0;
  cluster.on('listening', (_, {port}) => {
    if (++ready === 2) console.log(`service: http://127.0.0.1:${port}`);
  });
  cluster.fork();
  cluster.fork();
} else {
  const session = await InferenceSession.create(process.argv[2], {intraOpNumThreads: 1, interOpNumThreads: 1});
  const server = http.createServer(async (request, response) => {
    const [status, value] = await answer(session, await text(request));
    response.statusCode = status;
    response.end(JSON.stringify(value));
  });
  server.listen(0, '127.0.0.1');
}
