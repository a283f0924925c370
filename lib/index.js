'use strict';
// The module itself: the native exports, unchanged.
const { load, modulePath } = require('./binding');

module.exports = load(modulePath());
require('./inspect-env').fromEnv();
