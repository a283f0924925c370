'use strict';
// Desktop helpers: the visible top-level windows (Windows and X11 desktops;
// elsewhere the list is empty), and a shared-memory section guarded by a named mutex.
const ombrix = require('ombrix_addon');

const gui = ombrix.createGuiTool();
const windows = gui.enumerateVisibleTopLevelWindows();
console.log(`${windows.length} visible top-level windows`);
for (const { hwnd, title } of windows.slice(0, 5)) {
  console.log(`  ${hwnd} "${title}" alt-tab: ${gui.isAltTabWindow(hwnd)}`);
}

// Another process creates the section; this one only opens it.
const region = new ombrix.ShmRegion();
if (region.open('Local\\AgentStatus', 'Local\\AgentStatusLock')) {
  if (region.lock(500)) {
    console.log('first word:', region.readBytes(0, 4).readUInt32LE(0));
    region.unlock();
  }
  region.close();
} else {
  console.log('no "Local\\AgentStatus" section on this machine');
}
