// Numbers as people read them, and the round numbers beside an axis.

// The number itself, with every digit.
export function fullNumber(value) {
    if (value === Infinity) return "∞";
    if (value === -Infinity) return "−∞";
    return String(value).replace("-", "−");
}

export function shortNumber(value, digits = 6) {
    if (!Number.isFinite(value)) return fullNumber(value);
    return fullNumber(Number(value.toPrecision(digits)));
}

export function countText(count) {
    return Math.round(count).toLocaleString("en-US");
}

export function shortCount(count) {
    return count.toLocaleString("en-US", {notation: "compact", maximumSignificantDigits: 3});
}

// What a user typed, or NaN.
export function parseNumber(text) {
    const trimmed = text.trim().replace("−", "-");
    return trimmed === "" ? NaN : Number(trimmed);
}

// What the server sent: numbers that JSON cannot express are texts.
export function sentNumber(value) {
    return value === null || value === undefined ? NaN : Number(value);
}

export function durationText(seconds) {
    if (!Number.isFinite(seconds)) return "";
    if (seconds < 1) return `${Math.round(seconds * 1000)} ms`;
    if (seconds < 120) return `${shortNumber(seconds, 2)} s`;
    const minutes = Math.floor(seconds / 60);
    if (minutes < 120) return `${minutes} min ${Math.floor(seconds % 60)} s`;
    return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
}

// The step between round numbers, so that at most `count` of them lie in an interval of this length.
export function roundStep(length, count) {
    const raw = length / Math.max(count, 1);
    const power = 10 ** Math.floor(Math.log10(raw));
    const factor = [1, 2, 5, 10].find((candidate) => candidate * power >= raw * (1 - 1e-9));
    return factor * power;
}

function tickLabel(value, step, greatest) {
    if (Math.abs(value) < step / 2) return "0";
    if (greatest >= 1e7 || greatest < 1e-3) {
        const digits = Math.max(0, Math.ceil(Math.log10(Math.abs(value) / step) - 1e-9));
        return value.toExponential(Math.min(digits, 15)).replace("e+", "e").replace("-", "−");
    }
    const decimals = Math.max(0, Math.ceil(-Math.log10(step) - 1e-9));
    return value.toFixed(Math.min(decimals, 20)).replace("-", "−");
}

function ticksOf(low, high, count) {
    const step = roundStep(high - low, count);
    const greatest = Math.max(Math.abs(low), Math.abs(high));
    const ticks = [];
    const first = Math.ceil(low / step);
    const last = Math.floor(high / step);
    for (let index = first; index <= last && ticks.length <= count + 1; index += 1) {
        const value = index * step;
        ticks.push({v: value, label: tickLabel(value, step, greatest)});
    }
    return ticks;
}

// Round numbers between two limits. Their labels take at most the pixels along a horizontal axis.
export function horizontalTicks(low, high, pixels) {
    if (!(high > low) || !Number.isFinite(high - low)) return [];
    for (let count = Math.max(2, Math.floor(pixels / 60)); count > 1; count -= 1) {
        const ticks = ticksOf(low, high, count);
        const longest = Math.max(0, ...ticks.map((tick) => tick.label.length));
        if (ticks.length * (longest * 7 + 16) <= pixels) return ticks;
    }
    return ticksOf(low, high, 1);
}

export function verticalTicks(low, high, pixels) {
    if (!(high > low) || !Number.isFinite(high - low)) return [];
    return ticksOf(low, high, Math.max(2, Math.floor(pixels / 32)));
}
