// Desktop helpers: the shared-memory region and the window tool.
import { ShmRegion, createGuiTool } from '../..';
import type { ActivationResult, GuiTool, WindowRecord } from '../..';

const region = new ShmRegion();
if (region.open('Local\\AgentStatus', 'Local\\AgentStatusLock') && region.isOpen) {
  if (region.lock(500)) {
    region.writeU32(0, 42);
    const head: Buffer = region.readBytes(0, 16);
    console.log(head.readUInt32LE(0));
    region.unlock();
  }
  region.lock();
  region.close();
}
region.open('Local\\AgentStatus');
// @ts-expect-error the constructor reads no arguments
new ShmRegion('Local\\AgentStatus');
// @ts-expect-error the section name is a string
region.open(5);
// @ts-expect-error isOpen is a read-only property
region.isOpen = true;
// @ts-expect-error isOpen is a property, not a method
region.isOpen();
// @ts-expect-error offsets and lengths are numbers
region.readBytes('0', 4);
// @ts-expect-error writeU32 returns nothing
const written: boolean = region.writeU32(0, 1);

async function windows(): Promise<void> {
  const gui: GuiTool = createGuiTool();
  const list: WindowRecord[] = gui.enumerateVisibleTopLevelWindows();
  const target = list.find((w) => w.title.includes('Notepad'));
  if (target) {
    const result: ActivationResult = await gui.activateWindow(target.hwnd);
    const tier: 'direct' | 'alt' | 'attach' = result.tier;
    console.log(result.ok, tier, result.lastError);
  }
  const foreground = gui.getForegroundHwnd();
  if (foreground !== null) {
    const placement = gui.getWindowPlacement(foreground);
    if (placement) gui.setWindowPlacement(foreground, placement);
    const pid: number = gui.getWindowProcessId(foreground);
    const exe: string | null = gui.getProcessExePath(pid);
    const flags: boolean[] = [
      gui.isWindow(foreground), gui.isIconic(foreground), gui.isAltTabWindow(foreground),
      gui.showWindow(foreground, 9), gui.setForegroundWindow(foreground), gui.allowSetForegroundWindow(-1),
    ];
    console.log(exe, flags);
  }
  gui.shellExecute('https://example.com');
  const lastError: number = gui.getLastError();
  // @ts-expect-error window handles are BigInt, never numbers
  gui.isWindow(42);
  // @ts-expect-error the foreground window may be absent
  const hwnd: bigint = gui.getForegroundHwnd();
  // @ts-expect-error the tier is one of three names
  const other: ActivationResult['tier'] = 'retry';
  // @ts-expect-error a placement is a Buffer
  gui.setWindowPlacement(1n, [44, 0, 0]);
  // @ts-expect-error a process id is a number
  gui.getProcessExePath(1n);
  console.log(lastError, hwnd, other);
}

export { written, windows };
