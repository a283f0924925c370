'use strict';
// The module itself: the native exports, unchanged.
const { bindingPath } = require('./binding');

module.exports = require(bindingPath('ombrix_addon'));
