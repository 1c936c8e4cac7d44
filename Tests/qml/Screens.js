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

// Whether a prominent button is drawn as one: filled with `fill`, its label (and icon) in `label`.
function filledWith(button, fill, label) {
    return sameColor(button.background.color, fill) && sameColor(button.contentItem.color, label)
}

// The first and the last colour of the application colour's hue in a column of colours
// (fixture.middleColumn): pixels clearly bluer than red, which the greys of the window and the
// antialiased edges are not.
function inkDownTheMiddle(column) {
    const found = { top: undefined, bottom: undefined }
    for (let y = 0; y < column.length; ++y) {
        const colour = column[y]
        if (colour.b - colour.r < 0.25)
            continue
        if (found.top === undefined)
            found.top = colour
        found.bottom = colour
    }
    return found
}

// The contrast ratio of two opaque colours, after the relative luminance of sRGB colours (1 to 21).
function contrast(a, b) {
    function channel(c) {
        return c <= 0.03928 ? c / 12.92 : Math.pow((c + 0.055) / 1.055, 2.4)
    }
    function luminance(c) {
        return 0.2126 * channel(c.r) + 0.7152 * channel(c.g) + 0.0722 * channel(c.b)
    }
    const la = luminance(a)
    const lb = luminance(b)
    return (Math.max(la, lb) + 0.05) / (Math.min(la, lb) + 0.05)
}
