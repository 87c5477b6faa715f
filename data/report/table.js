"use strict";
// The table of exposures. Only the rows in view are elements, so that thousands stay quick.

const kRowHeight = 24, kRowsPrinted = 60;
const tableColumns = [
  {key: "time", label: "Exposed", unit: "UTC", text: at => timeOfDay(exposures.time[at])},
  {key: "camera", label: "Camera", unit: "", text: at => fixed(exposures.camera[at], 0)},
  {key: "photo", label: "Photo", unit: "", text: nameOf, isText: true},
  {key: "state", label: "State", unit: "", text: stateOf, isText: true},
  {key: "sharpness", label: "Sharpness", unit: "var. of Laplacian", decimals: 1},
  {key: "rank", label: "Rank", unit: "% in camera", decimals: 1},
  {key: "difference", label: "Photo − event", unit: "s", decimals: 3},
  {key: "latitude", label: "Latitude", unit: "°", decimals: 7},
  {key: "longitude", label: "Longitude", unit: "°", decimals: 7},
  {key: "height", label: "Height", unit: "m, ellipsoid", decimals: 3},
  {
    key: "quality",
    label: "Position",
    unit: "quality",
    text: at => (exposures.quality[at] ?? "–").toLowerCase(),
    isText: true
  },
  {key: "horizontal", label: "Horizontal", unit: "m, 1 σ", decimals: 3},
  {key: "vertical", label: "Vertical", unit: "m, 1 σ", decimals: 3},
  {key: "heading", label: "Heading", unit: "°", decimals: 1},
].filter(({key}) => ["photo", "state"].includes(key) || exposures[key]);

const numberColumns = tableColumns.filter(column => !column.isText);
for (const column of numberColumns) column.text ??= at => fixed(exposures[column.key][at], column.decimals);

const table = {order: [], sortedBy: tableColumns[0], ascending: true, isPrinted: false};
const states = {
  all: () => true,
  "not dropped": at => !isDropped(at),
  blurred: at => isBlurred(at) && !isDropped(at),
  dropped: isDropped,
};

function compare(column, a, b) {
  if (column.isText) return column.text(a).localeCompare(column.text(b), "en", {numeric: true});
  const [x, y] = [exposures[column.key][a], exposures[column.key][b]];
  return x - y;
}

function arrange() {
  const text = byId("filter-text").value.trim().toLowerCase(), camera = byId("filter-camera").value;
  const isWanted = states[byId("filter-state").value || "all"], {sortedBy: column, ascending} = table;
  const texts = tableColumns.filter(({isText}) => isText);
  const isFound = at => text === "" || texts.some(({text: of}) => of(at).toLowerCase().includes(text));
  const isOfCamera = at => camera === "" || String(exposures.camera[at]) === camera;
  const isUnknown = at => !column.isText && !known(exposures[column.key][at]);
  const inOrder = (a, b) => isUnknown(a) ? 0 : ascending ? compare(column, a, b) : compare(column, b, a);
  const order = Array.from({length: exposureCount}, (_, at) => at);
  table.order = order.filter(at => isWanted(at) && isOfCamera(at) && isFound(at));
  table.order.sort((a, b) => isUnknown(a) - isUnknown(b) || inOrder(a, b) || a - b);  // unknown ones are last, either way
  const count = table.order.length, all = counted(exposureCount, "exposure");
  byId("row-count").textContent = count === exposureCount ? all : `${grouped(count)} of ${all}`;
  byId("table").querySelector("table").setAttribute("aria-rowcount", count + 1);
  document.body.dataset.rows = count;
  drawRows();
}

function rowOf(at, index) {
  const cells = tableColumns.map(column => element("td", {class: column.isText ? "" : "number"}, column.text(at)));
  const state = cells[tableColumns.findIndex(({key}) => key === "state")];
  state.className = isDropped(at) ? "dropped" : "blurred", state.title = stateOf(at);
  const row =
      element("tr", {"aria-rowindex": index + 2, "aria-selected": String(at === chosen), id: "row-" + at}, cells);
  row.addEventListener("click", () => choose(at, "table"));
  return row;
}

function gapOf(rows) {
  const cell = element("td", {colspan: tableColumns.length});
  cell.style.height = rows * kRowHeight + "px";
  return rows > 0 ? [element("tr", {class: "gap", "aria-hidden": "true"}, cell)] : [];
}

function drawRows() {
  const view = byId("table"), count = table.order.length;
  const first = table.isPrinted ? 0 : Math.max(0, Math.min(Math.floor(view.scrollTop / kRowHeight) - 8, count - 1));
  const end = table.isPrinted ? Math.min(count, kRowsPrinted) :
                                Math.min(count, first + Math.ceil(view.clientHeight / kRowHeight) + 18);
  const rows = table.order.slice(first, end).map((at, i) => rowOf(at, first + i));
  byId("table-rows").replaceChildren(...gapOf(first), ...rows, ...(table.isPrinted ? [] : gapOf(count - end)));
}

function sortBy(column) {
  table.ascending = table.sortedBy === column ? !table.ascending : true;
  table.sortedBy = column;
  const direction = table.ascending ? "ascending" : "descending";
  tableColumns.forEach((each, i) =>
    byId("table-head").children[i].setAttribute("aria-sort", each === column ? direction : "none"));
  arrange();
}

function showRow(index) {
  const view = byId("table"), head = byId("table-head").offsetHeight, top = index * kRowHeight;
  if (top < view.scrollTop)
    view.scrollTop = top;
  else if (top + kRowHeight > view.scrollTop + view.clientHeight - head)
    view.scrollTop = top + kRowHeight - view.clientHeight + head;
}

function onKey(event) {
  const now = table.order.indexOf(chosen), page = Math.floor(byId("table").clientHeight / kRowHeight) - 2;
  const steps = {
    ArrowDown: now + 1,
    ArrowUp: now - 1,
    PageDown: now + page,
    PageUp: now - page,
    Home: 0,
    End: table.order.length - 1
  };
  if (event.target !== byId("table") || !(event.key in steps) || table.order.length === 0) return;
  event.preventDefault();
  choose(table.order[Math.min(Math.max(steps[event.key], 0), table.order.length - 1)], "table");
}

function makeTable() {
  if (exposureCount === 0) return byId("photos").hidden = true;
  byId("table-head").append(...tableColumns.map(column => {
    const button = element("button", {type: "button"}, [column.label, element("small", {}, column.unit || "\u00a0")]);
    const sort = column === table.sortedBy ? "ascending" : "none";
    const head = element("th", {scope: "col", "aria-sort": sort, class: column.isText ? "" : "number"}, button);
    head.firstChild.addEventListener("click", () => sortBy(column));
    return head;
  }));
  byId("filter-camera").append(...cameras.map(camera => element("option", {value: camera}, String(camera))));
  byId("filter-state").append(...Object.keys(states).map(state => element("option", {value: state}, state)));
  for (const id of ["filter-text", "filter-camera", "filter-state"]) byId(id).addEventListener("input", arrange);
  let waiting = false;
  byId("table").addEventListener("scroll", () => {
    if (!waiting) requestAnimationFrame(() => (waiting = false, drawRows()));
    waiting = true;
  });
  byId("table").addEventListener("keydown", onKey);
  const help = byId("table-help").textContent;
  prints.push(isPrinted => {
    table.isPrinted = isPrinted, drawRows();
    const cut = table.order.length > kRowsPrinted ?
        `Here are the first ${kRowsPrinted} of ${grouped(table.order.length)} rows.` :
        "";
    byId("table-help").textContent = isPrinted ? cut : help;
  });
  followers.push(at => {
    const index = table.order.indexOf(at);
    if (index >= 0) showRow(index);
    drawRows();
    byId("table").setAttribute("aria-activedescendant", "row-" + at);
  });
  arrange();
}

function figureOf(at) {
  const state = stateOf(at), picture = element("img", {src: thumbnail(at), alt: "", decoding: "async"});
  const kind = isDropped(at) ? "dropped" : isBlurred(at) ? "blurred" : "quiet";
  const note = element("span", {class: kind}, state || `sharpness ${fixed(valueAt(exposures.sharpness, at), 0)}`);
  const button = element("button", {type: "button", title: state || null}, [picture, element("span", {}, nameOf(at)), note]);
  button.addEventListener("click", () => (choose(at, "picture"), byId("place").scrollIntoView()));
  return button;
}

function pictureGroup(title, members, isOpen) {
  const pictured = members.filter(at => thumbnail(at) !== null);
  if (pictured.length === 0) return [];
  const share = pictured.length < members.length ? ` of ${grouped(members.length)}` : "";
  const grid = element("div", {class: "pictures"});
  const heading = element("summary", {}, `${title}: ${grouped(pictured.length)}${share}`);
  const group = element("details", {open: isOpen}, [heading, grid]);
  const fill = () => grid.firstChild || grid.append(...pictured.map(figureOf));
  isOpen ? fill() : group.addEventListener("toggle", fill);
  return [group];
}

/** Blurred and dropped photos are open; the many others are made when they are asked for. */
function makePictures() {
  const all = Array.from({length: exposureCount}, (_, at) => at);
  const groups = [
    ...pictureGroup("Blurred", all.filter(at => isBlurred(at) && !isDropped(at)), true),
    ...pictureGroup("Dropped", all.filter(at => isDropped(at) && exposures.photo[at] !== null), true),
    ...pictureGroup("Others", all.filter(at => !isBlurred(at) && !isDropped(at)), false),
  ];
  byId("picture-groups").append(...groups);
  byId("pictures").hidden = groups.length === 0;
}
