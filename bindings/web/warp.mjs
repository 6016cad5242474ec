// The warp that the controls describe: a formula, a calibration or a grid file, and what is edited by hand on top of it.
import { GRID_VALUES } from "./engine.mjs";

export const SIDE = 33;

/** The parts that have numbers, in the order of the command line's options; each with its neutral values. */
export const PARTS = { rotate: [0], zoom: [1], shear: [0, 0], shift: [0, 0], lens: [0, 0, 0, 0, 0] };

export function newWarp() {
    return { kind: "parts", parts: structuredClone(PARTS), center: null, calibration: null, alpha: null, grid: null,
             edits: null };
}

export function transformOf({ parts, center }) {
    const { rotate, zoom, shear, shift, lens } = parts;
    return { rotate: rotate[0], zoom: zoom[0], shear, shift, lens, center };
}

export function calibrationOf({ calibration, alpha }) { return { ...calibration.numbers, alpha }; }

/** The grid for pictures of a size. */
export function gridOf(engine, warp, width, height) {
    let grid;
    if (warp.kind === "grid") grid = warp.grid.values.slice();
    else if (warp.kind === "calibration") grid = engine.gridFromCalibration(calibrationOf(warp), width, height);
    else grid = engine.gridFromTransform(transformOf(warp), width, height);
    if (warp.edits) for (let i = 0; i < GRID_VALUES; ++i) grid[i] = saturated(grid[i] + warp.edits[i]);
    return grid;
}

function saturated(value) { return Math.max(-0x80000000, Math.min(value, 0x7fffffff)); }

/** How much each node follows `node`: all of it there, and less and less up to `radius` pixels away. */
export function brushWeights(node, radius, [width, height]) {
    const weights = new Float64Array(SIDE * SIDE);
    const [row, column] = [Math.floor(node / SIDE), node % SIDE];
    for (let i = 0; i < weights.length; ++i) {
        const x = (i % SIDE - column) * width / 32;
        const y = (Math.floor(i / SIDE) - row) * height / 32;
        const share = radius > 0 ? (x * x + y * y) / (radius * radius) : 1;
        weights[i] = i === node ? 1 : share < 1 ? (1 - share) ** 2 : 0;
    }
    return weights;
}

/** The edits with sources moved by pixels, weight by weight. */
export function movedEdits(edits, weights, [x, y], [unitsX, unitsY]) {
    const moved = edits ? edits.slice() : new Int32Array(GRID_VALUES);
    for (let i = 0; i < weights.length; ++i) {
        moved[i] = saturated(moved[i] + Math.round(x * unitsX * weights[i]));
        moved[SIDE * SIDE + i] = saturated(moved[SIDE * SIDE + i] + Math.round(y * unitsY * weights[i]));
    }
    return moved.some(value => value !== 0) ? moved : null;
}

/** A word of a shell's command line. */
export function quoted(word) {
    return /^[\w./:=,@%+-]+$/.test(word) ? word : `'${word.replaceAll("'", "'\\''")}'`;
}

/** A file's name as an argument, which no leading dash makes an option. */
function fileWord(name) { return quoted(name.startsWith("-") ? "./" + name : name); }

function partOptions(parts) {
    const given = Object.entries(PARTS).filter(([name, neutral]) => neutral.some((value, i) => parts[name][i] !== value));
    if (given.length === 0) return ["--rotate=0"];
    return given.map(([name]) => {
        const values = parts[name].slice();
        if (name === "lens") while (values.length > 1 && (values.length > 3 ? !values[3] && !values[4] : !values.at(-1)))
            values.length = values.length > 3 ? 3 : values.length - 1;
        return `--${name}=${values.join(",")}`;
    });
}

/** The options that give the warp. `gridName` is that of the grid that the page saves. */
export function warpOptions(warp, gridName) {
    if (warp.edits) return ["--grid", fileWord(gridName)];
    if (warp.kind === "grid") return warp.grid.options ? warp.grid.options.map(quoted) : ["--grid", fileWord(warp.grid.name)];
    if (warp.kind === "parts")
        return [...partOptions(warp.parts), ...(warp.center ? [`--center=${warp.center.join(",")}`] : [])];
    const { name, camera, numbers, declared, options } = warp.calibration;
    const words = options ? options.map(quoted) : ["--calibration", fileWord(name)];
    if (!options && camera) words.push(`--camera=${quoted(camera)}`);
    if (!options && numbers.isFisheye && !declared) words.push("--fisheye");
    if (warp.alpha !== null) words.push(`--alpha=${warp.alpha}`);
    return words;
}

/** The command line that makes `output` of `input` { name, options }. */
export function commandLine(input, warp, gridName, output) {
    return ["vantor warp", fileWord(input.name), ...(input.options || []).map(quoted), "-o", quoted(output),
            ...warpOptions(warp, gridName), "--hash"].join(" ");
}

/** Undo and redo of states, which are never changed once they are in. */
export class History {
    constructor(state, limit = 200) { Object.assign(this, { states: [state], at: 0, limit, tag: null }); }

    get state() { return this.states[this.at]; }
    get canUndo() { return this.at > 0; }
    get canRedo() { return this.at + 1 < this.states.length; }

    /** Steps with one tag, such as those of one drag, are undone at once. */
    push(state, tag = null) {
        const isSameStep = tag !== null && tag === this.tag;
        this.states.length = this.at + 1;
        if (isSameStep) this.states.pop();
        this.states.push(state);
        if (this.states.length > this.limit) this.states.shift();
        this.at = this.states.length - 1;
        this.tag = tag;
    }

    undo() { this.go(-1); }
    redo() { this.go(1); }

    go(step) {
        this.at = Math.max(0, Math.min(this.at + step, this.states.length - 1));
        this.tag = null;
    }
}
