// The substitute SDK's control surface, required from CommonJS.
import emu = require('ombrix_addon/emulator');
import emuDefault from 'ombrix_addon/emulator';
import type { ClientEntry, PendingCall, Report } from 'ombrix_addon/emulator';

async function drives(): Promise<void> {
  emu.setMode('scripted');
  const clients: ClientEntry[] = emu.clients();
  const client = clients[0]?.id ?? 'main';

  const created = await emu.chat.createSession(0, { client });
  if ('session' in created && created.session) {
    const id: number = created.session.id;
    const observer: number | null = await emu.chat.setObserver(id);
    if (observer !== null) emu.chat.observerEvents(observer)?.map((e) => e.sessionId);
    const sent = emu.chat.sendChat(id, 'hi', { confirm: false, form: 'short' });
    const report = await sent.done;
    if ('code' in report) { const code: number = report.code; void code; }
    emu.chat.release(id);
  }
  const language: Report = await emu.chat.setLanguageCode(3, { client: 'main' });
  void language;
  emu.chat.setLanguageCode(3, { noCallback: true });

  const service: number = emu.notification.hold({ client });
  const listed = await emu.notification.getNotifications({ service });
  if ('notifications' in listed) listed.notifications?.map((n) => n.title.toUpperCase());
  const noticed: number | null = await emu.notification.setObserver(true, { client: 2 });
  void noticed;

  const audit = await emu.audit.createSession();
  if ('session' in audit && audit.session) await emu.audit.start(audit.session.id, null);
  const { done } = emu.workspace.setWorkspace('/tmp', { manager: emu.workspace.hold() });
  await done;

  await emu.emitConnectionState(2, { client });
  await emu.announceToolService({ empty: true });
  await emu.disconnectToolService();
  await emu.emitTokenUpdated('t');
  const storm = await emuDefault.chat.storm(2, 10);
  const rate: number = storm.completed / storm.seconds;
  void rate;

  emu.injectFault('ReadFile', 'throw');
  emu.injectWeakLockFailure('RemoteFileTool');
  const cleared: number = emu.clearFaults();
  void cleared;
  const call: PendingCall = await emu.nextCall('ReadFile', { timeoutMs: 100 });
  emu.complete(call, { success: true });
  emu.hostile.set({ seed: 1n, habits: ['late', 'inline'], percent: 10 });
  const struck: number | undefined = emu.hostile.status().habits.late;
  void struck;
  const logged: number = await emu.emitLogs({ level: 2, message: 'hi', threads: 2 });
  void logged;
}
void drives;

// @ts-expect-error: a mode is loopback or scripted
emu.setMode('remote');
// @ts-expect-error: a client is an id or a server name
emu.chat.getSessions({ client: true });
// @ts-expect-error: setObserver resolves later, it returns no id at once
const now: number | null = emu.notification.setObserver();
// @ts-expect-error: a fault kind is empty or throw
emu.injectFault('ReadFile', 'explode');
// @ts-expect-error: clearFaults counts, it returns no list
const list: string[] = emu.clearFaults();
// @ts-expect-error: emitConnectionState takes a state
void emu.emitConnectionState();
// @ts-expect-error: an audit session is named by its id
void emu.audit.stop('a');
// @ts-expect-error: no such drive family
void emu.calendar;
void now;
void list;
