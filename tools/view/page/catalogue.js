// What is known about runs. Dispatches "change" when that changes, and "data" when a run has got or lost
// steps, with its id and the time from which on it has changed.

import {fetchRun, fetchRuns} from "./api.js";
import {sentNumber} from "./numbers.js";

function finiteOrNull(value) {
    const number = sentNumber(value);
    return Number.isFinite(number) ? number : null;
}

function groupFrom(group) {
    return {...group, lastTime: finiteOrNull(group.lastTime)};
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

// From which time on steps of a run may be new, or taken back with a new revision; null if none are.
function firstChange(run, previous) {
    if (run.revision !== previous.revision) return -Infinity;
    const changed = run.groups.flatMap((group, index) => {
        const old = previous.groups[index];
        return JSON.stringify(group) === JSON.stringify(old) ? [] : [group, old];
    });
    return changed.length === 0 ? null : Math.min(...changed.map((group) => group?.lastTime ?? -Infinity));
}

export class Catalogue extends EventTarget {
    list = [];
    listedAt = 0; // when the list came
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
            this.listedAt = performance.now();
            this.listError = null;
            this.#loadOutdated();
        } catch (error) {
            this.listError = error;
        }
        this.#changed();
    }

    // A run that is not in the list any more is probably gone. Not all are watched by the server, so that one
    // may have ended.
    #loadOutdated() {
        const states = new Map(this.list.map(({id, state}) => [id, state]));
        [...this.#runs.values()].filter(({id, state, error}) => error === null && states.get(id) !== state)
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
            const run = runFrom(await fetchRun(id));
            const previous = this.#runs.get(id);
            this.#runs.set(id, run);
            if (previous !== undefined) this.#tellData(run, previous);
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

    // An event of the server about a run and those of its groups that have changed.
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
        const changed = new Map((event.groups ?? []).map((group) => [group.id, groupFrom(group)]));
        const groups = run.groups.map((group) => changed.get(group.id) ?? group);
        const next = {...run, state, revision, lag: lag ?? null, groups};
        this.#runs.set(run.id, next);
        this.#updateListed(event);
        this.#tellData(next, run);
        this.#changed();
    }

    #tellData(run, previous) {
        const from = firstChange(run, previous);
        if (from !== null) this.dispatchEvent(new CustomEvent("data", {detail: {id: run.id, from}}));
    }

    #updateListed({id, state, steps}) {
        this.list = this.list.map((run) => (run.id === id ? {...run, state, steps} : run));
    }

    #changed() {
        this.dispatchEvent(new Event("change"));
    }
}
