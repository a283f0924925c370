'use strict';
// emulator/js/index.d.ts and index.d.mts against the control surface that
// runs: every runtime member, through the namespaces, is declared and
// documented, and every declared one exists. test/types.test.js compiles the
// usage files (test/types/emulator.ts, emulator-esm.mts) with tsc.
const test = require('node:test');
const assert = require('node:assert/strict');
const path = require('path');

const { root } = require('./helpers');

let ts = null;
try {
  ts = require('typescript');
} catch (error) {
  if (error.code !== 'MODULE_NOT_FOUND') throw error;
}
const skip = ts ? false : 'typescript is not installed (it is a devDependency: run npm install)';

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
  const esm = await import(path.join(root, 'emulator', 'js', 'index.mjs'));
  assert.deepEqual(values.sort(), Object.keys(esm).sort());
  assert.deepEqual(Object.keys(esm).filter((k) => k !== 'default').sort(), Object.keys(esm.default).sort());
  for (const key of Object.keys(esm.default)) assert.equal(esm[key], esm.default[key], key);
});
