// The plots as an SVG picture, drawn like those on the page.

import {drawLine, markersOf, oddNumbersOf, xOf, yOf} from "./drawing.js";
import {horizontalTicks, verticalTicks} from "./numbers.js";
import {DASHES, GAP_OPACITY, placesIn, signCorners, tubeCorners} from "./painting.js";

const SVG = "http://www.w3.org/2000/svg";
const FONT = "DejaVu Sans, sans-serif";
const LEGEND_LINE = 15;

// A pen that collects the path of a line.
class SvgPath {
    parts = [];

    moveTo(x, y) {
        this.parts.push(`M${x.toFixed(2)} ${y.toFixed(2)}`);
    }

    lineTo(x, y) {
        this.parts.push(`L${x.toFixed(2)} ${y.toFixed(2)}`);
    }
}

function node(name, attributes, ...children) {
    const made = document.createElementNS(SVG, name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    made.append(...children);
    return made;
}

function text(content, x, y, anchor, color) {
    return node("text", {x, y, fill: color, "text-anchor": anchor, "font-size": 11, "font-family": FONT}, content);
}

function straight(x1, y1, x2, y2, color) {
    return node("line", {x1, y1, x2, y2, stroke: color, "stroke-width": 1});
}

function polygon(corners, color) {
    return node("polygon", {points: corners.map(([x, y]) => `${x.toFixed(2)},${y.toFixed(2)}`).join(" "), fill: color});
}

function axesOf(scale, hasTimes, colors) {
    const bottom = scale.top + scale.height;
    const right = scale.left + scale.width;
    const own = {...scale, shift: 0};
    const nodes = [];
    for (const tick of horizontalTicks(scale.from, scale.to, scale.width)) {
        const x = xOf(own, tick.v);
        nodes.push(straight(x, scale.top, x, bottom, colors.grid));
        if (hasTimes) nodes.push(text(tick.label, x, bottom + 14, "middle", colors.text));
    }
    for (const tick of verticalTicks(scale.low, scale.high, scale.height)) {
        const y = yOf(own, tick.v);
        nodes.push(straight(scale.left, y, right, y, colors.grid),
                   text(tick.label, scale.left - 5, y + 4, "end", colors.text));
    }
    nodes.push(straight(scale.left, scale.top, scale.left, bottom, colors.axis),
               straight(scale.left, bottom, right, bottom, colors.axis));
    return nodes;
}

function pathsOf(d, color, isDashed) {
    const path = (more) => node("path", {
        d, fill: "none", stroke: color, "stroke-width": 1.25, "stroke-linejoin": "round", ...more});
    return isDashed ? [path({"stroke-opacity": GAP_OPACITY}), path({"stroke-dasharray": DASHES.join()})] : [path({})];
}

function lineOf(trace, scale, color, isDashed) {
    const path = new SvgPath();
    const points = drawLine(trace, scale, path);
    return [
        ...pathsOf(path.parts.join(""), color, isDashed),
        ...markersOf(trace, scale, points).map(([cx, cy]) => node("circle", {cx, cy, r: 2.5, fill: color})),
        ...oddNumbersOf(trace, scale).map((sign) => polygon(signCorners(sign, scale), color)),
    ];
}

function differenceOf({difference, shift}, plot, colors) {
    const scale = plot.scaleOf(shift);
    return [
        ...placesIn(difference.intervals, scale).map(([left, right]) => node("rect", {
            x: left, y: scale.top, width: right - left, height: scale.height, fill: colors.outside})),
        polygon(tubeCorners(difference.tube, scale), colors.tube),
    ];
}

function legendOf(plot, left, colors) {
    const {lines} = plot.content();
    return lines.flatMap((line, index) => {
        const y = plot.chart.area().top + 10 + LEGEND_LINE * index;
        const run = line.runText === "" ? "" : ` (${line.runText})`;
        return [...pathsOf(`M${left} ${y - 4}h14`, colors.lines[line.color], line.isDashed),
                text(line.path + line.suffix + run, left + 18, y, "start", colors.text)];
    });
}

function plotNode(plot, top, index) {
    const {lines, tracesOf, differences, colors, hasTimes} = plot.content();
    const scale = plot.scaleOf(0);
    const area = {x: scale.left, y: scale.top, width: scale.width, height: scale.height};
    const clip = node("clipPath", {id: `area-${index}`}, node("rect", area));
    const drawn = node("g", {"clip-path": `url(#area-${index})`},
                       ...differences.flatMap((difference) => differenceOf(difference, plot, colors)),
                       ...lines.flatMap((line) => tracesOf(line).flatMap((trace) =>
                           lineOf(trace, plot.scaleOf(line.shift), colors.lines[line.color], line.isDashed))));
    return node("g", {transform: `translate(0 ${top})`}, clip, ...axesOf(scale, hasTimes, colors), drawn,
                ...legendOf(plot, scale.left + scale.width + 16, colors));
}

// Returns {svg, width, height}, the picture being a text.
export function pictureOf(plots, colors) {
    const width = Math.ceil(Math.max(...plots.map((plot) => plot.node.clientWidth)));
    let top = 4;
    const nodes = plots.map((plot, index) => {
        const made = plotNode(plot, top, index);
        const legendHeight = LEGEND_LINE * plot.content().lines.length + 16;
        top += Math.max(plot.graph.clientHeight + 8, legendHeight);
        return made;
    });
    const picture = node("svg", {width, height: top, viewBox: `0 0 ${width} ${top}`},
                         node("rect", {width, height: top, fill: colors.background}), ...nodes);
    return {svg: new XMLSerializer().serializeToString(picture), width, height: top};
}
