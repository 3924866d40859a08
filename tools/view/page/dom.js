// Makes elements. Texts become text nodes, so that no name of a signal is read as HTML.

export function element(tag, properties = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name.startsWith("on")) {
            node.addEventListener(name.slice(2), value);
        } else if (name in node && name !== "list") {
            node[name] = value;
        } else {
            node.setAttribute(name, value);
        }
    }
    node.append(...children);
    return node;
}

/** @returns {any} */
export function byId(id) {
    return document.getElementById(id);
}

const TAIL_LENGTH = 14;

// A path whose end stays readable when the line is too short for all of it.
export function pathLabel(path, suffix = "") {
    const text = path + suffix;
    const cut = Math.max(path.lastIndexOf(".") + 1, text.length - TAIL_LENGTH);
    return element("span", {className: "path", title: text},
                   element("span", {className: "path-head"}, text.slice(0, cut)),
                   element("span", {className: "path-tail"}, text.slice(cut)));
}
