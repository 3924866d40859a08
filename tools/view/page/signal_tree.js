// Signals as a tree along the dots of their paths, and the part of it that fits a filter.

const MOST_MATCHES = 400;

function nodeOf(name) {
    return {name, signal: null, children: new Map()};
}

// A node is {name, signal, children}: the signal of this path, or null, and a map of nodes by their names.
export function treeOf(signals) {
    const root = nodeOf("");
    for (const signal of signals) {
        let node = root;
        for (const part of signal.path.split(".")) {
            if (!node.children.has(part)) node.children.set(part, nodeOf(part));
            node = node.children.get(part);
        }
        node.signal = signal;
    }
    return root;
}

function wordsOf(filter) {
    return filter.toLowerCase().split(/\s+/);
}

// Whether a name contains all words of a filter, in any case of the letters.
export function fits(name, filter) {
    const lower = name.toLowerCase();
    return wordsOf(filter).every((word) => lower.includes(word));
}

// Whether a filter asks for single elements, as `speed[3` does.
export function asksForElements(filter) {
    return filter.includes("[");
}

function elementName(path, element) {
    return `${path}[${element}]`;
}

// The elements of a wide signal that fit the filter.
function elementsOf({path, width}, filter) {
    const lower = path.toLowerCase();
    const words = wordsOf(filter).filter((word) => !lower.includes(word));
    const isPossible = width > 1 && words.every((word) => lower.endsWith(word.split("[")[0]));
    return Array.from({length: isPossible ? width : 0}, (_, element) => element)
        .filter((element) => words.every((word) => elementName(lower, element).includes(word)));
}

// The signals whose paths, or whose elements, fit the filter.
export function matching(signals, filter) {
    return signals.filter((signal) => fits(signal.path, filter) ||
        (asksForElements(filter) && elementsOf(signal, filter).length > 0));
}

// The rows that are shown of a tree: [{key, name, depth, signal, element, hasChildren, isOpen}], and how
// many there was no room for. isOpen(key, node) says whether a node is open. Of the elements, those that
// fit the filter are shown.
export function rowsOf(root, isOpen, filter) {
    const rows = [];
    let hiddenCount = 0;
    const add = (row) => {
        if (rows.length < MOST_MATCHES) rows.push(row);
        else hiddenCount += 1;
    };
    const visit = (node, parentKey, depth) => {
        for (const child of node.children.values()) {
            const key = parentKey === "" ? child.name : `${parentKey}.${child.name}`;
            const width = child.signal?.width ?? 0;
            const hasChildren = child.children.size > 0 || width > 1;
            const open = hasChildren && isOpen(key, child);
            add({key, name: child.name, depth, signal: child.signal, element: null, hasChildren, isOpen: open});
            if (!open) continue;
            visit(child, key, depth + 1);
            for (const element of child.signal === null ? [] : elementsOf(child.signal, filter)) {
                add({key: elementName(key, element), name: `[${element}]`, depth: depth + 1, signal: child.signal,
                     element, hasChildren: false, isOpen: false});
            }
        }
    };
    visit(root, "", 0);
    return {rows, hiddenCount};
}
