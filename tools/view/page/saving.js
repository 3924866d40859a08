// Saves the plots as pictures and the visible data as CSV.

import {csvAddress} from "./api.js";
import {element} from "./dom.js";
import {pictureOf} from "./picture.js";

const PIXELS = 2; // of a PNG for each pixel of the page

function download(address, name) {
    const link = element("a", {href: address, download: name});
    document.body.append(link);
    link.click();
    link.remove();
}

function downloadBlob(blob, name) {
    const address = URL.createObjectURL(blob);
    download(address, name);
    setTimeout(() => URL.revokeObjectURL(address), 60000);
}

function svgBlob(svg) {
    return new Blob([svg], {type: "image/svg+xml"});
}

export function saveSvg(plots, colors, name) {
    downloadBlob(svgBlob(pictureOf(plots, colors).svg), `${name}.svg`);
}

export async function savePng(plots, colors, name) {
    const {svg, width, height} = pictureOf(plots, colors);
    const address = URL.createObjectURL(svgBlob(svg));
    const image = new Image();
    image.src = address;
    await image.decode();
    const canvas = element("canvas", {width: width * PIXELS, height: height * PIXELS});
    canvas.getContext("2d").drawImage(image, 0, 0, canvas.width, canvas.height);
    URL.revokeObjectURL(address);
    canvas.toBlob((blob) => downloadBlob(blob, `${name}.png`), "image/png");
}

// One file for each run, with all steps of the visible times.
export function saveCsv(shownRuns, paths, [from, to]) {
    for (const {run, shift} of shownRuns) {
        const own = paths.filter((path) => run.signals.has(path));
        if (own.length > 0) download(csvAddress(run.id, own, from - shift, to - shift), `${run.name}.csv`);
    }
}
