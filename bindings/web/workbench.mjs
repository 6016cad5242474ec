// One picture, its warp, and what is made of both. It runs in the page's worker.
import { BT601_FULL, BT601_LIMITED, Engine, GRAY, GRID_BINARY, GRID_TEXT, NV12 } from "./engine.mjs";
import { encodePng } from "./png.mjs";
import { calibrationOf, gridOf, transformOf } from "./warp.mjs";

/** What a reduced view has at most, in pixels. */
const MAX_REDUCED = 1 << 20;
/** Rows of a picture that are warped at a time while nobody waits. */
const STRIP_ROWS = 256;

export class Workbench {
    /** With the vector kernels where the browser takes them. */
    static async start({ plain, simd }) {
        const workbench = new Workbench();
        workbench.engine = await Engine.load(simd && WebAssembly.validate(simd) ? simd : plain);
        return workbench;
    }

    about() { return { kernels: this.engine.kernels, version: this.engine.version }; }
    selftest() { return this.engine.selftest(); }

    open({ kind, width, height, samples, isFullRange, chunks }) {
        for (const picture of Object.values(this.pictures || {})) picture.free();
        this.size = { width, height };
        this.kind = kind;
        this.chunks = chunks;
        this.encoding = isFullRange ? BT601_FULL : BT601_LIMITED;
        const source = this.sourceOf(kind, width, height, samples);
        const target = this.engine.picture(source.format, source.width, source.height);
        this.pictures = { source, target };
        this.grid = null;
        this.divisor = Math.ceil(Math.sqrt(width * height / MAX_REDUCED));
        if (this.divisor > 1) this.reduce(source);
        return { divisor: this.divisor };
    }

    sourceOf(kind, width, height, samples) {
        if (kind === "rgb") return this.engine.fromRgb(samples, width, height);
        const isGray = kind === "gray";
        const source = this.engine.picture(isGray ? GRAY : NV12, isGray ? width : width + width % 2,
                                           isGray ? height : height + height % 2);
        source.samples.set(samples);
        return source;
    }

    reduce(source) {
        const side = length => Math.max(16, Math.round(length / this.divisor / 16) * 16);
        const [width, height] = [side(source.width), side(source.height)];
        this.pictures.smallSource = this.engine.picture(source.format, width, height);
        this.pictures.smallTarget = this.engine.picture(source.format, width, height);
        this.engine.scale(this.pictures.smallSource, source);
    }

    /** Makes the grid of a warp; what is warped from then on, is warped by it. */
    setWarp(warp) {
        const { width, height } = this.size;
        const grid = gridOf(this.engine, warp, width, height);
        if (!this.grid || grid.some((value, i) => value !== this.grid[i])) this.warpedRows = 0;
        Object.assign(this, { warp, grid });
        return { ...this.engine.mesh(this.grid, width, height), values: this.grid };
    }

    /** The picture's part, or all of the reduced one, as canvases take it: of the source or of the result. */
    show(side, part, buffer) {
        const { source, target, smallSource, smallTarget } = this.pictures;
        if (part) return { ...part, rgba: this.shown(source, target, side, part, buffer) };
        const { width, height } = smallSource;
        const whole = { x: 0, y: 0, width, height };
        return { width, height, rgba: this.shown(smallSource, smallTarget, side, whole, buffer) };
    }

    shown(source, target, side, part, buffer) {
        if (side === "after") this.engine.warp(target, source, this.grid, this.evenPart(part));
        return this.engine.rgba(side === "after" ? target : source, part, this.encoding, buffer);
    }

    /** Chroma has whole pairs of columns and rows; parts begin at even ones. */
    evenPart(part) {
        if (this.kind === "gray") return part;
        return { ...part, width: part.width + part.width % 2, height: part.height + part.height % 2 };
    }

    /** `buffer` is that of an earlier picture, or null. */
    render(warp, part, buffer) {
        const mesh = this.setWarp(warp);
        return { mesh, ...this.show("after", part, buffer) };
    }

    /** Warps what is left of the picture; returns false where `isStale()` says so between strips. */
    async warpAll(isStale = () => false) {
        const { source, target } = this.pictures;
        while (this.warpedRows < source.height) {
            const height = Math.min(STRIP_ROWS, source.height - this.warpedRows);
            this.engine.warp(target, source, this.grid, { x: 0, y: this.warpedRows, width: source.width, height });
            this.warpedRows += height;
            if (await isStale()) return false;
        }
        return true;
    }

    /** The samples that a file of the result has: of a PNG, or of a raw file in gray or NV12. */
    result(form) {
        const { width, height } = this.size;
        const { target } = this.pictures;
        if (form === "png" && this.kind !== "gray") return this.engine.toRgb(target, width, height, this.encoding);
        if (form === "raw" && this.kind !== "gray" && (width % 2 || height % 2))
            throw new Error(`${width}x${height}: width and height of a picture in nv12 must be even`);
        return target.samples.slice();
    }

    /** What is worth knowing of a result, or null if something else is wanted first; then without `error`, perhaps. */
    async findings(form, isStale = () => false) {
        if (!await this.warpAll(isStale)) return null;
        const { width, height } = this.size;
        const hash = this.engine.hash(this.result(form));
        const report = this.engine.report(this.grid, width, height);
        const gridHash = this.engine.hash(this.grid);
        if (await isStale()) return { hash, gridHash, report };
        return { hash, gridHash, report, error: this.gridError() };
    }

    gridError() {
        const { width, height } = this.size;
        if (this.warp.kind === "grid") return null;
        const formula = this.warp.kind === "calibration" ? { calibration: calibrationOf(this.warp) }
                                                         : { transform: transformOf(this.warp) };
        return this.engine.error(this.grid, formula, width, height);
    }

    explain(x, y) { return this.engine.explain(this.pictures.source, this.grid, x, y); }

    async saved(form) {
        await this.warpAll();
        const samples = this.result(form);
        if (form !== "png") return samples;
        return encodePng({ ...this.size, channels: this.kind === "gray" ? 1 : 3, pixels: samples, chunks: this.chunks });
    }

    savedGrid(form, comment) {
        return this.engine.formatGrid(this.grid, form === "txt" ? GRID_TEXT : GRID_BINARY, comment);
    }

    parseGrid(bytes) { return this.engine.parseGrid(bytes); }
}
