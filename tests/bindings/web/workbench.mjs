// Answers the calls of conftest.py, a line of JSON each: { directory, name, parts } by { made } or { problem }. Arguments: the
// directory of the sources, and the module.
import fs from "node:fs";
import readline from "node:readline";

const [sources, file] = process.argv.slice(2);
const load = name => import(`${sources}/${name}.mjs`);
const [{ Workbench }, { readPicture, rawHints }, { decodePng, encodePng }, warps, { readCalibration }] =
    await Promise.all(["workbench", "picture", "png", "warp", "calibration"].map(load));
const workbench = await Workbench.start({ plain: fs.readFileSync(file), simd: null });

/** A warp as a test describes it: arrays for typed ones. */
function warpOf({ edits, grid, ...rest }) {
    const values = grid && new Int32Array(workbench.engine.parseGrid(fs.readFileSync(grid.name)));
    return { ...warps.newWarp(), ...rest, edits: edits ? Int32Array.from(edits) : null,
             grid: grid ? { ...grid, values } : null };
}

const calls = {
    about: () => workbench.about(),
    selftest: () => workbench.selftest(),
    async open(name) {
        const picture = await readPicture(fs.readFileSync(name), rawHints(name));
        workbench.open(picture);
        const { samples, chunks, ...rest } = picture;
        return { ...rest, chunks: chunks.map(chunk => chunk.name) };
    },
    async warp(described, form, gridName) {
        const warp = warpOf(described);
        workbench.setWarp(warp);
        const found = await workbench.findings(form);
        if (gridName) fs.writeFileSync(gridName, workbench.savedGrid(gridName.endsWith(".txt") ? "txt" : "grid", "made"));
        return found;
    },
    command: (input, described, gridName, output) => warps.commandLine(input, warpOf(described), gridName, output),
    brush: (node, radius, frame) => [...warps.brushWeights(node, radius, frame)],
    explain: pixels => pixels.map(([x, y]) => workbench.explain(x, y)),
    part(part) {
        return Buffer.from(workbench.show("after", part).rgba).toString("base64");
    },
    async save(form, name) { fs.writeFileSync(name, await workbench.saved(form)); },
    async pixels(name) {
        const { pixels, width, height, channels, notes } = await decodePng(fs.readFileSync(name));
        return { pixels: Buffer.from(pixels).toString("base64"), width, height, channels, notes };
    },
    async encode(name, picture) {
        fs.writeFileSync(name, await encodePng({ ...picture, pixels: Buffer.from(picture.pixels, "base64") }));
    },
    calibration: (name, camera) => readCalibration(fs.readFileSync(name, "utf8"), camera),
    divisor: () => workbench.divisor,
    memory: () => workbench.engine.exports.memory.buffer.byteLength,
    time(described, times) {
        const warp = warpOf(described);
        workbench.setWarp(warp);
        const { source, target } = workbench.pictures;
        let least = Infinity;
        for (let i = 0; i < times; ++i) {
            const start = performance.now();
            workbench.engine.warp(target, source, workbench.grid);
            least = Math.min(least, performance.now() - start);
        }
        return least;
    },
};

for await (const line of readline.createInterface({ input: process.stdin })) {
    const { directory, name, parts } = JSON.parse(line);
    process.chdir(directory);
    let answer;
    try {
        answer = { made: await calls[name](...parts) };
    } catch (error) {
        answer = { problem: error.message };
    }
    process.stdout.write(`${JSON.stringify(answer)}\n`);
}
