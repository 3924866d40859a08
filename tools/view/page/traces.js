// Keeps the newest trace of each line and asks for better ones. A trace that is kept is drawn at its own
// times, so an old one is coarse or short, but never wrong.

import {fetchTrace} from "./api.js";
import {NewestOnly} from "./newest.js";

// Fetched on each side of what is visible, as a share of it, so that small moves need no request.
const PADDING = 0.25;
// A request has at most so many.
const MOST_PIXELS = 3000;
// Answers are shown together if they come within so many milliseconds.
const TOGETHER = 100;

function requestOf(line, [from, to], pixels) {
    const padding = (to - from) * PADDING;
    return {
        line,
        path: line.path,
        element: line.element,
        visibleFrom: from - line.shift,
        visibleTo: to - line.shift,
        from: from - padding - line.shift,
        to: to + padding - line.shift,
        pixels: Math.max(1, Math.round(pixels * (1 + 2 * PADDING))),
    };
}

// Each part has neighbours of its own, so it is drawn without the others.
function fetchTraces(runId, {path, element, from, to, pixels}, signal) {
    const count = Math.ceil(pixels / MOST_PIXELS);
    const at = (part) => from + (to - from) * (part / count);
    return Promise.all(Array.from({length: count}, (_, part) => fetchTrace(runId, {
        path, element, from: at(part), to: at(part + 1), pixels: Math.ceil(pixels / count)}, signal)));
}

function pixelLength({from, to, pixels}) {
    return (to - from) / pixels;
}

function isGoodEnough(entry, request) {
    if (entry === undefined || entry.staleSince !== null) return false;
    const {request: old, traces} = entry;
    if (request.visibleFrom < old.from || request.visibleTo > old.to) return false;
    const ratio = pixelLength(request) / pixelLength(old);
    return traces.some((trace) => trace.isAggregate) ? Math.abs(ratio - 1) < 1e-6 : traces.length === 0 || ratio < 4;
}

export class Traces {
    #entries = new Map();
    #loading = new Set();
    #queue = new NewestOnly();
    #loaded;
    #timer = null;

    // loaded() is called after some answers, and loaded(purpose) after the last one of a purpose.
    constructor(loaded) {
        this.#loaded = loaded;
    }

    isBusy() {
        return this.#queue.isBusy();
    }

    // {traces, error, staleSince}, or undefined if there was no answer yet. The traces follow each other in
    // time; staleSince is when their run changed, or null.
    get(key) {
        return this.#entries.get(key);
    }

    // wanted is [{lines, pixels}] for each plot, and purpose.interval is what they show. Forgets all other
    // lines. Returns whether anything must be loaded first. What takes long is given up for what is urgent.
    want(wanted, purpose, isUrgent) {
        const keys = new Set(wanted.flatMap(({lines}) => lines.map((line) => line.key)));
        for (const key of this.#entries.keys()) {
            if (!keys.has(key)) this.#entries.delete(key);
        }
        const requests = this.#missing(wanted
            .flatMap(({lines, pixels}) => lines.map((line) => requestOf(line, purpose.interval, pixels))));
        if (requests.length > 0) this.#queue.run((signal) => this.#load(requests, purpose, signal), isUrgent);
        return requests.length > 0;
    }

    // The steps of a run have changed from this time on.
    outdate(runId, time) {
        this.#outdate(({line, to}) => line.run.id === runId && to >= time);
    }

    outdateAll() {
        this.#outdate(() => true);
    }

    // What has changed while the server answers may be missing in the answer.
    #outdate(isMeant) {
        for (const entry of [...this.#entries.values(), ...this.#loading]) {
            if (isMeant(entry.request)) entry.staleSince ??= performance.now();
        }
    }

    // Since when something that is shown is older than its run; Infinity if nothing is.
    staleSince() {
        return Math.min(...[...this.#entries.values()].map(({staleSince}) => staleSince ?? Infinity));
    }

    #missing(requests) {
        return requests.filter((request) => !isGoodEnough(this.#entries.get(request.line.key), request));
    }

    // Some may have come while these requests waited.
    async #load(requests, purpose, signal) {
        await Promise.all(this.#missing(requests).map((request) => this.#loadOne(request, signal)));
        clearTimeout(this.#timer);
        this.#timer = null;
        this.#loaded(purpose);
    }

    #showSoon() {
        this.#timer ??= setTimeout(() => {
            this.#timer = null;
            this.#loaded();
        }, TOGETHER);
    }

    async #loadOne(request, signal) {
        const {key, run} = request.line;
        const entry = {request, traces: this.#entries.get(key)?.traces ?? [], error: null, staleSince: null};
        this.#loading.add(entry);
        try {
            entry.traces = await fetchTraces(run.id, request, signal);
        } catch (caught) {
            if (caught.name === "AbortError") throw caught;
            entry.error = caught;
        } finally {
            this.#loading.delete(entry);
        }
        this.#entries.set(key, entry);
        this.#showSoon();
    }
}
