// A trace is what the server sends of one element of one signal: steps, or one entry for each pixel.

const MAGIC = "L2TRACE1";
const HEADER_BYTES = 64;
export const CONTAINS_NAN = 1;
export const CONTAINS_INFINITY = 2;
export const CONTAINS_MINUS_INFINITY = 4;

function neighbour(time, value) {
    return Number.isNaN(time) ? null : {time, value};
}

function namedColumns(buffer, count, names) {
    const columns = {};
    names.forEach((name, index) => {
        columns[name] = new Float64Array(buffer, HEADER_BYTES + index * count * 8, count);
    });
    return columns;
}

// Throws an Error if the bytes are no trace.
export function parseTrace(buffer) {
    const head = new DataView(buffer, 0, HEADER_BYTES);
    const magic = String.fromCharCode(...new Uint8Array(buffer, 0, MAGIC.length));
    if (magic !== MAGIC) throw new Error("The server sent something that is not a trace.");
    const number = (offset) => head.getFloat64(offset, true);
    const count = head.getUint32(20, true);
    const isAggregate = head.getUint32(16, true) === 1;
    const columns = isAggregate
        ? ["firstTime", "lastTime", "first", "least", "greatest", "last", "flags"]
        : ["times", "values"];
    return {
        revision: Number(head.getBigUint64(8, true)),
        isAggregate,
        count,
        steps: Number(head.getBigUint64(24, true)),
        before: neighbour(number(32), number(40)),
        after: neighbour(number(48), number(56)),
        ...namedColumns(buffer, count, columns),
    };
}

// Calls segment(t0, v0, t1, v1) for every line that leads from step to step, neighbours included. The lines
// within a pixel of an aggregate are left out.
function eachSegment(trace, segment) {
    const [starts, firsts, ends, lasts] = trace.isAggregate
        ? [trace.firstTime, trace.first, trace.lastTime, trace.last]
        : [trace.times, trace.values, trace.times, trace.values];
    let previous = trace.before;
    const to = (time, value) => {
        if (previous !== null) segment(previous.time, previous.value, time, value);
    };
    for (let i = 0; i < trace.count; i += 1) {
        to(starts[i], firsts[i]);
        previous = {time: ends[i], value: lasts[i]};
    }
    if (trace.after !== null) to(trace.after.time, trace.after.value);
}

class Extent {
    low = Infinity;
    high = -Infinity;

    add(value) {
        if (!Number.isFinite(value)) return;
        if (value < this.low) this.low = value;
        if (value > this.high) this.high = value;
    }
}

function addSegment(extent, from, to, t0, v0, t1, v1) {
    const inside = (time) => time >= from && time <= to;
    if (inside(t0)) extent.add(v0);
    if (inside(t1)) extent.add(v1);
    if (t0 === t1) return;
    for (const edge of [from, to]) {
        if (Math.min(t0, t1) < edge && edge < Math.max(t0, t1)) {
            extent.add(v0 + (v1 - v0) * ((edge - t0) / (t1 - t0)));
        }
    }
}

function addPixels(extent, from, to, trace) {
    for (let i = 0; i < trace.count; i += 1) {
        if (trace.lastTime[i] < from || trace.firstTime[i] > to) continue;
        extent.add(trace.least[i]);
        extent.add(trace.greatest[i]);
    }
}

// The least and greatest finite value that a plot of the trace shows between two times.
export function extentOf(trace, from, to) {
    const extent = new Extent();
    eachSegment(trace, (...segment) => addSegment(extent, from, to, ...segment));
    if (trace.isAggregate) addPixels(extent, from, to, trace);
    else if (trace.count === 1 && trace.times[0] >= from && trace.times[0] <= to) extent.add(trace.values[0]);
    return extent;
}
