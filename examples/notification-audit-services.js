'use strict';
// Notification and audit services written in JavaScript. For these services a
// result without "code" is a success; a rejection answers with code 8 and the
// reason's message. The substitute SDK plays the SDK's part.
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');

class Notifications {
  constructor() {
    this.items = new Map([['n1', { id: 'n1', title: 'Disk almost full', isRead: false,
      priority: ombrix.NotificationPriority.HIGH }]]);
    this.observer = null;
  }
  setObserver(observer) { this.observer = observer; }  // { onNotification, onNotificationUpdated, onNotificationRemoved }
  async getNotifications() { return { notifications: [...this.items.values()] }; }
  async markAsRead(id) {
    const item = this.items.get(id);
    if (!item) throw new Error(`no notification ${id}`);
    item.isRead = true;
    this.observer?.onNotificationUpdated(item);
    return {};
  }
  async dismiss(id) {
    this.items.delete(id);
    this.observer?.onNotificationRemoved(id);
    return {};
  }
  async dismissAll() {
    for (const id of [...this.items.keys()]) await this.dismiss(id);
    return {};
  }
}

// An audit session records the screen between start and stop, then reports.
function auditSession(id) {
  let observer = null;
  /** @type {import('ombrix_addon').AuditSessionInfo} */
  const info = { sessionId: id, status: ombrix.AuditSessionStatus.CREATED, createdAt: Date.now() };
  return {
    sessionInfo: info,
    setObserver(o) { observer = o; },  // null when the SDK clears it
    async start() { info.status = ombrix.AuditSessionStatus.RUNNING; return {}; },
    async stop() {
      info.status = ombrix.AuditSessionStatus.STOPPED;
      observer?.onRecordingDone();
      observer?.onReportReady();
      return {};
    },
    async getInfo() { return { info }; },
    async getReport() { return { report: { fileUrl: `file:///audits/${id}.zip`, createdAt: Date.now() } }; },
  };
}

async function main() {
  const client = ombrix.createOmbrixClient({ serverName: 'services.example' }, null, new Notifications());
  const sessions = [];
  client.setAuditManager({
    async createSession() {
      const session = auditSession(`audit-${sessions.length + 1}`);
      sessions.push(session);
      return { session };
    },
    async getSessions() { return { sessions }; },
  });

  const observer = await emu.notification.setObserver();
  console.log('notifications:', (await emu.notification.getNotifications()).notifications.map((n) => n.title));
  console.log('mark unknown:', (await emu.notification.markAsRead('n9')).errorMessage);
  await emu.notification.markAsRead('n1');
  await emu.notification.dismissAll();
  console.log('the SDK heard:', emu.notification.observerEvents(observer).map((e) => e.event));

  const { session } = await emu.audit.createSession();
  const events = await emu.audit.setObserver(session.id);
  await emu.audit.start(session.id, '{}');
  await emu.audit.stop(session.id);
  console.log('audit events:', emu.audit.observerEvents(events).map((e) => e.event));
  console.log('report:', (await emu.audit.getReport(session.id)).report.fileUrl);

  // Closed, and the SDK lets go of the services: the process ends by itself.
  client.close();
  emu.notification.releaseAll();
  emu.audit.releaseAll();
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
