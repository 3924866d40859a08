// Asks the server. Every function throws a RequestError that says in plain words what is wrong, or the
// AbortError of a request that was given up.

import {parseTrace} from "./trace.js";

export class RequestError extends Error {
    // The status is 0 if the server did not answer.
    constructor(status, message) {
        super(message);
        this.status = status;
    }
}

const NO_ANSWER = "The server does not answer. Start “logging2 view” again and open the address it prints.";
const NO_SESSION = "This browser may not read the runs. Open the address that “logging2 view” printed.";

async function messageOf(response) {
    if (response.status === 401) return NO_SESSION;
    try {
        return (await response.json()).error;
    } catch {
        return `The server answered with status ${response.status}.`;
    }
}

// Parameters are pairs of a name and a value. Pairs without a value are left out.
export function addressWith(path, parameters) {
    const query = new URLSearchParams(parameters.filter(([, value]) => value !== null && value !== ""));
    return parameters.length === 0 ? path : `${path}?${query}`;
}

async function request(address, signal) {
    let response;
    try {
        response = await fetch(address, {signal, credentials: "same-origin"});
    } catch (error) {
        if (error.name === "AbortError") throw error;
        throw new RequestError(0, NO_ANSWER);
    }
    if (!response.ok) throw new RequestError(response.status, await messageOf(response));
    return response;
}

// A server that ends in the middle of an answer is one that does not answer.
async function complete(body) {
    try {
        return await body;
    } catch (error) {
        if (error.name === "AbortError") throw error;
        throw new RequestError(0, NO_ANSWER);
    }
}

async function json(address, signal) {
    return complete((await request(address, signal)).json());
}

function runPath(id, what = "") {
    return `api/runs/${encodeURIComponent(id)}${what}`;
}

// What the server takes in one request.
const MOST_LINES = 64;
const MOST_CHARACTERS = 7000;
const MOST_SAVED_SIGNALS = 250;

function parametersOf({path, element}) {
    return [["signal", path], ["element", element]];
}

// Lines of a run in parts that fit a request.
export function partsOf(lines) {
    const parts = [];
    let left = 0;
    for (const line of lines) {
        const length = addressWith("", parametersOf(line)).length;
        if (length > left || parts.at(-1).length === MOST_LINES) {
            parts.push([]);
            left = MOST_CHARACTERS;
        }
        parts.at(-1).push(line);
        left -= length;
    }
    return parts;
}

export async function fetchRuns() {
    return (await json("api/runs")).runs;
}

export async function fetchRun(id) {
    return json(runPath(id));
}

export async function fetchTrace(id, {path, element, from, to, pixels}, signal) {
    const address = addressWith(runPath(id, "/trace"), [
        ["signal", path], ["element", element], ["from", from], ["to", to], ["pixels", pixels]]);
    return parseTrace(await complete((await request(address, signal)).arrayBuffer()));
}

// In the order of the lines.
export async function fetchValues(id, time, lines, signal) {
    const address = addressWith(runPath(id, "/values"), [["time", time], ...lines.flatMap(parametersOf)]);
    return (await json(address, signal)).values;
}

export async function fetchDifference(parameters, signal) {
    return json(addressWith("api/diff", parameters), signal);
}

// The signals are [{path, element}]; element null stands for all elements.
export function csvAddress(id, signals, from, to) {
    const parameters = signals.every(({element}) => element === null)
        ? signals.map(({path}) => ["signal", path])
        : signals.flatMap(({path, element}) => parametersOf({path, element: element ?? "all"}));
    return addressWith(runPath(id, "/csv"), [...parameters, ["from", from], ["to", to]]);
}

// Throws the RequestError of a download that the server refuses; the browser would not show why.
export async function checkDownload(address, signalCount) {
    const unread = new AbortController();
    try {
        await request(address, unread.signal);
    } catch (error) {
        if (error.status === 414 || (error.status === 400 && signalCount > MOST_SAVED_SIGNALS)) {
            throw new RequestError(error.status, "These are too many signals for one file.");
        }
        throw error;
    }
    unread.abort();
}

export function eventsAddress(ids) {
    return addressWith("api/events", ids.map((id) => ["run", id]));
}
