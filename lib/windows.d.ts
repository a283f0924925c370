// Declarations of `ombrix_addon/windows`: the GuiTool's raw values in readable and storable forms.
/// <reference types="node" />
import type { WindowRecord } from '../index.js';

/** Bytes in a window placement: 44. */
export declare const PLACEMENT_SIZE: 44;

/** Show states a placement records; other show commands pass through as numbers. */
export declare const ShowState: {
  readonly HIDDEN: 0;
  readonly NORMAL: 1;
  readonly MINIMIZED: 2;
  readonly MAXIMIZED: 3;
};
export type ShowState = (typeof ShowState)[keyof typeof ShowState];

/** Bits of a placement's flags. */
export declare const PlacementFlags: {
  readonly SET_MIN_POSITION: 1;
  readonly RESTORE_TO_MAXIMIZED: 2;
  readonly ASYNC_WINDOW_PLACEMENT: 4;
};

/** A point in screen coordinates. */
export interface Point {
  x: number;
  y: number;
}

/** A rectangle in screen coordinates. */
export interface Rect {
  left: number;
  top: number;
  right: number;
  bottom: number;
}

/** The fields of a 44-byte placement. */
export interface Placement {
  /** PlacementFlags bits (unsigned 32-bit). */
  flags: number;
  /** How the window is shown: a ShowState, or another show command (unsigned 32-bit). */
  showState: ShowState | (number & {});
  /** Top-left corner when minimised. */
  minPosition: Point;
  /** Top-left corner when maximised. */
  maxPosition: Point;
  /** The window's rectangle when neither minimised nor maximised. */
  normalPosition: Rect;
}

/** A window record that JSON.stringify accepts. */
export interface WindowRecordJSON {
  /** The handle as a decimal string. */
  hwnd: string;
  /** Window title. */
  title: string;
}

/**
 * Reads the fields of a placement from GuiTool.getWindowPlacement.
 * @throws {TypeError} "Expected (placement: Buffer)" (code ERR_OMBRIX_INVALID_ARG)
 * @throws {RangeError} a buffer that is not 44 bytes, or whose length field is not 44 (code ERR_OMBRIX_OUT_OF_RANGE)
 */
export declare function decodePlacement(placement: Uint8Array): Placement;

/**
 * Builds the 44-byte placement GuiTool.setWindowPlacement takes; every field is required.
 * @throws {TypeError} a missing or non-integer field (code ERR_OMBRIX_INVALID_ARG)
 * @throws {RangeError} a field outside its 32-bit range (code ERR_OMBRIX_OUT_OF_RANGE)
 */
export declare function encodePlacement(placement: Placement): Buffer;

/**
 * The record with its handle as a decimal string.
 * @throws {TypeError} "Expected (record: { hwnd: bigint, title: string })" (code ERR_OMBRIX_INVALID_ARG)
 */
export declare function windowToJSON(record: WindowRecord): WindowRecordJSON;

/**
 * The reverse of windowToJSON.
 * @throws {TypeError} a handle that is not a string of decimal digits (code ERR_OMBRIX_INVALID_ARG)
 * @throws {RangeError} a handle above 2^64 - 1 (code ERR_OMBRIX_OUT_OF_RANGE)
 */
export declare function windowFromJSON(json: WindowRecordJSON): WindowRecord;
