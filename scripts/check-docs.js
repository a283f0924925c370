#!/usr/bin/env node
'use strict';
// Every fenced code block of README.md and docs/**/*.md, run or type-checked
// as an application that installed ombrix_addon would, so no block can rot.
//   node scripts/check-docs.js [appDir] [--root <dir with README.md and docs/>] [--timeout <s>]
// appDir (default: this repository, which resolves its own name through
// "exports") must be able to require('ombrix_addon'); blocks are written
// into a scratch folder inside it and removed afterwards.
//
// The info string says what a block is (the first word is the language):
//   js, cjs, javascript   a whole CommonJS program: run, must exit 0 by itself
//   mjs                   a whole ES module program (top-level await): run
//   ts, mts, cts          TypeScript: type-checked (strict)
//   … fragment            JavaScript that cannot run alone: type-checked (strict
//                         checkJs, top-level await allowed). A page's fragments
//                         are one program, in order; a fragment's first line
//                         `// given: ombrix, client` names what it assumes
//                         (GIVEN below), and nothing else is defined
//   … stderr              the program is expected to write to stderr
//   json                  parsed
//   anything else         (sh, console, text, none): listed, not run
const fs = require('fs');
const path = require('path');
const { spawn } = require('child_process');
const MarkdownIt = require('markdown-it');

const repo = path.resolve(__dirname, '..');
const PARALLEL = 2;

const RUN = { js: 'cjs', cjs: 'cjs', javascript: 'cjs', mjs: 'mjs' };
const TYPED = { ts: 'mts', mts: 'mts', cts: 'cts' };
const FLAGS = new Set(['fragment', 'stderr']);
// Names of JavaScript and TypeScript that this checker does not take: such a block must be renamed.
const OTHER_JS = new Set(['typescript', 'jsx', 'tsx', 'node', 'javascriptreact']);

// What a fragment may assume, as a CommonJS and an ES module line.
const typed = (name, type) => {
  const line = `/** @type {${type}} */ const ${name} = /** @type {any} */ (undefined);`;
  return { cjs: line, mjs: line };
};
const GIVEN = {
  ombrix: { cjs: "const ombrix = require('ombrix_addon');", mjs: "import ombrix from 'ombrix_addon';" },
  emu: { cjs: "const emu = require('ombrix_addon/emulator');", mjs: "import emu from 'ombrix_addon/emulator';" },
  client: typed('client', "import('ombrix_addon').OmbrixClient"),
};

function parseArgs(argv) {
  const args = { appDir: repo, root: repo, timeoutMs: 30000 };
  for (let i = 0; i < argv.length; i++) {
    if (argv[i] === '--root') args.root = path.resolve(argv[++i]);
    else if (argv[i] === '--timeout') args.timeoutMs = Number(argv[++i]) * 1000;
    else args.appDir = path.resolve(argv[i]);
  }
  return args;
}

function markdownFiles(root) {
  const docs = path.join(root, 'docs');
  const nested = fs.existsSync(docs) ? fs.readdirSync(docs, { recursive: true }).map((f) => path.join(docs, f)) : [];
  return [path.join(root, 'README.md'), ...nested.filter((f) => f.endsWith('.md')).sort()].filter((f) => fs.existsSync(f));
}

/** The fenced blocks of one file: { file, line (of the fence, 1-based), lang, flags, code }. */
function blocksOf(file, root) {
  const md = new MarkdownIt();
  const rel = path.relative(root, file);
  return md.parse(fs.readFileSync(file, 'utf8'), {}).filter((t) => t.type === 'fence').map((t) => {
    const [lang = '', ...flags] = t.info.trim().split(/\s+/).filter(Boolean);
    return { file: rel, line: t.map[0] + 1, lang: lang.toLowerCase(), flags: new Set(flags), code: t.content };
  });
}

function kindOf(block) {
  const jsLike = block.lang in RUN || block.lang in TYPED || OTHER_JS.has(block.lang);
  const unknown = [...block.flags].filter((f) => !FLAGS.has(f));
  if (jsLike && unknown.length) return { kind: 'bad', why: `unknown info-string word(s): ${unknown.join(' ')}` };
  if (block.lang in TYPED) return { kind: 'typecheck', ext: TYPED[block.lang] };
  if (block.lang in RUN) return block.flags.has('fragment') ? { kind: 'typecheck', ext: RUN[block.lang], js: true }
    : { kind: 'run', ext: RUN[block.lang] };
  if (jsLike) return { kind: 'bad', why: `"${block.lang}" is neither run nor type-checked: write js, mjs or ts` };
  if (block.lang === 'json') return { kind: 'json' };
  return { kind: 'other' };
}

/** Faults visible in the source alone. */
function sourceFaults(block) {
  const faults = [];
  if (/process\.exit\(/.test(block.code)) faults.push('calls process.exit(): a program that is done ends by itself');
  if (/\b(?:require|import)\s*\(\s*['"]\.|\bfrom\s+['"]\./.test(block.code)) {
    faults.push("imports a repository path: an application writes require('ombrix_addon')");
  }
  return faults;
}

function runBlock(block, dir, timeoutMs) {
  const file = path.join(dir, `${slug(block)}.${kindOf(block).ext}`);
  fs.writeFileSync(file, block.code);
  return new Promise((resolve) => {
    // A sanitizer run strips its runtime from children's LD_PRELOAD
    // (scripts/sanitizers/strip-preload.js); a node child loading the addon needs it back.
    const runtime = process.env.OMBRIX_SANITIZER_RUNTIME;
    const env = runtime ? { ...process.env, LD_PRELOAD: runtime } : process.env;
    const child = spawn(process.execPath, [file], { cwd: dir, env, stdio: ['ignore', 'pipe', 'pipe'] });
    let stdout = '';
    let stderr = '';
    child.stdout.on('data', (d) => { stdout += d; });
    child.stderr.on('data', (d) => { stderr += d; });
    const timer = setTimeout(() => child.kill('SIGKILL'), timeoutMs);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      const faults = [];
      if (signal === 'SIGKILL') faults.push(`did not end by itself within ${timeoutMs / 1000} s`);
      else if (code !== 0) faults.push(`exited with ${signal ?? code}`);
      if (stderr && !block.flags.has('stderr')) faults.push('wrote to stderr (mark the block "stderr" if it should)');
      resolve(faults.length ? [...faults, indent(stderr || stdout)] : []);
    });
  });
}

function slug(block) {
  return `${block.file.replace(/[^\w]+/g, '_')}-${block.line}`;
}

function indent(text) {
  return text.trim().split('\n').slice(0, 8).map((l) => `    ${l}`).join('\n');
}

/**
 * Type-checks the typecheck blocks in one program; returns Map(block → faults).
 * A page's JavaScript fragments are read together, in order, as one program
 * (a page builds one application piece by piece); each TypeScript block alone.
 */
function typeCheck(blocks, dir, appDir) {
  const faults = new Map(blocks.map((b) => [b, []]));
  if (!blocks.length) return faults;
  const ts = require(require.resolve('typescript', { paths: [appDir, repo] }));
  const units = new Map();
  for (const block of blocks) {
    const { ext, js } = kindOf(block);
    const key = js ? `${block.file} ${ext}` : slug(block);
    if (!units.has(key)) units.set(key, { ext, js, blocks: [] });
    units.get(key).blocks.push(block);
  }
  const files = new Map();
  for (const unit of units.values()) {
    const lines = unit.js ? givenLines(unit.blocks, unit.ext, faults) : [];
    if (unit.js && unit.ext === 'cjs') lines.push('(async () => {');
    const starts = unit.blocks.map((block) => {
      const start = lines.length;
      lines.push(...block.code.replace(/\n$/, '').split('\n'));
      return { block, start };
    });
    if (unit.js && unit.ext === 'cjs') lines.push('})();');
    const file = path.join(dir, `${slug(unit.blocks[0])}.${unit.ext}`);
    fs.writeFileSync(file, lines.join('\n'));
    files.set(file, starts);
  }
  const options = {
    strict: true, noEmit: true, allowJs: true, checkJs: true, skipLibCheck: true, types: ['node'],
    maxNodeModuleJsDepth: 1,  // the control surface has no declarations: read its JavaScript
    module: ts.ModuleKind.NodeNext, moduleResolution: ts.ModuleResolutionKind.NodeNext,
    moduleDetection: ts.ModuleDetectionKind.Force, target: ts.ScriptTarget.ES2022,
  };
  const host = ts.createCompilerHost(options);
  host.getCurrentDirectory = () => dir;
  const program = ts.createProgram([...files.keys()], options, host);
  const text = (d) => ts.flattenDiagnosticMessageText(d.messageText, ' ');
  for (const d of program.getOptionsDiagnostics()) faults.get(blocks[0]).push(text(d));
  for (const [file, starts] of files) {
    const source = program.getSourceFile(file);
    for (const d of [...program.getSyntacticDiagnostics(source), ...program.getSemanticDiagnostics(source)]) {
      const at = d.start === undefined ? -1 : source.getLineAndCharacterOfPosition(d.start).line;
      const { block, start } = starts.findLast((s) => s.start <= at) ?? starts[0];
      faults.get(block).push(`${at >= start ? `line ${block.line + 1 + at - start}` : 'prelude'}: ${text(d)}`);
    }
  }
  return faults;
}

/** The prelude the `// given:` first lines of a page's JavaScript fragments ask for. */
function givenLines(blocks, ext, faults) {
  const names = new Set();
  for (const block of blocks) {
    const match = /^\s*\/\/\s*given:\s*(.*)$/.exec(block.code.split('\n')[0]);
    for (const name of match ? match[1].split(/[\s,]+/).filter(Boolean) : []) {
      if (GIVEN[name]) names.add(name);
      else faults.get(block).push(`given "${name}" is not one of ${Object.keys(GIVEN).join(', ')}`);
    }
  }
  return [...names].map((name) => GIVEN[name][ext]);
}

async function pool(items, limit, work) {
  const results = new Array(items.length);
  let next = 0;
  const worker = async () => {
    while (next < items.length) {
      const i = next++;
      results[i] = await work(items[i]);
    }
  };
  await Promise.all(Array.from({ length: Math.min(limit, items.length) }, worker));
  return results;
}

async function main() {
  const { appDir, root, timeoutMs } = parseArgs(process.argv.slice(2));
  const started = Date.now();
  const blocks = markdownFiles(root).flatMap((f) => blocksOf(f, root));
  const dir = fs.mkdtempSync(path.join(appDir, '.check-docs-'));
  let failures = 0;
  try {
    const faults = new Map(blocks.map((b) => [b, sourceFaults(b)]));
    for (const b of blocks) {
      const { kind, why } = kindOf(b);
      if (kind === 'bad') faults.get(b).push(why);
      if (kind === 'json') {
        try { JSON.parse(b.code); } catch (error) { faults.get(b).push(`not JSON: ${error.message}`); }
      }
    }
    const checked = typeCheck(blocks.filter((b) => kindOf(b).kind === 'typecheck'), dir, appDir);
    for (const [b, list] of checked) faults.get(b).push(...list);
    const runs = blocks.filter((b) => kindOf(b).kind === 'run');
    const ran = await pool(runs, PARALLEL, (b) => runBlock(b, dir, timeoutMs));
    runs.forEach((b, i) => faults.get(b).push(...ran[i]));

    for (const file of [...new Set(blocks.map((b) => b.file))]) {
      const mine = blocks.filter((b) => b.file === file);
      const count = (kind) => mine.filter((b) => kindOf(b).kind === kind).length;
      const others = [...new Set(mine.filter((b) => kindOf(b).kind === 'other').map((b) => b.lang || 'plain'))];
      console.log(`${file}: ran ${count('run')}, type-checked ${count('typecheck')}, parsed ${count('json')}, ` +
        `not run ${count('other')}${others.length ? ` (${others.join(', ')})` : ''}`);
    }
    for (const [b, list] of faults) {
      if (!list.length) continue;
      failures++;
      console.log(`FAIL ${b.file}:${b.line} (${[b.lang, ...b.flags].join(' ') || 'no language'})\n  ${list.join('\n  ')}`);
    }
  } finally {
    fs.rmSync(dir, { recursive: true, force: true });
  }
  console.log(`${blocks.length} blocks, ${failures} failing, ${((Date.now() - started) / 1000).toFixed(1)} s`);
  process.exitCode = failures ? 1 : 0;
}

if (require.main === module) main();
module.exports = { sourceFaults };
