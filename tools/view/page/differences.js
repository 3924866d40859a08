// What `logging2 diff` finds between the first two runs, for each element of each signal in the plots.

import {fetchDifference} from "./api.js";
import {NewestOnly} from "./newest.js";
import {sentNumber, shortNumber} from "./numbers.js";

const MOST_PIXELS = 2000; // of a tube

// The answer in numbers, as far as the page shows it.
function differenceFrom(answer) {
    const numbers = (list) => list.map(sentNumber);
    return {
        isSame: answer.same,
        maximum: sentNumber(answer.maximum),
        at: sentNumber(answer.at),
        hasMore: answer.more === true,
        intervals: answer.intervals.map(numbers),
        tube: {
            times: numbers(answer.tube.times),
            low: numbers(answer.tube.low),
            high: numbers(answer.tube.high),
        },
    };
}

function parametersOf(line, other, interval, pixels, tolerances) {
    return [
        ["a", line.run.id], ["b", other.run.id], ["signal", line.path], ["element", line.element],
        ["from", interval[0] - line.shift], ["to", interval[1] - line.shift],
        ["pixels", Math.max(1, Math.min(MOST_PIXELS, Math.round(pixels)))], ["shift", other.shift - line.shift],
        ["absolute", tolerances.absolute], ["relative", tolerances.relative],
        ["time-tolerance", tolerances.time],
    ];
}

// The pairs of lines of the first two runs with the same element.
function pairsOf(lines, runs) {
    const [first, second] = runs;
    return lines.filter((line) => line.run.id === first.run.id).flatMap((line) => {
        const other = lines.find((candidate) => candidate.run.id === second.run.id &&
            candidate.path === line.path && candidate.element === line.element);
        return other === undefined ? [] : [{line, other}];
    });
}

export class Differences {
    #found = new Map();
    #queue = new NewestOnly();
    #asked = "";
    #loaded;

    constructor(loaded) {
        this.#loaded = loaded;
    }

    // wanted: [{lines, pixels}] for each plot. The stamp says which state of the runs is wanted.
    want(wanted, runs, interval, tolerances, stamp) {
        if (tolerances === null || runs.length < 2) {
            this.#asked = "";
            this.#found.clear();
            return;
        }
        const requests = wanted.flatMap(({lines, pixels}) => pairsOf(lines, runs)
            .map(({line, other}) => ({
                line, parameters: parametersOf(line, other, interval, pixels, tolerances)})));
        const asked = JSON.stringify([stamp, requests.map((request) => request.parameters)]);
        if (asked === this.#asked) return;
        this.#asked = asked;
        this.#queue.run((signal) => this.#load(requests, signal));
    }

    async #load(requests, signal) {
        const found = new Map();
        await Promise.all(requests.map(async ({line, parameters}) => {
            try {
                found.set(line.key, {difference: differenceFrom(await fetchDifference(parameters, signal))});
            } catch (error) {
                if (error.name === "AbortError") throw error;
                found.set(line.key, {error});
            }
        }));
        if (this.#asked === "") return;
        this.#found = found;
        this.#loaded();
    }

    // {difference} or {error} of a line of the first run, or undefined.
    get(line) {
        return this.#found.get(line.key);
    }

    // [{difference, shift}] of the lines that were compared.
    of(lines) {
        return lines.map((line) => ({difference: this.get(line)?.difference, shift: line.shift}))
            .filter(({difference}) => difference !== undefined);
    }

    // The first place of difference of these lines that begins after a time, or before it if the
    // direction is -1, as an interval of the page's time. It is null if there is none.
    nextPlace(lines, time, direction) {
        const places = this.of(lines)
            .flatMap(({difference, shift}) => difference.intervals.map((at) => at.map((t) => t + shift)))
            .filter(([from, to]) => (direction > 0 ? from > time : to < time))
            .sort((one, other) => direction * (one[0] - other[0]));
        return places[0] ?? null;
    }

    // What the legend says of a line, or null.
    noteOf(line) {
        const found = this.get(line);
        if (found === undefined) return null;
        const name = line.path + line.suffix;
        if (found.error !== undefined) return {text: `${name}: ${found.error.message}`, isError: true};
        const {isSame, intervals, hasMore, maximum, at} = found.difference;
        if (isSame) return {text: `${name}: no difference here`};
        const count = `${intervals.length}${hasMore ? " or more" : ""}`;
        const places = count === "1" ? "1 difference" : `${count} differences`;
        const most = Number.isNaN(maximum) ? "" : `, greatest ${shortNumber(maximum)} at ${shortNumber(at)}`;
        return {text: `${name}: ${places}${most}`, hasPlaces: true};
    }
}
