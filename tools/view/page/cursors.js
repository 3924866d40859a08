// The values at the cursors: at A, at B, and at the pointer. They come from the server, because a trace
// does not hold every step. The value at a time is that of the last step that is not later.

import {fetchValues, partsOf} from "./api.js";
import {NewestOnly} from "./newest.js";
import {sentNumber} from "./numbers.js";

function runsOf(lines) {
    const runs = new Map();
    for (const line of lines) {
        const {run: {id}, shift, key} = line;
        if (!runs.has(id)) runs.set(id, {id, shift, own: new Map()});
        runs.get(id).own.set(key, line);
    }
    return [...runs.values()];
}

// Empty if the server refuses, as it does for a run that is gone.
async function valuesOrNone(id, time, part, signal) {
    try {
        return await fetchValues(id, time, part, signal);
    } catch (error) {
        if (error.name === "AbortError") throw error;
        return [];
    }
}

// The steps around a time: a map from the keys of the lines to {before, after, shift}.
async function stepsAround(lines, timeIn, signal) {
    const steps = new Map();
    await Promise.all(runsOf(lines).flatMap(({id, shift, own}) =>
        partsOf([...own.values()]).map(async (part) => {
            const entries = await valuesOrNone(id, timeIn(shift), part, signal);
            entries.forEach((entry, index) => steps.set(part[index].key, {...entry, shift}));
        })));
    return steps;
}

// The greatest double below a number.
function nextBelow(value) {
    const bits = new BigInt64Array(new Float64Array([value]).buffer);
    if (value === 0) return -Number.MIN_VALUE;
    bits[0] += value > 0 ? -1n : 1n;
    return new Float64Array(bits.buffer)[0];
}

// Adding and subtracting a shift rounds, by at most this share.
const ROUNDING = 2 ** -51;

// The time of a run that is shifted to a time of the page: not before any step that is shown there if the
// direction is 1, and not after any if it is -1.
function ownTime(time, shift, direction) {
    const rounding = shift === 0 ? 0 : ROUNDING * Math.max(Math.abs(time), Math.abs(shift));
    return time - shift + direction * rounding;
}

// The finite time of the nearest step of these lines after a time, or before it if the direction is -1. It
// is null if there is none.
export async function nextStepTime(lines, time, direction) {
    const name = direction > 0 ? "after" : "before";
    const steps = await stepsAround(lines, (shift) => {
        const own = ownTime(time, shift, direction);
        return direction > 0 ? own : nextBelow(own);
    });
    const times = [...steps.values()].filter((entry) => entry[name] !== null)
        .map((entry) => sentNumber(entry[name].time) + entry.shift).filter(Number.isFinite);
    if (times.length === 0) return null;
    return direction > 0 ? Math.min(...times) : Math.max(...times);
}

export class Cursors {
    #steps = {a: new Map(), b: new Map(), pointer: new Map()};
    #queues = {a: new NewestOnly(), b: new NewestOnly(), pointer: new NewestOnly()};
    #asked = {a: "", b: "", pointer: ""};
    #loaded;

    constructor(loaded) {
        this.#loaded = loaded;
    }

    // times: {a, b, pointer}, null where there is no cursor. Asks for what is not known yet. stampOf(time) says
    // which state of the runs the values depend on.
    want(lines, times, stampOf) {
        const keys = lines.map((line) => `${line.key} ${line.shift}`).join("\n");
        for (const [name, time] of Object.entries(times)) {
            const asked = time === null ? "" : `${time} ${stampOf(time)} ${keys}`;
            if (asked === this.#asked[name]) continue;
            this.#asked[name] = asked;
            if (time === null) {
                this.#steps[name] = new Map();
            } else {
                this.#queues[name].run((signal) => this.#load(name, lines, time, signal));
            }
        }
    }

    async #load(name, lines, time, signal) {
        const steps = await stepsAround(lines, (shift) => ownTime(time, shift, 1), signal);
        // The cursor may have gone meanwhile. If it has only moved on, this is shown until the next answer.
        if (this.#asked[name] === "") return;
        this.#steps[name] = steps;
        this.#loaded();
    }

    // The value of a line at a cursor, or undefined if it is not known or there is no step.
    valueAt(name, line) {
        const before = this.#steps[name].get(line.key)?.before;
        if (before === undefined || before === null) return undefined;
        return sentNumber(before.value);
    }
}
