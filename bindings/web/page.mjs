// The page: controls and views of one workbench, which runs in a worker.
import { cameraNames, readCalibration } from "./calibration.mjs";
import { nearestNode, nodeAt, Overlay, sourceAt } from "./overlay.mjs";
import { explanation } from "./explanation.mjs";
import { embeddedPicture, isJpeg, rawHints, readPicture } from "./picture.mjs";
import { inflate } from "./png.mjs";
import { brushWeights, commandLine, History, movedEdits, newWarp, PARTS, SIDE } from "./warp.mjs";

const byId = id => document.getElementById(id);
const clamp = (low, value, high) => Math.min(Math.max(low, value), high);
const read = id => JSON.parse(byId(id).textContent);
const LARGEST_ZOOM = 64;
const LENS_NAMES = ["k1", "k2", "k3", "p1", "p2"];
const MAX_EXACT = 1 << 20;
const GLASS = 21;

// Calls to the worker, which answers them in their order. Buffers among their parts go to it for good.
const calls = new Map();
let worker;

function call(name, ...parts) {
    return new Promise((done, failed) => {
        const id = call.count = (call.count || 0) + 1;
        calls.set(id, { done, failed });
        worker.postMessage({ id, name, parts }, parts.filter(part => part instanceof ArrayBuffer));
    });
}

async function startWorker() {
    const bytes = async text => inflate(Uint8Array.from(atob(text), letter => letter.charCodeAt(0)), "gzip", Infinity);
    const { plain, simd } = read("modules");
    const address = URL.createObjectURL(new Blob([WORKER_SOURCE], { type: "text/javascript" }));
    worker = new Worker(address);
    URL.revokeObjectURL(address);
    worker.onmessage = ({ data: { id, made, problem } }) => {
        const { done, failed } = calls.get(id);
        calls.delete(id);
        if (problem === undefined) done(made);
        else failed(new Error(problem));
    };
    return call("start", { plain: await bytes(plain), simd: simd && await bytes(simd) });
}

// What is open, and what is seen: `zoom` screen pixels per pixel, the picture's corner at `left`, `top` of the stage.
let picture = null;
let history = new History(newWarp());
let mesh = null;
let found = null;
const view = { zoom: 1, left: 0, top: 0, split: 0, width: 0, height: 0, at: [0, 0], isFitted: true, node: 16 * SIDE + 16 };
const overlay = new Overlay(byId("overlay"));
const stage = byId("stage");

const tool = () => document.querySelector("[name=tool]:checked").value;
const isChecked = id => byId(id).checked;
const warp = () => history.state;

/** A problem, until the next file is opened or, of a warp, until another one succeeds. */
function say(text, cause = "") {
    byId("note").textContent = text;
    byId("note").dataset.cause = cause;
}

async function attempt(work) {
    try {
        await work();
    } catch (error) {
        say(error.message);
    }
}

// The picture, as exact as it can be in time: what is in view of it, or all of a reduced one.

/** The columns and rows in view, from `column` on. */
function partInView(column = 0) {
    const { width, height } = picture;
    const even = value => value - value % 2;
    const x = even(clamp(0, Math.floor(Math.max(column, -view.left / view.zoom)), width - 1));
    const y = even(clamp(0, Math.floor(-view.top / view.zoom), height - 1));
    const right = clamp(x + 1, Math.ceil((view.width - view.left) / view.zoom), width);
    const bottom = clamp(y + 1, Math.ceil((view.height - view.top) / view.zoom), height);
    return { x, y, width: right - x, height: bottom - y };
}

/** The parts of the source and of the result that are shown, or nulls for all of both reduced. */
function partsShown() {
    const source = picture.divisor > 1 ? partInView() : { x: 0, y: 0, width: picture.width, height: picture.height };
    if (source.width * source.height > MAX_EXACT) return [null, null];
    return [source, partInView(isChecked("divide") ? view.split : 0)];
}

function put(id, shown, part) {
    const canvas = byId(id);
    if (canvas.width !== shown.width || canvas.height !== shown.height) {
        canvas.width = shown.width;
        canvas.height = shown.height;
    }
    canvas.getContext("2d").putImageData(new ImageData(shown.rgba, shown.width, shown.height), 0, 0);
    canvas.shows = part || { x: 0, y: 0, width: picture.width, height: picture.height };
}

const pump = { isBusy: false, isDirty: false, timer: 0, source: "", drawn: null };

/** The warp or the picture has changed. */
function changed() {
    found = null;
    showResult();
    refresh();
}

/** Of the states that come while one is computed only the last is shown. */
function refresh() {
    pump.isDirty = true;
    if (!pump.isBusy) render();
}

/** The next picture is computed while one is drawn. */
async function render() {
    if (!picture) return;
    pump.isBusy = true;
    let shown = null;
    do {
        const next = pump.isDirty ? ask() : null;
        pump.isDirty = false;
        if (shown) present(shown);
        shown = await next;
    } while (shown || pump.isDirty);
    pump.isBusy = false;
    if (isChecked("loupe")) lookCloser();
    findSoon();
}

/** A picture of the present state, or null where there is none. */
async function ask() {
    const [source, part] = partsShown();
    const key = JSON.stringify([picture.id, source]);
    try {
        if (pump.source !== key) put("before", await call("show", "before", source), source);
        pump.source = key;
        const { drawn } = pump;
        pump.drawn = null;
        return { part, ...await call("render", warp(), part, drawn) };
    } catch (error) {
        say(error.message, "warp");
        return null;
    }
}

function present({ part, ...shown }) {
    mesh = shown.mesh;
    put("after", shown, part);
    pump.drawn = shown.rgba.buffer;
    if (byId("note").dataset.cause === "warp") say("");
    byId("reduced").hidden = part !== null;
    byId("reduced").textContent = `reduced view, 1:${picture.divisor}; the loupe is exact`;
    document.body.dataset.shown = Number(document.body.dataset.shown || 0) + 1;
    draw();
    showNode();
}

function findSoon() {
    clearTimeout(pump.timer);
    pump.timer = setTimeout(async () => {
        if (!found) await lookCloser();  // whose calls would stop what takes longer
        if (!found || found.error === undefined) attempt(find);
    }, 150);
}

/** What takes longer than a picture: its hash, and the grid's report. */
async function find() {
    const form = byId("form").value;
    const made = await call("findings", form);
    if (pump.isBusy || pump.isDirty) return;
    if (!made) return findSoon();
    found = { ...made, form };
    showResult();
    document.body.dataset.found = Number(document.body.dataset.found || 0) + 1;
    if (found.error === undefined) findSoon();
    if (!find.isTested) {
        find.isTested = true;
        const { right, pictures } = await call("selftest");
        byId("verdict").textContent = `self-test: ${right} of ${pictures} published pictures right ` +
            `(${picture.about.kernels} kernels)`;
        byId("verdict").className = right === pictures ? "good" : "bad";
    }
}

function gridName() { return `live-${found ? found.gridHash.slice(0, 8) : "…"}.grid`; }

function outputName(form = byId("form").value) {
    if (form === "png") return "warped.png";
    return `warped_${picture.width}x${picture.height}.${picture.kind === "gray" ? "gray" : "nv12"}`;
}

function showResult() {
    if (!picture) return;
    byId("hash").textContent = !found ? "…" : picture.isApproximate ? `${found.hash} (of the browser's decoding)` : found.hash;
    byId("command").textContent = commandLine(picture, warp(), gridName(), outputName());
    const needsGrid = warp().edits !== null;
    byId("save-grid").classList.toggle("wanted", needsGrid && found !== null && !saved.has(found.gridHash));
    byId("undo").disabled = !history.canUndo;
    byId("redo").disabled = !history.canRedo;
    const edited = warp().edits ? warp().edits.filter((value, i) => value || warp().edits[(i + 1089) % 2178]).length / 2 : 0;
    byId("edited").textContent = edited === 0 ? "no node edited" : `${edited} nodes edited`;
    byId("reset").disabled = edited === 0;
    const range = i => `${found.report.least[i].toFixed(2)} to ${found.report.largest[i].toFixed(2)} px`;
    const list = [];
    if (found) {
        const { report, error } = found;
        const isBad = value => (value > 0 ? "bad" : "");
        list.push(["Across", range(0)], ["Down", range(1)],
                  ["Folded cells", `${report.folded} of 1024`, isBad(report.folded)],
                  ["Beyond range", `${report.beyondRange} of 2178`, isBad(report.beyondRange)],
                  ["Outside source", `${(100 * report.outside).toFixed(2)} %`]);
        if (error) list.push(["Off formula, RMS", `${error.rms.toFixed(4)} px`],
                             ["largest", `${error.largest.toFixed(4)} px`], ["at", `(${error.at.join(", ")})`]);
    }
    if (found) byId("findings").replaceChildren(...list.flatMap(([name, value, style]) => {
        const [term, data] = [document.createElement("dt"), document.createElement("dd")];
        term.textContent = name;
        data.textContent = value;
        data.className = style || "";
        return [term, data];
    }));
}

// The view.

function draw() {
    if (!picture) return;
    [view.width, view.height] = [stage.clientWidth, stage.clientHeight];
    for (const id of ["before", "after"]) {
        const canvas = byId(id);
        const { x, y, width, height } = canvas.shows || { x: 0, y: 0, width: 1, height: 1 };
        canvas.style.transform = `translate(${view.left + x * view.zoom}px, ${view.top + y * view.zoom}px) ` +
            `scale(${width * view.zoom / canvas.width}, ${height * view.zoom / canvas.height})`;
    }
    const isDivided = isChecked("divide");
    const split = clamp(0, view.left + view.split * view.zoom, view.width);
    byId("before").style.visibility = isDivided ? "" : "hidden";
    const after = byId("after");
    const cutOf = canvas => (view.split - (canvas.shows ? canvas.shows.x : 0)) * canvas.width /
        (canvas.shows ? canvas.shows.width : 1);
    after.style.clipPath = isDivided ? `inset(0 0 0 ${clamp(0, cutOf(after), after.width)}px)` : "";
    const before = byId("before");
    before.style.clipPath = `inset(0 ${clamp(0, before.width - cutOf(before), before.width)}px 0 0)`;
    for (const id of ["divider", "tag-before", "tag-after"]) byId(id).hidden = !isDivided;
    byId("divider").style.left = `${split}px`;
    byId("divider").setAttribute("aria-valuenow", Math.round(view.split));
    stage.className = `${tool()}${view.zoom >= 1 ? " pixels" : ""}`;
    byId("zoom").textContent = `${(view.zoom * 100).toFixed(view.zoom < 1 ? 1 : 0)} %`;
    const node = tool() === "pan" ? null : view.node;
    const largest = overlay.draw(mesh, { ...view, split, isDivided }, {
        mesh: isChecked("mesh"), arrows: isChecked("arrows"), heat: isChecked("heat"), node, at: view.at,
        radius: tool() === "brush" ? Number(byId("radius").value) : 0,
    });
    byId("legend").hidden = !isChecked("heat");
    byId("hottest").textContent = `${largest.toFixed(1)} px`;
}

/** Only what is in view is warped. */
function moved() {
    draw();
    if (picture) refresh();
}

function fit() {
    [view.width, view.height] = [stage.clientWidth, stage.clientHeight];
    if (!picture) return;
    view.zoom = clamp(1 / LARGEST_ZOOM, 0.96 * Math.min(view.width / picture.width, view.height / picture.height), LARGEST_ZOOM);
    view.left = (view.width - picture.width * view.zoom) / 2;
    view.top = (view.height - picture.height * view.zoom) / 2;
    view.isFitted = true;
    moved();
}

function zoomTo(zoom, x = view.left + (view.at[0] + 0.5) * view.zoom, y = view.top + (view.at[1] + 0.5) * view.zoom) {
    zoom = clamp(1 / LARGEST_ZOOM, zoom, LARGEST_ZOOM);
    view.left = Math.round(x - (x - view.left) * zoom / view.zoom);
    view.top = Math.round(y - (y - view.top) * zoom / view.zoom);
    view.zoom = zoom;
    view.isFitted = false;
    moved();
}

function panBy(x, y) {
    view.left += x;
    view.top += y;
    view.isFitted = false;
    moved();
}

function splitTo(column) {
    view.split = clamp(0, column, picture.width);
    moved();
}

// The pixel, its explanation and the loupe.

const closer = { isBusy: false, isDirty: false, timer: 0 };

function lookAt(x, y) {
    if (!picture) return;
    view.at = [clamp(0, Math.floor(x), picture.width - 1), clamp(0, Math.floor(y), picture.height - 1)];
    draw();
    lookCloser();
}

async function lookCloser() {
    byId("glass").hidden = !isChecked("loupe") || !picture;
    closer.isDirty = true;
    if (closer.isBusy || !picture || !mesh) return;
    closer.isBusy = true;
    while (closer.isDirty) {
        closer.isDirty = false;
        await attempt(async () => {
            if (isChecked("loupe")) await magnify();
            byId("pixel").textContent = explanation(await call("explain", ...view.at));
        });
    }
    closer.isBusy = false;
}

async function magnify() {
    const half = GLASS >> 1;
    const even = value => value - value % 2;
    const from = (at, side) => even(clamp(0, at - half, Math.max(0, side - GLASS - 1)));
    const part = { x: from(view.at[0], picture.width), y: from(view.at[1], picture.height) };
    part.width = Math.min(GLASS + 1, picture.width - part.x);
    part.height = Math.min(GLASS + 1, picture.height - part.y);
    const shown = await call("show", "after", part);
    const glass = byId("glass");
    const context = glass.getContext("2d");
    const tile = document.createElement("canvas");
    [tile.width, tile.height] = [part.width, part.height];
    tile.getContext("2d").putImageData(new ImageData(shown.rgba, part.width, part.height), 0, 0);
    const scale = glass.width / GLASS;
    context.imageSmoothingEnabled = false;
    context.fillStyle = "#000";
    context.fillRect(0, 0, glass.width, glass.height);
    context.drawImage(tile, (part.x - view.at[0] + half) * scale, (part.y - view.at[1] + half) * scale,
                      part.width * scale, part.height * scale);
    context.strokeStyle = "#ff3df2";
    context.strokeRect(half * scale - 0.5, half * scale - 0.5, scale + 1, scale + 1);
}

// Warps.

function setWarp(change, tag = null) {
    history.push({ ...warp(), ...change }, tag);
    changed();
}

function setPart(name, i, value) {
    if (!Number.isFinite(value)) return;
    const parts = { ...warp().parts, [name]: warp().parts[name].map((old, k) => (k === i ? value : old)) };
    setWarp({ parts, kind: "parts" }, `${name} ${i}`);
}

/** Moves the source of a node by pixels, and, with the brush, its neighbours'. */
function moveNode(node, by, base = warp().edits, tag = null) {
    const radius = tool() === "brush" ? Number(byId("radius").value) : 0;
    const weights = brushWeights(node, radius, mesh.frame);
    setWarp({ edits: movedEdits(base, weights, by, mesh.unitsPerPixel) }, tag);
}

function chooseNode(row, column) {
    view.node = clamp(0, row, 32) * SIDE + clamp(0, column, 32);
    showNode();
    draw();
}

function showNode() {
    if (!mesh) return;
    const [x, y] = sourceAt(mesh, view.node);
    const show = (id, value) => { if (document.activeElement !== byId(id)) byId(id).value = value; };
    show("row", Math.floor(view.node / SIDE));
    show("column", view.node % SIDE);
    show("node-x", Number(x.toFixed(3)));
    show("node-y", Number(y.toFixed(3)));
}

/** The controls as the warp has it. */
function showControls() {
    const { kind, parts, calibration, alpha, grid } = warp();
    for (const input of document.querySelectorAll("[name=kind]")) input.checked = input.value === kind;
    for (const name of ["parts", "calibration", "grid"]) byId(`of-${name}`).hidden = kind !== name;
    for (const [name, values] of Object.entries(parts)) {
        values.forEach((value, i) => {
            for (const input of document.querySelectorAll(`[data-part="${name} ${i}"]`))
                if (document.activeElement !== input || Number(input.value) !== value) input.value = value;
        });
    }
    if (calibration) {
        const { numbers, name } = calibration;
        byId("calibration-name").textContent = `${name}: ${numbers.size.join("x")}, ` +
            `${numbers.isFisheye ? "fisheye" : "polynomial"} of ${numbers.coefficients.length} coefficients`;
        byId("fisheye").checked = numbers.isFisheye;
    }
    byId("fisheye").disabled = !calibration || calibration.declared || Boolean(calibration.options);
    byId("has-alpha").disabled = !calibration;
    byId("has-alpha").checked = alpha !== null;
    for (const id of ["alpha", "alpha-slide"]) {
        byId(id).disabled = alpha === null;
        if (alpha !== null) byId(id).value = alpha;
    }
    byId("of-grid").textContent = grid ? grid.name : "Drop a grid file: 8712 bytes, or text.";
}

function goInHistory(step) {
    history.go(step);
    showControls();
    changed();
}

function addParts() {
    const ranges = { rotate: [-45, 45, 0.1], zoom: [0.25, 4, 0.01], shear: [-0.5, 0.5, 0.005], shift: [-200, 200, 0.5],
                     lens: [-0.6, 0.6, 0.005] };
    const labels = { rotate: ["Rotate, °"], zoom: ["Zoom"], shear: ["Shear x", "Shear y"], shift: ["Shift x", "Shift y"],
                     lens: LENS_NAMES };
    for (const [name, neutral] of Object.entries(PARTS)) {
        neutral.forEach((value, i) => {
            const row = document.createElement("div");
            row.className = "part";
            const label = document.createElement("label");
            label.textContent = labels[name][i];
            label.htmlFor = `${name}-${i}`;
            const [least, most, step] = ranges[name];
            const inputs = ["range", "number"].map(type => {
                const input = document.createElement("input");
                Object.assign(input, { type, value });
                if (type === "range") Object.assign(input, { min: least, max: most, step, value });
                input.step = type === "range" ? step : "any";
                input.dataset.part = `${name} ${i}`;
                input.addEventListener("input", () => {
                    if (input.value !== "") setPart(name, i, Number(input.value));
                    for (const other of inputs) if (other !== input) other.value = input.value;
                });
                input.addEventListener("change", () => { history.tag = null; });
                return input;
            });
            inputs[0].setAttribute("aria-label", `${labels[name][i]}, slider`);
            inputs[0].addEventListener("dblclick", () => {
                setPart(name, i, value);
                showControls();
            });
            inputs[1].id = label.htmlFor;
            row.append(label, ...inputs);
            byId("of-parts").append(row);
        });
    }
}

// Files.

let pictures = 0;

async function openPicture(opened) {
    const { divisor } = await call("open", opened);
    const { samples, ...rest } = opened;
    picture = { ...rest, divisor, id: ++pictures, about: picture ? picture.about : openPicture.about };
    byId("name").textContent = [picture.name, `${picture.width}x${picture.height}`, picture.kind,
                                ...picture.notes].join(" · ");
    document.title = `${picture.name} · vantor live`;
    byId("empty").hidden = true;
    byId("save-raw").textContent = picture.kind === "gray" ? "Raw gray" : "NV12";
    view.split = picture.width / 2;
    view.at = [picture.width >> 1, picture.height >> 1];
    byId("divider").setAttribute("aria-valuemax", picture.width);
    for (const id of ["radius", "radius-slide"]) byId(id).value = Math.round(picture.width / 8);
    byId("radius-slide").max = picture.width;
    fit();
    changed();
}

/** By the browser, whose colours and rounding are its own. */
async function decodeJpeg(file) {
    const image = await createImageBitmap(file, { colorSpaceConversion: "none" });
    const canvas = document.createElement("canvas");
    [canvas.width, canvas.height] = [image.width, image.height];
    const context = canvas.getContext("2d");
    context.drawImage(image, 0, 0);
    const { data } = context.getImageData(0, 0, image.width, image.height);
    const samples = new Uint8Array(image.width * image.height * 3);
    for (let i = 0, to = 0; i < data.length; i += 4)
        for (let c = 0; c < 3; ++c) samples[to++] = data[i + c];
    return { kind: "rgb", width: image.width, height: image.height, samples, isFullRange: false, chunks: [],
             isApproximate: true, notes: ["decoded by the browser: not the tool's samples"] };
}

/** The size and the format of a raw file, asked for where its name does not give them. */
function askRaw(name) {
    const hints = rawHints(name);
    if (hints.size && hints.format) return { ...hints, options: [] };
    const dialog = byId("raw");
    byId("raw-name").textContent = name;
    if (hints.size) [byId("raw-width").value, byId("raw-height").value] = hints.size;
    if (hints.format) byId("raw-format").value = hints.format;
    dialog.returnValue = "";
    dialog.showModal();
    return new Promise((done, failed) => dialog.addEventListener("close", () => {
        if (dialog.returnValue !== "open") return failed(new Error("not opened"));
        const size = [Number(byId("raw-width").value), Number(byId("raw-height").value)];
        const format = byId("raw-format").value;
        done({ size, format, options: [`--input-size=${size.join("x")}`, `--input-format=${format}`] });
    }, { once: true }));
}

async function openPictureFile(file, bytes) {
    if (isJpeg(bytes)) return openPicture({ ...await decodeJpeg(file), name: file.name });
    const isKnown = bytes[0] === 137 || String.fromCharCode(...bytes.subarray(0, 10)) === "YUV4MPEG2 ";
    const { options = [], ...raw } = isKnown ? {} : await askRaw(file.name);
    const opened = await readPicture(bytes, raw);
    const isClip = opened.frames > 1 || bytes[0] === 89;
    return openPicture({ ...opened, name: file.name, options: isClip ? [...options, "--limit=1"] : options });
}

function useCalibration(name, text, camera) {
    const names = cameraNames(text);
    const chosen = camera || (names.length > 1 ? names[0] : "");
    const numbers = readCalibration(text, chosen);
    byId("camera-option").hidden = names.length < 2;
    byId("camera").replaceChildren(...names.map(each => new Option(each, each, false, each === chosen)));
    useCalibration.text = text;
    setWarp({ kind: "calibration", calibration: { name, camera: chosen, numbers, declared: numbers.isFisheye } });
    showControls();
}

async function openFile(file) {
    const bytes = new Uint8Array(await file.arrayBuffer());
    const start = new TextDecoder().decode(bytes.subarray(0, 4096));
    if (bytes.length === 8712 || /\.grid$/i.test(file.name) || /^(\s*#[^\n]*\n)*\s*dX\s/.test(start)) {
        setWarp({ kind: "grid", grid: { name: file.name, values: await call("parseGrid", bytes) }, edits: null });
        showControls();
    } else if (/\.(ya?ml|xml|json|txt)$/i.test(file.name)) {
        useCalibration(file.name, new TextDecoder().decode(bytes));
    } else {
        await openPictureFile(file, bytes);
    }
}

async function openFiles(files) {
    for (const file of files) {
        try {
            say("");
            await openFile(file);
        } catch (error) {
            say(`${file.name}: ${error.message}`);
        }
    }
}

const saved = new Set();

function download(name, bytes) {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([bytes]));
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

async function save(form) {
    if (!picture || !mesh) return;
    if (form === "png" || form === "raw") {
        download(outputName(form), await call("saved", form));
        return;
    }
    if (!found) await find();
    const comment = `made by vantor live for pictures of ${mesh.frame.join("x")}`;
    download(form === "txt" ? gridName().replace(/grid$/, "txt") : gridName(), await call("savedGrid", form, comment));
    if (found && form === "grid") saved.add(found.gridHash);
    showResult();
}

// Pointers: one drags what the tool says, two move and zoom.

const pointers = new Map();
let drag = null;

function position(event) {
    const corner = stage.getBoundingClientRect();
    return [event.clientX - corner.left, event.clientY - corner.top];
}

function toPicture([x, y]) { return [(x - view.left) / view.zoom, (y - view.top) / view.zoom]; }

function sideAt([x]) {
    return isChecked("divide") && x < view.left + view.split * view.zoom ? "before" : "after";
}

stage.addEventListener("pointerdown", event => {
    if (event.target.closest("#divider, button") || !picture) return;
    stage.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, position(event));
    // The first finger of a pinch may have moved a node.
    if (drag && warp().edits !== drag.edits) goInHistory(-1);
    drag = null;
    if (pointers.size > 1 || tool() === "pan" || event.button === 1 || !mesh) return;
    const at = position(event);
    const side = sideAt(at);
    view.node = nearestNode(mesh, toPicture(at), side);
    drag = { from: at, side, edits: warp().edits, tag: `drag ${event.timeStamp}` };
    showNode();
    draw();
});

stage.addEventListener("pointermove", event => {
    const at = position(event);
    const before = pointers.get(event.pointerId);
    if (!picture) return;
    if (!before) {
        if (event.pointerType === "mouse" && !event.target.closest("#divider")) lookAt(...toPicture(at));
        return;
    }
    pointers.set(event.pointerId, at);
    if (pointers.size === 2) {
        const other = [...pointers].find(([id]) => id !== event.pointerId)[1];
        const spread = point => Math.hypot(point[0] - other[0], point[1] - other[1]);
        const middle = [(at[0] + other[0]) / 2, (at[1] + other[1]) / 2];
        panBy((at[0] - before[0]) / 2, (at[1] - before[1]) / 2);
        if (spread(before) > 0) zoomTo(view.zoom * spread(at) / spread(before), ...middle);
    } else if (drag) {
        // To the left of the divider the source follows the pointer, to the right what comes from there does.
        const sign = (drag.side === "before" ? 1 : -1) / view.zoom;
        moveNode(view.node, [sign * (at[0] - drag.from[0]), sign * (at[1] - drag.from[1])], drag.edits, drag.tag);
    } else {
        panBy(at[0] - before[0], at[1] - before[1]);
    }
});

for (const type of ["pointerup", "pointercancel"]) {
    stage.addEventListener(type, event => {
        const at = pointers.get(event.pointerId);
        pointers.delete(event.pointerId);
        if (at && event.pointerType !== "mouse" && pointers.size === 0) lookAt(...toPicture(at));
        drag = null;
        history.tag = null;
    });
}

stage.addEventListener("wheel", event => {
    event.preventDefault();
    if (picture) zoomTo(view.zoom * (event.deltaY < 0 ? 1.25 : 0.8), ...position(event));
}, { passive: false });

byId("divider").addEventListener("pointerdown", event => byId("divider").setPointerCapture(event.pointerId));
byId("divider").addEventListener("pointermove", event => {
    if (byId("divider").hasPointerCapture(event.pointerId)) splitTo(toPicture(position(event))[0]);
});

// Keys.

const flip = id => () => byId(id).click();
const take = name => () => document.querySelector(`[name=tool][value=${name}]`).click();
const KEYS = [
    ["v", "move the view", take("pan")], ["n", "drag one node", take("node")], ["b", "drag nodes by a brush", take("brush")],
    ["m", "mesh", flip("mesh")], ["a", "arrows", flip("arrows")], ["h", "heat map", flip("heat")],
    ["d", "before and after", flip("divide")], ["l", "loupe", flip("loupe")],
    ["[", "divider to the left", () => splitTo(view.split - picture.width / 64)],
    ["]", "divider to the right", () => splitTo(view.split + picture.width / 64)],
    ["+", "zoom in", () => zoomTo(view.zoom * 2)], ["=", null, () => zoomTo(view.zoom * 2)],
    ["-", "zoom out", () => zoomTo(view.zoom / 2)], ["0", "fit", fit], ["1", "one to one", () => zoomTo(1)],
    ["o", "open files", flip("open")], ["s", "save the grid", flip("save-grid")], ["t", "save it as text", flip("save-txt")],
    ["p", "save the result as PNG", flip("save-png")], ["r", "save its samples", flip("save-raw")],
    ["u", "undo (also Ctrl+Z)", flip("undo")], ["U", "redo (also Ctrl+Shift+Z)", flip("redo")], ["?", "keys", flip("help")],
];
const ARROWS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };

/** Arrow keys move the pixel, with shift by 16. With the node tools they choose a node, and with shift move its source. */
function step([x, y], isShifted) {
    if (tool() === "pan") {
        const by = isShifted ? 16 : 1;
        lookAt(view.at[0] + x * by, view.at[1] + y * by);
        const [left, top] = [view.left + view.at[0] * view.zoom, view.top + view.at[1] * view.zoom];
        const [insideX, insideY] = [clamp(0, left, view.width - view.zoom), clamp(0, top, view.height - view.zoom)];
        if (left !== insideX || top !== insideY) panBy(insideX - left, insideY - top);
    } else if (isShifted) {
        moveNode(view.node, [x, y]);
    } else {
        chooseNode(Math.floor(view.node / SIDE) + y, view.node % SIDE + x);
    }
}

document.addEventListener("keydown", event => {
    if (document.querySelector("dialog[open]") || event.altKey) return;
    const isTyping = event.target.matches("input[type=number], select");
    if (event.ctrlKey || event.metaKey) {
        const key = event.key.toLowerCase();
        if (isTyping || !["z", "y"].includes(key)) return;
        goInHistory(key === "y" || event.shiftKey ? 1 : -1);
        event.preventDefault();
        return;
    }
    if (isTyping || !picture && !"o?".includes(event.key)) return;
    if (event.target === byId("divider") && event.key in ARROWS) {
        const [x, y] = ARROWS[event.key];
        splitTo(view.split + (x - y) * (event.shiftKey ? 16 : 1));
    } else if (event.target === stage && event.key in ARROWS) {
        step(ARROWS[event.key], event.shiftKey);
    } else {
        const found = KEYS.find(([key]) => key === event.key);
        if (!found) return;
        found[2]();
    }
    event.preventDefault();
});

// Controls.

function connect() {
    addParts();
    for (const [key, what] of KEYS.filter(([, text]) => text)) {
        const [term, data] = [document.createElement("dt"), document.createElement("dd")];
        [term.textContent, data.textContent] = [key, what];
        byId("key-list").append(term, data);
    }
    const onClick = (id, act) => byId(id).addEventListener("click", act);
    onClick("open", () => byId("file").click());
    onClick("choose", () => byId("file").click());
    onClick("undo", () => goInHistory(-1));
    onClick("redo", () => goInHistory(1));
    onClick("help", () => byId("keys").showModal());
    onClick("theme", () => {
        const isDark = getComputedStyle(document.documentElement).getPropertyValue("--back").trim() === "#14171c";
        document.documentElement.dataset.theme = isDark ? "light" : "dark";
    });
    onClick("in", () => zoomTo(view.zoom * 2));
    onClick("out", () => zoomTo(view.zoom / 2));
    onClick("one", () => zoomTo(1));
    onClick("fit", fit);
    onClick("reset", () => setWarp({ edits: null }));
    onClick("copy", () => attempt(async () => {
        getSelection().selectAllChildren(byId("command"));
        await navigator.clipboard.writeText(byId("command").textContent);
    }));
    for (const form of ["grid", "txt", "png", "raw"]) onClick(`save-${form}`, () => attempt(() => save(form)));
    const onChange = (ids, act) => ids.forEach(id => byId(id).addEventListener("input", () => act(byId(id))));
    onChange(["file"], async input => {
        await openFiles([...input.files]);
        input.value = "";
    });
    onChange(["mesh", "arrows", "heat"], draw);
    onChange(["divide"], moved);
    onChange(["loupe"], lookCloser);
    for (const input of document.querySelectorAll("[name=tool]")) input.addEventListener("input", draw);
    for (const input of document.querySelectorAll("[name=kind]")) {
        input.addEventListener("input", () => {
            const source = { parts: true, calibration: warp().calibration, grid: warp().grid }[input.value];
            if (source) setWarp({ kind: input.value });
            showControls();
            for (const name of ["parts", "calibration", "grid"]) byId(`of-${name}`).hidden = input.value !== name;
            input.checked = true;
        });
    }
    onChange(["camera"], input => attempt(() => useCalibration(warp().calibration.name, useCalibration.text, input.value)));
    onChange(["fisheye"], input => {
        const { calibration } = warp();
        setWarp({ calibration: { ...calibration, numbers: { ...calibration.numbers, isFisheye: input.checked } } });
        showControls();
    });
    onChange(["has-alpha"], input => {
        setWarp({ alpha: input.checked ? 0 : null });
        showControls();
    });
    onChange(["alpha", "alpha-slide"], input => {
        if (input.value !== "") setWarp({ alpha: clamp(0, Number(input.value), 1) }, "alpha");
        showControls();
    });
    onChange(["radius", "radius-slide"], input => {
        byId("radius").value = byId("radius-slide").value = input.value;
        draw();
    });
    onChange(["row", "column"], () => chooseNode(Number(byId("row").value), Number(byId("column").value)));
    for (const [i, id] of ["node-x", "node-y"].entries()) {
        byId(id).addEventListener("change", () => {
            if (!mesh || byId(id).value === "") return;
            const by = [0, 0];
            by[i] = Number(byId(id).value) - sourceAt(mesh, view.node)[i];
            moveNode(view.node, by);
        });
    }
    byId("form").addEventListener("input", () => {
        found = null;
        showResult();
        attempt(find);
    });
    stage.addEventListener("dragover", event => {
        event.preventDefault();
        stage.classList.add("drop");
    });
    stage.addEventListener("dragleave", () => stage.classList.remove("drop"));
    document.addEventListener("dragover", event => event.preventDefault());
    document.addEventListener("drop", event => {
        event.preventDefault();
        stage.classList.remove("drop");
        openFiles([...event.dataTransfer.files]);
    });
    new ResizeObserver(() => (view.isFitted ? fit() : moved())).observe(stage);
}

/** The warp that `vantor live` was given. */
function embeddedWarp({ kind, parts, center, calibration, alpha, grid }) {
    const given = newWarp();
    given.kind = kind;
    if (parts) Object.assign(given, { parts, center: center || null });
    if (calibration) Object.assign(given, { calibration, alpha });
    if (grid) given.grid = { ...grid, values: new Int32Array(
        Uint8Array.from(atob(grid.values), letter => letter.charCodeAt(0)).buffer) };
    return given;
}

async function start() {
    connect();
    const data = read("data");
    if (data.warp) history = new History(embeddedWarp(data.warp));
    showControls();
    openPicture.about = await startWorker();
    if (data.picture) {
        await openPicture({ ...await embeddedPicture(data.picture), name: data.picture.name,
                            options: data.picture.options });
    } else {
        byId("empty").hidden = false;
    }
    document.body.dataset.ready = "yes";
}

attempt(start);
