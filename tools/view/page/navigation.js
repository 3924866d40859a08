// Wheel and drag on a plot:
//   drag                          zooms to the chosen interval
//   Shift and drag, or a drag on the times      pans
//   wheel                         zooms at the pointer; with Shift, or sideways, it pans
//   wheel over the values         zooms the values
//   click, Shift and click        put cursor A or B
//   double click                  shows the whole run; the cursors stay where they were

const LEAST_DRAG = 4; // pixels; less is a click
const ZOOM_PER_PIXEL = 1.0018;
const LINE_HEIGHT = 33; // pixels for browsers that count in lines

function wheelPixels(event, delta) {
    return event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? delta : delta * LINE_HEIGHT;
}

export class Navigation {
    #plot;
    #actions;
    #drag = null;

    // actions: {interval(), showInterval(interval), zoom(center, factor), pan(share), whole(),
    //           point(time | null), mark(name, time), restoreMarks(), select(pixels | null),
    //           zoomValues(plot, at, factor), choosePlot(index)}
    constructor(plot, actions) {
        this.#plot = plot;
        this.#actions = actions;
        const canvas = plot.overlay.canvas;
        canvas.addEventListener("wheel", (event) => this.#wheel(event), {passive: false});
        canvas.addEventListener("pointerdown", (event) => this.#down(event));
        canvas.addEventListener("pointermove", (event) => this.#move(event));
        canvas.addEventListener("pointerup", (event) => this.#up(event));
        canvas.addEventListener("pointercancel", () => this.#end());
        canvas.addEventListener("pointerleave", () => this.#actions.point(null));
        canvas.addEventListener("dblclick", () => {
            actions.restoreMarks();
            actions.whole();
        });
    }

    #timeAt(x) {
        const {left, width} = this.#plot.chart.area();
        const [from, to] = this.#actions.interval();
        const share = Math.max(0, Math.min(1, (x - left) / width));
        return from + share * (to - from);
    }

    #wheel(event) {
        event.preventDefault();
        const area = this.#plot.chart.area();
        const down = wheelPixels(event, event.deltaY);
        const right = wheelPixels(event, event.deltaX);
        if (event.shiftKey || Math.abs(right) > Math.abs(down)) {
            this.#actions.pan((right + (event.shiftKey ? down : 0)) / area.width);
        } else if (event.offsetX < area.left) {
            const at = 1 - (event.offsetY - area.top) / area.height;
            this.#actions.zoomValues(this.#plot.index, at, ZOOM_PER_PIXEL ** down);
        } else {
            this.#actions.zoom(this.#timeAt(event.offsetX), ZOOM_PER_PIXEL ** down);
        }
    }

    #down(event) {
        if (event.button !== 0) return;
        this.#actions.choosePlot(this.#plot.index);
        event.target.setPointerCapture(event.pointerId);
        const area = this.#plot.chart.area();
        this.#drag = {
            x: event.offsetX,
            pans: event.shiftKey || event.offsetY > area.top + area.height,
            interval: this.#actions.interval(),
            isDrag: false,
        };
    }

    #move(event) {
        this.#actions.point(this.#timeAt(event.offsetX));
        if (this.#drag === null) return;
        const distance = event.offsetX - this.#drag.x;
        this.#drag.isDrag ||= Math.abs(distance) >= LEAST_DRAG;
        if (!this.#drag.isDrag) return;
        if (this.#drag.pans) {
            this.#panBy(distance);
        } else {
            const {left, width} = this.#plot.chart.area();
            const within = (x) => Math.max(left, Math.min(left + width, x));
            this.#actions.select([this.#drag.x, event.offsetX].map(within).sort((a, b) => a - b));
        }
    }

    #panBy(distance) {
        const {interval: [from, to]} = this.#drag;
        const time = (distance / this.#plot.chart.area().width) * (to - from);
        this.#actions.showInterval([from - time, to - time]);
    }

    #up(event) {
        const drag = this.#drag;
        this.#end();
        if (drag === null) return;
        if (!drag.isDrag) {
            this.#actions.mark(event.shiftKey ? "b" : "a", this.#timeAt(event.offsetX));
        } else if (!drag.pans) {
            const times = [drag.x, event.offsetX].map((x) => this.#timeAt(x)).sort((a, b) => a - b);
            this.#actions.showInterval(times);
        }
    }

    #end() {
        this.#drag = null;
        this.#actions.select(null);
    }
}
