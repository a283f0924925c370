// The JavaScript helpers beside the module: ombrix_addon/lifetime and ombrix_addon/windows.
import { createOmbrixClient, createGuiTool } from 'ombrix_addon';
import { createLifetime, type ShutdownCounts } from 'ombrix_addon/lifetime';
import { PlacementFlags, ShowState, decodePlacement, encodePlacement, windowFromJSON, windowToJSON } from 'ombrix_addon/windows';

async function shutdownFlow(): Promise<ShutdownCounts> {
  const client = createOmbrixClient({ serverName: 'agent.example' });
  const life = createLifetime();
  const shell = await client.createRemoteShellTool();
  const exitCode: Promise<number> = life.run((signal) => shell.shellExec('device-1', 'make', '/src', signal))
    .then((result) => result.exitCode);
  const linked: AbortSignal = AbortSignal.any([life.signal, AbortSignal.timeout(1000)]);
  const tracked: Promise<string> = life.track(Promise.resolve('x'));
  // @ts-expect-error run() hands the start function a signal and wants it to start the call
  life.run(shell.shellExec('device-1', 'make', '/src'));
  // @ts-expect-error track() takes a Promise, not a start function
  life.track(() => Promise.resolve());
  // @ts-expect-error the grace period is a number of milliseconds
  life.shutdown({ clients: [client], graceMs: '5s' });
  // @ts-expect-error what shutdown closes has close()
  life.shutdown({ clients: [{ dispose() {} }] });
  void exitCode; void linked; void tracked;
  return life.shutdown({ clients: [client], graceMs: 5000 });
}

function windowFlow(): void {
  const gui = createGuiTool();
  const [first] = gui.enumerateVisibleTopLevelWindows();
  if (!first) return;
  const stored: string = JSON.stringify(windowToJSON(first));
  const handle: bigint = windowFromJSON(JSON.parse(stored)).hwnd;
  const raw = gui.getWindowPlacement(handle);
  if (!raw) return;
  const placement = decodePlacement(raw);
  const maximised = placement.showState === ShowState.MAXIMIZED
    && (placement.flags & PlacementFlags.RESTORE_TO_MAXIMIZED) !== 0;
  gui.setWindowPlacement(handle, encodePlacement({ ...placement, normalPosition: { ...placement.normalPosition, left: 0 } }));
  // @ts-expect-error the JSON form's handle is a string
  windowFromJSON({ hwnd: 5n, title: 't' });
  // @ts-expect-error a rectangle has left, top, right and bottom
  encodePlacement({ ...placement, normalPosition: { x: 0, y: 0 } });
  // @ts-expect-error placements are decoded from bytes
  decodePlacement(placement);
  void maximised;
}

export { shutdownFlow, windowFlow };
