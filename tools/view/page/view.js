// What the user looks at:
//   runs     [{id, shift}]; the shift is added to the times of the run
//   plots    [{signals: [{path, element}], values}]; element null stands for all elements, and values is
//            [low, high], or null if the plot adapts to what it shows
//   range    {kind: "whole"}, {kind: "last", length}, or {kind: "fixed", from, to}
//   marks    {a, b}: times of the two cursors, or null
//   compare  null, or the tolerances {absolute, relative, time}, texts as the user typed them
//   current  index of the plot that gets the next signal
// A view is never changed, but replaced, so that a difference is easy to see.

export const EMPTY_VIEW = Object.freeze({
    runs: [],
    plots: [],
    range: {kind: "whole"},
    marks: {a: null, b: null},
    compare: null,
    current: 0,
});

// Holds the present view and dispatches "change" after it was replaced.
export class ViewHolder extends EventTarget {
    view = EMPTY_VIEW;

    change(patch) {
        const previous = this.view;
        this.view = {...previous, ...patch};
        this.dispatchEvent(new CustomEvent("change", {detail: {previous}}));
    }
}

function sameSignal(one, other) {
    return one.path === other.path && one.element === other.element;
}

function withPlot(view, index, plot) {
    return {plots: view.plots.map((old, i) => (i === index ? plot : old)), current: index};
}

export function hasSignal(plot, signal) {
    return plot !== undefined && plot.signals.some((other) => sameSignal(other, signal));
}

// Adds a signal to a plot. An index behind the last plot makes a new one.
export function addSignal(view, signal, index) {
    if (index >= view.plots.length) {
        return {plots: [...view.plots, {signals: [signal], values: null}], current: view.plots.length};
    }
    const plot = view.plots[index];
    if (hasSignal(plot, signal)) return {current: index};
    return withPlot(view, index, {...plot, signals: [...plot.signals, signal]});
}

export function removePlot(view, index) {
    const plots = view.plots.filter((_, i) => i !== index);
    return {plots, current: Math.max(0, Math.min(view.current, plots.length - 1))};
}

// Removes a signal from a plot, and the plot with its last signal.
export function removeSignal(view, signal, index) {
    const plot = view.plots[index];
    const signals = plot.signals.filter((other) => !sameSignal(other, signal));
    return signals.length === 0 ? removePlot(view, index) : withPlot(view, index, {...plot, signals});
}

export function setValues(view, index, values) {
    return withPlot(view, index, {...view.plots[index], values});
}

export function addRun(view, id) {
    return {runs: [...view.runs.filter((run) => run.id !== id), {id, shift: 0}]};
}

// The first run stays alone if nothing is overlaid any more, and with it nothing is compared.
export function removeRun(view, id) {
    const runs = view.runs.filter((run) => run.id !== id);
    return runs.length < 2 ? {runs, compare: null} : {runs};
}

export function shiftRun(view, id, shift) {
    return {runs: view.runs.map((run) => (run.id === id ? {...run, shift} : run))};
}
