// Declarations for `import … from 'ombrix_addon/lifetime'`.
import * as lifetime from './lifetime.js';

export * from './lifetime.js';
export default lifetime;
