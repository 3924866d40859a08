// Keeps the page in step with the view and the runs. Everything is shown by one function, at most once
// per frame.

import {actionsOf} from "./actions.js";
import {AddressBar} from "./address_bar.js";
import {Catalogue, stampOf} from "./catalogue.js";
import {currentColors} from "./colors.js";
import {Cursors} from "./cursors.js";
import {Differences} from "./differences.js";
import {byId} from "./dom.js";
import {xOf} from "./drawing.js";
import {startKeyboard} from "./keyboard.js";
import {keysOf} from "./keys.js";
import {linesOf} from "./lines.js";
import {LiveFeed} from "./live.js";
import {PlotList} from "./plot_list.js";
import {columnsOf, detailOf, liveText, notesOf, readingsOf, readingsText} from "./readings.js";
import {RunList} from "./run_list.js";
import {SignalList} from "./signal_list.js";
import {startTheme} from "./theme.js";
import {shownInterval} from "./time_range.js";
import {Toolbar} from "./toolbar.js";
import {Traces} from "./traces.js";
import {ViewHolder} from "./view.js";

const CLOCK = 200; // milliseconds between updates of the lag

export class App {
    #holder = new ViewHolder();
    #catalogue = new Catalogue();
    #feed = new LiveFeed();
    #isScheduled = false;
    #areCursorsScheduled = false;
    #changedAt = null;
    #selection = null;
    #isConnected = true;
    #eventAt = performance.now();
    #followedRange = {kind: "whole"};
    #focusesPlot = false;
    #failure = null;
    #shownView = null;
    #loadedView = null;
    interval = [0, 1];
    shownRuns = [];
    pointer = null;

    constructor() {
        const actions = actionsOf(this);
        this.addressBar = new AddressBar(this.#holder);
        this.differences = new Differences(() => this.refresh());
        this.traces = new Traces((purpose) => this.#takeLoaded(purpose));
        this.cursors = new Cursors(() => this.#refreshCursors());
        this.toggleTheme = startTheme(() => this.#takeColors());
        this.plotList = new PlotList(actions);
        this.runList = new RunList(byId("runs"), actions);
        this.signalList = new SignalList(byId("signals"), byId("filter"), actions);
        this.toolbar = new Toolbar(actions);
        startKeyboard(keysOf(actions, this.toolbar));
        for (const format of ["svg", "png", "csv"]) {
            const save = {svg: actions.saveSvg, png: actions.savePng, csv: actions.saveCsv}[format];
            byId(`save-${format}`).addEventListener("click", () => {
                byId("save-dialog").close();
                save();
            });
        }
        this.#listen();
    }

    get view() {
        return this.#holder.view;
    }

    change(patch) {
        this.#holder.change(patch);
    }

    async start() {
        this.#takeColors();
        this.addressBar.read();
        await this.#catalogue.loadList();
        // A single run needs no choice.
        const readable = this.#catalogue.list.filter((run) => run.error === undefined);
        if (this.view.runs.length === 0 && readable.length === 1) this.change({runs: [{id: readable[0].id, shift: 0}]});
    }

    #listen() {
        this.#holder.addEventListener("change", () => this.#viewChanged());
        this.#catalogue.addEventListener("change", () => this.refresh());
        this.#catalogue.addEventListener("data", (/** @type {any} */ {detail: {id, from}}) =>
            this.traces.outdate(id, from));
        this.#feed.addEventListener("run", (/** @type {any} */ {detail}) => {
            this.#eventAt = performance.now();
            this.#catalogue.update(detail);
        });
        this.#feed.addEventListener("runs", () => {
            this.#catalogue.loadList();
            this.#catalogue.loadFailed();
        });
        this.#feed.addEventListener("lost", () => this.#setConnected(false));
        this.#feed.addEventListener("connected", () => this.#setConnected(true));
        setInterval(() => this.#showLag(), CLOCK);
    }

    #viewChanged() {
        this.#changedAt ??= performance.now();
        this.#failure = null;
        byId("plots").setAttribute("aria-busy", "true");
        if (this.view.range.kind !== "fixed") this.#followedRange = this.view.range;
        const ids = this.view.runs.map(({id}) => id);
        this.#catalogue.need(ids);
        this.refresh();
    }

    #setConnected(isConnected) {
        // What has changed while there was no connection is not told.
        if (isConnected || this.#isConnected) this.#catalogue.loadList();
        if (isConnected && !this.#isConnected) {
            this.traces.outdateAll();
            this.#catalogue.loadFailed();
        }
        this.#isConnected = isConnected;
        this.refresh();
    }

    #takeColors() {
        this.colors = currentColors();
        if (this.plotList !== undefined) this.refresh();
    }

    // Stops following, or follows again as before.
    togglePause() {
        const [from, to] = this.interval;
        this.change({range: this.view.range.kind === "fixed" ? this.#followedRange : {kind: "fixed", from, to}});
    }

    // Shows why something that the user wanted has failed, until the view changes.
    async reportFailure(attempt) {
        this.#failure = await attempt.then(() => null, (error) => error);
        this.refresh();
    }

    point(time) {
        this.pointer = time;
        this.#refreshCursors();
    }

    select(pixels) {
        this.#selection = pixels;
        this.#refreshCursors();
    }

    // What grows is shown when its traces are there, so that fast runs do not outrun the plots.
    #takeLoaded(purpose) {
        if (purpose?.view === this.view) {
            this.#loadedView = this.view;
            this.interval = purpose.interval;
        }
        this.refresh();
    }

    // Gives the focus to the current plot as soon as it is shown.
    focusPlot() {
        this.#focusesPlot = true;
        this.refresh();
    }

    allLines() {
        return this.plotList.plots.flatMap((plot) => plot.content().lines);
    }

    refresh() {
        if (this.#isScheduled) return;
        this.#isScheduled = true;
        requestAnimationFrame(() => {
            this.#isScheduled = false;
            this.#show();
        });
    }

    #refreshCursors() {
        if (this.#areCursorsScheduled) return;
        this.#areCursorsScheduled = true;
        requestAnimationFrame(() => {
            this.#areCursorsScheduled = false;
            this.#showCursors();
        });
    }

    #show() {
        const {view} = this;
        this.shownRuns = view.runs.map(({id, shift}) => ({run: this.#catalogue.get(id), shift}))
            .filter(({run}) => run !== undefined);
        const interval = shownInterval(view.range, this.shownRuns);
        const isNewView = view !== this.#shownView;
        if (isNewView) this.interval = interval;
        this.#shownView = view;
        this.#watch();
        this.plotList.sync(view.plots.length, view.current);
        this.plotList.showMessage(this.#emptyText());
        this.#contents = view.plots.map((plot) => linesOf(plot, this.shownRuns));
        if (!this.#want(interval, isNewView)) this.interval = interval;
        this.#showPlots();
        this.#showCursors();
        const failure = this.#catalogue.listError ?? this.#failure;
        byId("banner").hidden = failure === null;
        byId("banner").textContent = failure?.message ?? "";
        document.title = [...this.shownRuns.map(({run}) => run.name), "logging2 view"].filter(Boolean).join(" – ");
        this.runList.show(this.#catalogue, view);
        this.signalList.show(this.shownRuns, view);
        this.toolbar.show(view, this.interval, this.shownRuns.some(({run}) => run.state === "running"));
        byId("detail").textContent = detailOf(this.allLines().map((line) => this.traces.get(line.key))).text;
        this.#showLag();
        if (this.#focusesPlot) this.plotList.plots[view.current]?.node.focus({preventScroll: true});
        this.#focusesPlot = false;
        this.#tellWhenDone();
    }

    // The server refuses to watch runs that it does not have.
    #watch() {
        const isUnreadable = ({id}) => (this.#catalogue.get(id)?.error ?? null) !== null;
        this.#feed.watch(this.view.runs.filter((run) => !isUnreadable(run)).map(({id}) => id));
    }

    #contents = [];

    // Asks for what the interval needs. Returns whether traces must be loaded first.
    #want(interval, isUrgent) {
        const wanted = this.plotList.plots.map((plot, index) => (
            {lines: this.#contents[index].lines, pixels: plot.pixels()}));
        this.differences.want(wanted, this.shownRuns, interval, this.view.compare,
                              stampOf(this.shownRuns, interval[1]));
        return this.traces.want(wanted, {interval, view: this.view}, isUrgent);
    }

    #showPlots() {
        const {plots} = this.plotList;
        plots.forEach((plot, index) => plot.show({
            lines: this.#contents[index].lines,
            tracesOf: (line) => this.traces.get(line.key)?.traces ?? [],
            differences: this.differences.of(this.#contents[index].lines),
            interval: this.interval,
            values: this.view.plots[index].values,
            hasTimes: index === plots.length - 1,
            colors: this.colors,
        }));
    }

    #emptyText() {
        if (this.view.plots.length > 0) return null;
        if (this.view.runs.length === 0) return "Choose a run on the left.";
        const failed = this.shownRuns.find(({run}) => run.error !== null);
        if (failed !== undefined) return failed.run.error;
        return "Click a signal on the left, or drag it here.\nPress ? to see what the keys do.";
    }

    #showCursors() {
        const readings = readingsOf(this.view.marks, this.pointer, this.interval);
        const times = {a: null, b: null, pointer: null};
        readings.forEach(({name, time}) => (times[name] = time));
        this.cursors.want(this.allLines(), times, (time) => stampOf(this.shownRuns, time));
        const columns = columnsOf(readings, (name, line) => this.cursors.valueAt(name, line));
        this.plotList.plots.forEach((plot, index) => this.#showCursorsIn(plot, index, columns));
        byId("cursor-times").textContent = this.plotList.plots.length > 0 ? readingsText(readings) : "";
    }

    #showCursorsIn(plot, index, columns) {
        const scale = plot.scaleOf(0);
        const marks = [["A", this.view.marks.a], ["B", this.view.marks.b], ["", this.pointer]]
            .filter(([, time]) => time !== null)
            .map(([name, time]) => ({name, x: xOf(scale, time), isPinned: name !== ""}));
        plot.overlay.show(plot.chart.area(), marks, this.#selection, this.colors);
        const entryOf = (line) => this.traces.get(line.key);
        plot.legend.show({
            lines: this.#contents[index].lines,
            columns,
            notes: notesOf(this.#contents[index], this.shownRuns, entryOf, (line) => this.differences.noteOf(line)),
            detail: detailOf(this.#contents[index].lines.map(entryOf)),
            colors: this.colors,
            hasFixedValues: this.view.plots[index].values !== null,
        });
    }

    #showLag() {
        const since = (time) => (performance.now() - time) / 1000;
        const seenAt = Math.min(this.#feed.lookedAt, this.traces.staleSince());
        const {text, isLate} = liveText(this.shownRuns.map(({run}) => run), this.view.range, this.#isConnected,
                                        {event: since(this.#eventAt), seen: since(seenAt)});
        byId("live").textContent = text;
        byId("live").classList.toggle("late", isLate);
    }

    // Tools that measure the page find the time from a change of the view until everything was drawn.
    #tellWhenDone() {
        const isLoaded = this.#loadedView === this.view || !this.traces.isBusy();
        if (this.#changedAt === null || !isLoaded || this.#catalogue.isLoading()) return;
        byId("plots").setAttribute("aria-busy", "false");
        performance.clearMeasures("shown");
        performance.measure("shown", {start: this.#changedAt, end: performance.now()});
        this.#changedAt = null;
    }
}
