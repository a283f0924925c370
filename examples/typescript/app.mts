// A strict TypeScript application (ES modules) on the module, its lifetime and
// windows helpers, and the substitute SDK's control surface for its own checks.
//   npx tsc -p examples/typescript && node build/typescript-example/app.mjs
import ombrix, { type ChatSession, type ChatSessionManager } from 'ombrix_addon';
import { createLifetime, type ShutdownCounts } from 'ombrix_addon/lifetime';
import { ShowState, decodePlacement, encodePlacement, windowFromJSON, windowToJSON, type Placement } from 'ombrix_addon/windows';
import emu from 'ombrix_addon/emulator';

// A chat service implements only what it serves: the SDK's other requests fail with "… method not found".
const session: ChatSession = {
  sessionInfo: { sessionId: 'ts-1', title: 'TypeScript', chatMode: ombrix.ChatMode.OMBRIX },
  async sendChat(content, stream) {
    stream?.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, role: 'assistant', content: content.toUpperCase() });
    stream?.onEnd();
    return { code: ombrix.ResultCode.SUCCESS };
  },
};
const manager: ChatSessionManager = {
  async createSession() { return { code: 0, session }; },
};

emu.setMode('scripted');  // tool calls wait for this program to answer them
const client = ombrix.createOmbrixClient({ serverName: 'typescript.example' }, manager);
const life = createLifetime();

// The SDK drives the chat service.
const created = await emu.chat.createSession(ombrix.ChatMode.OMBRIX);
if (!('session' in created) || !created.session) throw new Error('the SDK got no session');
const sent = emu.chat.sendChat(created.session.id, 'hello');
const answered = await sent.done;
const streamed = (sent.stream === undefined ? null : emu.chat.streamEvents(sent.stream))?.map((event) => event.event) ?? [];
console.log(`chat: code ${'code' in answered ? answered.code : 'none'}, stream ${streamed.join(' ')}`);

// A long call with its own signal, cancelled at shutdown.
const shell = await client.createRemoteShellTool();
const build = life.run((signal) => shell.shellExec('device-1', 'make all', '/src', signal));
const call = await emu.nextCall('ExecuteShell');

// Windows as JSON, and a placement edited as fields.
const gui = ombrix.createGuiTool();
const stored = JSON.stringify(gui.enumerateVisibleTopLevelWindows().map(windowToJSON));
const handles = (JSON.parse(stored) as ReturnType<typeof windowToJSON>[]).map(windowFromJSON).map((w) => w.hwnd);
const placement: Placement = {
  flags: 0,
  showState: ShowState.NORMAL,
  minPosition: { x: -1, y: -1 },
  maxPosition: { x: -1, y: -1 },
  normalPosition: { left: 10, top: 20, right: 650, bottom: 500 },
};
const moved = decodePlacement(encodePlacement({ ...placement, normalPosition: { ...placement.normalPosition, left: 0 } }));
console.log(`windows: ${handles.length} listed; placement left ${moved.normalPosition.left}, right ${moved.normalPosition.right}`);

// Shutdown: the device answers the cancelled call, then the process ends by itself.
const shutdown: Promise<ShutdownCounts> = life.shutdown({ clients: [client], graceMs: 5000 });
while (!emu.isCancelled(call)) await new Promise((resolve) => setTimeout(resolve, 1));
emu.complete(call, { exitCode: 143, stderrOutput: 'Cancelled' });
console.log(`build exit code ${(await build).exitCode};`, await shutdown);
emu.chat.releaseAll();
