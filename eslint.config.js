'use strict';
// Lint for the JavaScript: eslint's recommended rules and a few that keep the
// code as it is written. `npm run lint`; scripts/check-format.sh runs it too.
const js = require('@eslint/js');
const globals = require('globals');

module.exports = [
  { ignores: ['build/', 'prebuilds/', 'node_modules/', 'bench/.baseline/'] },
  js.configs.recommended,
  {
    files: ['**/*.js'],
    languageOptions: { ecmaVersion: 2023, sourceType: 'commonjs', globals: globals.node },
  },
  {
    // The inspector page runs in a browser, as a classic script.
    files: ['emulator/js/inspector/*.js'],
    languageOptions: { ecmaVersion: 2023, sourceType: 'script', globals: globals.browser },
  },
  {
    files: ['**/*.mjs'],
    languageOptions: { ecmaVersion: 2023, sourceType: 'module', globals: globals.node },
  },
  {
    rules: {
      strict: ['error', 'global'],
      'no-var': 'error',
      'prefer-const': ['error', { destructuring: 'all' }],
      eqeqeq: ['error', 'always', { null: 'ignore' }],
      // Suites and examples hold a client in a variable only to keep it alive,
      // and assign null to let the collector have it.
      'no-unused-vars': ['error', { caughtErrors: 'none', varsIgnorePattern: '^client$' }],
      'no-useless-assignment': 'off',
    },
  },
];
