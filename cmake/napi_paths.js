'use strict';
// Prints, as a CMake list, where Node's own module resolution finds the
// Node-API headers, node-addon-api and the Node-API export list, so that any
// install layout works (hoisted npm, pnpm's store, yarn).
const path = require('path');

const from = { paths: [process.argv[2] || process.cwd()] };
const headers = require(require.resolve('node-api-headers', from));
const addonApi = path.dirname(require.resolve('node-addon-api/package.json', from));
process.stdout.write([headers.include_dir, addonApi, headers.def_paths.node_api_def]
  .map((p) => p.replace(/\\/g, '/')).join(';'));
