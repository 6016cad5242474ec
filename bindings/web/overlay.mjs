// What is drawn over the pictures: mesh, arrows, heat map, and what a grid cannot hold.
import { SIDE } from "./warp.mjs";

const COLORS = { lattice: "#4fc3ff", arrow: "#ffb02e", folded: "#ff2d2dcc", beyond: "#ff2d2d", chosen: "#ff3df2" };
const HEAT = 33;

/** In pixels of the picture: where a node is in the result, and where it takes its sample from. */
export function nodeAt(mesh, node) {
    return [node % SIDE * mesh.frame[0] / 32, Math.floor(node / SIDE) * mesh.frame[1] / 32];
}

export function sourceAt(mesh, node) { return [mesh.sources[2 * node], mesh.sources[2 * node + 1]]; }

export function displacementAt(mesh, node) {
    const [x, y] = nodeAt(mesh, node);
    const [toX, toY] = sourceAt(mesh, node);
    return Math.hypot(toX - x, toY - y);
}

/** The node nearest to a position of the result, or of the source. */
export function nearestNode(mesh, [x, y], side) {
    const at = side === "before" ? sourceAt : nodeAt;
    let best = 0;
    let least = Infinity;
    for (let node = 0; node < SIDE * SIDE; ++node) {
        const [nodeX, nodeY] = at(mesh, node);
        const distance = (nodeX - x) ** 2 + (nodeY - y) ** 2;
        if (distance < least) [best, least] = [node, distance];
    }
    return best;
}

export class Overlay {
    constructor(canvas) {
        this.context = canvas.getContext("2d");
        this.heat = document.createElement("canvas");
        this.heat.width = this.heat.height = HEAT;
    }

    /**
     * `view` is { zoom, left, top, split, width, height, isDivided } in screen pixels; `look` says what to draw. Returns
     * the largest displacement.
     */
    draw(mesh, view, look) {
        const { canvas } = this.context;
        const ratio = window.devicePixelRatio || 1;
        const [width, height] = [Math.round(view.width * ratio), Math.round(view.height * ratio)];
        if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
        this.context.setTransform(ratio, 0, 0, ratio, 0, 0);
        this.context.clearRect(0, 0, view.width, view.height);
        if (!mesh) return 0;
        this.view = view;
        this.mesh = mesh;
        const split = view.isDivided ? view.split : 0;
        let largest = 0;
        for (let node = 0; node < SIDE * SIDE; ++node) largest = Math.max(largest, displacementAt(mesh, node));
        this.clipped(split, view.width, () => this.drawSide(nodeAt, look, largest));
        if (view.isDivided) this.clipped(0, split, () => this.drawSide(sourceAt, { ...look, heat: false }, largest));
        return largest;
    }

    clipped(from, to, draw) {
        this.context.save();
        this.context.beginPath();
        this.context.rect(from, 0, Math.max(0, to - from), this.view.height);
        this.context.clip();
        draw();
        this.context.restore();
    }

    screen([x, y]) { return [this.view.left + x * this.view.zoom, this.view.top + y * this.view.zoom]; }

    drawSide(at, look, largest) {
        if (look.heat) this.drawHeat(largest);
        this.drawFolded(at);
        if (look.mesh) this.drawMesh(at);
        if (look.arrows) this.drawArrows();
        this.drawBeyond(at);
        if (look.node !== null) this.drawChosen(at, look);
        this.drawCursor(look.at);
    }

    drawHeat(largest) {
        const image = new ImageData(HEAT, HEAT);
        for (let node = 0; node < SIDE * SIDE; ++node) {
            const share = largest > 0 ? displacementAt(this.mesh, node) / largest : 0;
            image.data.set([...rainbow(share), 150], 4 * node);
        }
        this.heat.getContext("2d").putImageData(image, 0, 0);
        const [left, top] = this.screen([0, 0]);
        const [right, bottom] = this.screen(this.mesh.frame);
        this.context.imageSmoothingEnabled = true;
        this.context.drawImage(this.heat, 0.5, 0.5, 32, 32, left, top, right - left, bottom - top);
    }

    drawFolded(at) {
        this.context.fillStyle = COLORS.folded;
        for (let cell = 0; cell < 1024; ++cell) {
            if (!this.mesh.isFolded[cell]) continue;
            const node = Math.floor(cell / 32) * SIDE + cell % 32;
            this.context.beginPath();
            for (const corner of [node, node + 1, node + SIDE + 1, node + SIDE])
                this.context.lineTo(...this.screen(at(this.mesh, corner)));
            this.context.fill();
        }
    }

    /** With a dark seam, so that it shows on every picture. */
    stroke(color, width, path) {
        for (const [style, extra] of [["#0004", 1.5], [color, 0]]) {
            this.context.strokeStyle = style;
            this.context.lineWidth = width + extra;
            this.context.stroke(path);
        }
    }

    drawMesh(at) {
        const path = new Path2D();
        for (let line = 0; line < SIDE; ++line) {
            for (const nodeOf of [i => line * SIDE + i, i => i * SIDE + line]) {
                path.moveTo(...this.screen(at(this.mesh, nodeOf(0))));
                for (let i = 1; i < SIDE; ++i) path.lineTo(...this.screen(at(this.mesh, nodeOf(i))));
            }
        }
        this.stroke(COLORS.lattice, 0.8, path);
    }

    drawArrows() {
        const path = new Path2D();
        for (let node = 0; node < SIDE * SIDE; ++node) {
            const [x, y] = this.screen(nodeAt(this.mesh, node));
            const [toX, toY] = this.screen(sourceAt(this.mesh, node));
            const length = Math.hypot(toX - x, toY - y);
            if (length < 0.5) continue;
            const head = Math.min(6, length / 2) / length;
            path.moveTo(x, y);
            path.lineTo(toX, toY);
            for (const turn of [0.5, -0.5]) {
                path.moveTo(toX, toY);
                path.lineTo(toX - head * ((toX - x) - turn * (toY - y)), toY - head * ((toY - y) + turn * (toX - x)));
            }
        }
        this.stroke(COLORS.arrow, 1.2, path);
    }

    drawBeyond(at) {
        this.context.fillStyle = COLORS.beyond;
        for (let node = 0; node < SIDE * SIDE; ++node) {
            if (!this.mesh.isBeyondRange[node]) continue;
            const [x, y] = this.screen(at(this.mesh, node));
            this.context.beginPath();
            this.context.arc(x, y, 4, 0, 7);
            this.context.fill();
        }
    }

    drawChosen(at, { node, radius }) {
        const [x, y] = this.screen(at(this.mesh, node));
        const path = new Path2D();
        path.arc(x, y, 6, 0, 7);
        if (radius > 0) {
            path.moveTo(x + radius * this.view.zoom, y);
            path.arc(x, y, radius * this.view.zoom, 0, 7);
        }
        this.stroke(COLORS.chosen, 1.5, path);
    }

    drawCursor(at) {
        if (!at) return;
        const side = Math.max(this.view.zoom, 3);
        const [x, y] = this.screen([at[0] + 0.5, at[1] + 0.5]);
        const path = new Path2D();
        path.rect(x - side / 2, y - side / 2, side, side);
        this.stroke("#ffffff", 1, path);
    }
}

/** From blue by green to red, as the legend in the style sheet. */
function rainbow(share) {
    const hue = 4 * (1 - share);
    const ramp = offset => Math.max(0, Math.min(Math.abs((hue + offset) % 6 - 3) - 1, 1)) * 255;
    return [ramp(0), ramp(4), ramp(2)];
}
