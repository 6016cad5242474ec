// PNG files, sample by sample. No canvas reads or writes them: browsers apply colour profiles, and multiply by alpha.

const SIGNATURE = [137, 80, 78, 71, 13, 10, 26, 10];
const CHANNELS = { 0: 1, 2: 3, 3: 1, 4: 2, 6: 4 };
const DEPTHS = { 0: [1, 2, 4, 8, 16], 2: [8, 16], 3: [1, 2, 4, 8], 4: [8, 16], 6: [8, 16] };
const PASSES = [[0, 0, 8, 8], [4, 0, 8, 8], [0, 4, 4, 8], [2, 0, 4, 4], [0, 2, 2, 4], [1, 0, 2, 2], [0, 1, 1, 2]];
/** What a result keeps, as the tool's does. */
const KEPT = ["cICP", "iCCP", "sRGB", "gAMA", "cHRM", "eXIf"];
const [MIN_WIDTH, MIN_HEIGHT] = [96, 64];
const MAX_WIDTH = 8192;
const MAX_HEIGHT = 6144;

const CRCS = Uint32Array.from({ length: 256 }, (_, byte) => {
    for (let i = 0; i < 8; ++i) byte = byte & 1 ? byte >>> 1 ^ 0xedb88320 : byte >>> 1;
    return byte;
});

function crcOf(bytes) {
    let crc = -1;
    for (const byte of bytes) crc = CRCS[(crc ^ byte) & 255] ^ crc >>> 8;
    return ~crc >>> 0;
}

export function isPng(bytes) { return SIGNATURE.every((byte, i) => bytes[i] === byte); }

export function checkSize(width, height) {
    if (width >= MIN_WIDTH && height >= MIN_HEIGHT && width <= MAX_WIDTH && height <= MAX_HEIGHT) return;
    throw new Error(`${width}x${height}: expected ${MIN_WIDTH}x${MIN_HEIGHT} to ${MAX_WIDTH}x${MAX_HEIGHT}`);
}

/** Bytes through a compression stream; those beyond `limit` are dropped. */
async function piped(parts, stream, limit = Infinity) {
    const reader = new Blob(parts).stream().pipeThrough(stream).getReader();
    const chunks = [];
    let size = 0;
    while (size < limit) {
        const { done, value } = await reader.read();
        if (done) break;
        chunks.push(value);
        size += value.length;
    }
    reader.cancel().catch(() => {});
    const all = new Uint8Array(Math.min(size, limit));
    let at = 0;
    for (const chunk of chunks) {
        all.set(chunk.subarray(0, all.length - at), at);
        at += chunk.length;
    }
    return all;
}

export function inflate(bytes, format, limit) { return piped([bytes], new DecompressionStream(format), limit); }

function chunksOf(bytes) {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const chunks = [];
    for (let at = 8; at + 12 <= bytes.length;) {
        const length = view.getUint32(at);
        if (at + 12 + length > bytes.length) throw new Error("truncated PNG file");
        const name = String.fromCharCode(...bytes.subarray(at + 4, at + 8));
        const isRight = crcOf(bytes.subarray(at + 4, at + 8 + length)) === view.getUint32(at + 8 + length);
        const isCritical = name[0] < "a";
        if (!isRight && isCritical) throw new Error(`not a valid PNG file: ${name}: CRC error`);
        if (isRight) chunks.push({ name, data: bytes.subarray(at + 8, at + 8 + length) });
        if (name === "IEND") return chunks;
        at += 12 + length;
    }
    throw new Error("truncated PNG file");
}

function headerOf(chunks) {
    const { name, data } = chunks[0] || {};
    if (name !== "IHDR" || data.length !== 13) throw new Error("not a valid PNG file: no IHDR first");
    const view = new DataView(data.buffer, data.byteOffset, 13);
    const header = { width: view.getUint32(0), height: view.getUint32(4), depth: data[8], type: data[9],
                     isInterlaced: data[12] === 1 };
    if (!(DEPTHS[header.type] || []).includes(header.depth) || data[10] || data[11] || data[12] > 1)
        throw new Error("not a valid PNG file: invalid IHDR");
    checkSize(header.width, header.height);
    if (header.depth > 8) throw new Error(`${header.depth} bits per sample: at most 8 expected`);
    return header;
}

function paeth(left, above, corner) {
    const estimate = left + above - corner;
    const [a, b, c] = [Math.abs(estimate - left), Math.abs(estimate - above), Math.abs(estimate - corner)];
    return a <= b && a <= c ? left : b <= c ? above : corner;
}

/** Takes back the filter of a row. `above` is the row before it, or zeros. */
function unfilter(filter, row, above, step) {
    if (filter > 4) throw new Error(`not a valid PNG file: filter ${filter}`);
    for (let i = 0; i < row.length; ++i) {
        const left = i < step ? 0 : row[i - step];
        if (filter === 1) row[i] += left;
        else if (filter === 2) row[i] += above[i];
        else if (filter === 3) row[i] += left + above[i] >> 1;
        else if (filter === 4) row[i] += paeth(left, above[i], i < step ? 0 : above[i - step]);
    }
}

/** The rows of one pass to `put(row, y)`; returns where the next one begins. */
function readPass(bytes, at, width, height, bits, put) {
    const rowBytes = Math.ceil(width * bits / 8);
    let above = new Uint8Array(rowBytes);
    for (let y = 0; y < height; ++y) {
        const row = bytes.subarray(at + 1, at + 1 + rowBytes);
        unfilter(bytes[at], row, above, Math.max(1, bits >> 3));
        put(row, y);
        above = row;
        at += 1 + rowBytes;
    }
    return at;
}

/** { width, height, channels, pixels, chunks, notes } of a file: 1 channel is gray, 3 are R, G and B. */
export async function decodePng(bytes) {
    const chunks = chunksOf(bytes);
    const { width, height, depth, type, isInterlaced } = headerOf(chunks);
    const palette = (chunks.find(chunk => chunk.name === "PLTE") || {}).data;
    if (type === 3 && !palette) throw new Error("not a valid PNG file: no palette");
    const stored = CHANNELS[type];
    const bits = stored * depth;
    const passes = (isInterlaced ? PASSES : [[0, 0, 1, 1]]).map(([left, top, across, down]) => ({
        left, top, across, down,
        width: Math.ceil((width - left) / across),
        height: Math.ceil((height - top) / down),
    })).filter(pass => pass.width > 0 && pass.height > 0);
    const size = passes.reduce((sum, pass) => sum + (1 + Math.ceil(pass.width * bits / 8)) * pass.height, 0);
    const data = chunks.filter(chunk => chunk.name === "IDAT").map(chunk => chunk.data);
    const filtered = await piped(data, new DecompressionStream("deflate"), size).catch(() => {
        throw new Error("not a valid PNG file: invalid compressed data");
    });
    if (filtered.length < size) throw new Error("truncated PNG file");
    const channels = type === 2 || type === 3 || type === 6 ? 3 : 1;
    const pixels = new Uint8Array(width * height * channels);
    const scale = 255 / ((1 << depth) - 1);
    const mask = (1 << depth) - 1;
    let at = 0;
    for (const pass of passes) {
        at = readPass(filtered, at, pass.width, pass.height, bits, (row, y) => {
            let to = ((pass.top + y * pass.down) * width + pass.left) * channels;
            for (let x = 0; x < pass.width; ++x, to += pass.across * channels) {
                if (depth === 8 && type !== 3) {
                    for (let c = 0; c < channels; ++c) pixels[to + c] = row[x * stored + c];
                    continue;
                }
                const value = row[x * depth >> 3] >> 8 - depth - (x * depth & 7) & mask;
                if (type !== 3) pixels[to] = value * scale;
                else for (let c = 0; c < 3; ++c) pixels[to + c] = palette[3 * value + c];
            }
        });
    }
    const hasAlpha = type === 4 || type === 6 || chunks.some(chunk => chunk.name === "tRNS");
    return { width, height, channels, pixels, chunks: chunks.filter(chunk => KEPT.includes(chunk.name)),
             notes: hasAlpha ? ["alpha dropped"] : [] };
}

function chunkBytes(name, data) {
    const bytes = new Uint8Array(12 + data.length);
    const view = new DataView(bytes.buffer);
    view.setUint32(0, data.length);
    bytes.set([...name].map(letter => letter.charCodeAt(0)), 4);
    bytes.set(data, 8);
    view.setUint32(8 + data.length, crcOf(bytes.subarray(4, 8 + data.length)));
    return bytes;
}

/** The bytes of a file with these samples. */
export async function encodePng({ width, height, channels, pixels, chunks = [] }) {
    const header = new Uint8Array(13);
    const view = new DataView(header.buffer);
    view.setUint32(0, width);
    view.setUint32(4, height);
    header.set([8, channels === 1 ? 0 : 2], 8);
    const rowBytes = width * channels;
    const filtered = new Uint8Array((1 + rowBytes) * height);
    const none = new Uint8Array(rowBytes);
    for (let y = 0, to = 0; y < height; ++y) {
        const row = pixels.subarray(y * rowBytes, (y + 1) * rowBytes);
        const above = y > 0 ? pixels.subarray((y - 1) * rowBytes, y * rowBytes) : none;
        filtered[to++] = 4;
        for (let i = 0; i < rowBytes; ++i) {
            const isFirst = i < channels;
            filtered[to++] = row[i] - paeth(isFirst ? 0 : row[i - channels], above[i],
                                            isFirst ? 0 : above[i - channels]);
        }
    }
    const data = await piped([filtered], new CompressionStream("deflate"));
    const parts = [Uint8Array.from(SIGNATURE), chunkBytes("IHDR", header),
                   ...chunks.map(chunk => chunkBytes(chunk.name, chunk.data)), chunkBytes("IDAT", data),
                   chunkBytes("IEND", new Uint8Array(0))];
    return new Uint8Array(await new Blob(parts).arrayBuffer());
}
