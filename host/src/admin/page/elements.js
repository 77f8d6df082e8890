// Writes into the document. Texts of NMS and operators only ever become text nodes and the values of data-label, class
// and role, never markup.

export function byId(id) {
  return document.getElementById(id);
}

/** Set a text unless it is there already, so that screen readers do not repeat it. */
export function setText(element, text) {
  if (element.textContent !== String(text))
    element.textContent = text;
}

/** Show the element with this text, or hide it if the text is empty. */
export function showText(element, text) {
  setText(element, text);
  element.hidden = text === "";
}

export function element(name, text = "", className = "") {
  const made = document.createElement(name);
  made.textContent = text;
  made.className = className;
  return made;
}

/**
 * Make the children of `parent` match `items`, in their order. An item keeps its element as long as its key stays, so
 * that the focus and a screen reader keep their place. `fill(element, item)` updates an element that `make()` returned.
 */
export function fill(parent, items, keyOf, make, fillOne) {
  const before = new Map([...parent.children].map((each) => [each.dataset.key, each]));
  let place = parent.firstElementChild;
  for (const item of items) {
    const key = String(keyOf(item));
    const kept = before.get(key);
    before.delete(key);
    const row = kept ?? make();
    row.dataset.key = key;
    fillOne(row, item);
    if (row === place)
      place = place.nextElementSibling;
    else
      parent.insertBefore(row, place);
  }
  for (const gone of before.values())
    gone.remove();
}

/** Fill the body of a table. `cellsOf(item)` returns one text or number for each column; the first names the row. */
export function fillTable(body, items, keyOf, cellsOf, needsAttention = () => false) {
  const headings = [...body.parentElement.tHead.rows[0].cells];
  markRoles(body.parentElement);
  fill(body, items, keyOf, () => tableRow(headings), (row, item) => {
    row.classList.toggle("attention", needsAttention(item));
    cellsOf(item).forEach((cell, i) => {
      row.cells[i].classList.toggle("number", typeof cell === "number");
      setText(row.cells[i], cell);
    });
  });
}

function tableRow(headings) {
  const row = element("tr");
  row.setAttribute("role", "row");
  headings.forEach((heading, i) => {
    const cell = element(i === 0 ? "th" : "td", "", heading.className);
    if (i === 0)
      cell.scope = "row";
    cell.setAttribute("role", i === 0 ? "rowheader" : "cell");
    cell.dataset.label = heading.textContent;
    row.append(cell);
  });
  return row;
}

// browsers forget that a table is one when its rows are shown as cards
function markRoles(table) {
  if (table.hasAttribute("role"))
    return;
  table.setAttribute("role", "table");
  for (const part of [table.tHead, ...table.tBodies])
    part.setAttribute("role", "rowgroup");
  table.tHead.rows[0].setAttribute("role", "row");
  for (const cell of table.tHead.rows[0].cells)
    cell.setAttribute("role", "columnheader");
}

/** Fill a description list with pairs of name and value. */
export function fillList(list, pairs) {
  fill(list, pairs, ([name]) => name, () => {
    const group = element("div");
    group.append(element("dt"), element("dd"));
    return group;
  }, (group, [name, value]) => {
    setText(group.firstElementChild, name);
    setText(group.lastElementChild, value);
  });
}
