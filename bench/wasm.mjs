// node bench/wasm.mjs: times the engines as WebAssembly, compiled with plain kernels and with those for its vectors, in
// turns, and prints the least milliseconds of each. Needs clang++-14, lld-14, wasi-libc, libc++-14-dev-wasm32 and
// libclang-rt-14-dev-wasm32.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const ROOT = fileURLToPath(new URL('..', import.meta.url));
const WARP = ['gdc_frame', 'gdc_scales', 'picture_warp', 'small_source', 'warp_plain', 'warp_positions', 'warp_wasm'];
const SCALER = readdirSync(join(ROOT, 'scaler')).filter(name => /\.cpp$/.test(name) && name !== 'interpolate.cpp');
const SOURCES = ['bench/wasm_driver.cpp', 'processor/instruction_set.cpp', ...WARP.map(name => `gdc_model/${name}.cpp`),
  ...SCALER.map(name => `scaler/${name}`)];
const BUILD = ['--target=wasm32-wasi', '-mexec-model=reactor', '-O2', '-std=c++17', '-fno-exceptions', '-fno-rtti',
  '-ffp-contract=off', '-mbulk-memory', '-Wl,--strip-all,-z,stack-size=262144', '-I', ROOT];
const ROUNDS = 60;

export const NODES = 33 * 33;
export const LAYOUTS = { gray: 0, pairs: 1, planes: 2 };

export function pictureBytes(layout, width, height) {
  return layout === LAYOUTS.gray ? width * height : width * height * 3 / 2;
}

/// A module, with buffers for a source and a result of up to so many bytes.
class Engine {
  constructor(bytes, ...flags) {
    const folder = mkdtempSync(join(tmpdir(), 'wasm-'));
    try {
      const file = join(folder, 'engine.wasm');
      execFileSync('clang++-14', [...BUILD, ...flags, ...SOURCES.map(name => join(ROOT, name)), '-o', file]);
      this.exports = this.instantiate(readFileSync(file));
    } finally {
      rmSync(folder, { recursive: true });
    }
    [this.src, this.dst, ...this.grids] = [bytes, bytes, 4 * NODES, 4 * NODES].map(this.exports.allocate);
  }

  instantiate(bytes) {
    const noEnvironment = (count, size) => {
      for (const at of [count, size]) new DataView(instance.exports.memory.buffer).setUint32(at, 0, true);
      return 0;
    };
    const host = {
      environ_get: () => 0,
      environ_sizes_get: noEnvironment,
      proc_exit: status => { throw Error(`the module exits with ${status}`); },
    };
    const instance = new WebAssembly.Instance(new WebAssembly.Module(bytes), { wasi_snapshot_preview1: host });
    instance.exports._initialize();
    return instance.exports;
  }

  load(picture, grids = []) {
    const { buffer } = this.exports.memory;
    new Uint8Array(buffer).set(picture, this.src);
    grids.forEach((grid, i) => new Int32Array(buffer, this.grids[i], NODES).set(grid));
  }

  /// `region` is left, top, width and height.
  warp(layout, size, region) {
    this.exports.warp(this.dst, this.src, ...this.grids, layout, ...size, ...region);
  }

  scale(layout, size, result) {
    this.exports.scale(this.dst, this.src, layout, ...size, ...result);
  }

  result(bytes) {
    return Buffer.from(this.exports.memory.buffer, this.dst, bytes);
  }
}

/// With plain kernels, and with those for vectors.
export function makeEngines(bytes) {
  return [new Engine(bytes), new Engine(bytes, '-msimd128')];
}

/// A lens's distortion, and a rotation about the centre.
function lensGrids([width, height], distortion, degrees) {
  const angle = degrees * Math.PI / 180, halfX = width / 2, halfY = height / 2;
  const grids = [new Int32Array(NODES), new Int32Array(NODES)];
  for (let i = 0; i < NODES; ++i) {
    const x = (i % 33 / 16 - 1) * halfX, y = (Math.floor(i / 33) / 16 - 1) * halfY;
    const zoom = 1 + distortion * (x * x + y * y) / (halfX * halfX + halfY * halfY);
    const sourceX = zoom * (x * Math.cos(angle) - y * Math.sin(angle));
    const sourceY = zoom * (x * Math.sin(angle) + y * Math.cos(angle));
    grids[0][i] = Math.round((sourceX - x) * 256 * 16384 / width);
    grids[1][i] = Math.round((sourceY - y) * 256 * 12288 / height);
  }
  return grids;
}

function warpCase(size, name, distortion, degrees) {
  return {
    name: `warp ${size.join('x')} ${name}`, size, result: size, grids: lensGrids(size, distortion, degrees),
    run: engine => engine.warp(LAYOUTS.pairs, size, [0, 0, ...size]),
  };
}

function scaleCase(size, result) {
  return {
    name: `scale ${size.join('x')} to ${result.join('x')}`, size, result,
    run: engine => engine.scale(LAYOUTS.pairs, size, result),
  };
}

function main() {
  const cases = [warpCase([640, 368], 'mild', -0.2, 3), warpCase([1280, 720], 'mild', -0.2, 3),
    warpCase([1280, 720], 'turned 45', 0, 45), warpCase([1920, 1080], 'mild', -0.2, 3),
    scaleCase([1920, 1080], [1280, 720]), scaleCase([3840, 2160], [1024, 576]), scaleCase([1280, 720], [1920, 1080])];
  const engines = makeEngines(pictureBytes(LAYOUTS.pairs, 3840, 2160));
  for (const { name, size, result, grids, run } of cases) {
    const bytes = pictureBytes(LAYOUTS.pairs, ...size);
    const picture = Uint8Array.from({ length: bytes }, (_, i) => Math.imul(i, 0x9E3779B1) >>> 24);
    for (const engine of engines) engine.load(picture, grids);
    const least = [Infinity, Infinity];
    for (let round = 0; round < ROUNDS; ++round) {
      engines.forEach((engine, i) => {
        const start = performance.now();
        run(engine);
        least[i] = Math.min(least[i], performance.now() - start);
      });
    }
    const [plain, vectors] = engines.map(engine => engine.result(pictureBytes(LAYOUTS.pairs, ...result)));
    if (!plain.equals(vectors)) throw Error(`${name}: different bytes`);
    console.log(`${name}: plain ${least[0].toFixed(2)} ms, vectors ${least[1].toFixed(2)} ms, ` +
      `${(least[0] / least[1]).toFixed(1)} times as fast`);
  }
}

if (process.argv[1] === fileURLToPath(import.meta.url)) main();
