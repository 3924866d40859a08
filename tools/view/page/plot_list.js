// The plots, one below the other, and what can be dropped on them.

import {byId} from "./dom.js";
import {Navigation} from "./navigation.js";
import {Plot} from "./plot.js";
import {DRAGGED} from "./signal_list.js";

function acceptSignals(node, dropped) {
    const isSignal = (event) => event.dataTransfer.types.includes(DRAGGED);
    node.addEventListener("dragover", (event) => {
        if (!isSignal(event)) return;
        event.preventDefault();
        node.classList.add("target");
    });
    node.addEventListener("dragleave", () => node.classList.remove("target"));
    node.addEventListener("drop", (event) => {
        node.classList.remove("target");
        if (!isSignal(event)) return;
        event.preventDefault();
        dropped(JSON.parse(event.dataTransfer.getData(DRAGGED)));
    });
}

export class PlotList {
    #empty = byId("empty");
    #newPlot = byId("new-plot");
    #actions;
    plots = [];

    // The actions are those of legends and navigation, and drop(signal, index), resized().
    constructor(actions) {
        this.#actions = actions;
        this.#newPlot.addEventListener("click", () => actions.chooseNewPlot());
        acceptSignals(this.#newPlot, (signal) => actions.drop(signal, this.plots.length));
        acceptSignals(this.#empty, (signal) => actions.drop(signal, this.plots.length));
    }

    // Makes as many plots as there are in the view.
    sync(count, current) {
        while (this.plots.length > count) this.plots.pop().stop();
        while (this.plots.length < count) this.#add();
        this.plots.forEach((plot, index) => plot.node.classList.toggle("current", index === current && count > 1));
        this.#newPlot.hidden = count === 0;
        this.#newPlot.classList.toggle("current", current >= count);
        this.#newPlot.textContent = current >= count ? "The next signal opens a plot here" : "+ new plot";
    }

    showMessage(text) {
        this.#empty.hidden = text === null;
        this.#empty.textContent = text ?? "";
    }

    #add() {
        const plot = new Plot(this.plots.length, this.#actions);
        this.plots.push(plot);
        this.#newPlot.before(plot.node);
        plot.start(() => this.#actions.resized());
        plot.node.addEventListener("focus", () => this.#actions.choosePlot(plot.index));
        acceptSignals(plot.node, (signal) => this.#actions.drop(signal, plot.index));
        new Navigation(plot, this.#actions);
    }
}
