// Saves the plots as pictures and the visible data as CSV.

import {checkDownload, csvAddress} from "./api.js";
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

async function saveCsvOf({run, shift}, signals, [from, to]) {
    const own = signals.filter(({path, element}) =>
        run.signals.has(path) && (element === null || element < run.signals.get(path).width));
    if (own.length === 0) return;
    const address = csvAddress(run.id, own, from - shift, to - shift);
    await checkDownload(address, own.length);
    download(address, `${run.name}.csv`);
}

// One file for each run, with all steps of the visible times. If the server refuses some, the others are
// saved, and the first RequestError is thrown.
export async function saveCsv(shownRuns, signals, interval) {
    const errors = [];
    for (const shown of shownRuns) {
        await saveCsvOf(shown, signals, interval).catch((error) => errors.push(error));
    }
    if (errors.length > 0) throw errors[0];
}
