// Listens to the server's events about runs. Dispatches "run" with what the server says of a run, "runs"
// when the list has changed, and "connected" and "lost".

import {eventsAddress} from "./api.js";

const RETRY = 1500; // milliseconds
const MOST_RUNS = 16; // that the server watches for one page

export class LiveFeed extends EventTarget {
    lookedAt = performance.now(); // when the page heard that the server had looked at the runs
    #source = null;
    #address = null;
    #retry = null;

    constructor() {
        super();
        // Browsers allow few connections to a server. Hidden pages do not need theirs.
        document.addEventListener("visibilitychange", () => (document.hidden ? this.#close() : this.#open()));
    }

    watch(ids) {
        const address = eventsAddress(ids.slice(0, MOST_RUNS).sort());
        if (address === this.#address) return;
        this.#address = address;
        this.#open();
    }

    #close() {
        this.#source?.close();
        clearTimeout(this.#retry);
    }

    #open() {
        this.#close();
        const source = new EventSource(this.#address);
        this.#source = source;
        source.addEventListener("open", () => this.dispatchEvent(new Event("connected")));
        source.addEventListener("runs", () => this.dispatchEvent(new Event("runs")));
        for (const name of ["open", "look"]) {
            source.addEventListener(name, () => (this.lookedAt = performance.now()));
        }
        source.addEventListener("run", (event) =>
            this.dispatchEvent(new CustomEvent("run", {detail: JSON.parse(event.data)})));
        source.addEventListener("error", () => {
            if (source !== this.#source) return;
            this.#close();
            this.dispatchEvent(new Event("lost"));
            this.#retry = setTimeout(() => this.#open(), RETRY);
        });
    }
}
