// A transparent canvas over a chart. It shows the cursors and the interval that is being chosen, so that
// moving the pointer does not draw the lines again. It also takes the pointer's events.

import {element} from "./dom.js";

export class Overlay {
    constructor(container) {
        this.canvas = element("canvas", {className: "overlay"});
        this.container = container;
        container.append(this.canvas);
        this.resize();
    }

    resize() {
        const {clientWidth, clientHeight} = this.container;
        this.canvas.width = clientWidth * devicePixelRatio;
        this.canvas.height = clientHeight * devicePixelRatio;
        this.canvas.style.width = `${clientWidth}px`;
        this.canvas.style.height = `${clientHeight}px`;
    }

    // marks: [{x, name, isPinned}]; selection: [left, right] in pixels, or null.
    show(area, marks, selection, colors) {
        const context = this.canvas.getContext("2d");
        context.setTransform(devicePixelRatio, 0, 0, devicePixelRatio, 0, 0);
        context.clearRect(0, 0, this.canvas.width, this.canvas.height);
        if (selection !== null) {
            context.fillStyle = colors.selection;
            context.fillRect(selection[0], area.top, selection[1] - selection[0], area.height);
        }
        marks.filter(({x}) => x >= area.left && x <= area.left + area.width)
            .forEach((mark) => this.#showMark(context, area, mark, colors));
    }

    #showMark(context, area, {x, name, isPinned}, colors) {
        context.strokeStyle = colors.mark;
        context.lineWidth = 1;
        context.setLineDash(isPinned ? [] : [4, 3]);
        context.beginPath();
        context.moveTo(Math.round(x) + 0.5, area.top);
        context.lineTo(Math.round(x) + 0.5, area.top + area.height);
        context.stroke();
        context.setLineDash([]);
        if (name === "") return;
        context.fillStyle = colors.mark;
        context.fillRect(Math.round(x), area.top, 13, 13);
        context.fillStyle = colors.background;
        context.font = "bold 10px sans-serif";
        context.textAlign = "center";
        context.textBaseline = "middle";
        context.fillText(name, Math.round(x) + 6.5, area.top + 7);
    }
}
