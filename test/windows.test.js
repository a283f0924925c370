'use strict';
// ombrix_addon/windows: the placement as fields and back, window records
// through JSON; on an X11 desktop (npm run test:x11) against real windows.
const test = require('node:test');
const assert = require('node:assert/strict');
const ombrix = require('ombrix_addon');
const windows = require('ombrix_addon/windows');
const { waitFor } = require('./helpers');

const { decodePlacement, encodePlacement, windowToJSON, windowFromJSON, ShowState, PlacementFlags } = windows;

// Eleven distinct words, negative coordinates among them, as a placement lays them out.
function rawPlacement(words = [44, 2, 3, -32000, -32000, -1, -8, 100, 120, 500, 420]) {
  const buffer = Buffer.alloc(44);
  words.forEach((word, i) => (i < 3 ? buffer.writeUInt32LE(word, 4 * i) : buffer.writeInt32LE(word, 4 * i)));
  return buffer;
}

const invalidArg = (name) => ({ name, code: 'ERR_OMBRIX_INVALID_ARG' });
const outOfRange = { name: 'RangeError', code: 'ERR_OMBRIX_OUT_OF_RANGE' };

test('a placement decodes into its fields and encodes back to the same bytes', () => {
  const raw = rawPlacement();
  const fields = decodePlacement(raw);
  assert.deepEqual(fields, {
    flags: PlacementFlags.RESTORE_TO_MAXIMIZED,
    showState: ShowState.MAXIMIZED,
    minPosition: { x: -32000, y: -32000 },
    maxPosition: { x: -1, y: -8 },
    normalPosition: { left: 100, top: 120, right: 500, bottom: 420 },
  });
  assert.deepEqual(encodePlacement(fields), raw);
  // A view into a larger buffer reads its own 44 bytes, not the pool's.
  const pooled = Buffer.concat([Buffer.alloc(8, 0xff), raw]).subarray(8);
  assert.deepEqual(decodePlacement(pooled), fields);
  // Read-modify-write keeps what was not changed.
  const moved = decodePlacement(encodePlacement({ ...fields, normalPosition: { ...fields.normalPosition, left: 7 } }));
  assert.deepEqual(moved, { ...fields, normalPosition: { ...fields.normalPosition, left: 7 } });
});

test('placements that are not 44-byte buffers, or fields out of range, are refused with coded errors', () => {
  for (const value of [undefined, null, 'x'.repeat(44), [...rawPlacement()]]) {
    assert.throws(() => decodePlacement(value), invalidArg('TypeError'));
  }
  for (const size of [0, 43, 45, 88]) assert.throws(() => decodePlacement(Buffer.alloc(size)), outOfRange);
  assert.throws(() => decodePlacement(rawPlacement([40, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0])), outOfRange);

  const fields = decodePlacement(rawPlacement());
  assert.throws(() => encodePlacement(null), invalidArg('TypeError'));
  assert.throws(() => encodePlacement({ ...fields, maxPosition: undefined }), invalidArg('TypeError'));
  assert.throws(() => encodePlacement({ ...fields, showState: 1.5 }), invalidArg('TypeError'));
  assert.throws(() => encodePlacement({ ...fields, flags: -1 }), outOfRange);
  assert.throws(() => encodePlacement({ ...fields, minPosition: { x: 2 ** 31, y: 0 } }), outOfRange);
  assert.deepEqual(decodePlacement(encodePlacement({ ...fields, flags: 2 ** 32 - 1 })).flags, 2 ** 32 - 1);
});

test('a window record goes through JSON and comes back with its BigInt handle', () => {
  const records = [{ hwnd: 0x1c00007n, title: 'Editor' }, { hwnd: 2n ** 64n - 1n, title: '' }];
  const text = JSON.stringify(records.map(windowToJSON));
  assert.deepEqual(JSON.parse(text), [{ hwnd: String(0x1c00007), title: 'Editor' },
    { hwnd: '18446744073709551615', title: '' }]);
  assert.deepEqual(JSON.parse(text).map(windowFromJSON), records);

  for (const value of [null, { hwnd: 5, title: 't' }, { title: 't' }]) {
    assert.throws(() => windowToJSON(value), invalidArg('TypeError'));
  }
  for (const hwnd of [5, '', '-1', '0x10', '1e3', ' 12']) {
    assert.throws(() => windowFromJSON({ hwnd, title: 't' }), invalidArg('TypeError'));
  }
  assert.throws(() => windowFromJSON({ hwnd: '18446744073709551616', title: 't' }), outOfRange);
});

test('the ES module form has the same functions', async () => {
  const esm = await import('ombrix_addon/windows');
  assert.equal(esm.decodePlacement, decodePlacement);
  assert.equal(esm.default, windows);
});

const desktop = process.platform === 'linux' && process.env.DISPLAY ? false
  : 'needs an X11 desktop with a window manager (npm run test:x11 -- test/windows.test.js)';

test('real windows: records survive JSON, a decoded placement is written back', { skip: desktop }, async (t) => {
  const { windowClient } = require('./x11/client');
  const tool = ombrix.createGuiTool();
  const client = await windowClient(t);
  const hwnd = await client.create({ title: 'ombrix windows helper' });

  const listed = tool.enumerateVisibleTopLevelWindows().find((w) => w.hwnd === hwnd);
  assert.ok(listed, 'the new window is listed');
  const back = windowFromJSON(JSON.parse(JSON.stringify(windowToJSON(listed))));
  assert.deepEqual(back, listed);
  assert.equal(tool.isWindow(back.hwnd), true);

  const placement = decodePlacement(tool.getWindowPlacement(hwnd));
  assert.equal(placement.showState, ShowState.NORMAL);
  const wanted = { left: 90, top: 110, right: 490, bottom: 410 };
  assert.equal(tool.setWindowPlacement(hwnd, encodePlacement({ ...placement, normalPosition: wanted })), true);
  await waitFor(() => JSON.stringify(decodePlacement(tool.getWindowPlacement(hwnd)).normalPosition) ===
    JSON.stringify(wanted), { what: 'the written rectangle' });
});
