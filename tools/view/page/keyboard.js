// The keys of the page, and the dialog that explains them.

import {byId, element} from "./dom.js";

const GESTURES = [
    ["Drag", "Zoom to an interval"],
    ["Shift + drag", "Pan; so does a drag on the times"],
    ["Wheel", "Zoom at the pointer"],
    ["Shift + wheel", "Pan"],
    ["Wheel on values", "Zoom the values of a plot"],
    ["Double click", "Show the whole run"],
    ["Click", "Put cursor A here"],
    ["Shift + click", "Put cursor B here"],
    ["Drag a signal", "Put it into a plot"],
];

function keyRow(keys, text) {
    return element("div", {className: "key-row"},
                   element("span", {}, element("kbd", {textContent: keys})), element("span", {textContent: text}));
}

function isTyping(target) {
    return target.closest("input:not([type=checkbox]), textarea, dialog") !== null;
}

// Space and Enter on a button press it.
function pressesButton(event) {
    return (event.key === " " || event.key === "Enter") && event.target.closest("button, input") !== null;
}

// keys: [{keys: [event.key...], shown, text, run(event)}]
export function startKeyboard(keys) {
    byId("help-keys").append(...keys.map(({shown, text}) => keyRow(shown, text)),
                             ...GESTURES.map(([shown, text]) => keyRow(shown, text)));
    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.metaKey || event.altKey) return;
        if (isTyping(event.target) || pressesButton(event)) return;
        const found = keys.find((entry) => entry.keys.includes(event.key));
        if (found === undefined) return;
        event.preventDefault();
        found.run(event);
    });
}
