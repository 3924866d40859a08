// What users can do: each action changes the view, or asks the page for something.

import {nextStepTime} from "./cursors.js";
import {byId} from "./dom.js";
import {saveCsv, savePng, saveSvg} from "./saving.js";
import {extentOfRuns, panned, zoomed} from "./time_range.js";
import {addRun, addSignal, hasSignal, removePlot, removeRun, removeSignal, setValues, shiftRun} from "./view.js";

function rangeActions(app) {
    const show = (interval) => app.change({range: {kind: "fixed", from: interval[0], to: interval[1]}});
    const center = () => {
        const [from, to] = app.interval;
        const {a} = app.view.marks;
        return a !== null && a >= from && a <= to ? a : from / 2 + to / 2;
    };
    return {
        interval: () => app.interval,
        showInterval: (interval) => show(zoomed(interval, interval[0], 1)),
        zoom: (at, factor) => show(zoomed(app.interval, at, factor)),
        zoomCenter: (factor) => show(zoomed(app.interval, center(), factor)),
        pan: (share) => show(panned(app.interval, share)),
        whole: () => app.change({range: {kind: "whole"}}),
        last: (length) => app.change({range: {kind: "last", length}}),
        togglePause: () => app.togglePause(),
    };
}

function plotActions(app) {
    const choosePlot = (index) => {
        if (index !== app.view.current) app.change({current: index});
    };
    return {
        choosePlot,
        chooseNewPlot: () => choosePlot(app.view.plots.length),
        toggle: (signal) => {
            const {current, plots} = app.view;
            const change = hasSignal(plots[current], signal) ? removeSignal : addSignal;
            app.change(change(app.view, signal, current));
        },
        drop: (signal, index) => app.change(addSignal(app.view, signal, index)),
        addToNewPlot: (signal) => app.change(addSignal(app.view, signal, app.view.plots.length)),
        removePlot: (index) => app.change(removePlot(app.view, index)),
        removeCurrentPlot: () => {
            if (app.view.current < app.view.plots.length) app.change(removePlot(app.view, app.view.current));
        },
        removeLine: (index, line) => app.change(removeLine(app.view, line, index)),
        fitValues: (index) => app.change(setValues(app.view, index, null)),
        fitAllValues: () => app.change({plots: app.view.plots.map((plot) => ({...plot, values: null}))}),
        zoomValues: (index, at, factor) => {
            const [low, high] = app.plotList.plots[index].shownValues();
            const middle = low + at * (high - low);
            const values = [middle - (middle - low) * factor, middle + (high - middle) * factor];
            if (values[1] > values[0]) app.change(setValues(app.view, index, values));
        },
        focusPlot: () => app.focusPlot(),
        resized: () => app.refresh(),
    };
}

// Of a signal with all elements, the other elements stay.
function removeLine(view, line, index) {
    const isWhole = hasSignal(view.plots[index], {path: line.path, element: null});
    if (!isWhole) return removeSignal(view, line, index);
    const width = line.run.signals.get(line.path).width;
    const others = Array.from({length: width}, (_, element) => ({path: line.path, element}))
        .filter(({element}) => element !== line.element);
    const plots = view.plots.map((plot, i) => (i !== index ? plot : {
        ...plot, signals: plot.signals.flatMap((signal) =>
            (signal.path === line.path && signal.element === null ? others : [signal])),
    }));
    return others.length === 0 ? removeSignal(view, {path: line.path, element: null}, index) : {plots, current: index};
}

function cursorActions(app) {
    const mark = (name, time) => app.change({marks: {...app.view.marks, [name]: time}});
    const firstMark = () => app.view.marks.a ?? app.interval[0] / 2 + app.interval[1] / 2;
    // The marks before a double click. Its first press may fall on something that it removes, such as a dialog.
    let marksBefore = null;
    window.addEventListener("mousedown", ({detail}) => {
        if (detail === 1) marksBefore = app.view.marks;
    }, {capture: true});
    return {
        restoreMarks: () => {
            if (marksBefore !== null) app.change({marks: marksBefore});
        },
        mark,
        markHere: (name) => mark(name, app.pointer ?? app.interval[0] / 2 + app.interval[1] / 2),
        clearMarks: () => app.change({marks: {a: null, b: null}}),
        point: (time) => app.point(time),
        select: (pixels) => app.select(pixels),
        stepMark: async (direction) => {
            const time = await nextStepTime(app.allLines(), firstMark(), direction);
            if (time === null) return;
            mark("a", time);
            const [from, to] = app.interval;
            const length = to - from;
            if (time < from || time > to) {
                app.change({range: {kind: "fixed", from: time - length / 2, to: time + length / 2}});
            }
        },
    };
}

function runActions(app) {
    const shift = (id, time) => app.change(shiftRun(app.view, id, time));
    return {
        showOnly: (id) => app.change({runs: [{id, shift: 0}], compare: null}),
        overlay: (id, isShown) => app.change(isShown ? addRun(app.view, id) : removeRun(app.view, id)),
        shift,
        alignStarts: (id) => {
            const [first, other] = [app.shownRuns[0], app.shownRuns.find(({run}) => run.id === id)];
            const [target, own] = [first, other].map((shown) => extentOfRuns([shown]));
            if (target !== null && own !== null) shift(id, other.shift + target[0] - own[0]);
        },
        alignMarks: (id) => {
            const {a, b} = app.view.marks;
            const {shift: present} = app.view.runs.find((run) => run.id === id);
            shift(id, present + a - b);
        },
    };
}

function compareActions(app) {
    const noTolerances = {absolute: "", relative: "", time: ""};
    const nextPlace = (index, direction) => {
        const {lines} = app.plotList.plots[index].content();
        const from = app.view.marks.a ?? (direction > 0 ? -Infinity : Infinity);
        const place = app.differences.nextPlace(lines, from, direction);
        if (place !== null) app.change({marks: {...app.view.marks, a: place[0]}});
    };
    return {
        toggleCompare: () => {
            if (app.view.runs.length > 1) app.change({compare: app.view.compare === null ? noTolerances : null});
        },
        tolerances: (texts) => app.change({compare: texts}),
        nextPlace,
        nextPlaceHere: (direction) => {
            if (app.view.current < app.plotList.plots.length) nextPlace(app.view.current, direction);
        },
    };
}

function saveActions(app) {
    const name = () => app.shownRuns[0]?.run.name || "plots";
    const signals = () => {
        const all = app.view.plots.flatMap((plot) => plot.signals);
        return [...new Map(all.map((signal) => [`${signal.element} ${signal.path}`, signal])).values()];
    };
    return {
        openSave: () => {
            if (app.view.plots.length > 0) byId("save-dialog").showModal();
        },
        saveSvg: () => saveSvg(app.plotList.plots, app.colors, name()),
        savePng: () => savePng(app.plotList.plots, app.colors, name()),
        saveCsv: () => app.reportFailure(saveCsv(app.shownRuns, signals(), app.interval)),
    };
}

export function actionsOf(app) {
    return {
        ...rangeActions(app), ...plotActions(app), ...cursorActions(app), ...runActions(app),
        ...compareActions(app), ...saveActions(app),
        openHelp: () => byId("help-dialog").showModal(),
        toggleTheme: () => app.toggleTheme(),
    };
}
