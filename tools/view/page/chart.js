// A chart of dygraphs, which lays out the plot and draws its axes and its grid. The lines are drawn by the
// caller: each of them has times of its own, while dygraphs wants one column of times for all.

import {horizontalTicks, verticalTicks} from "./numbers.js";

const AXIS_WIDTH = 74;
const AXIS_HEIGHT = 18;
const FONT_SIZE = 11;

// The legend of dygraphs sets style attributes, which the page's security policy forbids.
const {Dygraph} = /** @type {any} */ (globalThis);
Dygraph.PLUGINS = [Dygraph.Plugins.Axes, Dygraph.Plugins.Grid];

export class Chart {
    #graph;

    // draw(context) draws the lines.
    constructor(container, draw) {
        this.#graph = new Dygraph(container, [[0, 0], [1, 0]], {
            labels: ["time", "lines"],
            plotter: (event) => draw(event.drawingContext),
            dateWindow: [0, 1],
            interactionModel: {},
            highlightCircleSize: 0,
            showLabelsOnHighlight: false,
            xAxisHeight: AXIS_HEIGHT,
            rightGap: 8,
            axisTickSize: 4,
            axisLabelFontSize: FONT_SIZE,
            axes: {
                x: {ticker: horizontalTicks, axisLabelWidth: 120},
                y: {ticker: verticalTicks, axisLabelWidth: AXIS_WIDTH - 8,
                    valueRange: [0, 1]},
            },
        });
    }

    // The rectangle of the lines as {left, top, width, height}.
    area() {
        const {x, y, w, h} = this.#graph.getArea();
        return {left: x, top: y, width: w, height: h};
    }

    // Draws everything again.
    show({interval, values, hasTimes, colors}) {
        this.#graph.updateOptions({
            dateWindow: interval,
            axisLineColor: colors.axis,
            gridLineColor: colors.grid,
            xAxisHeight: hasTimes ? AXIS_HEIGHT : 2,
            axes: {x: {drawAxis: hasTimes}, y: {valueRange: values}},
        });
    }

    resize() {
        this.#graph.resize();
    }

    destroy() {
        this.#graph.destroy();
    }
}
