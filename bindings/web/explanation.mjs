// How one pixel came about, in words and numbers of `vantor explain`.

function axis(name, at) {
    const { virtual_position: position, cell, within_cell: within, displacement, source_position: source, index } = at;
    return `${name}: virtual ${position}, cell ${cell}, ${within} into it\n` +
        `   displacement ${displacement}, source ${(source / 256).toFixed(4)}\n` +
        (at.taps ? `   index ${index}, fraction ${at.fraction}; taps ${at.taps.join(" ")}\n` : "");
}

/** Four rows of four, sample by weight. */
function products(samples, weights) {
    return samples.map((row, y) => row.map((sample, x) =>
        `${String(sample).padStart(4)} ×${String(weights[y][x]).padStart(4)}`).join("")).join("\n") + "\n";
}

function chroma(name, { samples, weights, value }) {
    return `${name} ${value}: ${samples.map((sample, i) => `${sample}×${weights[i]}`).join(" + ")}\n`;
}

export function explanation({ pixel, inside, x, y, luma, u, v, library }) {
    const values = library.map((value, i) => `${"YUV"[i]} ${value}`).join(", ");
    const head = `(${pixel.join(", ")}): ${values}\n${axis("x", x)}${axis("y", y)}`;
    if (!inside) return head + "outside the picture, so black";
    return head + products(luma.samples, luma.weights) +
        `sum ${luma.sum}, weights ${luma.weight_sum}, correction ${luma.correction}\n` +
        `bounds ${luma.bounds.join(" to ")}: Y ${luma.value}\n` +
        (u ? chroma("U", u) + chroma("V", v) : library.length > 1 ? "chroma: that of the even column and row\n" : "");
}
