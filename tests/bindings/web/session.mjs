// Answers the calls of conftest.py, a line of JSON each: { directory, name, parts } by { made } or { problem }. Arguments: the
// directory of the sources, and the module.
import fs from "node:fs";
import readline from "node:readline";

const [sources, file] = process.argv.slice(2);
const load = name => import(`${sources}/${name}.mjs`);
const [{ Session }, { readPicture, rawHints }, { decodePng, encodePng }, warps, { readCalibration }] =
    await Promise.all(["session", "picture", "png", "warp", "calibration"].map(load));
const session = await Session.start({ plain: fs.readFileSync(file), simd: null });

/** A warp as a test describes it: arrays for typed ones. */
function warpOf({ edits, grid, ...rest }) {
    const values = grid && new Int32Array(session.engine.parseGrid(fs.readFileSync(grid.name)));
    return { ...warps.newWarp(), ...rest, edits: edits ? Int32Array.from(edits) : null,
             grid: grid ? { ...grid, values } : null };
}

const calls = {
    about: () => session.about(),
    selftest: () => session.selftest(),
    async open(name) {
        const picture = await readPicture(fs.readFileSync(name), rawHints(name));
        session.open(picture);
        const { samples, chunks, ...rest } = picture;
        return { ...rest, chunks: chunks.map(chunk => chunk.name) };
    },
    async warp(described, form, gridName) {
        const warp = warpOf(described);
        session.setWarp(warp);
        const found = await session.findings(form);
        if (gridName) fs.writeFileSync(gridName, session.savedGrid(gridName.endsWith(".txt") ? "txt" : "grid", "made"));
        return found;
    },
    command: (input, described, gridName, output) => warps.commandLine(input, warpOf(described), gridName, output),
    brush: (node, radius, frame) => [...warps.brushWeights(node, radius, frame)],
    explain: pixels => pixels.map(([x, y]) => session.explain(x, y)),
    part(part) {
        return Buffer.from(session.show("after", part).rgba).toString("base64");
    },
    async save(form, name) { fs.writeFileSync(name, await session.saved(form)); },
    async pixels(name) {
        const { pixels, width, height, channels, notes } = await decodePng(fs.readFileSync(name));
        return { pixels: Buffer.from(pixels).toString("base64"), width, height, channels, notes };
    },
    async encode(name, picture) {
        fs.writeFileSync(name, await encodePng({ ...picture, pixels: Buffer.from(picture.pixels, "base64") }));
    },
    calibration: (name, camera) => readCalibration(fs.readFileSync(name, "utf8"), camera),
    divisor: () => session.divisor,
    memory: () => session.engine.exports.memory.buffer.byteLength,
    time(described, times) {
        const warp = warpOf(described);
        session.setWarp(warp);
        const { source, target } = session.pictures;
        let least = Infinity;
        for (let i = 0; i < times; ++i) {
            const start = performance.now();
            session.engine.warp(target, source, session.grid);
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
