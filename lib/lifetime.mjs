// The ES module face of lib/lifetime.js.
import { createRequire } from 'node:module';

const lifetime = createRequire(import.meta.url)('./lifetime.js');

export default lifetime;
export const { createLifetime, Lifetime } = lifetime;
