// The ES module face of lib/windows.js.
import { createRequire } from 'node:module';

const windows = createRequire(import.meta.url)('./windows.js');

export default windows;
export const {
  PLACEMENT_SIZE, ShowState, PlacementFlags, decodePlacement, encodePlacement, windowToJSON, windowFromJSON,
} = windows;
