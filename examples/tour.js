'use strict';
// `npm start`: a narrated tour of ombrix_addon against the substitute SDK in
// loopback mode, where the "remote device" is this machine. Each step says
// what it does and shows what came back; the tour cleans up and ends by itself.
const fs = require('fs');
const os = require('os');
const path = require('path');
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');

let stepNumber = 0;
const step = (title) => console.log(`\n[${++stepNumber}] ${title}`);
const say = (text) => console.log(`    ${text}`);

async function versionAndLogging() {
  step('Which SDK is loaded, and its log lines in JavaScript');
  const version = ombrix.getSDKVersion();
  say(`ombrix_shared ${version.version} (commit ${version.commitHash}, built ${version.buildTimestamp})`);
  const seen = [];
  ombrix.setLogger((context, message) => seen.push(`${context.level} ${context.module}: ${message}`),
    ombrix.LogLevel.DEBUG);
  await emu.emitLogs({ level: ombrix.LogLevel.INFO, module: 'tour', message: 'hello from an SDK thread' });
  await emu.emitLogs({ level: ombrix.LogLevel.DEBUG, module: 'tour', message: 'one of many', threads: 3, lines: 2 });
  await new Promise((resolve) => setTimeout(resolve, 50));
  ombrix.setLogger(null);  // an installed logger keeps the process alive
  say(`${seen.length} lines arrived, e.g. "${seen[0]}"; logger cleared`);
}

async function files(client, scratch) {
  step('Remote files: write, read, search, edit, find and list in a scratch folder');
  const tool = await client.createRemoteFileTool();
  const notes = path.join(scratch, 'notes', 'todo.txt');
  const written = await tool.fileWrite('this-machine', notes, 'buy milk\ncall Ada\nfix the build\n', false, true);
  say(`fileWrite created ${path.relative(scratch, notes)}: success ${written.success}`);
  const read = await tool.fileRead('this-machine', notes, 2, 3);
  say(`fileRead lines ${read.dataStartLine}-${read.dataEndLine} of ${read.originalLineCount}: ${JSON.stringify(read.content)}`);
  const found = await tool.fileSearch('this-machine', notes, 'build', false, true);
  say(`fileSearch "build": ${found.matchCount} match ${JSON.stringify(found.matches.trim())}`);
  const replaced = await tool.fileReplace('this-machine', notes, 'milk', 'oat milk');
  say(`fileReplace milk → oat milk: success ${replaced.success}`);
  const byName = await tool.fileFindByName('this-machine', scratch, '*.txt');
  say(`fileFindByName *.txt: ${byName.totalFound} found`);
  const listing = await tool.dirList('this-machine', path.dirname(notes));
  say(`dirList: ${listing.entries.map((e) => `${e.name} (${e.size} bytes)`).join(', ')}`);
}

async function shell(client, scratch) {
  step('Remote shell: a command, and one cancelled with an AbortSignal');
  const tool = await client.createRemoteShellTool();
  const command = process.platform === 'win32' ? 'echo hello from the shell' : 'echo hello from $0';
  const ran = await tool.shellExec('this-machine', command, scratch);
  say(`exit ${ran.exitCode}: ${ran.stdoutOutput.trim()}`);
  const controller = new AbortController();
  const sleeping = tool.shellExec('this-machine', process.platform === 'win32' ? 'ping -n 31 127.0.0.1 >NUL' : 'sleep 30', scratch,
    controller.signal);
  setTimeout(() => controller.abort(), 100);
  const cancelled = await sleeping;
  say(`aborted after 100 ms: success ${cancelled.success}, "${cancelled.errorMessage}"`);
}

async function toolService(client) {
  step('A tool service announced by the SDK');
  const service = await new Promise((resolve, reject) => {
    client.setObserver({ onNewToolService: resolve });
    emu.announceToolService().catch(reject);
  });
  const tools = JSON.parse((await service.listTools()).data).map((t) => t.name);
  say(`listTools: ${tools.join(', ')}`);
  say(`call echo: ${(await service.call('echo', '{"hello":"world"}')).data}`);
  client.setObserver({});
}

async function chat() {
  step('A chat session held by a JavaScript manager, driven by the SDK');
  const session = {
    sessionInfo: { sessionId: 'tour-1', title: 'Tour', modelName: 'tiny', chatMode: ombrix.ChatMode.OMBRIX },
    async sendChat(content, stream, confirm) {
      stream.onChunk({ type: ombrix.ChatStreamEventType.START, content: '' });
      for (const word of `You said: ${content}`.split(' ')) {
        stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: `${word} ` });
      }
      stream.onToolCall({ toolName: 'calendar', toolArgs: '{"day":"today"}', cancel: () => say('tool call cancelled') });
      const answer = await confirm.reqConfirm(ombrix.ConfirmActionType.HIGH_RISK_OPERATION, 'Allow?', '{"scope":"calendar"}');
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: `(user said ${answer.responseJson})` });
      stream.onUsage({ modelName: 'tiny', inputTokens: 3, outputTokens: 7 });
      stream.onEnd();
      return { code: ombrix.ResultCode.SUCCESS };
    },
  };
  const manager = {
    async createSession() { return { code: 0, session }; },
    async getSessions() { return { code: 0, sessions: [session] }; },
  };
  const client = ombrix.createOmbrixClient({ serverName: 'tour-chat' }, manager);
  const created = await emu.chat.createSession(0);
  say(`the SDK created session "${created.session.cachedInfo.sessionId}" through JavaScript`);
  const sent = emu.chat.sendChat(created.session.id, 'hello there');
  while (emu.chat.confirmRequests(sent.confirm).length === 0) await new Promise((r) => setTimeout(r, 5));
  emu.chat.cancelToolCall(sent.stream, 0);
  emu.chat.answerConfirm(sent.confirm, 0, { approved: true });
  const report = await sent.done;
  const events = emu.chat.streamEvents(sent.stream);
  const text = events.filter((e) => e.event === 'chunk').map((e) => e.content).join('');
  say(`sendChat answered code ${report.code} on the JavaScript thread: ${report.onJsThread}`);
  say(`the SDK's stream received ${events.length} events: "${text.trim()}"`);
  client.close();
  emu.chat.releaseAll();  // the SDK lets go of the session
  return report.code;
}

async function accountAndTransfer(client, scratch) {
  step('The account, and a file transfer with progress');
  const account = await client.createAccountTool();
  say(`account ${await account.getAccountId()} on device "${await account.getLocalDeviceName()}"`);
  const devices = await account.getRemoteDeviceList();
  say(`devices: ${devices.map((d) => `${d.deviceName} (${d.deviceId})`).join(', ')}`);

  const transfer = await client.createRemoteFileTransferTool();
  const source = path.join(scratch, 'report.bin');
  fs.writeFileSync(source, Buffer.alloc(16 * 1024 * 1024, 7));
  const inbox = path.join(scratch, 'inbox');
  fs.mkdirSync(inbox);
  emu.setTransferRate(32 * 1024 * 1024);  // a simulated 32 MB/s link, so there is progress to watch
  const upload = transfer.uploadFile('this-machine', source, path.join(inbox, 'report.bin'));
  let done = false;
  let shown = -1;
  upload.finally(() => { done = true; });
  while (!done) {
    // Real progress: what has reached the destination folder so far. The
    // temporary file may be renamed between listing and stat: it then counts 0.
    const bytes = fs.readdirSync(inbox).reduce((sum, name) =>
      sum + (fs.statSync(path.join(inbox, name), { throwIfNoEntry: false })?.size ?? 0), 0);
    const percent = Math.round((100 * bytes) / (16 * 1024 * 1024));
    if (process.stdout.isTTY) {
      process.stdout.write(`\r    uploading… ${percent}%  `);
    } else if (Math.floor(percent / 25) > shown) {
      shown = Math.floor(percent / 25);
      say(`uploading… ${percent}%`);
    }
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  const result = await upload;
  emu.setTransferRate(0);
  if (process.stdout.isTTY) process.stdout.write('\r');
  say(`uploaded ${result.fileSize} bytes in ${result.transferTime} ms (errorCode ${result.errorCode})`);
  const missing = await transfer.downloadFile('this-machine', path.join(scratch, 'x'), path.join(scratch, 'nope'));
  say(`downloading a file that is not there: errorCode ${missing.errorCode}, "${missing.errorMessage}"`);
}

async function notificationsAndAudit() {
  step('Notifications and an audit session, served by JavaScript');
  const notifications = {
    list: [{ id: 'n1', title: 'Build finished', content: 'all green', isRead: false }],
    async getNotifications() { return { notifications: this.list }; },
    async markAsRead(id) {
      const found = this.list.find((n) => n.id === id);
      if (found) found.isRead = true;
      return {};
    },
    async dismiss(id) {
      this.list = this.list.filter((n) => n.id !== id);
      this.observer?.onNotificationRemoved(id);
      return {};
    },
    async dismissAll() { return {}; },
    setObserver(observer) { this.observer = observer; },
  };
  let observed = null;
  const audit = {
    sessionInfo: { sessionId: 'audit-1', status: ombrix.AuditSessionStatus.CREATED },
    async start() { return {}; },
    async stop() {
      observed?.onRecordingDone();
      return {};
    },
    async getInfo() { return { info: this.sessionInfo }; },
    async getReport() { return { report: { fileUrl: 'file:///reports/audit-1.zip', createdAt: Date.now() } }; },
    setObserver(observer) { observed = observer; },
  };
  const client = ombrix.createOmbrixClient({ serverName: 'tour-services' }, null, notifications);
  client.setAuditManager({ async createSession() { return { session: audit }; }, async getSessions() { return {}; } });

  const observer = await emu.notification.setObserver();
  const listed = await emu.notification.getNotifications();
  say(`the SDK listed ${listed.notifications.length} notification: "${listed.notifications[0].title}"`);
  await emu.notification.markAsRead('n1');
  await emu.notification.dismiss('n1');
  say(`read and dismissed; the SDK's observer heard: ${emu.notification.observerEvents(observer).map((e) => e.event).join(', ')}`);

  const { session } = await emu.audit.createSession();
  const events = await emu.audit.setObserver(session.id);
  await emu.audit.start(session.id, '{"screens":"all"}');
  await emu.audit.stop(session.id);
  const report = await emu.audit.getReport(session.id);
  say(`audit recorded (${emu.audit.observerEvents(events).map((e) => e.event).join(', ')}); report at ${report.report.fileUrl}`);
  client.close();
  emu.notification.releaseAll();
  emu.audit.releaseAll();
}

function sharedMemory() {
  step('ShmRegion: a named shared-memory section guarded by a mutex');
  const region = new ombrix.ShmRegion();
  // Sections are only opened, never created: another process owns them. On
  // Linux a POSIX shared-memory object stands in for it, made here.
  const posixObject = '/dev/shm/ombrix-tour';
  if (process.platform === 'linux') fs.writeFileSync(posixObject, Buffer.alloc(4096));
  try {
    if (!region.open('Local\\ombrix-tour', 'Local\\ombrix-tour-lock')) {
      say('no section "Local\\ombrix-tour" here (another process would create it)');
      return;
    }
    say(`opened; locked: ${region.lock(100)}`);
    region.writeU32(0, 0xC0FFEE);
    say(`wrote 0xC0FFEE at 0, read back ${region.readBytes(0, 4).toString('hex')} (little-endian)`);
    region.unlock();
    region.close();
  } finally {
    if (process.platform === 'linux') {
      fs.rmSync(posixObject, { force: true });
      fs.rmSync('/dev/shm/ombrix-tour-lock.mutex', { force: true });
    }
  }
}

async function main() {
  const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'ombrix-tour-'));
  try {
    emu.setMode('loopback');
    await versionAndLogging();
    const client = ombrix.createOmbrixClient({ serverName: 'tour.example' });
    await files(client, scratch);
    await shell(client, scratch);
    await toolService(client);
    await accountAndTransfer(client, scratch);
    client.close();
    await chat();
    await notificationsAndAudit();
    sharedMemory();
  } finally {
    fs.rmSync(scratch, { recursive: true, force: true });
  }
  console.log('\nTour complete.');  // every client is closed: the process ends by itself
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
