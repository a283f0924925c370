'use strict';
// The substitute SDK's inspector: one page, served on 127.0.0.1 only, that
// shows what the SDK sees as it happens and lets a developer poke it. Off
// until inspect() is called (or OMBRIX_INSPECT is set when the module loads).
//
// Private: the URL carries a random token, and a request without it, or with
// a Host or Origin other than this server's own address, is refused (no
// cross-site requests, no DNS rebinding). Cheap: the SDK publishes nothing
// until a page watches; then it queues events for this thread to drain, and a
// page that reads too slowly has events dropped (and counted), never queued
// without bound. Nothing here keeps the process alive.
const crypto = require('crypto');
const fs = require('fs');
const http = require('http');
const path = require('path');

const PAGE_DIR = path.join(__dirname, 'inspector');
const ASSETS = {
  '/page.js': 'text/javascript; charset=utf-8',
  '/page.css': 'text/css; charset=utf-8',
};
// What a page may have waiting in its socket before its events are dropped.
const MAX_BACKLOG = 1 << 20;
const MAX_BODY = 64 * 1024;
const STATE_INTERVAL_MS = 1000;
const STATE_MIN_GAP_MS = 100;

let emu = null;  // the control surface, loaded with the first server
let native = null;
let current = null;

const HEADERS = {
  'Cache-Control': 'no-store',
  'X-Content-Type-Options': 'nosniff',
  'X-Frame-Options': 'DENY',
  // The token is in the URL: no page this one links to may see it.
  'Referrer-Policy': 'no-referrer',
  'Content-Security-Policy': "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; " +
    "img-src 'self' data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'",
};

function send(res, status, type, body) {
  res.writeHead(status, { ...HEADERS, 'Content-Type': type, 'Content-Length': Buffer.byteLength(body) });
  res.end(body);
}

function refuse(res, status, why) {
  send(res, status, 'text/plain; charset=utf-8', `${why}\n`);
}

function sameToken(given, token) {
  const a = Buffer.from(String(given || ''));
  const b = Buffer.from(token);
  return a.length === b.length && crypto.timingSafeEqual(a, b);
}

// The state the page shows beside the events: counted or listed by the SDK.
function state() {
  return {
    liveObjects: emu.liveObjects(),
    clients: emu.clients(),
    mode: emu.mode(),
    scripted: emu.calls(),
    hostile: emu.hostile.status(),
  };
}

// Every action the page offers: what a test does through the control surface.
const ACTIONS = {
  setMode: ({ mode }) => { emu.setMode(mode); return emu.mode(); },
  createSession: ({ mode = 0, client }) => emu.chat.createSession(Number(mode), { client }),
  async sendChat({ session, content }) {
    const { drive, stream, confirm } = emu.chat.sendChat(Number(session), String(content));
    return { drive, stream, confirm };
  },
  answerConfirm: ({ confirm, request, response }) => {
    emu.chat.answerConfirm(Number(confirm), Number(request), response);
    return true;
  },
  notificationObserver: ({ client }) => emu.notification.setObserver(true, { client }),
  getNotifications: ({ client }) => emu.notification.getNotifications({ client }),
  markAsRead: ({ id, client }) => emu.notification.markAsRead(String(id), { client }),
  dismiss: ({ id, client }) => emu.notification.dismiss(String(id), { client }),
  dismissAll: ({ client }) => emu.notification.dismissAll({ client }),
  auditCreate: ({ client }) => emu.audit.createSession({ client }),
  auditStart: ({ session, options = '' }) => emu.audit.start(Number(session), String(options)),
  auditStop: ({ session }) => emu.audit.stop(Number(session)),
  auditObserver: ({ session }) => emu.audit.setObserver(Number(session)),
  announceToolService: ({ client }) => emu.announceToolService({ client }).then(() => true),
  injectFault: ({ site, kind = 'empty' }) => { emu.injectFault(site, kind); return true; },
  clearFaults: () => emu.clearFaults(),
};

class Inspector {
  constructor(port) {
    this.token = crypto.randomBytes(24).toString('base64url');
    this.viewers = new Set();
    this.timer = null;
    this.lastState = '';
    this.stateSent = 0;
    this.server = http.createServer((req, res) => this.handle(req, res));
    // Neither the server nor any connection (an open page included) keeps
    // an application that is done from ending.
    this.server.on('connection', (socket) => socket.unref());
    // Held only until it listens, so that `await inspect()` returns.
    this.ready = new Promise((resolve, reject) => {
      this.server.once('error', reject);
      this.server.listen(port, '127.0.0.1', () => {
        this.server.unref();
        this.port = this.server.address().port;
        this.url = `http://127.0.0.1:${this.port}/?token=${this.token}`;
        this.hosts = new Set([`127.0.0.1:${this.port}`, `localhost:${this.port}`]);
        this.origins = new Set([...this.hosts].map((host) => `http://${host}`));
        resolve(this);
      });
    });
  }

  // Refuses what did not come from this page on this machine; the reason,
  // or null when the request may go on.
  refusal(req, url) {
    if (!this.hosts.has(String(req.headers.host || '').toLowerCase())) return [421, 'unknown Host'];
    const origin = req.headers.origin;
    if (origin !== undefined && !this.origins.has(origin)) return [403, 'foreign Origin'];
    if (req.headers['sec-fetch-site'] === 'cross-site') return [403, 'cross-site request'];
    const token = url.searchParams.get('token') || req.headers['x-ombrix-token'];
    if (!sameToken(token, this.token)) return [403, 'missing or wrong token'];
    return null;
  }

  handle(req, res) {
    const url = new URL(req.url, 'http://127.0.0.1');
    const refused = this.refusal(req, url);
    if (refused) return refuse(res, ...refused);
    if (req.method === 'GET' && url.pathname === '/') {
      const page = fs.readFileSync(path.join(PAGE_DIR, 'page.html'), 'utf8').replaceAll('%TOKEN%', this.token);
      return send(res, 200, 'text/html; charset=utf-8', page);
    }
    if (req.method === 'GET' && ASSETS[url.pathname]) {
      return send(res, 200, ASSETS[url.pathname], fs.readFileSync(path.join(PAGE_DIR, url.pathname.slice(1))));
    }
    if (req.method === 'GET' && url.pathname === '/events') return this.watch(req, res);
    if (req.method === 'GET' && url.pathname === '/state') {
      return send(res, 200, 'application/json', JSON.stringify(this.snapshot()));
    }
    if (url.pathname === '/action') {
      if (req.method !== 'POST') return refuse(res, 405, 'POST an action');
      if (!String(req.headers['content-type'] || '').startsWith('application/json')) {
        return refuse(res, 415, 'an action is JSON');
      }
      return this.act(req, res);
    }
    return refuse(res, 404, 'not found');
  }

  snapshot() {
    return { ...state(), ...JSON.parse(native.inspectorState()) };
  }

  watch(req, res) {
    if (this.viewers.size === 0) {
      try {
        this.startFeed();
      } catch (error) {  // another thread's inspector watches the SDK
        return refuse(res, 409, error.message);
      }
    }
    res.writeHead(200, { ...HEADERS, 'Content-Type': 'text/event-stream' });
    const viewer = { res, dropped: 0 };
    this.viewers.add(viewer);
    res.write(`event: snapshot\ndata: ${JSON.stringify(this.snapshot())}\n\n`);
    // Only the last page to leave stops the feed: close() has already let
    // go of the ones it ends, and a later server may be watching by then.
    res.on('close', () => {
      if (this.viewers.delete(viewer) && this.viewers.size === 0) this.stopFeed();
    });
  }

  startFeed() {
    native.inspectorWatch(() => this.drain());
    this.lastState = '';
    this.timer = setInterval(() => this.sendState(), STATE_INTERVAL_MS);
    this.timer.unref();
  }

  stopFeed() {
    clearInterval(this.timer);
    this.timer = null;
    native.inspectorUnwatch();
  }

  // Writes to every page that keeps up; one that does not loses the text,
  // and is told how many events it lost once it catches up. False when one
  // lost it.
  broadcast(name, text, events) {
    let all = true;
    for (const viewer of this.viewers) {
      if (viewer.res.writableLength > MAX_BACKLOG) {
        viewer.dropped += events;
        all = false;
        continue;
      }
      if (viewer.dropped) {
        viewer.res.write(`event: dropped\ndata: ${viewer.dropped}\n\n`);
        viewer.dropped = 0;
      }
      viewer.res.write(`event: ${name}\ndata: ${text}\n\n`);
    }
    return all;
  }

  drain() {
    if (!this.viewers.size) return;
    const text = native.inspectorDrain();
    // The SDK's text is sent as it is: a batch is {"dropped":N,"count":M,
    // "events":[…]}, N being what the SDK's queue had no room for. A page
    // that loses the batch loses those too.
    const [, dropped, count] = /^\{"dropped":(\d+),"count":(\d+)/.exec(text);
    const lost = Number(dropped) + Number(count);
    this.broadcast('batch', text, lost);
    // The counts move with the events, but a storm drains far more often
    // than a page can show them.
    if (Date.now() - this.stateSent >= STATE_MIN_GAP_MS) this.sendState();
  }

  sendState() {
    this.stateSent = Date.now();
    const text = JSON.stringify(state());
    if (text === this.lastState) return;
    // A state a page missed is sent again: it is not an event to count.
    this.lastState = this.broadcast('state', text, 0) ? text : '';
  }

  act(req, res) {
    const chunks = [];
    let size = 0;
    req.on('data', (chunk) => {
      size += chunk.length;
      if (size > MAX_BODY) req.destroy();
      else chunks.push(chunk);
    });
    req.on('end', async () => {
      let reply;
      try {
        const { action, args = {} } = JSON.parse(Buffer.concat(chunks).toString('utf8'));
        if (!Object.hasOwn(ACTIONS, action)) throw new Error(`unknown action "${action}"`);
        reply = { ok: true, result: (await ACTIONS[action](args && typeof args === 'object' ? args : {})) ?? null };
      } catch (error) {
        reply = { ok: false, error: error.message };
      }
      send(res, reply.ok ? 200 : 400, 'application/json', JSON.stringify(reply));
    });
  }

  async close() {
    for (const viewer of this.viewers) viewer.res.destroy();
    this.viewers.clear();
    if (this.timer) this.stopFeed();
    this.server.ref();  // until closed, so that `await close()` returns
    await new Promise((resolve) => this.server.close(resolve));
    if (current === this) current = null;
  }
}

/**
 * Serves the inspector page on 127.0.0.1:`port` (0: a free one) and prints its
 * URL once; resolves with { url, port, token, close() }. A second call while
 * one is serving resolves with that one.
 */
async function inspect({ port = 0, print = true } = {}) {
  if (current) return current.ready;
  if (!Number.isInteger(port) || port < 0 || port > 65535) throw new RangeError(`port ${port}: 0 to 65535`);
  if (!emu) {
    emu = require('./index');
    native = require('./native');
  }
  current = new Inspector(port);
  try {
    await current.ready;
  } catch (error) {
    current = null;
    throw error;
  }
  if (print) process.stderr.write(`ombrix inspector: ${current.url}\n`);
  return current;
}

module.exports = { inspect };
