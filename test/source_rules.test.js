'use strict';
// Rules of the C++ sources that no compiler here enforces.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');

const { root } = require('./helpers');

function sources(dir) {
  return fs.readdirSync(dir, { withFileTypes: true }).flatMap((entry) => {
    const full = path.join(dir, entry.name);
    if (entry.isDirectory()) return sources(full);
    return /\.(cc|h)$/.test(entry.name) ? [full] : [];
  });
}

// MinGW-built DLLs free freed memory when a thread with a destructible
// thread_local exits; every thread_local must be asserted trivially destructible.
test('every thread_local is asserted to need no destructor', () => {
  const unchecked = [];
  let found = 0;
  for (const file of ['addon', 'emulator'].flatMap((dir) => sources(path.join(root, dir)))) {
    const text = fs.readFileSync(file, 'utf8');
    for (const [, name] of text.matchAll(/^\s*(?:static\s+)?thread_local\s+[^;=({[]*?\b(\w+)\s*(?:[;=({[])/gm)) {
      found += 1;
      const asserted = new RegExp(`static_assert\\(std::is_trivially_destructible<decltype\\(${name}\\)>`);
      if (!asserted.test(text)) unchecked.push(`${path.relative(root, file)}: ${name}`);
    }
  }
  assert.ok(found >= 3, `only ${found} thread_local declarations found: is the pattern still right?`);
  assert.deepEqual(unchecked, []);
});
