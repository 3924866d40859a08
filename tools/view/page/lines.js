// The lines of a plot: one for each element of each signal of each run that has it.

// More lines cannot be told apart.
const MOST_LINES = 24;
export const COLOR_COUNT = 12;

function elementsOf(signal, element) {
    if (element !== null) return element < signal.width ? [element] : [];
    return Array.from({length: Math.min(signal.width, MOST_LINES + 1)}, (_, index) => index);
}

function lineOf(signal, element, {run, shift}, isOverlay) {
    return {
        key: `${run.id} ${element} ${signal.path}`,
        run,
        shift,
        path: signal.path,
        element,
        suffix: signal.width === 1 ? "" : `[${element}]`,
        runText: isOverlay ? `${run.name} ${run.id.slice(0, 4)}` : "",
    };
}

// shownRuns is [{run, shift}]. Returns {lines, hiddenCount, missing}: how many lines there are no room
// for, and the paths that no run has.
export function linesOf(plot, shownRuns) {
    const lines = [];
    const missing = [];
    for (const {path, element} of plot.signals) {
        const before = lines.length;
        for (const shown of shownRuns) {
            const signal = shown.run.signals.get(path);
            if (signal === undefined) continue;
            lines.push(...elementsOf(signal, element)
                .map((number) => lineOf(signal, number, shown, shownRuns.length > 1)));
        }
        if (lines.length === before) missing.push(path);
    }
    const drawn = lines.slice(0, MOST_LINES).map((line, index) => ({...line, color: index % COLOR_COUNT}));
    return {lines: drawn, hiddenCount: lines.length - drawn.length, missing};
}
