// Keeps the newest trace of each line and asks for better ones. A trace that is kept is drawn at its own
// times, so an old one is coarse or short, but never wrong.

import {fetchTrace} from "./api.js";
import {NewestOnly} from "./newest.js";

// Fetched on each side of what is visible, as a share of it, so that small moves need no request.
const PADDING = 0.25;
const MOST_PIXELS = 4096;

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
        pixels: Math.max(1, Math.min(MOST_PIXELS, Math.round(pixels * (1 + 2 * PADDING)))),
    };
}

function pixelLength({from, to, pixels}) {
    return (to - from) / pixels;
}

function isGoodEnough(entry, request) {
    if (entry === undefined || entry.isStale) return false;
    const {request: old, trace} = entry;
    if (request.visibleFrom < old.from || request.visibleTo > old.to) return false;
    if (trace === null) return true;
    const ratio = pixelLength(request) / pixelLength(old);
    return trace.isAggregate ? Math.abs(ratio - 1) < 1e-6 : ratio < 4;
}

export class Traces {
    #entries = new Map();
    #changeCounts = new Map();
    #queue = new NewestOnly();
    #loaded;

    // loaded() is called after each answer, and loaded(purpose) after the last one of a purpose.
    constructor(loaded) {
        this.#loaded = loaded;
    }

    isBusy() {
        return this.#queue.isBusy();
    }

    // {trace, error, isStale}, or undefined if there was no answer yet.
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
        const requests = wanted
            .flatMap(({lines, pixels}) => lines.map((line) => requestOf(line, purpose.interval, pixels)))
            .filter((request) => !isGoodEnough(this.#entries.get(request.line.key), request));
        if (requests.length > 0) this.#queue.run((signal) => this.#load(requests, purpose, signal), isUrgent);
        return requests.length > 0;
    }

    // The steps of a run have changed from this time on.
    outdate(runId, time) {
        this.#changeCounts.set(runId, this.#changeCount(runId) + 1);
        for (const entry of this.#entries.values()) {
            if (entry.request.line.run.id === runId && entry.request.to >= time) entry.isStale = true;
        }
    }

    outdateAll() {
        for (const entry of this.#entries.values()) entry.isStale = true;
    }

    #changeCount(runId) {
        return this.#changeCounts.get(runId) ?? 0;
    }

    async #load(requests, purpose, signal) {
        await Promise.all(requests.map((request) => this.#loadOne(request, signal)));
        this.#loaded(purpose);
    }

    async #loadOne(request, signal) {
        const {key, run} = request.line;
        const changeCount = this.#changeCount(run.id);
        let trace = this.#entries.get(key)?.trace ?? null;
        let error = null;
        try {
            trace = await fetchTrace(run.id, request, signal);
        } catch (caught) {
            if (caught.name === "AbortError") throw caught;
            error = caught;
        }
        // What has changed while the server answered may be missing in the answer.
        const isStale = changeCount !== this.#changeCount(run.id);
        this.#entries.set(key, {request, trace, error, isStale});
        this.#loaded();
    }
}
