// The table beside a plot: its lines, and their values at the cursors.

import {element, pathLabel} from "./dom.js";
import {fullNumber, shortNumber} from "./numbers.js";

function valueCell(value) {
    if (value === undefined) return element("td", {className: "value"});
    return element("td", {className: "value", title: fullNumber(value), textContent: shortNumber(value)});
}

function iconButton(text, title, onclick) {
    return element("button", {className: "icon", type: "button", title, "aria-label": title,
                              textContent: text, onclick});
}

export class Legend {
    #index;
    #actions;
    #shown = "";
    #rows = new Map();

    // actions: {removeLine(plot, line), removePlot(plot), fitValues(plot), nextPlace(plot, direction)}
    constructor(index, actions) {
        this.#index = index;
        this.#actions = actions;
        this.head = element("tr");
        this.body = element("tbody");
        this.notes = element("div", {className: "notes"});
        this.fit = iconButton("↕", "Fit the values (v)", () => actions.fitValues(index));
        const remove = iconButton("×", "Remove this plot (Delete)", () => actions.removePlot(index));
        this.detail = element("span", {className: "aggregate"});
        const tools = element("div", {className: "plot-tools"}, remove, this.fit, this.detail);
        this.node = element("div", {className: "legend"},
                            element("table", {}, element("thead", {}, this.head), this.body),
                            this.notes, tools);
    }

    // columns: [{title, hint, valueOf(line)}]; notes: [{text, isError, hasPlaces}];
    // detail: {text, isAggregate}
    show({lines, columns, notes, detail, colors, hasFixedValues}) {
        const key = JSON.stringify([lines.map((line) => [line.key, line.runText, line.color, line.isDashed]), colors.lines]);
        if (key !== this.#shown) this.#makeRows(lines, colors);
        this.#shown = key;
        this.node.classList.toggle("tall", columns.length > 1);
        this.fit.hidden = !hasFixedValues;
        this.detail.textContent = detail.isAggregate ? "aggregate" : "";
        this.detail.title = detail.text;
        this.head.replaceChildren(element("th", {}), ...columns.map(({title, hint}) =>
            element("th", {className: "value", textContent: title, title: hint ?? ""})));
        for (const line of lines) {
            const row = this.#rows.get(line.key);
            row.replaceChildren(row.firstChild, ...columns.map(({valueOf}) => valueCell(valueOf(line))));
        }
        this.#showNotes(notes);
    }

    #makeRows(lines, colors) {
        this.#rows = new Map(lines.map((line) => [line.key, this.#row(line, colors)]));
        this.body.replaceChildren(...this.#rows.values());
    }

    #row(line, colors) {
        const swatch = element("span", {className: line.isDashed ? "swatch dashed" : "swatch"});
        swatch.style.color = colors.lines[line.color];
        const name = element("div", {className: "line-name"}, swatch, pathLabel(line.path, line.suffix),
                             element("span", {className: "line-run", textContent: line.runText}),
                             iconButton("×", `Remove ${line.path}${line.suffix}`,
                                        () => this.#actions.removeLine(this.#index, line)));
        return element("tr", {}, element("th", {scope: "row"}, name));
    }

    #showNotes(notes) {
        const text = JSON.stringify(notes);
        if (this.notes.dataset.shown === text) return;
        this.notes.dataset.shown = text;
        const first = notes.find((note) => note.hasPlaces);
        this.notes.replaceChildren(...notes.map((note) => this.#note(note, note === first)));
    }

    #note({text, isError}, hasButtons) {
        const node = element("p", {className: isError ? "note error" : "note"}, text);
        if (hasButtons) {
            node.append(iconButton("‹", "The difference before (Shift+D)",
                                   () => this.#actions.nextPlace(this.#index, -1)),
                        iconButton("›", "The next difference (D)",
                                   () => this.#actions.nextPlace(this.#index, 1)));
        }
        return node;
    }
}
