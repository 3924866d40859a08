// One plot: a chart on the left, a legend with the values at the cursors on the right.

import {Chart} from "./chart.js";
import {element} from "./dom.js";
import {Legend} from "./legend.js";
import {Overlay} from "./overlay.js";
import {paintDifference, paintLine} from "./painting.js";
import {extentOf} from "./trace.js";

const SPACE_ABOVE = 0.06; // as a share of the values shown

function paddedValues(low, high) {
    if (low > high) return [0, 1];
    const most = Number.MAX_VALUE / 4;
    const length = Math.min(high, most) - Math.max(low, -most);
    const least = Math.max(Math.abs(low), Math.abs(high)) * 1e-12;
    const padding = length > least ? length * SPACE_ABOVE : Math.max(Math.abs(low) * 0.1, 0.5);
    return [Math.max(low, -most) - padding, Math.min(high, most) + padding];
}

export class Plot {
    #content = null;

    // The actions are those of the legend, and attach(plot), which makes the plot navigable.
    constructor(index, actions) {
        this.index = index;
        this.graph = element("div", {className: "graph"});
        this.legend = new Legend(index, actions);
        this.node = element("section", {className: "plot", tabIndex: 0, "aria-label": `Plot ${index + 1}`},
                            this.graph, this.legend.node);
    }

    // Call this when the node is in the document.
    start(resized) {
        this.chart = new Chart(this.graph, (context) => this.#draw(context));
        this.overlay = new Overlay(this.graph);
        this.observer = new ResizeObserver(() => {
            this.chart.resize();
            this.overlay.resize();
            resized();
        });
        this.observer.observe(this.graph);
    }

    stop() {
        this.observer.disconnect();
        this.chart.destroy();
        this.node.remove();
    }

    // content: {lines, tracesOf(line), differences: [{difference, shift}], interval, values, hasTimes, colors};
    // values is null if the plot adapts.
    show(content) {
        this.#content = content;
        this.#content.shownValues = content.values ?? this.#fittingValues();
        this.chart.show({...content, values: this.#content.shownValues});
    }

    // The interval of values that is drawn.
    shownValues() {
        return this.#content.shownValues;
    }

    // What it takes to draw a line of this shift, see drawing.js.
    scaleOf(shift) {
        const [from, to] = this.#content.interval;
        const [low, high] = this.#content.shownValues;
        return {from, to, low, high, shift, ...this.chart.area()};
    }

    content() {
        return this.#content;
    }

    pixels() {
        return this.chart.area().width * devicePixelRatio;
    }

    #fittingValues() {
        const {lines, tracesOf, interval: [from, to]} = this.#content;
        let [low, high] = [Infinity, -Infinity];
        for (const line of lines) {
            for (const trace of tracesOf(line)) {
                const extent = extentOf(trace, from - line.shift, to - line.shift);
                low = Math.min(low, extent.low);
                high = Math.max(high, extent.high);
            }
        }
        return paddedValues(low, high);
    }

    #draw(context) {
        if (this.#content === null) return;
        const {lines, tracesOf, differences, colors} = this.#content;
        for (const {difference, shift} of differences) {
            paintDifference(context, difference, this.scaleOf(shift), colors);
        }
        for (const line of lines) {
            const style = {color: colors.lines[line.color], isDashed: line.isDashed};
            tracesOf(line).forEach((trace) => paintLine(context, trace, this.scaleOf(line.shift), style));
        }
    }
}
