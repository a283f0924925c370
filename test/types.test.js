'use strict';
// index.d.ts against the compiler, the loaded module and docs/api.
const test = require('node:test');
const assert = require('node:assert/strict');
const { spawnSync } = require('child_process');
const fs = require('fs');
const path = require('path');

const { pathToFileURL } = require('url');

const { root, collectAfterAll, clientIn, runNode, scripted } = require('./helpers');

let ts = null;
try {
  ts = require('typescript');
} catch (error) {
  if (error.code !== 'MODULE_NOT_FOUND') throw error;
}
const skip = ts ? false : 'typescript is not installed (it is a devDependency: run npm install)';

const declarationFile = path.join(root, 'index.d.ts');
const usageDir = path.join(root, 'test', 'types');

function tsc(...args) {
  const bin = path.join(path.dirname(require.resolve('typescript/package.json')), 'bin', 'tsc');
  return spawnSync(process.execPath, [bin, ...args], { cwd: root, encoding: 'utf8' });
}

test('typed usage compiles and every deliberate misuse is a compile error', { skip }, () => {
  const usageFiles = fs.readdirSync(usageDir).filter((f) => f.endsWith('.ts')).map((f) => path.join(usageDir, f));
  assert.ok(usageFiles.length > 0, 'no usage files in test/types');
  for (const file of usageFiles) {
    assert.match(fs.readFileSync(file, 'utf8'), /@ts-expect-error/, `${file} checks no misuse`);
  }
  const config = ts.readConfigFile(path.join(usageDir, 'tsconfig.json'), ts.sys.readFile);
  assert.equal(config.config.compilerOptions.strict, true, 'the usage files are compiled in strict mode');

  const run = tsc('--noEmit', '--listFiles', '--pretty', 'false', '-p', path.join('test', 'types', 'tsconfig.json'));
  const output = `${run.stdout}${run.stderr}`;
  assert.equal(run.status, 0, `tsc failed:\n${output}`);
  // A tsconfig that matched nothing would pass as well: the files must have been compiled.
  const compiled = new Set(run.stdout.split('\n').filter(Boolean).map((f) => fs.realpathSync(f.trim())));
  for (const file of [declarationFile, ...usageFiles]) {
    assert.ok(compiled.has(fs.realpathSync(file)), `${path.relative(root, file)} was not compiled`);
  }
});

// An application's code, not ours: the JavaScript examples through their JSDoc
// (examples/tsconfig.json) and the strict ES module app in examples/typescript.
test('the examples type-check against the declarations', { skip }, () => {
  const run = tsc('--noEmit', '--listFiles', '--pretty', 'false', '-p', path.join('examples', 'tsconfig.json'));
  assert.equal(run.status, 0, `tsc failed:\n${run.stdout}${run.stderr}`);
  const compiled = new Set(run.stdout.split('\n').filter(Boolean).map((f) => fs.realpathSync(f.trim())));
  const examples = path.join(root, 'examples');
  for (const file of fs.readdirSync(examples).filter((f) => f.endsWith('.js'))) {
    assert.ok(compiled.has(fs.realpathSync(path.join(examples, file))), `examples/${file} was not checked`);
  }
});

test('the TypeScript app in examples/typescript compiles strictly and runs to its end', { skip }, async () => {
  const out = fs.mkdtempSync(path.join(root, 'build', 'typescript-example-'));
  try {
    const run = tsc('--pretty', 'false', '-p', path.join('examples', 'typescript', 'tsconfig.json'), '--outDir', out);
    assert.equal(run.status, 0, `tsc failed:\n${run.stdout}${run.stderr}`);
    if (scripted) return;  // it drives the substitute SDK
    const app = JSON.stringify(pathToFileURL(path.join(out, 'app.mjs')).href);
    const { code, signal, stdout, stderr, timedOut } = await runNode(`import(${app})`, { timeoutMs: 60000 });
    assert.equal(timedOut, false, `the app did not end by itself\n${stdout}\n${stderr}`);
    assert.deepEqual([code, signal, stderr], [0, null, ''], stdout);
    assert.match(stdout, /cancelled: 1, settled: 1, abandoned: 0/);
  } finally {
    fs.rmSync(out, { recursive: true, force: true });
  }
});

// The declarations as the compiler reads them: exports with their kinds,
// and the members and error texts of every declared class or interface.
function readDeclarations() {
  const program = ts.createProgram([declarationFile], { strict: true, noEmit: true });
  const checker = program.getTypeChecker();
  const moduleSymbol = checker.getSymbolAtLocation(program.getSourceFile(declarationFile));
  const values = new Map();
  const types = new Map();
  for (const symbol of checker.getExportsOfModule(moduleSymbol)) {
    const name = symbol.getName();
    const flags = symbol.getFlags();
    if (flags & (ts.SymbolFlags.Class | ts.SymbolFlags.Interface)) types.set(name, membersOf(checker, symbol));
    if (flags & ts.SymbolFlags.Class) {
      values.set(name, { kind: 'class' });
    } else if (flags & ts.SymbolFlags.Function) {
      values.set(name, { kind: 'function', errors: errorTexts(symbol.getDeclarations()[0]) });
    } else if (flags & ts.SymbolFlags.Variable) {
      const members = checker.getTypeOfSymbol(symbol).getProperties()
        .map((p) => [p.getName(), checker.getTypeOfSymbol(p)]);
      const enumeration = members.length > 0 && members.every(([, type]) => type.isNumberLiteral());
      values.set(name, enumeration
        ? { kind: 'enumeration', members: members.map(([key, type]) => [key, type.value]) }
        : { kind: 'value' });
    }
    // Interfaces and type aliases alone have no runtime counterpart.
  }
  return { values, types };
}

function membersOf(checker, symbol) {
  const members = new Map();
  for (const member of checker.getDeclaredTypeOfSymbol(symbol).getProperties()) {
    const flags = member.getFlags();
    let kind = 'property';
    if (flags & ts.SymbolFlags.Method) kind = 'method';
    else if (flags & ts.SymbolFlags.GetAccessor) kind = 'accessor';
    // A well-known symbol key reads as the source writes it: [Symbol.dispose].
    const name = member.getName().replace(/^__@(\w+)@\d+$/, '[Symbol.$1]');
    members.set(name, { kind, errors: errorTexts(member.getDeclarations()[0]) });
  }
  return members;
}

// Quoted texts of the @throws and @rejects tags.
function errorTexts(declaration) {
  return ts.getJSDocTags(declaration)
    .filter((tag) => ['throws', 'rejects'].includes(tag.tagName.text))
    .flatMap((tag) => [...(ts.getTextOfJSDocComment(tag.comment) || '').matchAll(/"([^"]*)"/g)].map((m) => m[1]));
}

function runtimeKind(value) {
  if (typeof value === 'function') {
    const prototypeMembers = Object.getOwnPropertyNames(value.prototype || {}).filter((n) => n !== 'constructor');
    return prototypeMembers.length > 0 ? 'class' : 'function';
  }
  if (value !== null && typeof value === 'object' && Object.values(value).every((v) => typeof v === 'number')) {
    return 'enumeration';
  }
  return typeof value;
}

function runtimeMembers(prototype) {
  const members = new Map();
  for (const key of Reflect.ownKeys(prototype)) {
    if (key === 'constructor') continue;
    const descriptor = Object.getOwnPropertyDescriptor(prototype, key);
    const wellKnown = typeof key === 'symbol' && Object.getOwnPropertyNames(Symbol).find((n) => Symbol[n] === key);
    const name = typeof key === 'symbol' ? `[${wellKnown ? `Symbol.${wellKnown}` : key.description}]` : key;
    members.set(name, descriptor.get ? 'accessor' : typeof descriptor.value === 'function' ? 'method' : 'property');
  }
  return members;
}

// Native classes and how the running module hands out an instance of each.
// Instances come from a client of the substitute SDK in scripted mode.
let client = null;
collectAfterAll(test, () => { client = null; });

function fromClient(factory) {
  return async () => {
    if (typeof client[factory] !== 'function') throw new Error(`OmbrixClient.${factory} is not a function`);
    try {
      return await client[factory]();
    } catch (reason) {
      throw new Error(`${factory}() failed: ${reason instanceof Error ? reason.message : String(reason)}`,
        { cause: reason });
    }
  };
}

const NATIVE_CLASSES = {
  ShmRegion: async () => new (require('..').ShmRegion)(),
  GuiTool: async () => require('..').createGuiTool(),
  OmbrixClient: async () => client,
  AccountTool: fromClient('createAccountTool'),
  RemoteFileTransferTool: fromClient('createRemoteFileTransferTool'),
  RemoteControlTool: fromClient('createRemoteControlTool'),
  RemoteFileTool: fromClient('createRemoteFileTool'),
  RemoteShellTool: fromClient('createRemoteShellTool'),
  ToolService: () => new Promise((resolve, reject) => {
    const timer = setTimeout(() => reject(new Error('no tool service announced within 10 s')), 10000);
    client.setObserver({ onNewToolService: (service) => { clearTimeout(timer); resolve(service); } });
    require('../emulator/js').announceToolService().catch(reject);
  }),
};

test('the module exports what index.d.ts declares, no more', { skip }, () => {
  const ombrix = require('..');
  const { values } = readDeclarations();
  const differences = [];

  for (const [name, declared] of values) {
    if (!(name in ombrix)) {
      differences.push(`${name}: declared ${declared.kind}, missing at runtime`);
      continue;
    }
    const kind = runtimeKind(ombrix[name]);
    if (kind !== declared.kind) {
      differences.push(`${name}: declared ${declared.kind}, runtime ${kind}`);
    } else if (kind === 'enumeration') {
      const actual = JSON.stringify(Object.entries(ombrix[name]));
      const expected = JSON.stringify(declared.members);
      if (actual !== expected) differences.push(`${name}: declared members ${expected}, runtime ${actual}`);
    }
  }
  for (const name of Object.keys(ombrix)) {
    if (!values.has(name)) differences.push(`${name}: exported at runtime (${runtimeKind(ombrix[name])}), not declared`);
  }
  assert.deepEqual(differences, [], `declarations and module differ:\n  ${differences.join('\n  ')}`);
});

test('each class of the module has the members index.d.ts declares, no more', { skip }, async () => {
  const { types } = readDeclarations();
  const differences = [];
  client = clientIn('scripted', 'types');
  for (const [name, obtain] of Object.entries(NATIVE_CLASSES)) {
    const declared = types.get(name);
    if (!declared) {
      differences.push(`${name}: not declared`);
      continue;
    }
    let instance;
    try {
      instance = await obtain();
    } catch (error) {
      differences.push(`${name}: declared, no instance at runtime (${error.message})`);
      continue;
    }
    if (instance.constructor.name !== name) {
      differences.push(`${name}: the runtime instance is a ${instance.constructor.name}`);
    }
    const actual = runtimeMembers(Object.getPrototypeOf(instance));
    for (const [member, { kind }] of declared) {
      if (!actual.has(member)) differences.push(`${name}.${member}: declared ${kind}, missing at runtime`);
      else if (actual.get(member) !== kind) {
        differences.push(`${name}.${member}: declared ${kind}, runtime ${actual.get(member)}`);
      }
    }
    for (const member of actual.keys()) {
      if (!declared.has(member)) differences.push(`${name}.${member}: at runtime, not declared`);
    }
  }

  assert.deepEqual(differences, [], `declarations and classes differ:\n  ${differences.join('\n  ')}`);
});

const SERVICE_INTERFACES = [
  'ChatSessionManager', 'ChatSession', 'ChatResponseStream', 'ChatConfirm', 'ChatSessionObserver',
  'NotificationService', 'NotificationObserver', 'AuditSessionManager', 'AuditSession', 'AuditSessionObserver',
  'FernwickManager',
];

function guideOf(className) {
  return path.join(root, 'docs', 'api', `${className.replace(/([a-z0-9])([A-Z])/g, '$1-$2').toLowerCase()}.md`);
}

test('docs/api describes every declared method with its exact error texts', { skip }, () => {
  const { values, types } = readDeclarations();
  const missing = [];
  const read = (file) => (fs.existsSync(file) ? fs.readFileSync(file, 'utf8') : null);
  const check = (file, label, errors) => {
    const text = read(file);
    const where = path.relative(root, file);
    if (text === null) return missing.push(`${where}: missing (for ${label})`);
    const name = label.split('.').pop();
    if (!text.includes(`${name}(`) && !text.includes(`\`${name}\``)) missing.push(`${where}: no ${label}`);
    for (const error of errors) {
      if (!text.includes(`"${error}"`)) missing.push(`${where}: ${label} lacks "${error}"`);
    }
  };

  for (const [name, declared] of values) {
    if (declared.kind === 'function') check(path.join(root, 'docs', 'api', 'module.md'), name, declared.errors);
    if (declared.kind === 'enumeration') check(path.join(root, 'docs', 'api', 'module.md'), name, []);
  }
  for (const className of Object.keys(NATIVE_CLASSES)) {
    for (const [member, { errors }] of types.get(className) || []) {
      check(guideOf(className), `${className}.${member}`, errors);
    }
  }
  for (const name of SERVICE_INTERFACES) {
    assert.ok(types.has(name), `${name} is not declared`);
    for (const [member, { errors }] of types.get(name)) {
      check(path.join(root, 'docs', 'api', 'services.md'), `${name}.${member}`, errors);
    }
  }
  const index = read(path.join(root, 'docs', 'api', 'README.md')) || '';
  for (const file of fs.readdirSync(path.join(root, 'docs', 'api'))) {
    if (file !== 'README.md' && !index.includes(`(${file})`)) missing.push(`docs/api/README.md: no link to ${file}`);
  }
  assert.deepEqual(missing, [], `docs/api is incomplete:\n  ${missing.join('\n  ')}`);
});

test('the error codes the module raises are the ones index.d.ts and docs/api declare', () => {
  const codes = (text, pattern) => new Set([...text.matchAll(pattern)].map((m) => m[1]));
  const read = (...parts) => fs.readFileSync(path.join(root, ...parts), 'utf8');
  const raised = codes(read('addon', 'src', 'errors.h') + read('lib', 'binding.js'), /["'](ERR_OMBRIX_\w+)["']/g);
  const declared = codes(read('index.d.ts'), /'(ERR_OMBRIX_\w+)'/g);
  const documented = codes(read('docs', 'api', 'README.md'), /`(ERR_OMBRIX_\w+)`/g);
  assert.ok(raised.size >= 10, `only ${raised.size} codes found`);
  assert.deepEqual([...declared].sort(), [...raised].sort());
  assert.deepEqual([...documented].sort(), [...raised].sort());
});

// emulator/js/index.d.ts and index.d.mts against the control surface that
// runs: every runtime member, through the namespaces, is declared and
// documented, and every declared one exists (test/types/emulator.ts and
// emulator-esm.mts are the usage files the first test compiles).
const cjsFile = path.join(root, 'emulator', 'js', 'index.d.ts');
const esmFile = path.join(root, 'emulator', 'js', 'index.d.mts');

// 'a.b' → 'function' | 'namespace' for every member, recursively.
function runtimeShape(value, prefix = '', shape = new Map()) {
  for (const [key, member] of Object.entries(value)) {
    if (typeof member === 'function') {
      shape.set(prefix + key, 'function');
    } else if (member !== null && typeof member === 'object') {
      shape.set(prefix + key, 'namespace');
      runtimeShape(member, `${prefix}${key}.`, shape);
    } else {
      shape.set(prefix + key, typeof member);
    }
  }
  return shape;
}

function declaredShape(checker, type, prefix = '', shape = new Map(), undocumented = []) {
  for (const property of type.getProperties()) {
    const name = prefix + property.getName();
    if (!ts.displayPartsToString(property.getDocumentationComment(checker)).trim()) undocumented.push(name);
    const memberType = checker.getTypeOfSymbol(property);
    if (memberType.getCallSignatures().length > 0) {
      shape.set(name, 'function');
    } else {
      shape.set(name, 'namespace');
      declaredShape(checker, memberType, `${name}.`, shape, undocumented);
    }
  }
  return { shape, undocumented };
}

function compile() {
  const program = ts.createProgram([cjsFile, esmFile],
    { strict: true, noEmit: true, module: ts.ModuleKind.Node16, moduleResolution: ts.ModuleResolutionKind.Node16 });
  const diagnostics = ts.getPreEmitDiagnostics(program);
  assert.deepEqual(diagnostics.map((d) => ts.flattenDiagnosticMessageText(d.messageText, '\n')), []);
  return program;
}

test('index.d.ts declares and documents every member of the control surface, and no other', { skip }, () => {
  const program = compile();
  const checker = program.getTypeChecker();
  const moduleSymbol = checker.getSymbolAtLocation(program.getSourceFile(cjsFile));
  const exported = checker.resolveExternalModuleSymbol(moduleSymbol);
  const { shape, undocumented } = declaredShape(checker, checker.getTypeOfSymbol(exported));
  const runtime = runtimeShape(require('../emulator/js'));
  assert.deepEqual([...shape].sort(), [...runtime].sort());
  assert.deepEqual(undocumented, [], 'members without JSDoc');
});

test('index.d.mts names what index.mjs exports: the default and each member', { skip }, async () => {
  const program = compile();
  const checker = program.getTypeChecker();
  const moduleSymbol = checker.getSymbolAtLocation(program.getSourceFile(esmFile));
  const values = checker.getExportsOfModule(moduleSymbol)
    // Type-only re-exports are aliases too: what they stand for is no value.
    .filter((symbol) => (symbol.getFlags() & ts.SymbolFlags.Alias ? checker.getAliasedSymbol(symbol) : symbol)
      .getFlags() & ts.SymbolFlags.Value)
    .map((symbol) => symbol.getName());
  const esm = await import(pathToFileURL(path.join(root, 'emulator', 'js', 'index.mjs')).href);
  assert.deepEqual(values.sort(), Object.keys(esm).sort());
  assert.deepEqual(Object.keys(esm).filter((k) => k !== 'default').sort(), Object.keys(esm.default).sort());
  for (const key of Object.keys(esm.default)) assert.equal(esm[key], esm.default[key], key);
});
