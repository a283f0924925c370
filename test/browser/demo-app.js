'use strict';
// An application with every JavaScript service the SDK calls, for the
// inspector page to watch: chat sessions that stream an answer and ask for a
// confirmation, a notification service and an audit manager.
const ombrix = require('../..');

function chatSession(id) {
  return {
    sessionInfo: { sessionId: id, title: `chat ${id}` },
    async sendChat(content, stream, confirm) {
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, role: 'assistant', content: 'You said: ' });
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, role: 'assistant', content });
      stream.onTodos([{ id: 't1', title: 'answer the user' }]);
      const answer = await confirm.reqConfirm(ombrix.ConfirmActionType.HIGH_RISK_OPERATION, 'Read a file', `for "${content}"`);
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, role: 'assistant', content: ` (confirmed: ${answer?.responseJson})` });
      stream.onUsage({ modelName: 'demo', inputTokens: 12, outputTokens: 34 });
      stream.onEnd();
      return { code: 0 };
    },
  };
}

function start(serverName = 'demo') {
  let sessions = 0;
  const notifications = [{ id: 'n1', title: 'Disk almost full', content: '91% used' }];
  const client = ombrix.createOmbrixClient({ serverName }, {
    async createSession() { sessions += 1; return { code: 0, session: chatSession(`s${sessions}`) }; },
    async getSessions() { return { code: 0, sessions: [] }; },
    async setLanguageCode() { return { code: 0 }; },
  }, {
    setObserver(observer) { observer.onNotification(notifications[0]); },
    async getNotifications() { return { notifications }; },
    async markAsRead() { return {}; },
    async dismiss() { return {}; },
    async dismissAll() { return {}; },
  });
  client.setAuditManager({
    async createSession() {
      let observer = null;
      const info = { sessionId: 'audit-1', status: ombrix.AuditSessionStatus.CREATED };
      return { session: {
        sessionInfo: info,
        setObserver(o) { observer = o; },
        async start() { info.status = ombrix.AuditSessionStatus.RUNNING; return {}; },
        async stop() { info.status = ombrix.AuditSessionStatus.STOPPED; observer?.onRecordingDone(); return {}; },
        async getInfo() { return { info }; },
        async getReport() { return { report: {} }; },
      } };
    },
    async getSessions() { return { sessions: [] }; },
  });
  return client;
}

module.exports = { start };
