// Draws traces. A pen has moveTo(x, y) and lineTo(x, y), and may have bar(x, top, bottom), which draws a
// vertical line apart from all others.
//
// A scale turns times and values into pixels:
// {from, to, low, high, left, top, width, height, shift}; `shift` is added to the times of the trace.

import {CONTAINS_INFINITY, CONTAINS_MINUS_INFINITY, CONTAINS_NAN} from "./trace.js";

// Single steps are marked if they have this many pixels each.
const PIXELS_PER_MARKER = 8;
// Shorter lines are hardly seen.
const VISIBLE_LENGTH = 1;
// Vertical lines of at least this length are drawn as bars.
const BAR_HEIGHT = 8;
// Lines end this many pixels outside the plot: canvases calculate with few digits.
const MARGIN = 20;

export function xOf(scale, time) {
    // Halves: the difference of two large numbers may be infinite.
    const share = (time / 2 + scale.shift / 2 - scale.from / 2) / (scale.to / 2 - scale.from / 2);
    return scale.left + share * scale.width;
}

export function yOf(scale, value) {
    const share = (value / 2 - scale.low / 2) / (scale.high / 2 - scale.low / 2);
    return scale.top + (1 - share) * scale.height;
}

// The part of a segment inside a box as [x0, y0, x1, y1], or null.
export function clipped(x0, y0, x1, y1, box) {
    let [start, end] = [0, 1];
    for (const [at, length, low, high] of [[x0, x1 - x0, box.left, box.right],
                                           [y0, y1 - y0, box.top, box.bottom]]) {
        if (length === 0) {
            if (at < low || at > high) return null;
        } else {
            const [near, far] = length > 0 ? [low, high] : [high, low];
            start = Math.max(start, (near - at) / length);
            end = Math.min(end, (far - at) / length);
        }
    }
    if (start > end) return null;
    const [dx, dy] = [x1 - x0, y1 - y0];
    return [x0 + start * dx, y0 + start * dy, x0 + end * dx, y0 + end * dy];
}

// Moves a pen along steps. A time or a value that is not finite interrupts the line. `points` are the places
// of the pieces that are too short to be seen.
class Tracer {
    points = [];

    constructor(pen, scale) {
        this.pen = pen;
        this.scale = scale;
        this.box = {
            left: scale.left - MARGIN, right: scale.left + scale.width + MARGIN,
            top: scale.top - MARGIN, bottom: scale.top + scale.height + MARGIN,
        };
        this.x = NaN;
        this.y = NaN;
        this.lift();
    }

    lift() {
        if (!Number.isNaN(this.x) && this.length < VISIBLE_LENGTH) this.points.push([this.x, this.y]);
        this.x = NaN;
        this.length = 0;
        this.isDown = false;
    }

    isInside(x, y) {
        return x >= this.box.left && x <= this.box.right && y >= this.box.top && y <= this.box.bottom;
    }

    isWide(from, to) {
        return Math.abs(xOf(this.scale, to) - xOf(this.scale, from)) > VISIBLE_LENGTH;
    }

    drawsBar(least, greatest) {
        return this.pen.bar !== undefined && yOf(this.scale, least) - yOf(this.scale, greatest) >= BAR_HEIGHT;
    }

    to(time, value) {
        if (!Number.isFinite(time) || !Number.isFinite(value)) {
            this.lift();
            return;
        }
        const x = xOf(this.scale, time);
        const y = yOf(this.scale, value);
        if (!Number.isNaN(this.x)) {
            this.line(x, y);
            this.length += Math.abs(x - this.x) + Math.abs(y - this.y);
        }
        [this.x, this.y] = [x, y];
    }

    // Draws all values from the least to the greatest one.
    bar(time, least, greatest) {
        const {scale, box} = this;
        const x = xOf(scale, time);
        const top = Math.max(yOf(scale, greatest), box.top);
        const bottom = Math.min(yOf(scale, least), box.bottom);
        if (x >= box.left && x <= box.right && top < bottom) this.pen.bar(x, top, bottom);
    }

    // Goes to a place without drawing, because a bar was drawn there.
    jump(time, value) {
        [this.x, this.y] = [xOf(this.scale, time), yOf(this.scale, value)];
        this.length += BAR_HEIGHT;
        this.isDown = false;
    }

    line(x, y) {
        if (this.isDown && this.isInside(x, y)) {
            this.pen.lineTo(x, y);
            return;
        }
        const part = clipped(this.x, this.y, x, y, this.box);
        if (part !== null) {
            if (!this.isDown) this.pen.moveTo(part[0], part[1]);
            this.pen.lineTo(part[2], part[3]);
        }
        this.isDown = part !== null && this.isInside(x, y);
    }
}

function traceSteps(trace, tracer) {
    for (let i = 0; i < trace.count; i += 1) tracer.to(trace.times[i], trace.values[i]);
}

// From the first value over the least and the greatest to the last one. A least or greatest value that
// is neither the first nor the last is drawn in the middle, within the pixel.
function traceBucket({firstTime, lastTime, first, least, greatest, last}, tracer) {
    const middle = firstTime + (lastTime - firstTime) / 2;
    const areFinite = Number.isFinite(first) && Number.isFinite(last);
    const goesFarther = least < Math.min(first, last) || greatest > Math.max(first, last);
    tracer.to(firstTime, first);
    if (areFinite && goesFarther && tracer.drawsBar(least, greatest)) {
        const isWide = tracer.isWide(firstTime, lastTime);
        if (isWide) tracer.to(middle, first);
        tracer.bar(middle, least, greatest);
        tracer.jump(isWide ? middle : lastTime, last);
        if (isWide) tracer.to(lastTime, last);
        return;
    }
    for (const value of first < last ? [least, greatest] : [greatest, least]) {
        if (value !== first && value !== last && !Number.isNaN(value)) tracer.to(middle, value);
    }
    tracer.to(lastTime, last);
}

function traceAggregate(trace, tracer) {
    for (let i = 0; i < trace.count; i += 1) {
        traceBucket({
            firstTime: trace.firstTime[i], lastTime: trace.lastTime[i],
            first: trace.first[i], least: trace.least[i], greatest: trace.greatest[i], last: trace.last[i],
        }, tracer);
    }
}

// Returns the places of its pieces that are too short to be seen, as [x, y].
export function drawLine(trace, scale, pen) {
    const tracer = new Tracer(pen, scale);
    if (trace.before !== null) tracer.to(trace.before.time, trace.before.value);
    if (trace.isAggregate) {
        traceAggregate(trace, tracer);
    } else {
        traceSteps(trace, tracer);
    }
    if (trace.after !== null) tracer.to(trace.after.time, trace.after.value);
    tracer.lift();
    return tracer.points;
}

function isVisible(trace, scale, i) {
    const time = trace.times[i] + scale.shift;
    return time >= scale.from && time <= scale.to;
}

// The places of the markers as [x, y]: of all visible steps if they are few, and otherwise of the points
// that drawLine() has returned.
export function markersOf(trace, scale, points) {
    const visible = [];
    for (let i = 0; i < trace.count && !trace.isAggregate; i += 1) {
        if (Number.isFinite(trace.values[i]) && isVisible(trace, scale, i)) visible.push(i);
    }
    const areFew = !trace.isAggregate && visible.length * PIXELS_PER_MARKER <= scale.width;
    if (areFew) return visible.map((i) => [xOf(scale, trace.times[i]), yOf(scale, trace.values[i])]);
    return points.filter(([x]) => x >= scale.left && x <= scale.left + scale.width);
}

function flagsOf(trace, i) {
    if (trace.isAggregate) return trace.flags[i];
    const value = trace.values[i];
    if (Number.isNaN(value)) return CONTAINS_NAN;
    if (value === Infinity) return CONTAINS_INFINITY;
    return value === -Infinity ? CONTAINS_MINUS_INFINITY : 0;
}

// Numbers without a place in the plot as [x, kind], kind being "up", "down" or "gap". Each kind is
// reported once per pixel.
export function oddNumbersOf(trace, scale) {
    const kinds = [[CONTAINS_INFINITY, "up"], [CONTAINS_MINUS_INFINITY, "down"], [CONTAINS_NAN, "gap"]];
    const seen = new Map();
    for (let i = 0; i < trace.count; i += 1) {
        const flags = flagsOf(trace, i);
        if (flags === 0) continue;
        const x = Math.round(xOf(scale, trace.isAggregate ? trace.firstTime[i] : trace.times[i]));
        if (x < scale.left || x > scale.left + scale.width) continue;
        for (const [flag, kind] of kinds) {
            if ((flags & Number(flag)) !== 0) seen.set(`${x} ${kind}`, [x, kind]);
        }
    }
    return [...seen.values()];
}
