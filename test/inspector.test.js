'use strict';
// The inspector page's server over plain HTTP: who it refuses, what its event
// stream carries, what its actions do, and that it never holds a process.
const test = require('node:test');
const assert = require('node:assert/strict');
const http = require('http');
const { once } = require('events');
const { Worker } = require('worker_threads');

const ombrix = require('..');
const { root, runNode, nodeEnv, waitFor, emu, scripted } = require('./helpers');

function request(inspector, { path = `/?token=${inspector.token}`, method = 'GET', headers = {}, body } = {}) {
  return new Promise((resolve, reject) => {
    const req = http.request({ host: '127.0.0.1', port: inspector.port, path, method,
      headers: { Host: `127.0.0.1:${inspector.port}`, ...headers } }, (res) => {
      let text = '';
      res.setEncoding('utf8');
      res.on('data', (d) => { text += d; });
      res.on('end', () => resolve({ status: res.statusCode, headers: res.headers, text }));
    });
    req.on('error', reject);
    req.end(body);
  });
}

const action = (inspector, name, args) => request(inspector, {
  path: `/action?token=${inspector.token}`, method: 'POST', headers: { 'Content-Type': 'application/json' },
  body: JSON.stringify({ action: name, args }),
}).then((reply) => JSON.parse(reply.text));

// An open event stream: its events by name, as they arrive.
function watch(inspector) {
  const seen = { snapshot: [], batch: [], state: [], dropped: [] };
  let buffer = '';
  const req = http.get({ host: '127.0.0.1', port: inspector.port, path: `/events?token=${inspector.token}` }, (res) => {
    seen.res = res;
    res.setEncoding('utf8');
    res.on('data', (chunk) => {
      buffer += chunk;
      let end;
      while ((end = buffer.indexOf('\n\n')) >= 0) {
        const [name, data] = buffer.slice(0, end).split('\n').map((line) => line.slice(line.indexOf(': ') + 2));
        buffer = buffer.slice(end + 2);
        seen[name].push(JSON.parse(data));
      }
    });
  });
  seen.close = () => req.destroy();
  seen.events = () => seen.batch.flatMap((batch) => batch.events);
  return seen;
}

test('requests without the token, or from another Host or Origin, are refused', async (t) => {
  const inspector = await emu.inspect({ print: false });
  const token = inspector.token;
  const cases = [
    [{ path: '/' }, 403],
    [{ path: '/events?token=wrong' }, 403],
    [{ path: `/?token=${token}x` }, 403],
    [{ headers: { Host: 'attacker.example:80' } }, 421],
    [{ headers: { Host: `rebound.example:${inspector.port}` } }, 421],
    [{ headers: { Origin: 'http://attacker.example' } }, 403],
    [{ headers: { Origin: `http://127.0.0.1:${inspector.port + 1}` } }, 403],
    [{ headers: { 'Sec-Fetch-Site': 'cross-site' } }, 403],
    [{ path: `/action?token=${token}` }, 405],
    [{ path: `/action?token=${token}`, method: 'POST', headers: { 'Content-Type': 'text/plain' }, body: '{}' }, 415],
    [{ path: `/nothing?token=${token}` }, 404],
  ];
  for (const [options, status] of cases) {
    const reply = await request(inspector, options);
    assert.equal(reply.status, status, `${JSON.stringify(options)}: ${reply.text}`);
  }
  // A refused action did nothing.
  const before = emu.mode();
  await request(inspector, { path: '/action', method: 'POST', headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify({ action: 'setMode', args: { mode: before === 'scripted' ? 'loopback' : 'scripted' } }) });
  assert.equal(emu.mode(), before);

  const page = await request(inspector);
  assert.equal(page.status, 200);
  assert.match(page.headers['content-security-policy'], /default-src 'none'/);
  assert.equal(page.headers['referrer-policy'], 'no-referrer');
  assert.ok(page.text.includes(`page.js?token=${token}`));
  const local = await request(inspector, { headers: { Host: `localhost:${inspector.port}`, Origin: `http://localhost:${inspector.port}` } });
  assert.equal(local.status, 200);
  assert.equal(await emu.inspect(), inspector, 'one server per process');
  t.after(() => inspector.close());
});

test('the stream shows tool calls, drives, log lines and faults as the control surface reports them', async (t) => {
  const inspector = await emu.inspect({ print: false });
  t.after(() => inspector.close());
  const client = ombrix.createOmbrixClient({ serverName: 'inspected' }, {
    async setLanguageCode() { return { code: 0 }; },
  });
  t.after(() => client.close());
  const seen = watch(inspector);
  t.after(() => seen.close());
  await waitFor(() => seen.snapshot.length === 1, { what: 'the snapshot' });
  const snapshot = seen.snapshot[0];
  assert.deepEqual(snapshot.liveObjects, emu.liveObjects());
  assert.deepEqual(snapshot.clients.map((c) => c.serverName), emu.clients().map((c) => c.serverName));

  const files = await client.createRemoteFileTool();
  const reading = files.fileRead('device', __filename, 1, 2);
  if (scripted) emu.complete(await emu.nextCall('ReadFile'), { success: true, content: 'read' });
  const read = await reading;
  await emu.chat.setLanguageCode(2);
  emu.injectFault('ListDirectory', 'empty');
  await emu.emitLogs({ level: 0, module: 'inspected', message: 'a trace line' });
  await waitFor(() => seen.events().some((e) => e.kind === 'log' && e.message === 'a trace line'), { what: 'the log line' });

  const events = seen.events();
  const start = events.find((e) => e.kind === 'call.start' && e.op === 'ReadFile');
  const end = events.find((e) => e.kind === 'call.end' && e.dir === 'tool' && e.id === start.id);
  assert.equal(start.args.filePath, __filename);
  assert.equal(end.result.content, read.content);
  assert.ok(end.results >= 1, 'a hostile SDK may deliver twice');
  const drive = events.find((e) => e.kind === 'call.args' && e.service === 'chat' && e.args.language === 2);
  assert.ok(drive, 'the drive is described');
  assert.deepEqual(events.find((e) => e.kind === 'call.end' && e.dir === 'js' && e.id === drive.id).result.code, 0);
  assert.ok(events.some((e) => e.kind === 'fault' && e.event === 'armed' && e.site === 'ListDirectory'));
  assert.equal(emu.clearFaults(), 1);
});

test('actions do what the control surface does, and say why they fail', async (t) => {
  const inspector = await emu.inspect({ print: false });
  t.after(() => inspector.close());
  const mode = emu.mode();
  t.after(() => emu.setMode(mode));
  assert.deepEqual(await action(inspector, 'setMode', { mode: 'scripted' }), { ok: true, result: 'scripted' });
  assert.equal(emu.mode(), 'scripted');
  assert.deepEqual(await action(inspector, 'injectFault', { site: 'ReadFile', kind: 'throw' }), { ok: true, result: true });
  assert.deepEqual(await action(inspector, 'clearFaults'), { ok: true, result: 1 });
  const bad = await action(inspector, 'injectFault', { site: 'ReadFiel' });
  assert.equal(bad.ok, false);
  assert.match(bad.error, /unknown fault site "ReadFiel"/);
  assert.match((await action(inspector, '__proto__')).error, /unknown action/);
  assert.match((await action(inspector, 'createSession', { client: 'nobody' })).error, /no live client is "nobody"/);
});

test('a page that does not read loses events, counted, and never holds the SDK', { skip: scripted }, async (t) => {
  const inspector = await emu.inspect({ print: false });
  t.after(() => inspector.close());
  const seen = watch(inspector);
  t.after(() => seen.close());
  await waitFor(() => seen.res && seen.snapshot.length === 1, { what: 'the snapshot' });
  seen.res.pause();
  // Far more than the queue and the socket hold, written while nobody reads.
  const message = 'x'.repeat(1000);
  await emu.emitLogs({ level: 0, message, threads: 4, lines: 5000 });
  seen.res.resume();
  // Lines keep being dropped until the page has caught up.
  while (!seen.events().some((e) => e.message === 'after')) {
    await emu.emitLogs({ level: 0, message: 'after' });
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  const lost = seen.dropped.reduce((a, b) => a + b, 0) + seen.batch.reduce((a, b) => a + b.dropped, 0);
  const got = seen.events().filter((e) => e.message && e.message.startsWith(message)).length;
  assert.ok(lost > 0, 'some were dropped');
  assert.ok(got + lost >= 20000, `${got} shown + ${lost} dropped covers all 20000`);
});

test('one thread at a time watches the SDK: a worker\'s page is refused while the main thread\'s is open', async (t) => {
  const inspector = await emu.inspect({ print: false });
  t.after(() => inspector.close());
  const seen = watch(inspector);
  t.after(() => seen.close());
  await waitFor(() => seen.snapshot.length === 1, { what: 'the snapshot' });
  const worker = new Worker(`
    const { parentPort } = require('worker_threads');
    const http = require('http');
    require(${JSON.stringify(root)} + '/emulator/js').inspect({ print: false }).then((inspector) => {
      http.get(inspector.url.replace('/?', '/events?'), (res) => {
        res.resume();
        res.on('end', () => inspector.close().then(() => parentPort.postMessage(res.statusCode)));
      });
    });`, { eval: true });
  const [status] = await once(worker, 'message');
  assert.equal(status, 409);
  await once(worker, 'exit');
  await emu.emitLogs({ level: 0, message: 'still watched here' });
  await waitFor(() => seen.events().some((e) => e.message === 'still watched here'), { what: 'the main page\'s event' });
});

test('OMBRIX_INSPECT serves the page from load; an open page does not keep a finished process', async () => {
  const child = await runNode(`
    const http = require('http');
    const ombrix = require('.');
    require('./emulator/js').inspect().then((inspector) => {
      // The page here is this process's own: its side of the socket must not
      // hold the process either.
      const page = http.get(inspector.url.replace('/?', '/events?'), (res) => {
        res.once('data', () => {
          const client = ombrix.createOmbrixClient({ serverName: 'done' });
          client.close();
        });
      });
      page.on('socket', (socket) => socket.unref());
    });`, { env: { ...nodeEnv(), OMBRIX_INSPECT: '0' } });
  assert.equal(child.code, 0, child.stderr);
  assert.match(child.stderr, /^ombrix inspector: http:\/\/127\.0\.0\.1:\d+\/\?token=[\w-]{32}$/m);
  assert.equal(child.stderr.match(/ombrix inspector:/g).length, 1, 'printed once');
  const refused = await runNode('require(".")', { env: { ...nodeEnv(), OMBRIX_INSPECT: 'on' } });
  assert.equal(refused.code, 0);
  assert.match(refused.stderr, /OMBRIX_INSPECT=on: not a port number/);
});
