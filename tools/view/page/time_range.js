// Intervals of time as [from, to], and how users move them.

// Doubles cannot tell shorter intervals apart.
const LEAST_RELATIVE_LENGTH = 1e-13;

// An interval that can be drawn: finite, and longer than nothing.
export function drawable(from, to) {
    if (!Number.isFinite(from) || !Number.isFinite(to)) return [0, 1];
    const least = Math.max(Math.abs(from), Math.abs(to), 1e-290) * LEAST_RELATIVE_LENGTH;
    if (to - from >= least) return [from, to];
    const middle = from / 2 + to / 2;
    const half = from === to ? Math.max(Math.abs(middle) * 1e-3, 0.5) : least;
    return [middle - half, middle + half];
}

// Keeps the place of `center` and multiplies the length by `factor`.
/** @param {number[]} interval */
export function zoomed(interval, center, factor) {
    const [from, to] = interval;
    return drawable(center - (center - from) * factor, center + (to - center) * factor);
}

/** @param {number[]} interval */
export function panned(interval, share) {
    const [from, to] = interval;
    const distance = (to - from) * share;
    return [from + distance, to + distance];
}

// The interval of all times of runs, shifts included, or null if there are none.
export function extentOfRuns(runs) {
    let [from, to] = [Infinity, -Infinity];
    for (const {run, shift} of runs) {
        for (const group of run.groups) {
            if (group.firstTime === null || group.lastTime === null) continue;
            from = Math.min(from, group.firstTime + shift);
            to = Math.max(to, group.lastTime + shift);
        }
    }
    return from <= to ? [from, to] : null;
}

// The interval that a view shows of these runs.
export function shownInterval(range, runs) {
    if (range.kind === "fixed") return drawable(range.from, range.to);
    const extent = extentOfRuns(runs);
    if (extent === null) return [0, 1];
    if (range.kind === "last") return drawable(extent[1] - range.length, extent[1]);
    return drawable(...extent);
}
