// Runs one task at a time. Of those that come meanwhile only the newest is kept, so that fast moves do
// not queue up requests.

const PATIENCE = 300; // milliseconds

export class NewestOnly {
    #next = null;
    #running = null;
    #started = 0;

    isBusy() {
        return this.#running !== null;
    }

    // task: async (signal) => ..., signal being that of an AbortController. If `isUrgent`, a task that lasts
    // long is given up for it.
    run(task, isUrgent = true) {
        this.#next = task;
        if (this.#running === null) {
            this.#work();
        } else if (isUrgent) {
            const left = this.#started + PATIENCE - performance.now();
            setTimeout(this.#giveUp, left, this.#running);
        }
    }

    #giveUp = (controller) => {
        if (controller === this.#running && this.#next !== null) controller.abort();
    };

    async #work() {
        while (this.#next !== null) {
            const task = this.#next;
            this.#next = null;
            this.#running = new AbortController();
            this.#started = performance.now();
            try {
                await task(this.#running.signal);
            } catch (error) {
                if (error.name !== "AbortError") console.error(error);
            }
        }
        this.#running = null;
    }
}
