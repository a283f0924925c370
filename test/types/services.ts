// Services the application implements: chat, notifications, audit sessions.
import {
  AuditSessionStatus, ChatMode, ChatStreamEventType, ConfirmActionType, NotificationPriority,
  NotificationType, ResultCode, TodoStatus, ToolCallType, createOmbrixClient,
} from '../..';
import type {
  Attachment, AuditSession, AuditSessionManager, AuditSessionObserver, ChatConfirm, ChatResponseStream,
  ChatSession, ChatSessionInfo, ChatSessionManager, ChatSessionObserver, ConfirmResponse,
  CreateSessionResult, GetInfoResult, NotificationObserver, NotificationRecord, NotificationService,
  OperationResult,
} from '../..';

// --- chat --------------------------------------------------------------------

function makeSession(id: string): ChatSession {
  let observer: ChatSessionObserver | null = null;
  const info: ChatSessionInfo = {
    sessionId: id,
    title: `title ${id}`,
    createdAt: 1700n,
    lastActiveAt: Date.now(),
    chatMode: ChatMode.OMBRIX,
    history: [{ type: ChatStreamEventType.CHUNK, role: 'user', content: 'hi', attachments: [{ size: 3n }] }],
  };
  return {
    sessionInfo: info,
    async getInfo(): Promise<GetInfoResult> { return { info }; },
    async setTitle(title: string) {
      info.title = title;
      observer?.onSessionInfoChanged(info);
      return { code: ResultCode.SUCCESS };
    },
    async sendChat(content, stream, confirm, attachments?: Attachment[], extra?: string) {
      if (!stream) return { code: ResultCode.ERROR_INVALID_PARAM, errorMessage: 'no stream' };
      stream.onChunk({ type: ChatStreamEventType.START });
      stream.onChunk({ type: ChatStreamEventType.CHUNK, content, suggestions: ['more'] });
      stream.onToolCall({ type: ToolCallType.START, toolName: 'search', toolArgs: '{}', cancel: () => {} });
      stream.onToolCall({ type: ToolCallType.END, result: { success: true, durationMs: 12n } });
      stream.onTodos([{ id: 't1', title: 'look', status: TodoStatus.IN_PROGRESS, updatedAt: 5 }]);
      stream.onUsage({ modelName: 'm', inputTokens: 10, outputTokens: 20n });
      if (confirm) {
        const answer: ConfirmResponse = await confirm.reqConfirm(ConfirmActionType.HIGH_RISK_OPERATION, 'Delete?', 'x');
        JSON.parse(answer.responseJson);
      }
      const names = (attachments ?? []).map((a) => `${a.filename}:${a.size}`);
      stream.onEnd();
      return { code: 0, errorMessage: `${names.join()} ${extra ?? ''}` };
    },
    async stop() { return { code: 0 }; },
    async delete() { return { code: 0 }; },
    setObserver(next) { observer = next; },
  };
}

const sessions: ChatSession[] = [];
const chatManager: ChatSessionManager = {
  async setLanguageCode(language) { return { code: language >= 0 ? 0 : 8 }; },
  async createSession(mode): Promise<CreateSessionResult> {
    const session = makeSession(`s${sessions.length}-${mode}`);
    sessions.push(session);
    return { code: ResultCode.SUCCESS, session };
  },
  async getSessions() { return { code: 0, sessions }; },
};

// A class with annotated results implements the interface as well.
class QuietSession implements ChatSession {
  async getInfo(): Promise<GetInfoResult> { return { code: ResultCode.ERROR_SESSION_NOT_FOUND }; }
  async setTitle(): Promise<OperationResult> { return { code: 0 }; }
  async sendChat(): Promise<OperationResult> { return { code: 0 }; }
  async stop(): Promise<OperationResult> { return { code: 0 }; }
  async delete(): Promise<OperationResult> { return { code: 0 }; }
}

const misuse: Partial<ChatSessionManager> & Partial<ChatSession> = {
  // @ts-expect-error a chat result must carry a numeric code: without one it is a failure
  async setLanguageCode() { return { errorMessage: 'ok' }; },
  // @ts-expect-error "code" is a ResultCode number, not its text
  async stop() { return { code: '0' }; },
  // @ts-expect-error chat methods return Promises
  delete() { return { code: 0 }; },
  // @ts-expect-error a created session is a session object, not its id
  async createSession() { return { code: 0, session: 's1' }; },
  // @ts-expect-error the chat mode is a ChatMode number
  async getInfo() { return { info: { chatMode: 'OMBRIX' } }; },
};

declare const stream: ChatResponseStream;
declare const confirm: ChatConfirm;
// @ts-expect-error a chunk time is a number or BigInt, not text
stream.onChunk({ createdAt: '1700' });
// @ts-expect-error todos are given as an array
stream.onTodos({ id: 't1' });
// @ts-expect-error a tool call's type is a ToolCallType
stream.onToolCall({ type: 2 });
const { onEnd } = stream;
// @ts-expect-error stream functions read their SDK object from the stream: call them as its methods
onEnd();
// @ts-expect-error a confirmation needs the action type, a title and a content
confirm.reqConfirm(ConfirmActionType.QR_LOGIN, 'Scan');
// @ts-expect-error there is no action type 2
confirm.reqConfirm(2, 'title', 'content');

// --- notifications -------------------------------------------------------------

const notifications: NotificationRecord[] = [{
  id: 'n1', type: NotificationType.REMINDER, title: 'Stand-up', content: 'in 5 minutes',
  priority: NotificationPriority.HIGH, createdAt: Date.now(), expiresAt: Date.now() + 60000, sourceId: 'cal', isRead: false,
}];
let notificationObserver: NotificationObserver | undefined;
const notificationService: NotificationService = {
  setObserver(observer) { notificationObserver = observer; },
  async getNotifications() { return { notifications }; },
  async markAsRead(id) {
    const found = notifications.find((n) => n.id === id);
    if (!found) return { code: ResultCode.ERROR_INVALID_PARAM, errorMessage: `no ${id}` };
    found.isRead = true;
    notificationObserver?.onNotificationUpdated(found);
    return {};
  },
  async dismiss(id) { notificationObserver?.onNotificationRemoved(id); return {}; },
  async dismissAll() { return { code: 0 }; },
};
notificationObserver?.onNotification(notifications[0]);

const notificationMisuse: Partial<NotificationService> = {
  // @ts-expect-error notification times are numbers only, not BigInt
  async getNotifications() { return { notifications: [{ createdAt: 1n }] }; },
  // @ts-expect-error a non-number code makes the request never answer
  async dismissAll() { return { code: '1' }; },
};
// @ts-expect-error removal reports the id only
notificationObserver?.onNotificationRemoved(notifications[0]);

// --- audit -----------------------------------------------------------------------

function makeAuditSession(id: string): AuditSession {
  let status: AuditSessionStatus = AuditSessionStatus.CREATED;
  let observer: AuditSessionObserver | null = null;
  return {
    sessionInfo: { sessionId: id, status, createdAt: Date.now() },
    async getInfo() { return { info: { sessionId: id, status, lastActiveAt: Date.now() } }; },
    async start(options: string) { status = AuditSessionStatus.RUNNING; return { errorMessage: options }; },
    async stop() {
      status = AuditSessionStatus.STOPPED;
      observer?.onRecordingDone();
      observer?.onReportReady();
      return {};
    },
    async getReport() { return { report: { fileUrl: `file:///reports/${id}.html`, createdAt: Date.now() } }; },
    setObserver(next) { observer = next; next?.onError(); next?.onError('disk full'); },
  };
}
const auditSessions: AuditSession[] = [];
const auditManager: AuditSessionManager = {
  async createSession() {
    const session = makeAuditSession(`a${auditSessions.length}`);
    auditSessions.push(session);
    return { code: 0, session };
  },
  async getSessions() { return { sessions: auditSessions }; },
};
const auditMisuse: Partial<AuditSession> = {
  // @ts-expect-error audit times are numbers only
  async getInfo() { return { info: { createdAt: 5n } }; },
  // @ts-expect-error the report location is text
  async getReport() { return { code: 0, report: { fileUrl: 42 } }; },
};

const client = createOmbrixClient({ serverName: 'agent.example' }, chatManager, notificationService);
client.setAuditManager(auditManager);

export { QuietSession, misuse, notificationMisuse, auditMisuse };
