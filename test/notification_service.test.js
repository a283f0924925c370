'use strict';
// The application's notification service, driven from SDK threads.
const test = require('node:test');
const assert = require('node:assert/strict');

const ombrix = require('..');
const emu = require('../emulator/js');
const { unansweredDrive, collectAfterAll, UNANSWERED } = require('./helpers');

const calls = [];
const service = {
  async markAsRead(id) { calls.push(['read', id]); return {}; },
  async dismiss(id) { calls.push(['dismiss', id]); return { code: 0 }; },
  async dismissAll() { calls.push(['all']); return { code: 6, errorMessage: 'busy' }; },
  setObserver(observer) { service.observer = observer; },
};
let client = ombrix.createOmbrixClient({ serverName: 'notifications' }, null, service);
collectAfterAll(test, () => { client = null; });

const outcome = (report) => [report.code, report.errorMessage];

test('the list: records in field order, lenient fields, non-objects skipped', async () => {
  const full = {
    id: 'n1', type: ombrix.NotificationType.ALERT, title: 'Disk', content: 'almost full',
    priority: ombrix.NotificationPriority.URGENT, createdAt: 1700000000123, expiresAt: -5,
    sourceId: 'monitor', isRead: true,
  };
  service.getNotifications = async () => ({
    notifications: [full, 5, null, { isRead: 1, createdAt: '12', type: 'x', title: 7, id: 'n2' }],
  });
  const listed = await emu.notification.getNotifications();
  assert.deepEqual([listed.code, listed.errorMessage, listed.onJsThread, listed.calls], [0, null, true, 1]);
  assert.deepEqual(listed.notifications, [full, {
    id: 'n2', type: 0, title: '', content: '', priority: 0, createdAt: 0, expiresAt: 0, sourceId: '', isRead: false,
  }]);
  assert.deepEqual(Object.keys(listed.notifications[0]), Object.keys(full));

  const answers = [
    [{ code: 3, errorMessage: 'offline' }, [3, 'offline', []]],
    [{}, [0, null, []]],
    [{ notifications: 'none' }, [0, null, []]],
    ['list', [8, 'GetNotificationsResult not returned', null]],
  ];
  for (const [answer, expected] of answers) {
    service.getNotifications = async () => answer;
    const report = await emu.notification.getNotifications();
    assert.deepEqual([...outcome(report), report.notifications], expected, JSON.stringify(answer));
  }
});

test('mark as read, dismiss, dismiss all: a missing code is success; one method check', async () => {
  assert.deepEqual(outcome(await emu.notification.markAsRead('n1')), [0, null]);
  assert.deepEqual(outcome(await emu.notification.dismiss('n2')), [0, null]);
  assert.deepEqual(outcome(await emu.notification.dismissAll()), [6, 'busy']);
  assert.deepEqual(outcome(await emu.notification.markAsRead(null)), [0, null]);
  assert.deepEqual(calls, [['read', 'n1'], ['dismiss', 'n2'], ['all'], ['read', '']]);

  const cases = [
    ['dismiss', 'not a function', [8, 'dismiss method not found']],
    ['markAsRead', undefined, [8, 'markAsRead method not found']],
    ['dismissAll', () => ({ code: 0 }), [8, 'dismissAll did not return a Promise']],
    ['dismissAll', () => Promise.reject(new Error('locked')), [8, 'locked']],
    ['dismissAll', () => Promise.reject(404), [8, 'Unknown error']],
    ['dismiss', async () => 5, [8, 'OperationResult not returned']],
    ['dismiss', async () => ({ code: '1' }), [0, null]],  // a code that is not a number is ignored
  ];
  for (const [method, value, expected] of cases) {
    if (value === undefined) delete service[method]; else service[method] = value;
    const report = await emu.notification[method]('n3');
    assert.deepEqual(outcome(report), expected, `${method}: ${String(value)}`);
  }
});

test('a list "code" that is not a number never reaches the SDK: the handler throws', async () => {
  assert.deepEqual(await unansweredDrive(`
    const ombrix = require('.');
    const emu = require('./emulator/js');
    globalThis.client = ombrix.createOmbrixClient({ serverName: 'nan' }, null, {
      getNotifications: async () => ({ code: '1', notifications: [] }),
    });
    started = emu.notification.getNotifications();
  `), ['TypeError A number was expected', UNANSWERED]);
});

test('events from the application reach the SDK observer, which it holds alone', async () => {
  const observer = await emu.notification.setObserver();
  assert.ok(service.observer, 'the service has its observer once setObserver resolves');
  const js = service.observer;
  assert.deepEqual(Object.keys(js), ['onNotification', 'onNotificationUpdated', 'onNotificationRemoved']);
  assert.equal(js.onNotification({ id: 'a', title: 'New', createdAt: 5 }), undefined);
  js.onNotificationUpdated({ id: 'a', isRead: true });
  js.onNotificationRemoved('a');
  // Ignored: a missing argument, or one of the wrong kind.
  js.onNotification();
  js.onNotificationUpdated('a');
  js.onNotificationRemoved({ id: 'a' });
  const events = emu.notification.observerEvents(observer);
  assert.deepEqual(events.map((e) => [e.event, e.notification ? e.notification.id : e.id, e.onJsThread]),
    [['notification', 'a', true], ['updated', 'a', true], ['removed', 'a', true]]);
  assert.deepEqual([events[0].notification.title, events[0].notification.createdAt, events[1].notification.isRead],
    ['New', 5, true]);

  // The application's functions hold the observer weakly: once the SDK lets
  // go, it is gone and they do nothing.
  const live = emu.liveObjects().NotificationObserver;
  emu.notification.release(observer);
  assert.equal(emu.liveObjects().NotificationObserver, live - 1);
  assert.equal(js.onNotification({ id: 'late' }), undefined);
  js.onNotificationRemoved('late');
});
