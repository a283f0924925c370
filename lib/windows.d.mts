// Declarations for `import … from 'ombrix_addon/windows'`.
import * as windows from './windows.js';

export * from './windows.js';
export default windows;
