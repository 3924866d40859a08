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

// The signals whose paths contain all words of the filter, in any case of the letters.
export function matching(signals, filter) {
    const words = filter.toLowerCase().split(/\s+/).filter((word) => word !== "");
    return signals.filter(({path}) => {
        const lower = path.toLowerCase();
        return words.every((word) => lower.includes(word));
    });
}

// The rows that are shown of a tree: [{key, name, depth, signal, element, hasChildren, isOpen}], and how
// many there was no room for. isOpen(key, node) says whether a
// node is open.
export function rowsOf(root, isOpen) {
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
            for (let element = 0; width > 1 && element < width; element += 1) {
                add({key: `${key}[${element}]`, name: `[${element}]`, depth: depth + 1, signal: child.signal,
                     element, hasChildren: false, isOpen: false});
            }
        }
    };
    visit(root, "", 0);
    return {rows, hiddenCount};
}
