// Keeps the address in step with the view, and the view with an address that the user enters.

import {addressOf, viewFrom} from "./address.js";

const DELAY = 250; // milliseconds; browsers refuse too many changes

export class AddressBar {
    #holder;
    #timer = null;

    constructor(holder) {
        this.#holder = holder;
        holder.addEventListener("change", () => {
            clearTimeout(this.#timer);
            this.#timer = setTimeout(() => this.#write(), DELAY);
        });
        window.addEventListener("hashchange", () => this.read());
    }

    // Shows what the address says.
    read() {
        const {hash} = location;
        if (hash.replace(/^#/, "") !== addressOf(this.#holder.view)) this.#holder.change(viewFrom(hash));
    }

    #write() {
        history.replaceState(null, "", `#${addressOf(this.#holder.view)}`);
    }
}
