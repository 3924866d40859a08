// Which key does what.

import {byId} from "./dom.js";

export function keysOf(actions, toolbar) {
    const far = (event) => (event.shiftKey ? 0.8 : 0.1);
    return [
        {keys: ["/"], shown: "/", text: "Filter the signals", run: () => byId("filter").focus()},
        {keys: ["ArrowLeft"], shown: "← (Shift: far)", text: "Earlier", run: (event) => actions.pan(-far(event))},
        {keys: ["ArrowRight"], shown: "→ (Shift: far)", text: "Later", run: (event) => actions.pan(far(event))},
        {keys: ["+", "=", "ArrowUp"], shown: "+ or ↑", text: "Zoom in, at cursor A if it is visible", run: () => actions.zoomCenter(1 / 2)},
        {keys: ["-", "ArrowDown"], shown: "− or ↓", text: "Zoom out", run: () => actions.zoomCenter(2)},
        {keys: ["Home"], shown: "Home", text: "Show the whole run", run: () => actions.whole()},
        {keys: ["l", "L", "End"], shown: "L or End", text: "Show the newest steps", run: () => toolbar.showLast()},
        {keys: [" "], shown: "Space", text: "Pause, or follow the newest steps", run: () => actions.togglePause()},
        {keys: ["a", "A"], shown: "A", text: "Put cursor A at the pointer", run: () => actions.markHere("a")},
        {keys: ["b", "B"], shown: "B", text: "Put cursor B at the pointer", run: () => actions.markHere("b")},
        {keys: [",", "["], shown: ", or [", text: "Move cursor A to the step before", run: () => actions.stepMark(-1)},
        {keys: [".", "]"], shown: ". or ]", text: "Move cursor A to the next step", run: () => actions.stepMark(1)},
        {keys: ["Escape"], shown: "Escape", text: "Remove the cursors", run: () => actions.clearMarks()},
        {keys: ["v", "V"], shown: "V", text: "Fit the values of all plots", run: () => actions.fitAllValues()},
        {keys: ["n", "N"], shown: "N", text: "Put the next signal into a new plot", run: () => actions.chooseNewPlot()},
        {keys: ["Delete"], shown: "Delete", text: "Remove the current plot", run: () => actions.removeCurrentPlot()},
        {keys: ["c", "C"], shown: "C", text: "Compare the first two runs", run: () => actions.toggleCompare()},
        {keys: ["d"], shown: "D", text: "Cursor A to the next difference", run: () => actions.nextPlaceHere(1)},
        {keys: ["D"], shown: "Shift + D", text: "Cursor A to the difference before", run: () => actions.nextPlaceHere(-1)},
        {keys: ["s", "S"], shown: "S", text: "Save", run: () => actions.openSave()},
        {keys: ["t", "T"], shown: "T", text: "Light or dark", run: () => actions.toggleTheme()},
        {keys: ["?"], shown: "?", text: "Show this list", run: () => actions.openHelp()},
    ];
}
