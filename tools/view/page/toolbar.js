// The buttons and fields at the top.

import {byId} from "./dom.js";
import {fullNumber, parseNumber} from "./numbers.js";

const TOLERANCES = {absolute: "absolute", relative: "relative", time: "time-tolerance"};

// The fewest digits that tell the ends of an interval apart from their neighbours by a pixel or so.
function endText(value, [from, to]) {
    const digits = Math.ceil(Math.log10(Math.max(Math.abs(from), Math.abs(to)) / (to - from))) + 5;
    return fullNumber(Number(value.toPrecision(Math.max(4, Math.min(17, digits)))));
}

function setField(field, text) {
    if (document.activeElement !== field) field.value = text;
    field.removeAttribute("aria-invalid");
}

function markInvalid(field, isInvalid) {
    if (isInvalid) field.setAttribute("aria-invalid", "true");
    else field.removeAttribute("aria-invalid");
}

export class Toolbar {
    #actions;

    // actions: {whole(), last(length), togglePause(), showInterval(interval), zoomCenter(factor),
    //           toggleCompare(), tolerances(texts), openSave(), toggleTheme(), openHelp()}
    constructor(actions) {
        this.#actions = actions;
        const clicks = {
            whole: () => actions.whole(),
            last: () => this.showLast(),
            follow: () => actions.togglePause(),
            "zoom-in": () => actions.zoomCenter(1 / 2),
            "zoom-out": () => actions.zoomCenter(2),
            compare: () => actions.toggleCompare(),
            save: () => actions.openSave(),
            theme: () => actions.toggleTheme(),
            help: () => actions.openHelp(),
        };
        for (const [id, action] of Object.entries(clicks)) byId(id).addEventListener("click", action);
        byId("last-length").addEventListener("change", () => this.showLast());
        for (const id of ["from", "to"]) byId(id).addEventListener("change", () => this.#enterInterval());
        for (const id of Object.values(TOLERANCES)) byId(id).addEventListener("change", () => this.#enterTolerances());
    }

    // Shows the newest steps, as many as the field says.
    showLast() {
        const field = byId("last-length");
        const length = parseNumber(field.value);
        const isValid = Number.isFinite(length) && length > 0;
        markInvalid(field, !isValid);
        if (isValid) this.#actions.last(length);
    }

    #enterInterval() {
        const [from, to] = ["from", "to"].map((id) => parseNumber(byId(id).value));
        const isValid = Number.isFinite(from) && Number.isFinite(to) && from < to;
        ["from", "to"].forEach((id) => markInvalid(byId(id), !isValid));
        if (isValid) this.#actions.showInterval([from, to]);
    }

    #enterTolerances() {
        const texts = {};
        let areValid = true;
        for (const [name, id] of Object.entries(TOLERANCES)) {
            texts[name] = byId(id).value.trim();
            const isValid = texts[name] === "" || parseNumber(texts[name]) >= 0;
            markInvalid(byId(id), !isValid);
            areValid &&= isValid;
        }
        if (areValid) this.#actions.tolerances(texts);
    }

    show(view, interval, isRunning) {
        const {kind} = view.range;
        byId("whole").setAttribute("aria-pressed", String(kind === "whole"));
        byId("last").setAttribute("aria-pressed", String(kind === "last"));
        if (kind === "last") setField(byId("last-length"), String(view.range.length));
        byId("follow").disabled = !isRunning;
        byId("follow").textContent = isRunning && kind === "fixed" ? "Follow" : "Pause";
        setField(byId("from"), endText(interval[0], interval));
        setField(byId("to"), endText(interval[1], interval));
        byId("compare").disabled = view.runs.length < 2;
        byId("compare").setAttribute("aria-pressed", String(view.compare !== null));
        byId("tolerances").hidden = view.compare === null;
        for (const [name, id] of Object.entries(TOLERANCES)) {
            if (view.compare !== null) setField(byId(id), view.compare[name]);
        }
        byId("save").disabled = view.plots.length === 0;
    }
}
