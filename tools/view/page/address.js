// The view as the part of the address behind `#`:
//   run=ID[@SHIFT]  plot=SIGNAL[:ELEMENT],...[;LOW..HIGH]  from=T&to=T | last=LENGTH  a=T  b=T
//   compare=[ABSOLUTE],[RELATIVE],[TIME]
// `run` and `plot` are repeated. What is not understood is left out.

import {EMPTY_VIEW} from "./view.js";

function signalText({path, element}) {
    return encodeURIComponent(path) + (element === null ? "" : `:${element}`);
}

function plotText(plot) {
    const limits = plot.values === null ? "" : `;${plot.values[0]}..${plot.values[1]}`;
    return plot.signals.map(signalText).join(",") + limits;
}

function rangeParts(range) {
    if (range.kind === "fixed") return [`from=${range.from}`, `to=${range.to}`];
    return range.kind === "last" ? [`last=${range.length}`] : [];
}

export function addressOf(view) {
    const parts = view.runs.map(({id, shift}) =>
        `run=${encodeURIComponent(id)}${shift === 0 ? "" : `@${shift}`}`);
    parts.push(...view.plots.map((plot) => `plot=${plotText(plot)}`), ...rangeParts(view.range));
    for (const name of ["a", "b"]) {
        if (view.marks[name] !== null) parts.push(`${name}=${view.marks[name]}`);
    }
    if (view.compare !== null) {
        const {absolute, relative, time} = view.compare;
        parts.push(`compare=${[absolute, relative, time].map(encodeURIComponent).join(",")}`);
    }
    return parts.join("&");
}

function decoded(text) {
    try {
        return decodeURIComponent(text);
    } catch {
        return text;
    }
}

function finite(text) {
    const value = text === undefined || text === "" ? NaN : Number(text);
    return Number.isFinite(value) ? value : null;
}

function runFrom(text) {
    const [id, shift] = text.split("@");
    return {id: decoded(id), shift: finite(shift) ?? 0};
}

function signalFrom(text) {
    const [path, element] = text.split(":");
    const isElement = element !== undefined && /^\d{1,9}$/.test(element);
    return {path: decoded(path), element: isElement ? Number(element) : null};
}

function plotFrom(text) {
    const [signals, limits] = text.split(";");
    const [low, high] = (limits ?? "").split("..").map(finite);
    const hasLimits = low !== null && high !== undefined && high !== null && low < high;
    return {
        signals: signals.split(",").filter((signal) => signal !== "").map(signalFrom),
        values: hasLimits ? [low, high] : null,
    };
}

function rangeFrom(single) {
    const [from, to, length] = ["from", "to", "last"].map((name) => finite(single.get(name)));
    if (from !== null && to !== null && from < to) return {kind: "fixed", from, to};
    return length !== null && length > 0 ? {kind: "last", length} : EMPTY_VIEW.range;
}

function compareFrom(text) {
    if (text === undefined) return null;
    const [absolute = "", relative = "", time = ""] = text.split(",").map(decoded);
    return {absolute, relative, time};
}

export function viewFrom(address) {
    const single = new Map();
    const runs = new Map();
    const plots = [];
    for (const part of address.replace(/^#/, "").split("&")) {
        const sign = part.indexOf("=");
        const [name, text] = [part.slice(0, sign), part.slice(sign + 1)];
        if (name === "run") {
            const run = runFrom(text);
            runs.set(run.id, run);
        } else if (name === "plot") {
            plots.push(plotFrom(text));
        } else {
            single.set(name, text);
        }
    }
    return {
        runs: [...runs.values()],
        plots: plots.filter((plot) => plot.signals.length > 0),
        range: rangeFrom(single),
        marks: {a: finite(single.get("a")), b: finite(single.get("b"))},
        compare: runs.size > 1 ? compareFrom(single.get("compare")) : null,
        current: 0,
    };
}
