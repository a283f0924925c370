'use strict';
// The control addon, loaded once for the control surface and the inspector.
const { helperPath, load } = require('../../lib/binding');

// The module first: it loads the SDK library that the control addon links to
// (on Windows a DLL is found beside the addon that loads it, and the control
// addon's subfolder has none).
require('../../lib');
module.exports = load(helperPath('control', 'ombrix_control'));
