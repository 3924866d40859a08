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

export function byId(id) {
    return document.getElementById(id);
}

// A path whose last part stays readable when the line is too short for all of it.
export function pathLabel(path, suffix = "") {
    const dot = path.lastIndexOf(".") + 1;
    return element("span", {className: "path", title: path + suffix},
                   element("span", {className: "path-head"}, path.slice(0, dot)),
                   element("span", {className: "path-tail"}, path.slice(dot) + suffix));
}
