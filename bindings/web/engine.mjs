// The engines: the module's functions on pictures, grids and texts instead of addresses.

export const GRAY = 0;
export const NV12 = 1;
export const BT601_LIMITED = 0;
export const BT601_FULL = 2;
export const NODES = 1089;
export const GRID_VALUES = 2 * NODES;
export const GRID_BINARY = 0;
export const GRID_TEXT = 1;

/** Gray, or NV12 of even size, in the module's memory. */
class EnginePicture {
    constructor(engine, format, width, height) {
        Object.assign(this, { engine, format, width, height });
        this.byteLength = format === NV12 ? width * height * 3 / 2 : width * height;
        this.address = engine.allocate(this.byteLength);
        this.image = engine.allocate(36);
        engine.words(this.image, 9).set([format, width, height, this.address, this.address + width * height, 0,
                                         width, width, 0]);
    }

    /** A view, until the next call. */
    get samples() { return this.engine.bytes(this.address, this.byteLength); }

    free() {
        this.engine.exports.free(this.address);
        this.engine.exports.free(this.image);
    }
}

export class Engine {
    /** Of the bytes of a module. */
    static async load(bytes) {
        const module = await WebAssembly.compile(bytes);
        const engine = new Engine();
        const imports = {
            env: { fail: text => { throw new Error(engine.text(text)); } },
            wasi_snapshot_preview1: { environ_sizes_get: (...sizes) => engine.clear(sizes) },
        };
        for (const { module: from, name } of WebAssembly.Module.imports(module)) {
            imports[from] = imports[from] || {};
            imports[from][name] = imports[from][name] || (() => 0);
        }
        engine.exports = (await WebAssembly.instantiate(module, imports)).exports;
        engine.exports._initialize();
        return engine;
    }

    get kernels() { return this.text(this.exports.vantor_web_kernels()); }
    get version() { return this.text(this.exports.vantor_version()); }

    bytes(address, count) { return new Uint8Array(this.exports.memory.buffer, address, count); }
    words(address, count) { return new Int32Array(this.exports.memory.buffer, address, count); }
    reals(address, count) { return new Float64Array(this.exports.memory.buffer, address, count); }
    text(address) {
        const rest = new Uint8Array(this.exports.memory.buffer, address);
        return new TextDecoder().decode(rest.slice(0, rest.indexOf(0)));
    }

    /** Sets words to 0, and has no error. */
    clear(addresses) {
        for (const address of addresses) this.words(address, 1)[0] = 0;
        return 0;
    }

    allocate(count) {
        const address = this.exports.malloc(count);
        if (address === 0) throw new Error(`out of memory: ${count} bytes`);
        return address >>> 0;
    }

    /** Calls `use` with the addresses of memory for one call, of these sizes or with these bytes. */
    with(parts, use) {
        const stack = this.exports.__stack_pointer.value;
        const addresses = [];
        try {
            for (const part of parts) {
                const isSize = typeof part === "number";
                addresses.push(this.allocate(isSize ? part : part.byteLength));
                if (isSize) continue;
                this.bytes(addresses.at(-1), part.byteLength)
                    .set(new Uint8Array(part.buffer, part.byteOffset, part.byteLength));
            }
            return use(...addresses);
        } finally {
            this.exports.__stack_pointer.value = stack;
            for (const address of addresses) this.exports.free(address);
        }
    }

    picture(format, width, height) { return new EnginePicture(this, format, width, height); }

    /** NV12 of 8-bit R, G, B; of odd sizes the last column and row are repeated. */
    fromRgb(pixels, width, height) {
        const picture = this.picture(NV12, width + width % 2, height + height % 2);
        this.with([pixels, 16], (rgb, view) => {
            this.words(view, 4).set([width, height, rgb, 3 * width]);
            this.exports.vantor_from_rgb(picture.image, view, BT601_LIMITED);
        });
        return picture;
    }

    toRgb(picture, width, height, encoding) {
        return this.with([3 * width * height, 16], (rgb, view) => {
            this.words(view, 4).set([width, height, rgb, 3 * width]);
            this.exports.vantor_to_rgb(view, picture.image, encoding);
            return this.bytes(rgb, 3 * width * height).slice();
        });
    }

    /** A part { x, y, width, height } of a picture, as canvases take it; in `buffer` if that has the right size. */
    rgba(picture, part, encoding, buffer = null) {
        const count = 4 * part.width * part.height;
        return this.with([count, rectOf(part)], (rgba, rect) => {
            this.exports.vantor_web_rgba(picture.image, rect, encoding, rgba);
            const made = new Uint8ClampedArray(buffer && buffer.byteLength === count ? buffer : count);
            made.set(this.bytes(rgba, count));
            return made;
        });
    }

    warp(target, source, grid, part = wholeOf(source)) {
        this.with([grid, rectOf(part)], (nodes, rect) =>
            this.exports.vantor_warp_part(0, target.image, source.image, nodes, rect));
    }

    scale(target, source) { this.with([], () => this.exports.vantor_scale(0, target.image, source.image)); }

    gridOf(parts, make) {
        return this.with([4 * GRID_VALUES, ...parts], (grid, ...rest) => {
            make(grid, ...rest);
            return this.words(grid, GRID_VALUES).slice();
        });
    }

    gridFromTransform(transform, width, height) {
        return this.gridOf([transformBytes(transform)], (grid, parts) =>
            this.exports.vantor_grid_from_transform(grid, parts, width, height));
    }

    gridFromCalibration(calibration, width, height) {
        return this.gridOf(calibrationBytes(calibration), (grid, numbers, rotation, projection) =>
            this.exports.vantor_grid_from_rectification(grid, numbers, calibration.rotation ? rotation : 0,
                                                        calibration.projection ? projection : 0, width, height, 0));
    }

    parseGrid(file) {
        return this.gridOf([file], (grid, bytes) => this.exports.vantor_grid_parse(grid, bytes, file.byteLength));
    }

    formatGrid(grid, form, comment) {
        return this.with([grid, new TextEncoder().encode(comment + "\0"), 4], (nodes, line, needed) => {
            this.exports.vantor_grid_format(nodes, form, line, 0, 0, needed);
            const size = this.words(needed, 1)[0];
            return this.with([size], bytes => {
                this.exports.vantor_grid_format(nodes, form, line, bytes, size, needed);
                return this.bytes(bytes, size).slice();
            });
        });
    }

    /** Where nodes lead, and which of them and of the cells a picture cannot have. */
    mesh(grid, width, height) {
        const cells = 1024;
        return this.with([grid, 32 + 16 * NODES + NODES + cells], (nodes, mesh) => {
            this.exports.vantor_web_mesh(nodes, width, height, mesh);
            const flags = mesh + 32 + 16 * NODES;
            return {
                frame: this.reals(mesh, 2).slice(),
                unitsPerPixel: this.reals(mesh + 16, 2).slice(),
                sources: this.reals(mesh + 32, GRID_VALUES).slice(),
                isBeyondRange: this.bytes(flags, NODES).slice(),
                isFolded: this.bytes(flags + NODES, cells).slice(),
            };
        });
    }

    report(grid, width, height) {
        return this.with([grid, 56], (nodes, report) => {
            this.exports.vantor_web_report(nodes, width, height, report);
            const [leastX, leastY, largestX, largestY, beyondRange, folded, outside] = this.reals(report, 7);
            return { least: [leastX, leastY], largest: [largestX, largestY], beyondRange, folded, outside };
        });
    }

    /** How far a grid is from the formula of a calibration, or else of a transform. */
    error(grid, { transform, calibration }, width, height) {
        const parts = calibration ? calibrationBytes(calibration) : [transformBytes(transform), 0, 0];
        return this.with([grid, 48, ...parts], (nodes, error, numbers, rotation, projection) => {
            this.exports.vantor_web_error(nodes, calibration ? 0 : numbers, calibration ? numbers : 0,
                                          calibration && calibration.rotation ? rotation : 0,
                                          calibration && calibration.projection ? projection : 0, width, height, error);
            const [largest, x, y, rms, beyondHalf, pixels] = this.reals(error, 6);
            return { largest, at: [x, y], rms, beyondHalf, pixels };
        });
    }

    /** Every step to one pixel, as `vantor explain --json` prints them. */
    explain(source, grid, x, y) {
        return this.with([grid, 4], (nodes, needed) => {
            this.exports.vantor_explain(source.image, nodes, x, y, 0, 0, needed);
            const size = this.words(needed, 1)[0];
            return this.with([size], json => {
                this.exports.vantor_explain(source.image, nodes, x, y, json, size, needed);
                return JSON.parse(this.text(json));
            });
        });
    }

    /** That of `vantor --hash`. */
    hash(bytes) {
        return this.with([bytes, 72], (samples, hash) => {
            this.exports.vantor_hash_begin(hash);
            this.exports.vantor_hash_bytes(hash, samples, bytes.byteLength);
            return BigInt.asUintN(64, this.exports.vantor_hash_value(hash)).toString(16).padStart(16, "0");
        });
    }

    selftest() {
        return this.with([4], pictures => {
            const right = this.exports.vantor_selftest(0, pictures);
            return { right, pictures: this.words(pictures, 1)[0] };
        });
    }
}

function wholeOf({ width, height }) { return { x: 0, y: 0, width, height }; }

function rectOf({ x, y, width, height }) { return Int32Array.of(x, y, width, height); }

function transformBytes({ rotate, zoom, shear, shift, lens, center }) {
    const bytes = new Uint8Array(112);
    new Float64Array(bytes.buffer, 0, 13).set([rotate, zoom, ...shear, ...shift, ...lens, ...(center || [0, 0])]);
    new Int32Array(bytes.buffer, 104, 1)[0] = center ? 1 : 0;
    return bytes;
}

/** The numbers, the rotation and the projection. */
function calibrationBytes({ matrix, coefficients, isFisheye, size, alpha, rotation, projection }) {
    const bytes = new Uint8Array(216);
    const hasAlpha = typeof alpha === "number";
    new Float64Array(bytes.buffer, 0, 9).set(matrix);
    new Float64Array(bytes.buffer, 72, 14).set(coefficients.slice(0, 14));
    new Int32Array(bytes.buffer, 184, 5).set([coefficients.length, isFisheye ? 1 : 0, ...size, hasAlpha ? 1 : 0]);
    if (hasAlpha) new Float64Array(bytes.buffer, 208, 1)[0] = alpha;
    return [bytes, new Float64Array(rotation || 9), new Float64Array(projection || 12)];
}
