// Pictures of files: gray, RGB, or NV12, which other layouts with chroma become without a change to any sample.
import { checkSize, decodePng, isPng } from "./png.mjs";

const RAW_FORMATS = ["nv12", "nv21", "i420", "gray"];
const MAGIC_Y4M = "YUV4MPEG2 ";

function asciiOf(bytes) { return String.fromCharCode(...bytes); }

export function isJpeg(bytes) { return bytes[0] === 0xff && bytes[1] === 0xd8 && bytes[2] === 0xff; }

/** The size and the format that a raw file's name gives, as far as it does. */
export function rawHints(name) {
    const words = name.toLowerCase().split(/[-_. ]/);
    const sizes = words.filter(word => /^\d+x\d+$/.test(word));
    const ending = words.at(-1);
    return { size: sizes.length > 0 ? sizes[0].split("x").map(Number) : null,
             format: RAW_FORMATS.includes(ending) ? ending : words.find(word => RAW_FORMATS.includes(word)) || null };
}

export function frameBytes(format, [width, height]) {
    const chroma = Math.ceil(width / 2) * Math.ceil(height / 2);
    return width * height + (format === "gray" ? 0 : 2 * chroma);
}

/** Packed planes as NV12 of even size, the last column and row of luma repeated, or as they are if gray. */
function fromPlanes(bytes, format, width, height) {
    if (format === "gray") return { kind: "gray", width, height, samples: bytes };
    const [across, down] = [Math.ceil(width / 2), Math.ceil(height / 2)];
    const samples = new Uint8Array(4 * across * down * 3 / 2);
    for (let y = 0; y < 2 * down; ++y) {
        const row = Math.min(y, height - 1) * width;
        samples.set(bytes.subarray(row, row + width), y * 2 * across);
        if (width % 2) samples[(y + 1) * 2 * across - 1] = bytes[row + width - 1];
    }
    const [u, v, step] = { nv12: [0, 1, 2], nv21: [1, 0, 2], i420: [0, across * down, 1] }[format];
    const from = width * height;
    for (let i = 0, to = 4 * across * down; i < across * down; ++i) {
        samples[to++] = bytes[from + u + i * step];
        samples[to++] = bytes[from + v + i * step];
    }
    return { kind: "nv12", width, height, samples };
}

function readRaw(bytes, format, [width, height], frame) {
    checkSize(width, height);
    if (format !== "gray" && (width % 2 || height % 2))
        throw new Error(`${width}x${height}: width and height of a picture in ${format} must be even`);
    const size = frameBytes(format, [width, height]);
    if (bytes.length === 0 || bytes.length % size)
        throw new Error(`${bytes.length} bytes: expected a multiple of ${size} for ${format} ${width}x${height}`);
    const frames = bytes.length / size;
    if (frame >= frames) throw new Error(`frame ${frame}: expected 0 to ${frames - 1}`);
    return { ...fromPlanes(bytes.subarray(frame * size, (frame + 1) * size), format, width, height), frames };
}

function readY4m(bytes, frame) {
    const end = bytes.subarray(0, 4096).indexOf(10);
    if (end < 0) throw new Error("not a Y4M stream: its header does not end");
    const tags = asciiOf(bytes.subarray(MAGIC_Y4M.length, end)).split(" ");
    const tagOf = (letter, otherwise) => {
        const found = tags.filter(tag => tag[0] === letter).at(-1);
        return found ? found.slice(1) : otherwise;
    };
    const [width, height] = [Number(tagOf("W")), Number(tagOf("H"))];
    checkSize(width, height);
    const layout = tagOf("C", "420jpeg");
    if (!/^(420(jpeg|mpeg2|paldv)?|mono)$/.test(layout))
        throw new Error(`Y4M sample format C${layout}: expected C420jpeg or Cmono; vantor live reads the others`);
    const format = layout === "mono" ? "gray" : "i420";
    const size = frameBytes(format, [width, height]);
    let at = end + 1;
    for (let i = 0; at < bytes.length; ++i) {
        const line = bytes.subarray(at, at + 4096).indexOf(10);
        if (line < 0 || asciiOf(bytes.subarray(at, at + 5)) !== "FRAME")
            throw new Error(`frame ${i} of the Y4M stream does not begin with FRAME`);
        at += line + 1;
        if (at + size > bytes.length) throw new Error(`frame ${i} of the Y4M stream is truncated`);
        if (i === frame) {
            const isFullRange = tags.includes("XCOLORRANGE=FULL");
            return { ...fromPlanes(bytes.subarray(at, at + size), format, width, height), isFullRange };
        }
        at += size;
    }
    throw new Error(`frame ${frame}: beyond the end of the Y4M stream`);
}

/**
 * { kind, width, height, samples, isFullRange, notes, chunks } of a file that is not a JPEG. A raw file needs
 * `{ size, format }`.
 */
export async function readPicture(bytes, { size, format } = {}, frame = 0) {
    const plain = { isFullRange: false, notes: [], chunks: [] };
    if (isPng(bytes)) {
        const { width, height, channels, pixels, notes, chunks } = await decodePng(bytes);
        return { ...plain, kind: channels === 1 ? "gray" : "rgb", width, height, samples: pixels, notes, chunks };
    }
    if (asciiOf(bytes.subarray(0, MAGIC_Y4M.length)) === MAGIC_Y4M) return { ...plain, ...readY4m(bytes, frame) };
    if (!size || !format) throw new Error("not a PNG, JPEG or Y4M file; a raw one needs its size and format");
    return { ...plain, ...readRaw(bytes, format, size, frame) };
}

/** What `vantor live` embeds: NV12 as the rows of a gray PNG, all else as it is. */
export async function embeddedPicture({ kind, size: [width, height], fullRange, png }) {
    const bytes = Uint8Array.from(atob(png), letter => letter.charCodeAt(0));
    const { pixels } = await decodePng(bytes);
    return { kind, width, height, samples: pixels, isFullRange: fullRange, notes: [], chunks: [] };
}
