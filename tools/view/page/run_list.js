// The list of runs at the left. A click shows a run instead of the others, a tick overlays it.

import {element} from "./dom.js";
import {durationText, parseNumber, shortCount} from "./numbers.js";

const STATES = {running: "running", finished: "finished", interrupted: "interrupted", unknown: "unreadable"};

function startText(start) {
    const time = new Date(start);
    if (Number.isNaN(time.getTime())) return "";
    const pad = (number) => String(number).padStart(2, "0");
    const year = time.getFullYear() === new Date().getFullYear() ? "" : `${time.getFullYear()}-`;
    return `${year}${pad(time.getMonth() + 1)}-${pad(time.getDate())} ` +
        `${pad(time.getHours())}:${pad(time.getMinutes())}:${pad(time.getSeconds())}`;
}

/** @returns {any} */
function activeElement() {
    return document.activeElement;
}

// Members of a run that change all the time.
const GROWING = ["duration", "steps", "bytes", "end"];

export class RunList {
    #list;
    #actions;
    #shown = "";

    // actions: {showOnly(id), overlay(id, isShown), shift(id, shift), alignStarts(id), alignMarks(id)}
    constructor(list, actions) {
        this.#list = list;
        this.#actions = actions;
    }

    show(catalogue, view) {
        const content = {list: catalogue.list, error: catalogue.listError?.message ?? null, runs: view.runs,
                         failures: view.runs.map(({id}) => catalogue.get(id)?.error ?? null),
                         hasMarks: view.marks.a !== null && view.marks.b !== null};
        const shown = JSON.stringify(content, (key, value) => (GROWING.includes(key) ? undefined : value));
        if (shown !== this.#shown && !this.#isTyping()) {
            this.#shown = shown;
            this.#rebuild(content);
        }
        this.#showNumbers(catalogue);
    }

    #rebuild(content) {
        const focused = activeElement()?.dataset?.focus;
        this.#list.replaceChildren(...this.#nodes(content));
        if (focused !== undefined) {
            [...this.#list.querySelectorAll("[data-focus]")]
                .find((/** @type {any} */ node) => node.dataset.focus === focused)?.focus();
        }
    }

    // Changes texts only: a click needs the same button at its beginning and at its end.
    #showNumbers({list, listedAt}) {
        const age = (performance.now() - listedAt) / 1000;
        const rows = new Map([...this.#list.querySelectorAll("[data-id]")].map((row) => [row.dataset.id, row]));
        for (const {id, state, duration, steps} of list) {
            const node = rows.get(id)?.querySelector(".run-numbers");
            const seconds = Number(duration ?? NaN) + (state === "running" ? age : 0);
            const text = `${durationText(seconds) || "unknown duration"} · ${shortCount(steps ?? 0)} steps`;
            if (node !== undefined && node.textContent !== text) node.textContent = text;
        }
    }

    // What the user is typing must not be replaced.
    #isTyping() {
        const node = activeElement();
        return node?.type === "text" && this.#list.contains(node) && node.value !== node.defaultValue;
    }

    #nodes({list, error, runs, failures, hasMarks}) {
        if (error !== null && list.length === 0) return [element("p", {className: "message", textContent: error})];
        if (list.length === 0) return [element("p", {className: "message", textContent: "There are no runs yet."})];
        return list.map((entry) => {
            if (entry.error !== undefined) return this.#damaged(entry);
            const index = runs.findIndex((run) => run.id === entry.id);
            return this.#row(entry, {index, chosen: runs[index], error: failures[index] ?? null,
                                     canOverlay: runs.length > 0, hasMarks});
        });
    }

    #damaged({location, error}) {
        const name = location.split("/").pop();
        return element("div", {className: "run damaged", title: `${location}\n${error}`},
                       element("div", {className: "run-name", textContent: name}),
                       element("div", {className: "run-facts error", textContent: error}));
    }

    #row(entry, {index, chosen, error, canOverlay, hasMarks}) {
        const tick = element("input", {
            type: "checkbox", checked: chosen !== undefined, disabled: !canOverlay,
            title: "Overlay this run", "aria-label": `Overlay ${entry.name}`,
            onchange: (event) => this.#actions.overlay(entry.id, event.target.checked),
        });
        tick.dataset.focus = `tick ${entry.id}`;
        const open = element("button", {
            className: "run-open", type: "button", title: `${entry.name}\n${entry.id}\n${entry.location}`,
            onclick: () => this.#actions.showOnly(entry.id),
        }, ...this.#facts(entry));
        open.dataset.focus = `open ${entry.id}`;
        const node = element("div", {className: "run", "aria-current": chosen !== undefined}, tick, open);
        node.dataset.id = entry.id;
        if (error !== null) node.append(element("div", {className: "run-facts error", textContent: error}));
        if (index > 0) node.append(this.#alignment(entry, chosen, hasMarks));
        return node;
    }

    #facts({name, id, state, start}) {
        const badge = element("span", {className: `state ${state}`, textContent: STATES[state] ?? state});
        return [
            element("span", {className: "run-line"},
                    element("span", {className: "run-name", textContent: name || "unnamed"}),
                    element("span", {className: "run-id", textContent: id.slice(0, 8)}), badge),
            element("span", {className: "run-facts"},
                    element("span", {textContent: startText(start)}),
                    element("span", {className: "run-numbers"})),
        ];
    }

    #alignment({id}, {shift}, hasMarks) {
        const field = element("input", {
            type: "text", defaultValue: String(shift), className: "shift", title: "Added to the times of this run",
            "aria-label": "Shift of the times",
            onchange: (event) => {
                const value = parseNumber(event.target.value);
                event.target.defaultValue = event.target.value;
                this.#actions.shift(id, Number.isFinite(value) ? value : 0);
            },
        });
        field.dataset.focus = `shift ${id}`;
        return element("div", {className: "alignment"}, element("label", {}, "shift ", field),
                       element("button", {type: "button", textContent: "Starts", title: "Align the first times",
                                          onclick: () => this.#actions.alignStarts(id)}),
                       element("button", {type: "button", textContent: "B → A", disabled: !hasMarks,
                                          title: "Move what this run shows at cursor B to cursor A",
                                          onclick: () => this.#actions.alignMarks(id)}));
    }
}
