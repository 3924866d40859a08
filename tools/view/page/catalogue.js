// What is known about runs. Dispatches "change" when that changes, and "data" with the run as detail when
// a run has got or lost steps.

import {fetchRun, fetchRuns} from "./api.js";
import {sentNumber} from "./numbers.js";

function finiteOrNull(value) {
    const number = sentNumber(value);
    return Number.isFinite(number) ? number : null;
}

function groupFrom(group) {
    return {...group, firstTime: finiteOrNull(group.firstTime), lastTime: finiteOrNull(group.lastTime)};
}

function runFrom(answer) {
    return {
        id: answer.id,
        name: answer.name,
        state: answer.state,
        revision: answer.revision,
        lag: answer.lag ?? null,
        error: null,
        groups: answer.groups.map(groupFrom),
        signals: new Map(answer.signals.map((signal) => [signal.path, signal])),
    };
}

function unknownRun(id) {
    return {id, name: id.slice(0, 8), revision: 0, lag: null, groups: [], signals: new Map()};
}

// Which state of the runs an answer about the times up to `time` depends on.
export function stampOf(shownRuns, time) {
    return shownRuns.map(({run, shift}) => {
        const lastTimes = run.groups.map((group) => group.lastTime).filter((last) => last !== null);
        const last = Math.max(-Infinity, ...lastTimes) + shift;
        return `${run.id} ${run.revision} ${time >= last ? last : ""}`;
    }).join();
}

export class Catalogue extends EventTarget {
    list = [];
    listError = null;
    #runs = new Map();
    #loading = new Set();

    get(id) {
        return this.#runs.get(id);
    }

    isLoading() {
        return this.#loading.size > 0;
    }

    async loadList() {
        try {
            this.list = await fetchRuns();
            this.listError = null;
            this.#loadMissing();
        } catch (error) {
            this.listError = error;
        }
        this.#changed();
    }

    // A run that is not in the list any more is probably gone.
    #loadMissing() {
        const listed = new Set(this.list.map(({id}) => id));
        [...this.#runs.values()].filter(({id, error}) => error === null && !listed.has(id))
            .forEach(({id}) => this.load(id));
    }

    // Loads what is not known yet of these runs.
    need(ids) {
        for (const id of ids) {
            if (!this.#runs.has(id) && !this.#loading.has(id)) this.load(id);
        }
    }

    async load(id) {
        this.#loading.add(id);
        try {
            this.#runs.set(id, runFrom(await fetchRun(id)));
        } catch (error) {
            this.#fail(id, error.message);
        }
        this.#loading.delete(id);
        this.#changed();
    }

    // What was known of the run stays visible.
    #fail(id, message) {
        this.#runs.set(id, {...(this.#runs.get(id) ?? unknownRun(id)), state: "unknown", error: message});
    }

    // Asks again for the runs that could not be read.
    loadFailed() {
        [...this.#runs.values()].filter((run) => run.error !== null).forEach((run) => this.load(run.id));
    }

    // An event of the server about a run.
    update(event) {
        const run = this.#runs.get(event.id);
        if (run === undefined) return;
        if (run.error !== null) {
            this.load(run.id);
            return;
        }
        if (event.error !== undefined) {
            this.#fail(run.id, event.error);
            this.#changed();
            return;
        }
        const {state, revision, lag} = event;
        const next = {...run, state, revision, lag: lag ?? null, groups: event.groups.map(groupFrom)};
        this.#runs.set(run.id, next);
        this.#updateListed(event);
        this.dispatchEvent(new CustomEvent("data", {detail: {run: next, previous: run}}));
        this.#changed();
    }

    #updateListed({id, state, steps}) {
        this.list = this.list.map((run) => (run.id === id ? {...run, state, steps} : run));
    }

    #changed() {
        this.dispatchEvent(new Event("change"));
    }
}
