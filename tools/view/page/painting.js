// Puts everything inside the axes of a plot on a canvas.

import {drawLine, markersOf, oddNumbersOf, xOf, yOf} from "./drawing.js";

const MARKER_RADIUS = 2.5;
const ARROW = 5;
const LINES_PER_STROKE = 10;
const LINE_WIDTH = 1.25;
// So wide that neighbouring bars leave no pale pixel between them.
const BAR_WIDTH = 1.75;

export const DASHES = [7, 4];
// The gaps between dashes are pale, so that they hide nothing.
export const GAP_OPACITY = 0.3;

// The corners of the sign for a number without a place: a triangle at the upper or lower edge for an
// infinity, and a short bar at the lower edge for a NaN.
export function signCorners([x, kind], area) {
    const bottom = area.top + area.height;
    if (kind === "up") return [[x - ARROW, area.top + 8], [x + ARROW, area.top + 8], [x, area.top]];
    if (kind === "down") return [[x - ARROW, bottom - 8], [x + ARROW, bottom - 8], [x, bottom]];
    return [[x - 1, bottom - 6], [x + 1, bottom - 6], [x + 1, bottom], [x - 1, bottom]];
}

function fillPolygon(context, corners) {
    context.beginPath();
    corners.forEach(([x, y]) => context.lineTo(x, y));
    context.closePath();
    context.fill();
}

function paintMarkers(context, places) {
    context.beginPath();
    for (const [x, y] of places) {
        context.moveTo(x + MARKER_RADIUS, y);
        context.arc(x, y, MARKER_RADIUS, 0, 2 * Math.PI);
    }
    context.fill();
}

// Strokes a line in short pieces. Canvases take a hundred times longer for one path that fills a plot.
class StrokingPen {
    #context;
    #isDashed;
    #count = 0;
    #at = [0, 0];
    #length = 0;

    constructor(context, isDashed) {
        this.#context = context;
        this.#isDashed = isDashed;
        context.beginPath();
    }

    moveTo(x, y) {
        this.#context.moveTo(x, y);
        this.#at = [x, y];
    }

    lineTo(x, y) {
        this.#context.lineTo(x, y);
        this.#length += Math.hypot(x - this.#at[0], y - this.#at[1]);
        this.#at = [x, y];
        this.#count += 1;
        if (this.#count % LINES_PER_STROKE !== 0) return;
        this.finish();
        this.#context.beginPath();
        this.#context.moveTo(x, y);
    }

    finish() {
        const context = this.#context;
        if (this.#isDashed) {
            context.setLineDash([]);
            context.globalAlpha = GAP_OPACITY;
            context.stroke();
            context.setLineDash(DASHES);
            context.globalAlpha = 1;
        }
        context.stroke();
        // The dashes go on in the next piece.
        context.lineDashOffset = this.#length;
    }
}

// For lines without dashes. Canvases fill rectangles many times faster than they stroke lines.
class FillingPen extends StrokingPen {
    #context;

    constructor(context) {
        super(context, false);
        this.#context = context;
    }

    bar(x, top, bottom) {
        this.#context.fillRect(x - BAR_WIDTH / 2, top, BAR_WIDTH, bottom - top);
    }
}

export function paintLine(context, trace, scale, {color, isDashed}) {
    context.strokeStyle = color;
    context.fillStyle = color;
    context.lineWidth = LINE_WIDTH;
    context.lineJoin = "round";
    context.save();
    const pen = isDashed ? new StrokingPen(context, true) : new FillingPen(context);
    const points = drawLine(trace, scale, pen);
    pen.finish();
    context.restore();
    paintMarkers(context, markersOf(trace, scale, points));
    oddNumbersOf(trace, scale).forEach((sign) => fillPolygon(context, signCorners(sign, scale)));
}

// The corners of the band between the lower and the upper limit of a tube.
export function tubeCorners(tube, scale) {
    const at = (limits) => tube.times.map((time, i) => [xOf(scale, time), yOf(scale, limits[i])]);
    return [...at(tube.low), ...at(tube.high).reverse()];
}

// The places where runs differ as [left, right] in pixels, at least two pixels wide.
export function placesIn(intervals, scale) {
    return intervals
        .filter(([from, to]) => to + scale.shift >= scale.from && from + scale.shift <= scale.to)
        .map(([from, to]) => {
            const left = Math.max(scale.left, xOf(scale, from) - 1);
            return [left, Math.min(scale.left + scale.width, Math.max(xOf(scale, to) + 1, left + 2))];
        });
}

export function paintDifference(context, difference, scale, colors) {
    context.fillStyle = colors.outside;
    context.beginPath();
    for (const [left, right] of placesIn(difference.intervals, scale)) {
        context.rect(left, scale.top, right - left, scale.height);
    }
    context.fill();
    context.fillStyle = colors.tube;
    fillPolygon(context, tubeCorners(difference.tube, scale));
}
