// What the legends and the line at the bottom say.

import {countText, fullNumber, sentNumber, shortNumber} from "./numbers.js";

// The cursors whose values are shown, as [{title, name, time}]. Without cursors, it is the right edge.
export function readingsOf(marks, pointer, interval) {
    const pinned = ["a", "b"].filter((name) => marks[name] !== null)
        .map((name) => ({title: name.toUpperCase(), name, time: marks[name]}));
    if (pinned.length === 2) return pinned;
    if (pointer !== null) return [...pinned, {title: "pointer", name: "pointer", time: pointer}];
    return pinned.length === 1 ? pinned : [{title: "right edge", name: "pointer", time: interval[1]}];
}

// The columns of a legend for these readings; valueAt(name, line) gives a value or undefined.
export function columnsOf(readings, valueAt) {
    const columns = readings.map(({title, name, time}) => ({
        title, hint: `at ${fullNumber(time)}`, valueOf: (line) => valueAt(name, line)}));
    if (readings.length < 2) return columns;
    const difference = (line) => {
        const [first, second] = readings.map(({name}) => valueAt(name, line));
        return first === undefined || second === undefined ? undefined : second - first;
    };
    return [...columns, {title: "difference", valueOf: difference}];
}

export function readingsText(readings) {
    const times = readings.map(({title, time}) => `${title} ${shortNumber(time, 12)}`);
    if (readings.length === 2) times.push(`difference ${shortNumber(readings[1].time - readings[0].time, 8)}`);
    return times.join(" · ");
}

// How exact the plots are, from all traces that they show: {text, isAggregate}.
export function detailOf(entries) {
    const shown = entries.flatMap((entry) => entry?.traces ?? []);
    if (shown.length === 0) return {text: "", isAggregate: false};
    const aggregates = shown.filter((trace) => trace.isAggregate);
    if (aggregates.length === 0) return {text: "Every step is shown.", isAggregate: false};
    const most = Math.max(...aggregates.map((trace) => trace.steps / Math.max(trace.count, 1)));
    return {text: `Aggregate: a pixel shows the first, least, greatest and last of ${countText(most)} steps.`,
            isAggregate: true};
}

// The server tells twice a second that it has looked at the runs.
const LATE = 1; // seconds

// Whether the page follows the runs, when they were written last, and how far the page is behind, if it is:
// {text, isLate}. since has the seconds since an event told of a run, and since the page showed everything.
export function liveText(runs, range, isConnected, since) {
    const running = runs.filter((run) => run.state === "running");
    if (!isConnected) return {text: "Not connected", isLate: true};
    if (running.length === 0) return {text: runs.length === 0 ? "" : "Not running", isLate: false};
    const follows = range.kind === "fixed" ? "Paused" : "Following";
    const lags = running.map((run) => sentNumber(run.lag)).filter(Number.isFinite);
    const isLate = since.seen >= LATE;
    const written = lags.length === 0 ? "" : `, last written ${(Math.min(...lags) + since.event).toFixed(1)} s ago`;
    const behind = isLate ? `, ${Math.floor(since.seen)} s behind` : "";
    return {text: follows + written + behind, isLate};
}

// What the legend of a plot says below its lines. entryOf(line) is a trace with its error.
export function notesOf({lines, hiddenCount, missing, empty}, shownRuns, entryOf, differenceNoteOf) {
    const failed = shownRuns.map(({run}) => run).filter(({error}) => error !== null);
    const errors = new Set(lines.map((line) => entryOf(line)?.error?.message).filter((text) => text !== undefined));
    return [
        ...failed.map(({name, error}) => ({text: `${name}: ${error}`, isError: true})),
        ...missing.map((name) => ({text: `No run shown here has ${name}.`, isError: true})),
        ...empty.map((path) => ({text: `${path} has no elements.`})),
        ...[...errors].map((text) => ({text, isError: true})),
        ...(hiddenCount > 0 ? [{text: `${countText(hiddenCount)} more lines are not drawn. Choose single elements.`}] : []),
        ...lines.map(differenceNoteOf).filter((note) => note !== null),
    ];
}
