// The list of signals at the left: a tree with a filter. A click puts a signal into the current plot or
// takes it out of it. Signals can be dragged to a plot, too.

import {element} from "./dom.js";
import {countText} from "./numbers.js";
import {asksForElements, fits, matching, rowsOf, treeOf} from "./signal_tree.js";
import {hasSignal} from "./view.js";

const SHORT_BRANCH = 12;
export const DRAGGED = "application/x-logging2-signal";

export class SignalList {
    #list;
    #filter;
    #actions;
    #signals = [];
    #tree = treeOf([]);
    #rows = [];
    #opened = new Map();
    #focusedKey = null;
    #shown = "";
    #view = null;

    // actions: {toggle(signal), addToNewPlot(signal), focusPlot()}; the plot has the focus after a click, so
    // that its keys work.
    constructor(list, filter, actions) {
        this.#list = list;
        this.#filter = filter;
        this.#actions = actions;
        filter.addEventListener("input", () => this.#refill());
        filter.addEventListener("keydown", (event) => this.#filterKey(event));
        list.addEventListener("keydown", (event) => this.#treeKey(event));
        list.addEventListener("click", (event) => this.#click(event));
        list.addEventListener("dragstart", (event) => this.#dragStart(event));
    }

    show(runs, view) {
        this.#view = view;
        const merged = new Map(runs.flatMap(({run}) => [...run.signals]));
        const shown = JSON.stringify([...merged.values()].map(({path, width}) => [path, width]));
        if (shown !== this.#shown) {
            this.#shown = shown;
            this.#signals = [...merged.values()];
            this.#refill();
        }
        this.#markPlotted();
    }

    #refill() {
        this.#tree = treeOf(matching(this.#signals, this.#filter.value));
        this.#render();
    }

    // Until the user decides, short branches are open, and so are all that fit the filter. Elements are
    // shown if the filter asks for them.
    #isOpen = (key, {children}) => this.#opened.get(key) ?? (asksForElements(this.#filter.value) ||
        (children.size > 0 && (children.size <= SHORT_BRANCH || this.#filter.value.trim() !== "")));

    #render() {
        const {rows, hiddenCount} = rowsOf(this.#tree, this.#isOpen, this.#filter.value);
        this.#rows = rows;
        if (!rows.some((row) => row.key === this.#focusedKey)) this.#focusedKey = rows[0]?.key ?? null;
        this.#list.replaceChildren(...rows.map((row, index) => this.#rowNode(row, index)));
        if (hiddenCount > 0) this.#list.append(this.#message(`${countText(hiddenCount)} more; filter to see them.`));
        if (rows.length === 0) this.#list.append(this.#message(this.#emptyText()));
        this.#markPlotted();
    }

    #emptyText() {
        if (this.#signals.length > 0) return "No signal fits the filter.";
        return this.#view?.runs.length > 0 ? "There are no signals." : "Choose a run above.";
    }

    #message(text) {
        return element("p", {className: "message", textContent: text});
    }

    #rowNode(row, index) {
        const arrow = element("span", {className: "arrow", textContent: row.hasChildren ? (row.isOpen ? "▾" : "▸") : ""});
        const node = element("div", {
            className: "tree-row", role: "treeitem", draggable: row.signal !== null,
            tabIndex: row.key === this.#focusedKey ? 0 : -1, title: row.key, "aria-level": row.depth + 1,
        }, arrow, element("span", {className: "tree-name", textContent: row.name}));
        if (row.hasChildren) node.setAttribute("aria-expanded", row.isOpen);
        node.dataset.index = index;
        node.style.paddingLeft = `${6 + 12 * row.depth}px`;
        if (row.signal !== null && row.element === null && row.signal.width !== 1) {
            node.append(element("span", {className: "tree-width", textContent: `×${row.signal.width}`}));
        }
        return node;
    }

    #signalOf(row) {
        return {path: row.signal.path, element: row.element};
    }

    #markPlotted() {
        if (this.#view === null) return;
        const {plots, current} = this.#view;
        this.#list.querySelectorAll(".tree-row").forEach((node) => {
            const row = this.#rows[node.dataset.index];
            if (row.signal === null) return;
            const signal = this.#signalOf(row);
            node.setAttribute("aria-selected", hasSignal(plots[current], signal));
            node.classList.toggle("elsewhere", plots.some((plot) => hasSignal(plot, signal)));
        });
    }

    #rowOf(target) {
        const node = target.closest(".tree-row");
        return node === null ? null : this.#rows[node.dataset.index];
    }

    #click(event) {
        const row = this.#rowOf(event.target);
        if (row === null) return;
        this.#focus(row.key);
        if (row.signal === null || event.target.classList.contains("arrow") && row.hasChildren) {
            this.#open(row, !row.isOpen);
        } else {
            this.#plot(row, event.shiftKey);
            this.#actions.focusPlot();
        }
    }

    #plot(row, inNewPlot) {
        if (inNewPlot) this.#actions.addToNewPlot(this.#signalOf(row));
        else this.#actions.toggle(this.#signalOf(row));
    }

    #open(row, isOpen) {
        this.#opened.set(row.key, isOpen);
        this.#render();
        this.#focus(row.key);
    }

    #focus(key) {
        this.#focusedKey = key;
        this.#list.querySelectorAll(".tree-row").forEach((node) => {
            const isFocused = this.#rows[node.dataset.index].key === key;
            node.tabIndex = isFocused ? 0 : -1;
            if (isFocused) node.focus();
        });
    }

    #dragStart(event) {
        const row = this.#rowOf(event.target);
        if (row === null || row.signal === null) return;
        event.dataTransfer.setData(DRAGGED, JSON.stringify(this.#signalOf(row)));
        event.dataTransfer.effectAllowed = "copy";
    }

    #filterKey(event) {
        if (event.key === "ArrowDown" && this.#rows.length > 0) {
            event.preventDefault();
            this.#focus(this.#focusedKey);
        } else if (event.key === "Enter") {
            const first = this.#rows.find((row) => row.signal !== null && fits(row.key, this.#filter.value));
            if (first !== undefined) this.#plot(first, event.shiftKey);
        } else if (event.key === "Escape") {
            this.#filter.value = "";
            this.#refill();
        }
    }

    #treeKey(event) {
        const index = this.#rows.findIndex((row) => row.key === this.#focusedKey);
        const row = this.#rows[index];
        if (row === undefined) return;
        const moves = {ArrowDown: index + 1, ArrowUp: index - 1, Home: 0, End: this.#rows.length - 1};
        if (event.key in moves) {
            this.#focus(this.#rows[moves[event.key]]?.key ?? row.key);
        } else if (event.key === "ArrowRight" && row.hasChildren) {
            this.#open(row, true);
        } else if (event.key === "ArrowLeft") {
            this.#closeOrLeave(row, index);
        } else if (event.key === "Enter" || event.key === " ") {
            if (row.signal === null) this.#open(row, !row.isOpen);
            else this.#plot(row, event.shiftKey);
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    }

    #closeOrLeave(row, index) {
        if (row.isOpen) {
            this.#open(row, false);
            return;
        }
        const parent = this.#rows.slice(0, index).reverse().find((other) => other.depth < row.depth);
        if (parent !== undefined) this.#focus(parent.key);
    }
}
