// The tools: account, transfer, remote control, files, shell and tool service.
import { FileEntryType, FileTransferErrorCode, RemoteControlUIType, RemoteDeviceStatus } from '../..';
import type {
  AccountTool, DirListResult, FileFindResult, FileReadResult, FileReplaceResult, FileSearchResult,
  FileTransferStatus, FileWriteResult, RemoteControlResult, RemoteControlTool, RemoteDevice,
  RemoteDeviceLockScreenStatusResult, RemoteFileTool, RemoteFileTransferTool, RemoteShellTool,
  ShellExecResult, ToolService, ToolServiceResult,
} from '../..';

declare const account: AccountTool;
declare const transfer: RemoteFileTransferTool;
declare const control: RemoteControlTool;
declare const files: RemoteFileTool;
declare const shell: RemoteShellTool;
declare const service: ToolService;

async function accountTool(): Promise<void> {
  const texts: string[] = await Promise.all([
    account.getAccountId(), account.getAccountDescription(), account.generateAccountToken(),
    account.generateMcpToken(), account.getLocalDeviceId(), account.getLocalDeviceName(),
  ]);
  const devices: RemoteDevice[] = await account.getRemoteDeviceList();
  const online = devices.filter((d) => d.deviceStatus === RemoteDeviceStatus.ONLINE).map((d) => d.deviceId);
  account.setObserver({ onTokenUpdated: (token: string) => token, onMcpTokenUpdated: () => {} });
  account.setObserver({});
  // @ts-expect-error the observer is required
  account.setObserver();
  // @ts-expect-error tokens arrive as strings
  account.setObserver({ onTokenUpdated: (token: number) => token });
  // @ts-expect-error the device type is a number, not its name
  const name: string = devices[0].deviceType;
  console.log(texts, online, name);
}

async function transferAndControl(): Promise<void> {
  const down: FileTransferStatus = await transfer.downloadFile('device-1', '/tmp/local', '/remote');
  const up = await transfer.uploadFile('device-1', '/tmp/local', '/remote');
  const sizes: number = down.fileSize + up.transferTime;
  const failed: boolean = up.errorCode !== FileTransferErrorCode.SUCCESS;
  // @ts-expect-error a transfer status has no "success": errorCode tells
  up.success;
  // @ts-expect-error all three paths are required
  transfer.uploadFile('device-1', '/tmp/local');

  const opened: RemoteControlResult = await control.connectToDeviceWithUI('device-1', RemoteControlUIType.TERMINAL);
  await control.disconnectFromDevice('device-1', RemoteControlUIType.TERMINAL);
  const locked: RemoteDeviceLockScreenStatusResult = await control.getDeviceLockScreenStatus('device-1');
  // @ts-expect-error the user-interface type is a number
  control.connectToDeviceWithUI('device-1', 'TERMINAL');
  // @ts-expect-error disconnecting names the same user interface
  control.disconnectFromDevice('device-1');
  console.log(sizes, failed, opened.success, opened.errorMessage, locked.isLocked);
}

async function remoteFiles(): Promise<void> {
  const controller = new AbortController();
  const read: FileReadResult = await files.fileRead('device-1', '/etc/hostname');
  await files.fileRead('device-1', '/etc/hostname', 1, 10);
  const written: FileWriteResult = await files.fileWrite('device-1', '/tmp/x', 'text', true, false);
  const replaced: FileReplaceResult = await files.fileReplace('device-1', '/tmp/x', 'text', 'other');
  const searched: FileSearchResult = await files.fileSearch('device-1', '/tmp/x', 'o', false, true, controller.signal);
  await files.fileSearch('device-1', '/tmp/x', 'o', undefined, undefined, controller.signal);
  const found: FileFindResult = await files.fileFindByName('device-1', '/tmp', '*.log', 10, controller.signal);
  const listed: DirListResult = await files.dirList('device-1', '/tmp', true, controller.signal);
  const directories = listed.entries.filter((e) => e.type === FileEntryType.DIRECTORY).map((e) => e.name);
  const paths: string[] = found.filePaths;
  const matches: string = searched.matches;
  const total: number = read.durationMs + written.durationMs + replaced.durationMs + listed.totalSize;
  // @ts-expect-error fileRead needs the path
  files.fileRead('device-1');
  // @ts-expect-error line numbers are numbers
  files.fileRead('device-1', '/etc/hostname', '1');
  // @ts-expect-error the signal comes after the two flags
  files.fileSearch('device-1', '/tmp/x', 'o', controller.signal);
  // @ts-expect-error a signal is an AbortSignal, not its controller
  files.dirList('device-1', '/tmp', false, controller);
  // @ts-expect-error search matches are one text, not an array
  const lines: string[] = searched.matches;
  // @ts-expect-error sizes are numbers, never BigInt
  const size: bigint = listed.entries[0].size;
  console.log(directories, paths, matches, total, lines, size);
}

async function shellAndService(): Promise<void> {
  const controller = new AbortController();
  const ran: ShellExecResult = await shell.shellExec('device-1', 'uname -a', '/tmp', controller.signal);
  const output = `${ran.exitCode} ${ran.stdoutOutput} ${ran.stderrOutput}`;
  // @ts-expect-error the working directory is required
  shell.shellExec('device-1', 'uname -a');

  const listedTools: ToolServiceResult = await service.listTools();
  const called = await service.call('echo', '{"hello":"world"}', controller.signal);
  const data: string = listedTools.data + called.data;
  // @ts-expect-error tool arguments are text, not an object
  service.call('echo', { hello: 'world' });
  // @ts-expect-error data is the SDK's text, not parsed
  const parsed: object[] = listedTools.data;
  console.log(output, data, parsed);
}

export { accountTool, transferAndControl, remoteFiles, shellAndService };
