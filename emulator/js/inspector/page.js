'use strict';
// The inspector page: follows the SDK's events (server-sent) and offers the
// control surface's actions. Every text from the application goes into the
// page as text, never as markup.
const token = new URLSearchParams(location.search).get('token');
const $ = (selector) => document.querySelector(selector);
const KEEP = { timeline: 400, log: 400, lines: 200, inflight: 100 };
const LEVELS = ['trace', 'debug', 'info', 'warning', 'error', 'fatal'];

const calls = new Map();      // `${dir}:${id}` → a call, in flight or finished
const streams = new Map();    // stream id → { session, content, events, confirm }
const confirms = new Map();   // confirm id → { stream, requests: Map }
const audits = new Map();     // audit session id → recording state
const auditObservers = new Map();  // observer id → audit session id
let dropped = 0;
let armed = [];  // faults armed and not yet struck: { site, fault }
let scripted = [];  // scripted calls waiting for an answer from code

function el(tag, props = {}, ...children) {
  const node = document.createElement(tag);
  for (const [key, value] of Object.entries(props)) {
    if (key === 'class') node.className = value;
    else if (key.startsWith('on')) node.addEventListener(key.slice(2), value);
    else node.setAttribute(key, value);
  }
  for (const child of children) node.append(child instanceof Node ? child : String(child ?? ''));
  return node;
}

function details(summary, value) {
  if (value === undefined || value === null) return '';
  return el('details', {}, el('summary', {}, summary), el('pre', {}, JSON.stringify(value, null, 2)));
}

function append(list, node, keep) {
  list.append(node);
  while (list.childElementCount > keep) list.firstElementChild.remove();
}

const time = (t) => new Date(t).toISOString().slice(11, 23);
const direction = (dir) => (dir === 'js' ? 'SDK → JS service' : 'app → SDK tool');
const thread = (name) => name || 'JS thread';
const callName = (call) => (call.service ? `${call.service}.${call.op}` : call.op);
const clientOption = () => ($('#client').value === '' ? undefined : Number($('#client').value));

// --- what the SDK tells -----------------------------------------------------

function callOf(event) {
  const key = `${event.dir}:${event.id}`;
  let call = calls.get(key);
  if (!call) {
    call = { dir: event.dir, id: event.id, op: event.op };
    calls.set(key, call);
  }
  return call;
}

// A finished call, once both its end and (for a drive) its service are known.
function settle(call) {
  if (!call.ended || call.settled || (call.dir === 'js' && !call.service && !call.unnamed)) return;
  call.settled = true;
  const row = el('tr', {}, el('td', {}, time(call.t)), el('td', {}, direction(call.dir)),
    el('td', {}, callName(call)), el('td', {}, thread(call.thread)),
    el('td', { class: 'num' }, call.ms.toFixed(1)),
    el('td', {}, details('arguments', call.args), details(call.result?.dropped ? 'dropped' : 'result', call.result)));
  newRows.push(row);
  learn(call);
  schedule();
  call.doneAt = Date.now();
}

// What a finished call tells about sessions the SDK now holds.
function learn(call) {
  const result = call.result || {};
  if (call.service === 'chat' && result.session) addSession(result.session.id);
  if (call.service === 'chat' && Array.isArray(result.sessions)) result.sessions.forEach((s) => s && addSession(s.id));
  if (call.service === 'audit' && result.session) setAudit(result.session.id, 'idle');
  if (call.service === 'audit' && call.op === 'start' && result.code === 0) setAudit(call.args.session, 'recording');
  if (call.service === 'audit' && call.op === 'stop' && result.code === 0) setAudit(call.args.session, 'stopped');
  if (call.service === 'audit' && call.op === 'setObserver' && result.observer) auditObservers.set(result.observer, call.args.session);
}

const handlers = {
  'call.start'(event) {
    const call = callOf(event);
    Object.assign(call, { started: event.t, args: event.args ?? call.args, service: event.service ?? call.service });
    schedule();
  },
  'call.args'(event) {
    const call = callOf(event);
    Object.assign(call, { service: event.service, args: event.args });
    if (event.service === 'chat' && event.stream !== undefined) {
      streams.set(event.stream, { session: event.args.session, content: event.args.content, events: [] });
      if (event.confirm !== undefined) confirms.set(event.confirm, { stream: event.stream, requests: new Map() });
      renderTranscript(event.stream);
    }
    settle(call);
    schedule();
  },
  'call.end'(event) {
    const call = callOf(event);
    Object.assign(call, { ended: true, t: event.t, ms: event.ms, result: event.result, thread: event.thread });
    // A drive not made through the control surface's dispatch (a storm) has no description to wait for.
    if (call.dir === 'js' && !call.service) setTimeout(() => { call.unnamed = true; settle(call); }, 500);
    settle(call);
  },
  log(event) {
    const line = el('li', { 'data-level': event.level },
      `${time(event.t)} ${LEVELS[event.level] ?? event.level} [${event.module ?? ''}] ${event.message ?? ''}`);
    line.hidden = event.level < Number($('#log-level').value);
    newLines.push(line);
    schedule();
  },
  'chat.stream'(event) {
    const stream = streams.get(event.stream) || { events: [] };
    streams.set(event.stream, stream);
    stream.events.push(event.event);
    renderTranscript(event.stream);
  },
  'chat.confirm'(event) {
    const confirm = confirms.get(event.confirm) || { requests: new Map() };
    confirms.set(event.confirm, confirm);
    const request = confirm.requests.get(event.request) || {};
    confirm.requests.set(event.request, { ...request, ...event });
    if (confirm.stream !== undefined) renderTranscript(confirm.stream);
  },
  'chat.observer'(event) {
    append($('#log'), el('li', {}, `${time(event.t)} chat observer ${event.observer}: session info ${JSON.stringify(event.event)}`), KEEP.log);
  },
  notification(event) {
    const e = event.event;
    const text = e.event === 'removed' ? `removed ${e.id}` : `${e.event}: ${e.notification?.title ?? ''} (${e.notification?.id ?? ''})`;
    append($('#notifications'), el('li', {}, `${time(event.t)} ${text}`), KEEP.lines);
  },
  'audit.observer'(event) {
    if (event.event.event === 'recordingDone') setAudit(auditObservers.get(event.observer), 'recording done');
    append($('#faults'), el('li', {}, `${time(event.t)} audit observer ${event.observer}: ${event.event.event}${event.event.message ? ` ${event.event.message}` : ''}`), KEEP.lines);
  },
  fault(event) {
    if (event.event === 'armed') armed.push({ site: event.site, fault: event.fault });
    if (event.event === 'struck') armed.splice(armed.findIndex((f) => f.site === event.site && f.fault === event.fault), 1);
    if (event.event === 'cleared') armed = [];
    renderArmed();
    const what = event.event === 'cleared' ? `cleared ${event.count}` : `${event.event} ${event.site} (${event.fault})`;
    append($('#faults'), el('li', {}, `${time(event.t)} fault ${what} on ${thread(event.thread)}`), KEEP.lines);
  },
  hostile(event) {
    append($('#faults'), el('li', {}, `${time(event.t)} hostile habit "${event.habit}" struck on ${thread(event.thread)}`), KEEP.lines);
  },
};

// --- rendering --------------------------------------------------------------

// A storm brings thousands of events a second: the tables are redrawn once a
// frame, whatever came in meanwhile.
let newRows = [];
let newLines = [];
let frame = 0;
function schedule() {
  if (!frame) frame = requestAnimationFrame(render);
}

function render() {
  frame = 0;
  const timeline = $('#timeline tbody');
  timeline.prepend(...newRows.slice(-KEEP.timeline).reverse());
  newRows = [];
  while (timeline.childElementCount > KEEP.timeline) timeline.lastElementChild.remove();
  const log = $('#log');
  log.append(...newLines.slice(-KEEP.log));
  newLines = [];
  while (log.childElementCount > KEEP.log) log.firstElementChild.remove();
  renderInflight();
}

function renderInflight() {
  const rows = [];
  const now = Date.now();
  let more = 0;
  for (const call of calls.values()) {
    if (call.ended || call.started === undefined) continue;
    if (rows.length === KEEP.inflight) { more += 1; continue; }
    rows.push(el('tr', {}, el('td', {}, direction(call.dir)), el('td', {}, callName(call)),
      el('td', { class: 'num' }, `${((now - call.started) / 1000).toFixed(1)} s`), el('td', {}, details('arguments', call.args))));
  }
  if (more) rows.push(el('tr', {}, el('td', { colspan: 4 }, `and ${more} more`)));
  $('#inflight tbody').replaceChildren(...rows);
  $('#scripted').textContent = scripted.length
    ? `scripted calls waiting for an answer from code: ${scripted.map((c) => `${c.op} #${c.id}`).join(', ')}` : '';
}

function renderTranscript(id) {
  const stream = streams.get(id);
  let box = document.getElementById(`stream-${id}`);
  if (!box) {
    box = el('div', { id: `stream-${id}`, class: 'transcript' });
    $('#transcripts').prepend(box);
  }
  const parts = [el('p', {}, el('strong', {}, `session ${stream.session ?? '?'} · stream ${id}`),
    stream.content !== undefined ? ` — you: ${stream.content}` : '')];
  let text = '';
  for (const event of stream.events) {
    if (event.event === 'chunk') { text += event.content ?? ''; continue; }
    if (text) { parts.push(el('p', { class: 'text' }, text)); text = ''; }
    if (event.event === 'toolCall') parts.push(el('p', {}, el('span', { class: 'tag' }, 'tool call'), event.call?.name ?? '', details('call', event.call)));
    else if (event.event === 'todos') parts.push(el('p', {}, el('span', { class: 'tag' }, 'todos'), (event.todos || []).map((t) => t.content ?? t.title ?? '').join(' · ')));
    else if (event.event === 'usage') parts.push(el('p', {}, el('span', { class: 'tag' }, 'usage'), JSON.stringify(event.usage)));
    else if (event.event === 'end') parts.push(el('p', {}, el('span', { class: 'tag' }, 'end')));
  }
  if (text) parts.push(el('p', { class: 'text' }, text));
  for (const [confirmId, confirm] of confirms) {
    if (confirm.stream !== id) continue;
    for (const request of confirm.requests.values()) parts.push(confirmation(confirmId, request));
  }
  box.replaceChildren(...parts);
}

function confirmation(confirmId, request) {
  const line = el('p', {}, el('span', { class: 'tag' }, 'confirmation'), `${request.title ?? ''}: ${request.content ?? ''} `);
  if (request.answer !== undefined) {
    line.append(`— answered ${request.answer}`);
    return line;
  }
  for (const [label, response] of [['Allow', '{"confirmed":true}'], ['Deny', '{"confirmed":false}']]) {
    line.append(el('button', { type: 'button', onclick: () => act('answerConfirm', { confirm: confirmId, request: request.request, response }) }, label), ' ');
  }
  return line;
}

function addSession(id) {
  const select = $('#send-chat select[name=session]');
  if (id === undefined || [...select.options].some((o) => Number(o.value) === id)) return;
  select.prepend(el('option', { value: id }, `session ${id}`));
  select.value = id;
}

function setAudit(id, state) {
  if (id === undefined) return;
  audits.set(id, state);
  const rows = [...audits].map(([session, recording]) => el('tr', {}, el('td', {}, session), el('td', {}, recording),
    el('td', {}, el('button', { type: 'button', onclick: () => act('auditStart', { session }) }, 'Start'), ' ',
      el('button', { type: 'button', onclick: () => act('auditStop', { session }) }, 'Stop'), ' ',
      el('button', { type: 'button', onclick: () => act('auditObserver', { session }) }, 'Observe'))));
  $('#audits tbody').replaceChildren(...rows);
}

function renderState(state) {
  $('#mode').textContent = state.mode;
  const objects = Object.entries(state.liveObjects).filter(([, n]) => n > 0);
  $('#objects tbody').replaceChildren(...(objects.length ? objects.map(([kind, n]) =>
    el('tr', {}, el('th', { scope: 'row' }, kind), el('td', { class: 'num' }, n))) : [el('tr', {}, el('td', {}, 'none'))]));
  $('#clients').replaceChildren(...state.clients.map((c) => el('li', {}, `client ${c.id} "${c.serverName}" (${c.mode})`)));
  const select = $('#client');
  const chosen = select.value;
  select.replaceChildren(el('option', { value: '' }, 'newest'), ...state.clients.map((c) => el('option', { value: c.id }, `${c.id} ${c.serverName}`)));
  select.value = state.clients.some((c) => String(c.id) === chosen) ? chosen : '';
  const habits = Object.entries(state.hostile.habits).filter(([, n]) => n > 0).map(([h, n]) => `${h} ×${n}`);
  $('#hostile').textContent = state.hostile.enabled
    ? `hostile mode on (seed ${state.hostile.seed}, ${state.hostile.percent}%): ${habits.join(', ') || 'nothing struck yet'}`
    : 'hostile mode off';
  scripted = state.scripted;
  schedule();
}

function renderSnapshot(snapshot) {
  renderState(snapshot);
  $('#arm-fault select[name=site]').replaceChildren(...snapshot.sites.map((s) => el('option', {}, s)));
  armed = snapshot.faults;
  renderArmed();
  for (const drive of snapshot.drives) {
    Object.assign(callOf({ dir: 'js', ...drive }), { started: Date.now() - drive.ageMs });
  }
  snapshot.chat.sessions.forEach(addSession);
  for (const stream of snapshot.chat.streams) {
    streams.set(stream.id, { ...(streams.get(stream.id) || {}), events: stream.events });
  }
  for (const confirm of snapshot.chat.confirms) {
    const requests = new Map(confirm.requests.map((r) => [r.request, r.answered ? { ...r, answer: '(answered)' } : r]));
    confirms.set(confirm.id, { ...(confirms.get(confirm.id) || {}), requests });
  }
  snapshot.chat.streams.forEach((s) => renderTranscript(s.id));
  schedule();
}

function renderArmed() {
  $('#armed').textContent = armed.map((f) => `${f.site} (${f.fault})`).join(', ') || 'none';
}

function addDropped(count) {
  dropped += count;
  $('#dropped').textContent = dropped;
}

// --- actions ----------------------------------------------------------------

async function act(action, args = {}) {
  $('#result').textContent = `${action}…`;
  try {
    const response = await fetch(`action?token=${encodeURIComponent(token)}`, {
      method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify({ action, args }),
    });
    const reply = await response.json();
    $('#result').className = reply.ok ? '' : 'error';
    $('#result').textContent = `${action}: ${JSON.stringify(reply.ok ? reply.result : reply.error, null, 2)}`;
    return reply;
  } catch (error) {
    $('#result').className = 'error';
    $('#result').textContent = `${action}: ${error.message}`;
    return { ok: false };
  }
}

function onForm(selector, handler) {
  $(selector).addEventListener('submit', (event) => {
    event.preventDefault();
    handler(new FormData(event.target));
  });
}

onForm('#create-session', (form) => act('createSession', { mode: Number(form.get('mode')), client: clientOption() }));
onForm('#send-chat', (form) => {
  act('sendChat', { session: Number(form.get('session')), content: form.get('content') });
  $('#send-chat input[name=content]').value = '';
});
onForm('#arm-fault', (form) => act('injectFault', { site: form.get('site'), kind: form.get('kind') }));
onForm('#set-mode', (form) => act('setMode', { mode: form.get('mode') }));
for (const button of document.querySelectorAll('button[data-action]')) {
  button.addEventListener('click', () => act(button.dataset.action, { client: clientOption() }));
}
$('#log-level').addEventListener('change', () => {
  const level = Number($('#log-level').value);
  for (const line of $('#log').children) line.hidden = Number(line.dataset.level) < level;
});

// --- the feed -----------------------------------------------------------------

const source = new EventSource(`events?token=${encodeURIComponent(token)}`);
source.addEventListener('open', () => { $('#status').textContent = 'live'; $('#status').className = 'live'; });
source.addEventListener('error', () => { $('#status').textContent = 'disconnected'; $('#status').className = 'lost'; });
source.addEventListener('snapshot', (message) => renderSnapshot(JSON.parse(message.data)));
source.addEventListener('state', (message) => renderState(JSON.parse(message.data)));
source.addEventListener('dropped', (message) => addDropped(Number(message.data)));
source.addEventListener('batch', (message) => {
  const batch = JSON.parse(message.data);
  if (batch.dropped) addDropped(batch.dropped);
  for (const event of batch.events) handlers[event.kind]?.(event);
  document.body.dataset.events = String(Number(document.body.dataset.events || 0) + batch.events.length);
});
// Ages of calls in flight move on without any event; a finished call need
// only be remembered a while, for a late description.
setInterval(() => {
  const old = Date.now() - 10000;
  for (const [key, call] of calls) if (call.doneAt < old) calls.delete(key);
  renderInflight();
}, 1000);
