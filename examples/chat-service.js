'use strict';
// A chat service written in JavaScript: the SDK calls the manager and its
// sessions from its own threads; every method returns a Promise of a result
// with a numeric "code" (0 is success). The substitute SDK plays the SDK's part.
const ombrix = require('ombrix_addon');
const emu = require('ombrix_addon/emulator');

class EchoSession {
  constructor(id) {
    this.sessionInfo = { sessionId: id, title: 'Echo', chatMode: ombrix.ChatMode.OMBRIX };
    this.history = [];
  }

  async getInfo() {
    return { code: 0, info: { ...this.sessionInfo, history: this.history } };
  }

  async setTitle(title) {
    this.sessionInfo.title = title;
    return { code: 0 };
  }

  // Streams the answer word by word, then ends it.
  async sendChat(content, stream) {
    this.history.push({ role: 'user', content });
    for (const word of content.split(' ')) {
      stream.onChunk({ type: ombrix.ChatStreamEventType.CHUNK, content: `${word} ` });
    }
    stream.onEnd();
    this.history.push({ role: 'assistant', content });
    return { code: 0 };
  }

  async stop() { return { code: 0 }; }

  async delete() { return { code: 0 }; }
}

const sessions = [];
const manager = {
  async setLanguageCode(language) {
    console.log(`language set to ${language}`);
    return { code: 0 };
  },
  async createSession() {
    const session = new EchoSession(`echo-${sessions.length + 1}`);
    sessions.push(session);
    return { code: 0, session };
  },
  async getSessions() { return { code: 0, sessions }; },
};

async function main() {
  const client = ombrix.createOmbrixClient({ serverName: 'chat.example' }, manager);
  await emu.chat.setLanguageCode(ombrix.LanguageCode.ENGLISH);
  const { session } = await emu.chat.createSession(ombrix.ChatMode.OMBRIX);
  const sent = emu.chat.sendChat(session.id, 'streamed one word at a time');
  console.log('sendChat answered with code', (await sent.done).code);
  console.log('the SDK received:', emu.chat.streamEvents(sent.stream).map((e) => e.content ?? `<${e.event}>`).join(''));
  await emu.chat.setTitle(session.id, 'Renamed');
  console.log('title now', (await emu.chat.getInfo(session.id)).info.title);

  // Closed, and the SDK lets go of the sessions: the process ends by itself.
  client.close();
  emu.chat.releaseAll();
}

main().catch((error) => {
  console.error(error);
  process.exitCode = 1;
});
