// node wasm_test.mjs [CASES]: warps and scalings as WebAssembly, by the kernels for its vectors and by the plain ones.
// Exits with 77 where the compiler is missing.
import { spawnSync } from 'node:child_process';
import { LAYOUTS, makeEngines, NODES, pictureBytes } from '../../bench/wasm.mjs';

const program = { input: '#include <vector>' };
const compiler = spawnSync('clang++-14', ['--target=wasm32-wasi', '-fsyntax-only', '-x', 'c++', '-'], program);
if (compiler.status !== 0) process.exit(77);

const seed = Number(process.env.VANTOR_SEED ?? Math.floor(Date.now() / 86400000));
let state = seed;
function random() {
  state = (state + 0x6D2B79F5) | 0;
  let bits = Math.imul(state ^ (state >>> 15), state | 1);
  bits ^= bits + Math.imul(bits ^ (bits >>> 7), bits | 61);
  return (bits ^ (bits >>> 14)) >>> 0;
}
const between = (low, high) => low + random() % (high - low + 1);

/// Of a moved, stretched or folded picture, with noise up to extreme nodes.
function randomGrid() {
  const slopes = [0, 1].map(() => between(-1, 1) * (1 << between(0, 19)));
  const noise = 1 << between(0, between(0, 2) ? 14 : 23), isExtreme = between(0, 9) === 0;
  return Int32Array.from({ length: NODES }, (_, i) => {
    if (isExtreme && between(0, 7) === 0) return between(0, 1) * 2 ** 24 - 2 ** 23;
    return slopes[0] * (i % 33 - 16) + slopes[1] * (Math.floor(i / 33) - 16) + between(-noise, noise);
  });
}

function randomPart([width, height]) {
  const [columns, rows] = [2 * between(1, width / 2), 2 * between(1, height / 2)];
  return [2 * between(0, (width - columns) / 2), 2 * between(0, (height - rows) / 2), columns, rows];
}

const engines = makeEngines(1 << 20);
const cases = Number(process.argv[2] ?? 300);
let shown = 0;
for (let i = 0; i < cases; ++i) {
  const size = [2 * between(1, i % 20 ? 120 : 600), 2 * between(1, 100)], layout = between(0, 2);
  const isWarp = i % 3 !== 0, part = i % 4 ? [0, 0, ...size] : randomPart(size);
  const result = isWarp ? part.slice(2) : [2 * between(8, 300), 2 * between(8, 200)];
  const isBinary = between(0, 1), sample = () => isBinary ? -between(0, 1) : between(0, 255);
  const picture = Uint8Array.from({ length: pictureBytes(layout, ...size) }, sample);
  const grids = [randomGrid(), randomGrid()];
  const [plain, vectors] = engines.map(engine => {
    engine.load(picture, grids);
    if (isWarp) engine.warp(layout, size, part);
    else engine.scale(layout, size, result);
    return engine.result(pictureBytes(layout, ...result));
  });
  shown += plain.some(value => value !== 0 && value !== 128);
  const at = plain.findIndex((value, k) => value !== vectors[k]);
  if (at >= 0) {
    console.error(`seed ${seed} case ${i}: ${isWarp ? 'warp' : 'scale'} ${size.join('x')} to ${result.join('x')}, ` +
      `layout ${layout}: byte ${at} is ${vectors[at]}, plain ${plain[at]}`);
    process.exit(1);
  }
}
console.log(`seed ${seed}: ${cases} results equal, ${shown} of them with pixels of the source`);
process.exit(shown > cases / 2 ? 0 : 1);
