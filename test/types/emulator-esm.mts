// The substitute SDK's control surface, imported from an ES module.
import emu, { chat, clearFaults, clients, notification, setMode } from 'ombrix_addon/emulator';
import type { Emulator, StormResult } from 'ombrix_addon/emulator';

const surface: Emulator = emu;
setMode('loopback');
const ids: number[] = clients().map((c) => c.id);
const cleared: number = clearFaults();
const observer: Promise<number | null> = notification.setObserver(true, { client: ids[0] });
const storm: Promise<StormResult> = chat.storm(1, 1, { client: 'main' });
// @ts-expect-error: the named exports are the default's members, typed the same
const wrong: string = surface.liveClients();
void [observer, storm, cleared, wrong];
