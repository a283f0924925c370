'use strict';
// Where the native build lives. OMBRIX_BUILD picks a build variant under
// build/ (release by default; asan and tsan for the sanitizer builds).
const path = require('path');

const variant = process.env.OMBRIX_BUILD || 'release';
const buildDir = path.resolve(__dirname, '..', 'build', variant);

function bindingPath(name) {
  return path.join(buildDir, `${name}.node`);
}

module.exports = { variant, buildDir, bindingPath };
