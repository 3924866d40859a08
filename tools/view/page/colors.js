// The colours of the style sheet, for canvases and pictures.

import {COLOR_COUNT} from "./lines.js";

export function currentColors() {
    const style = getComputedStyle(document.documentElement);
    const color = (name) => style.getPropertyValue(`--${name}`).trim();
    return {
        background: color("background"),
        text: color("text"),
        axis: color("axis"),
        grid: color("grid"),
        mark: color("mark"),
        selection: color("selection"),
        tube: color("tube"),
        outside: color("outside"),
        lines: Array.from({length: COLOR_COUNT}, (_, index) => color(`line-${index}`)),
    };
}
