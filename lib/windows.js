'use strict';
// The GuiTool's raw values in forms an application can read and store: the
// 44-byte window placement as fields (and back, for a read-modify-write), and
// a window record whose BigInt handle survives JSON.
const { invalidArgument: invalid, outOfRange } = require('./errors');

const PLACEMENT_SIZE = 44;
const MAX_HANDLE = 2n ** 64n - 1n;

/** Show states a placement records (other show commands pass through as numbers). */
const ShowState = Object.freeze({ HIDDEN: 0, NORMAL: 1, MINIMIZED: 2, MAXIMIZED: 3 });

/** Bits of a placement's flags. */
const PlacementFlags = Object.freeze({ SET_MIN_POSITION: 1, RESTORE_TO_MAXIMIZED: 2, ASYNC_WINDOW_PLACEMENT: 4 });

/** Reads the fields of a placement from getWindowPlacement. */
function decodePlacement(placement) {
  if (!(placement instanceof Uint8Array)) throw invalid('Expected (placement: Buffer)');
  if (placement.byteLength !== PLACEMENT_SIZE) {
    throw outOfRange(`A placement holds ${PLACEMENT_SIZE} bytes, not ${placement.byteLength}`);
  }
  const view = new DataView(placement.buffer, placement.byteOffset, PLACEMENT_SIZE);
  const u32 = (offset) => view.getUint32(offset, true);
  const i32 = (offset) => view.getInt32(offset, true);
  if (u32(0) !== PLACEMENT_SIZE) throw outOfRange(`A placement's length field must be ${PLACEMENT_SIZE}, not ${u32(0)}`);
  return {
    flags: u32(4),
    showState: u32(8),
    minPosition: { x: i32(12), y: i32(16) },
    maxPosition: { x: i32(20), y: i32(24) },
    normalPosition: { left: i32(28), top: i32(32), right: i32(36), bottom: i32(40) },
  };
}

function field(object, key, where) {
  if (object === null || typeof object !== 'object') throw invalid(`Expected ${where} to be an object`);
  const value = object[key];
  if (typeof value !== 'number' || !Number.isInteger(value)) throw invalid(`Expected ${where}.${key} to be an integer`);
  return value;
}

function signed(object, key, where) {
  const value = field(object, key, where);
  if (value < -(2 ** 31) || value >= 2 ** 31) throw outOfRange(`${where}.${key} is outside the signed 32-bit range`);
  return value;
}

function unsigned(object, key, where) {
  const value = field(object, key, where);
  if (value < 0 || value >= 2 ** 32) throw outOfRange(`${where}.${key} is outside the unsigned 32-bit range`);
  return value;
}

/** Builds the 44-byte placement setWindowPlacement takes; every field is required. */
function encodePlacement(placement) {
  if (placement === null || typeof placement !== 'object') throw invalid('Expected (placement: object)');
  const buffer = Buffer.alloc(PLACEMENT_SIZE);
  buffer.writeUInt32LE(PLACEMENT_SIZE, 0);
  buffer.writeUInt32LE(unsigned(placement, 'flags', 'placement'), 4);
  buffer.writeUInt32LE(unsigned(placement, 'showState', 'placement'), 8);
  let offset = 12;
  for (const [where, keys] of [['minPosition', ['x', 'y']], ['maxPosition', ['x', 'y']],
    ['normalPosition', ['left', 'top', 'right', 'bottom']]]) {
    for (const key of keys) {
      buffer.writeInt32LE(signed(placement[where], key, where), offset);
      offset += 4;
    }
  }
  return buffer;
}

/** A window record that JSON.stringify accepts: the handle as a decimal string. */
function windowToJSON(record) {
  if (record === null || typeof record !== 'object' || typeof record.hwnd !== 'bigint') {
    throw invalid('Expected (record: { hwnd: bigint, title: string })');
  }
  return { hwnd: record.hwnd.toString(), title: String(record.title ?? '') };
}

/** The reverse of windowToJSON: the handle back as the BigInt the GuiTool takes. */
function windowFromJSON(json) {
  if (json === null || typeof json !== 'object' || typeof json.hwnd !== 'string' || !/^[0-9]+$/.test(json.hwnd)) {
    throw invalid('Expected (json: { hwnd: string of decimal digits, title: string })');
  }
  const hwnd = BigInt(json.hwnd);
  if (hwnd > MAX_HANDLE) throw outOfRange('hwnd is outside the unsigned 64-bit range of a window handle');
  return { hwnd, title: String(json.title ?? '') };
}

module.exports = {
  PLACEMENT_SIZE, ShowState, PlacementFlags, decodePlacement, encodePlacement, windowToJSON, windowFromJSON,
};
