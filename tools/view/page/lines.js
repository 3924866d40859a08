// The lines of a plot: one for each element of each signal of each run that has it.

export const COLOR_COUNT = 12;
// Those beyond the colours are dashed. More lines cannot be told apart.
const MOST_LINES = 2 * COLOR_COUNT;

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

// shownRuns is [{run, shift}]. Returns {lines, hiddenCount, missing, empty}: how many lines there are no room
// for, the names that no run has, and the paths of signals without elements.
export function linesOf(plot, shownRuns) {
    const lines = [];
    const missing = [];
    const empty = [];
    let count = 0;
    for (const {path, element} of plot.signals) {
        const before = lines.length;
        for (const shown of shownRuns) {
            const signal = shown.run.signals.get(path);
            if (signal === undefined) continue;
            count += element === null ? signal.width : Number(element < signal.width);
            lines.push(...elementsOf(signal, element)
                .map((number) => lineOf(signal, number, shown, shownRuns.length > 1)));
        }
        if (lines.length > before) continue;
        const isEmpty = element === null && shownRuns.some(({run}) => run.signals.has(path));
        if (isEmpty) empty.push(path);
        else missing.push(element === null ? path : `${path}[${element}]`);
    }
    const drawn = lines.slice(0, MOST_LINES).map((line, index) => ({
        ...line, color: index % COLOR_COUNT, isDashed: index >= COLOR_COUNT}));
    return {lines: drawn, hiddenCount: count - drawn.length, missing, empty};
}
