// A small reader of calibrations: the YAML, XML and JSON of OpenCV, ROS and Kalibr, and COLMAP's cameras.txt. The numbers
// are those of the tool's reader; what it cannot read, `vantor live --calibration` can.

const NAMES = {
    camera: ["camera_matrix", "K", "M", "mtx", "intrinsic_matrix", "intrinsics"],
    distortion: ["distortion_coefficients", "dist_coeffs", "dist_coeff", "distortion_coeffs", "D", "dist", "distortion"],
    rotation: ["rectification_matrix", "R"],
    projection: ["projection_matrix", "P"],
    width: ["image_width", "width"],
    height: ["image_height", "height"],
    size: ["image_size", "img_size", "resolution"],
    fisheye: ["fisheye_model", "fisheye"],
    model: ["distortion_model"],
    cameraModel: ["camera_model"],
};
const IN_PAIRS = ["camera", "distortion", "rotation", "projection"];
const COLMAP = { SIMPLE_PINHOLE: [1, 0], PINHOLE: [2, 0], SIMPLE_RADIAL: [1, 1], RADIAL: [1, 2], OPENCV: [2, 4],
                 OPENCV_FISHEYE: [2, 4], FULL_OPENCV: [2, 8] };

function plain(name) { return name.toLowerCase().replace(/[^a-z0-9]/g, ""); }

function kindOf(name, kinds = Object.keys(NAMES)) {
    return kinds.find(kind => NAMES[kind].some(usual => plain(usual) === plain(name)));
}

/** Of a value: the words of a scalar, of a list (of lists), or of the "data" of a map. */
function wordsOf(value) {
    if (value === null || value === undefined) return [];
    if (Array.isArray(value)) return value.flat().map(String);
    return typeof value === "object" ? wordsOf(value.data) : [String(value)];
}

/** Nested maps and lists of the flow form: { a: [1, 2] }. Returns [value, rest]. */
function parseFlow(text) {
    text = text.replace(/^(\s|#[^\n]*\n)+/, "");
    if (text[0] === "[" || text[0] === "{") {
        const isList = text[0] === "[";
        const made = isList ? [] : {};
        text = text.slice(1);
        for (;;) {
            text = text.replace(/^([\s,]|#[^\n]*\n)+/, "");
            if (text === "") throw new Error("a list or a map does not end");
            if (text[0] === (isList ? "]" : "}")) return [made, text.slice(1)];
            let key;
            if (!isList) {
                const [, quoted, bare, rest] = text.match(/^(?:["']([^"']*)["']|([^:,{}[\]]+?))\s*:([^]*)$/) || [];
                if (rest === undefined) throw new Error("expected a name and a colon");
                [key, text] = [quoted === undefined ? bare : quoted, rest];
            }
            const [value, rest] = parseFlow(text);
            if (isList) made.push(value);
            else made[key] = value;
            text = rest;
        }
    }
    const [whole, quoted, single, bare] = text.match(/^(?:"([^"]*)"|'([^']*)'|([^,[\]{}\n#]*))/);
    return [quoted ?? single ?? bare.trim(), text.slice(whole.length)];
}

/** How far a line's brackets are open. */
function depthOf(text) { return (text.match(/[[{]/g) || []).length - (text.match(/[\]}]/g) || []).length; }

function parseScalar(text) {
    text = text.replace(/^!+\S+\s*/, "");
    return text === "" ? null : parseFlow(text)[0];
}

/** Lines of { indent, text }, with lists and maps in brackets joined to one. */
function linesOf(text) {
    const lines = [];
    let open = 0;
    for (const line of text.split(/\r?\n/)) {
        const content = line.replace(/(^|\s)#.*$/, "").trimEnd();
        if (/^(%|\.\.\.)/.test(content)) continue;
        if (/^---/.test(content)) {
            if (lines.length > 0) break;
            if (depthOf(content) <= 0) continue;
        }
        if (content.trim() === "") continue;
        if (open > 0) {
            lines.at(-1).text += "\n" + content;
        } else {
            lines.push({ indent: content.search(/\S/), text: content.trim() });
        }
        open += depthOf(content);
    }
    if (open > 0) throw new Error("a list or a map does not end");
    return lines;
}

function parseBlock(lines, indent) {
    if (/^-(\s|$)/.test(lines[0].text)) {
        const list = [];
        while (lines.length > 0 && lines[0].indent === indent && /^-(\s|$)/.test(lines[0].text)) {
            const rest = lines[0].text.slice(1);
            const inner = rest.trimStart();
            if (inner === "") {
                lines.shift();
                list.push(lines.length > 0 && lines[0].indent > indent ? parseBlock(lines, lines[0].indent) : null);
            } else if (/^-\s/.test(inner) || /^[^[{"'][^[{]*:(\s|$)/.test(inner)) {
                lines[0] = { indent: indent + 1 + rest.length - inner.length, text: inner };
                list.push(parseBlock(lines, lines[0].indent));
            } else {
                lines.shift();
                list.push(parseScalar(inner));
            }
        }
        return list;
    }
    const map = {};
    while (lines.length > 0 && lines[0].indent === indent) {
        const found = lines[0].text.match(/^(?:"([^"]*)"|'([^']*)'|([^:]+?))\s*:(?:\s+([^]*))?$/);
        if (!found) throw new Error(`'${lines[0].text.slice(0, 40)}': expected a name and a colon`);
        const name = found[1] ?? found[2] ?? found[3];
        const value = (found[4] || "").replace(/^!+\S+\s*/, "");
        lines.shift();
        const isNested = lines.length > 0 && value === "" &&
            (lines[0].indent > indent || (lines[0].indent === indent && /^-(\s|$)/.test(lines[0].text)));
        map[name] = isNested ? parseBlock(lines, lines[0].indent) : parseScalar(value);
    }
    if (lines.length > 0 && lines[0].indent > indent) throw new Error(`'${lines[0].text.slice(0, 40)}': unexpected indent`);
    return map;
}

function parseYaml(text) {
    if (text.trimStart()[0] === "{") return parseFlow(text)[0];
    const lines = linesOf(text);
    if (lines.length === 0) return {};
    const map = parseBlock(lines, lines[0].indent);
    if (lines.length > 0) throw new Error(`'${lines[0].text.slice(0, 40)}': unexpected indent`);
    return map;
}

/** The children of an XML document's first element. */
function parseXml(text) {
    const body = text.replace(/<\?[^]*?\?>|<!--[^]*?-->|<!DOCTYPE[^>]*>/g, "");
    const root = body.match(/^\s*<([\w.-]+)[^>]*>([^]*)<\/\1\s*>\s*$/);
    if (!root) throw new Error("not an XML document of one element");
    const entries = {};
    for (const [, name, inner] of root[2].matchAll(/<([\w.-]+)(?:\s[^>]*)?>([^]*?)<\/\1\s*>/g)) {
        const data = inner.match(/<data[^>]*>([^]*?)<\/data\s*>/);
        entries[name] = (data ? data[1] : inner).trim().split(/\s+/).filter(word => word !== "");
    }
    return entries;
}

function parseColmap(text) {
    const cameras = {};
    for (const line of text.split(/\r?\n/)) {
        const [id, model, width, height, ...parameters] = line.trim().split(/\s+/);
        if (!id || id[0] === "#") continue;
        if (!/^\d+$/.test(id)) throw new Error(`camera '${id.slice(0, 40)}', expected a number`);
        const [focal, count] = COLMAP[model] || [];
        if (focal === undefined) throw new Error(`camera ${id}: model '${String(model).slice(0, 40)}', expected one of ` +
                                                 Object.keys(COLMAP).join(", "));
        if (parameters.length !== focal + 2 + count)
            throw new Error(`camera ${id}: ${parameters.length} parameters, expected ${focal + 2 + count}`);
        const coefficients = parameters.slice(focal + 2);
        while (coefficients.length < 4) coefficients.push("0");
        cameras[id] = { size: [width, height], camera: [parameters[0], ...parameters.slice(focal - 1, focal + 2)],
                        distortion: coefficients, model: [model === "OPENCV_FISHEYE" ? "fisheye" : "plumb_bob"],
                        firstCentre: 0.5 };
    }
    return cameras;
}

/** { camera: { kind: words } }; what belongs to no camera by name has the name "". */
function camerasOf(text) {
    const start = text.split(/\r?\n/).find(line => line.trim() !== "" && line[0] !== "#") || "";
    if (/^\s*\d+\s+[A-Z]/.test(start)) return parseColmap(text);
    const document = text.trimStart()[0] === "<" ? parseXml(text) : parseYaml(text);
    const cameras = {};
    const put = (camera, kind, value) => { (cameras[camera] = cameras[camera] || {})[kind] = wordsOf(value); };
    for (const [name, value] of Object.entries(document)) {
        const isCamera = /^cam\d+$/.test(name) && value && typeof value === "object" && !Array.isArray(value);
        for (const [inner, entry] of isCamera ? Object.entries(value) : []) {
            if (kindOf(inner)) put(name, kindOf(inner), entry);
        }
        if (isCamera) continue;
        const [, stem, side] = plain(name).match(/^(.*?)(1|2|left|right)$/) || [];
        const ofPair = stem && kindOf(stem, IN_PAIRS);
        if (kindOf(name)) put("", kindOf(name), value);
        else if (ofPair) put({ 1: "left", 2: "right" }[side] || side, ofPair, value);
        // The short names of a ROS message, which has both, mean other things elsewhere.
        if (["r", "p"].includes(plain(name))) cameras[""][`${plain(name)} alone`] = true;
    }
    const shared = cameras[""] || {};
    if (Boolean(shared["r alone"]) !== Boolean(shared["p alone"]))
        delete shared[shared["r alone"] ? "rotation" : "projection"];
    return cameras;
}

/** The cameras that a file has by name; none where it has one without a name. */
export function cameraNames(text) {
    const cameras = camerasOf(text);
    return cameras[""] && cameras[""].camera ? [] : Object.keys(cameras).filter(name => name !== "");
}

function entriesOf(text, name) {
    const cameras = camerasOf(text);
    const chosen = name || (cameraNames(text).length === 1 ? cameraNames(text)[0] : "");
    const own = cameras[chosen];
    if (!own) throw new Error(`cameras ${cameraNames(text).join(", ")}: expected the name of one`);
    if (chosen === "") return own;
    const shared = { ...cameras[""] };
    delete shared.rotation;
    delete shared.projection;
    if (own.camera) {
        delete shared.camera;
        delete shared.distortion;
    }
    return { ...shared, ...own };
}

function numbersOf(entries, kind) {
    if (!entries[kind]) throw new Error(`${NAMES[kind][0]} is missing`);
    return entries[kind].map(word => {
        const value = Number(word);
        if (!/^-?(\d+\.?\d*|\.\d+)(e[-+]?\d+)?$/i.test(word) || !Number.isFinite(value))
            throw new Error(`${NAMES[kind][0]} has '${word.slice(0, 40)}', expected a number`);
        return value;
    });
}

function isFisheyeIn({ model, fisheye }) {
    if (model) {
        const name = plain(model.join(" "));
        if (["equidistant", "fisheye"].includes(name)) return true;
        if (!["plumbbob", "rationalpolynomial", "radtan", "radialtangential"].includes(name))
            throw new Error(`distortion_model is '${model.join(" ").slice(0, 40)}', expected plumb_bob, ` +
                            "rational_polynomial, radtan, equidistant or fisheye");
    }
    return Boolean(fisheye) && !["0", "false"].includes(fisheye.join(" "));
}

/** What vantor_grid_from_rectification() takes of the camera `name`, or of the only one. */
export function readCalibration(text, name = "") {
    const entries = entriesOf(text, name);
    if (entries.cameraModel && entries.cameraModel.join(" ") !== "pinhole")
        throw new Error(`camera_model is '${entries.cameraModel.join(" ").slice(0, 40)}', expected pinhole`);
    let matrix = numbersOf(entries, "camera");
    if (matrix.length === 4) matrix = [matrix[0], 0, matrix[2], 0, matrix[1], matrix[3], 0, 0, 1];
    if (matrix.length !== 9) throw new Error(`camera_matrix has ${matrix.length} elements, expected 3 x 3, or fx, fy, cx, cy`);
    matrix[2] -= entries.firstCentre || 0;
    matrix[5] -= entries.firstCentre || 0;
    const size = entries.size ? numbersOf(entries, "size") : [...numbersOf(entries, "width"), ...numbersOf(entries, "height")];
    if (size.length !== 2) throw new Error(`image_size has ${size.length} elements, expected 2`);
    if (["left", "right"].includes(name) && Boolean(entries.rotation) !== Boolean(entries.projection))
        throw new Error(`${NAMES[entries.rotation ? "projection" : "rotation"][0]} is missing`);
    const projection = entries.projection ? numbersOf(entries, "projection") : null;
    if (projection && projection.length === 9)
        projection.splice(0, 9, ...[0, 3, 6].flatMap(row => [...projection.slice(row, row + 3), 0]));
    return { matrix, coefficients: numbersOf(entries, "distortion"), isFisheye: isFisheyeIn(entries), size,
             rotation: entries.rotation ? numbersOf(entries, "rotation") : null, projection, alpha: null };
}
