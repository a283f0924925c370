'use strict';
// The inspector page in a real browser (Debian's Chromium, headless, driven by
// playwright-core) against a running application: a chat and tool calls made
// from the page and from code, checked against what the control surface
// reports. Takes the screenshots in docs/images/.
//   npm run test:inspector
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');
const { chromium } = require('playwright-core');

const emu = require('../../emulator/js');
const { start } = require('./demo-app');

const browserPath = process.env.CHROMIUM_PATH || '/usr/bin/chromium';
const images = path.join(__dirname, '..', '..', 'docs', 'images');
// As root in a sandbox without a network: no sandbox, and none of the
// browser's own connections.
const ARGS = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
  '--disable-component-update', '--disable-sync'];

test('the page follows a running application and drives it', { skip: !fs.existsSync(browserPath) && `no ${browserPath}` }, async (t) => {
  emu.setMode('loopback');
  const client = start('demo');
  const inspector = await emu.inspect({ print: false });
  const browser = await chromium.launch({ executablePath: browserPath, args: ARGS });
  t.after(async () => {
    await browser.close();
    await inspector.close();
    client.close();
    emu.chat.releaseAll();
    emu.audit.releaseAll();
    emu.notification.releaseAll();
  });
  const page = await browser.newPage({ viewport: { width: 1366, height: 900 } });
  const errors = [];
  page.on('pageerror', (error) => errors.push(error.message));
  page.on('console', (message) => message.type() === 'error' && errors.push(message.text()));
  await page.goto(inspector.url);
  await page.locator('#status', { hasText: 'live' }).waitFor();

  // A session asked for from the page, another from code: the page lists both.
  await page.getByRole('button', { name: 'Ask for a session' }).click();
  await page.locator('#send-chat option').first().waitFor({ state: 'attached' });
  const fromCode = (await emu.chat.createSession(0)).session.id;
  await page.locator(`#send-chat option[value="${fromCode}"]`).waitFor({ state: 'attached' });

  // A chat sent from the page, typed and sent with the keyboard alone.
  await page.locator('#send-chat input[name=content]').focus();
  await page.keyboard.type('where is my report?');
  await page.keyboard.press('Enter');
  const transcript = page.locator('.transcript').first();
  await transcript.getByRole('button', { name: 'Allow' }).waitFor();
  const stream = Number((await transcript.getAttribute('id')).slice('stream-'.length));
  await transcript.getByRole('button', { name: 'Allow' }).click();
  await transcript.locator('.tag', { hasText: 'end' }).waitFor();
  const chunks = emu.chat.streamEvents(stream).filter((e) => e.event === 'chunk').map((e) => e.content).join('');
  assert.equal(chunks, 'You said: where is my report? (confirmed: {"confirmed":true})');
  assert.equal((await transcript.locator('.text').allInnerTexts()).join(''), chunks);
  assert.deepEqual(emu.chat.confirmRequests(stream + 1).map((r) => r.answered), [true]);

  // A chat sent from code shows the same way.
  const sent = emu.chat.sendChat(fromCode, 'from code');
  await page.locator(`#stream-${sent.stream} button`, { hasText: 'Allow' }).waitFor();
  emu.chat.answerConfirm(sent.confirm, 0, '"ok"');
  assert.equal((await sent.done).code, 0);
  await page.locator(`#stream-${sent.stream} .tag`, { hasText: 'end' }).waitFor();

  // Tool calls from code: a finished one on the timeline; a scripted one in
  // flight until code answers it.
  const files = await client.createRemoteFileTool();
  await files.fileRead('device', __filename, 1, 1);
  await page.locator('#timeline tbody tr', { hasText: 'ReadFile' }).first().waitFor();
  await page.getByLabel('mode for new clients').selectOption('scripted');
  await page.getByRole('button', { name: 'Switch' }).click();
  await page.locator('#mode', { hasText: 'scripted' }).waitFor();
  const scriptedClient = start('scripted-demo');
  t.after(() => scriptedClient.close());
  const waiting = (await scriptedClient.createRemoteShellTool()).shellExec('device', 'echo hi', '.');
  const call = await emu.nextCall('ExecuteShell');
  await page.locator('#inflight tbody tr', { hasText: 'ExecuteShell' }).waitFor();
  emu.complete(call, { success: true, stdout: 'hi\n' });
  await waiting;
  await page.locator('#inflight tbody tr', { hasText: 'ExecuteShell' }).waitFor({ state: 'detached' });
  emu.setMode('loopback');

  // A fault armed from the page is armed in the SDK; an audit recorded from the page.
  await page.getByLabel('site').selectOption('ListDirectory');
  await page.getByRole('button', { name: 'Arm' }).click();
  await page.locator('#faults li', { hasText: 'armed ListDirectory' }).waitFor();
  assert.equal(emu.clearFaults(), 1);
  await page.getByRole('button', { name: 'Give the service an observer' }).click();
  await page.locator('#notifications li', { hasText: 'Disk almost full' }).waitFor();
  await page.getByRole('button', { name: 'Ask for an audit session' }).click();
  await page.locator('#audits tbody tr').first().waitFor();
  await page.locator('#audits button', { hasText: 'Start' }).first().click();
  await page.locator('#audits td', { hasText: /^recording$/ }).waitFor();

  // The live objects shown are the SDK's count (after its next state update).
  const expected = () => Object.entries(emu.liveObjects()).filter(([, n]) => n > 0).map(([k, n]) => `${k}\t${n}`).join('\n');
  await page.waitForFunction((want) => globalThis.document.querySelector('#objects tbody').innerText.trim() === want, expected(),
    { timeout: 5000 }).catch(() => {});
  assert.equal((await page.locator('#objects tbody').innerText()).trim(), expected());

  fs.mkdirSync(images, { recursive: true });
  await page.screenshot({ path: path.join(images, 'inspector.png'), fullPage: true });
  await page.locator('#chat-card').screenshot({ path: path.join(images, 'inspector-chat.png') });

  // A storm while the page watches: every call reaches the page, or is
  // counted as dropped, and the page still answers.
  const before = Number(await page.locator('body').getAttribute('data-events'));
  const droppedBefore = Number(await page.locator('#dropped').innerText());
  const storm = await emu.chat.storm(2, 5000);
  assert.equal(storm.completed, 10000);
  await page.waitForFunction(([seen, lost]) => {
    const events = Number(globalThis.document.body.dataset.events) - seen;
    const dropped = Number(globalThis.document.querySelector('#dropped').textContent) - lost;
    return events + dropped >= 20000;
  }, [before, droppedBefore], { timeout: 60000 });
  await page.getByRole('button', { name: 'Get notifications' }).click();
  await page.locator('#result', { hasText: 'getNotifications' }).waitFor();
  assert.deepEqual(errors, []);
});
