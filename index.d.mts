// Declarations for `import … from 'ombrix_addon'`: the same surface as
// index.d.ts, with the whole module as the default export.
import * as ombrix from './index.js';

export * from './index.js';
export default ombrix;
