// The client: creation, observer, tool factories, audit manager and Fernwick.
import { createOmbrixClient } from '../..';
import type {
  AccountTool, AuditSessionManager, ChatSessionManager, FernwickManager, FernwickManagerHandle,
  NotificationService, OmbrixClient, OmbrixClientObserver, RemoteControlTool, RemoteFileTool,
  RemoteFileTransferTool, RemoteShellTool, ToolService,
} from '../..';

declare const chatSessionManager: ChatSessionManager;
declare const notificationService: NotificationService;
declare const auditManager: AuditSessionManager;

const client: OmbrixClient = createOmbrixClient({ serverName: 'agent.example' });
createOmbrixClient({ serverName: 'agent.example' }, chatSessionManager, notificationService);
createOmbrixClient({ serverName: 'agent.example' }, null, notificationService);
createOmbrixClient({ serverName: 'agent.example' }, undefined, null);
// @ts-expect-error the config is required
createOmbrixClient();
// @ts-expect-error serverName is a string
createOmbrixClient({ serverName: 5 });
// @ts-expect-error serverName is required
createOmbrixClient({});
// @ts-expect-error the config has no other keys
createOmbrixClient({ serverName: 's', port: 443 });
// A service may leave methods out: the module answers a missing one with a failure.
createOmbrixClient({ serverName: 's' }, { createSession: async () => ({ code: 0 }) });
// @ts-expect-error the chat session manager is an object, not a primitive
createOmbrixClient({ serverName: 's' }, 'manager');
// @ts-expect-error a method it has must return a Promise of a result
createOmbrixClient({ serverName: 's' }, { createSession: () => ({ code: 0 }) });

async function tools(): Promise<void> {
  const account: AccountTool = await client.createAccountTool();
  const transfer: RemoteFileTransferTool = await client.createRemoteFileTransferTool();
  const control: RemoteControlTool = await client.createRemoteControlTool();
  const files: RemoteFileTool = await client.createRemoteFileTool();
  const shell: RemoteShellTool = await client.createRemoteShellTool();
  // @ts-expect-error a tool factory resolves with its own tool
  const wrong: RemoteShellTool = await client.createRemoteFileTool();
  // @ts-expect-error tool factories take no arguments
  await client.createRemoteFileTool('device-1');
  console.log(account, transfer, control, files, shell, wrong);
}

const observer: OmbrixClientObserver = {
  onNewToolService: (service: ToolService) => { void service.listTools(); },
  onToolServiceDisconnected: () => {},
  onConnectionStateChanged: () => {},
};
client.setObserver(observer);
client.setObserver({ onNewToolService: async (service) => { await service.call('echo', '{}'); } });
client.setObserver({});
// @ts-expect-error the observer is an object of callbacks
client.setObserver((service: ToolService) => service);
// @ts-expect-error a new tool service arrives as a ToolService, not a string
client.setObserver({ onNewToolService: (name: string) => name.length });
// @ts-expect-error a disconnect callback receives no arguments
client.setObserver({ onToolServiceDisconnected: (reason: string) => reason });

client.setAuditManager(auditManager);
client.setAuditManager(null);
client.setAuditManager();
client.setAuditManager({ createSession: async () => ({}) });
// @ts-expect-error an audit manager's methods are its own: a misspelt one is no audit manager
client.setAuditManager({ createSessions: async () => ({}) });

async function fernwick(): Promise<void> {
  const workspace: string = await client.getFernwickWorkspace();
  const manager: FernwickManager = { async setFernwickWorkspace(path: string) { console.log(path); } };
  const handle: FernwickManagerHandle = client.createFernwickManager(manager);
  client.createFernwickManager({ setFernwickWorkspace: () => undefined });
  client.createFernwickManager({});
  client.createFernwickManager(null);
  client.createFernwickManager();
  // @ts-expect-error the workspace path is a string
  client.createFernwickManager({ setFernwickWorkspace: (path: number) => path });
  // @ts-expect-error the manager is an object
  client.createFernwickManager('manager');
  // @ts-expect-error the handle is opaque
  handle.setFernwickWorkspace('/tmp');
  // @ts-expect-error the workspace is a string
  const count: number = await client.getFernwickWorkspace();
  console.log(workspace, count);
}

export { tools, fernwick };
