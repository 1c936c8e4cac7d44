.pragma library

// Helpers shared by the screen tests.

// Every text on screen below `item`, in item order: the texts of the visible Text items (labels, and the
// labels inside buttons and toggles) that are not empty.
function visibleTexts(item) {
    const texts = []
    function walk(node) {
        if (!node || !node.visible)
            return
        if (node.lineCount !== undefined && node.elide !== undefined && typeof node.text === "string"
                && node.text !== "")
            texts.push(node.text)
        for (let i = 0; i < node.children.length; ++i)
            walk(node.children[i])
    }
    walk(item)
    return texts
}

// The first visible item below `item` with the given objectName, or null.
function findVisible(item, name) {
    if (!item)
        return null
    if (item.objectName === name && item.visible)
        return item
    for (let i = 0; i < item.children.length; ++i) {
        const found = findVisible(item.children[i], name)
        if (found)
            return found
    }
    return null
}

// The visible button (or toggle) below `item` whose text is `text`, or null.
function button(item, text) {
    if (!item || !item.visible)
        return null
    if (item.text === text && item.clicked !== undefined)
        return item
    for (let i = 0; i < item.children.length; ++i) {
        const found = button(item.children[i], text)
        if (found)
            return found
    }
    return null
}

// Whether two colours are the same to the precision of 8-bit channels.
function sameColor(a, b) {
    return Math.round(a.r * 255) === Math.round(b.r * 255) && Math.round(a.g * 255) === Math.round(b.g * 255)
            && Math.round(a.b * 255) === Math.round(b.b * 255) && Math.round(a.a * 255) === Math.round(b.a * 255)
}
