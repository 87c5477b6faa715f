"use strict";
// The page of a campaign: figures, the map of all tracks, and a row for each mission.

const missions = data.missions;
const kStates = {
  complete: {colour: "good"},
  incomplete: {colour: "warning", dashArray: "8 5"},
  doubtful: {colour: "doubt", dashArray: "2 5"},
  failed: {},
  "not run": {},
};
const kColumns = [
  ["mission", "mission"],
  ["state", "state"],
  ["begins", "begins, UTC", value => value.replace("T", " ").slice(0, 19)],
  ["photos", "photos", grouped],
  ["dropped", "dropped", grouped],
  ["stations", "stations", grouped],
  ["blurred", "blurred", grouped],
  ["doubts", "doubts", grouped],
  ["warnings", "warnings", grouped],
  ["findings", "findings"],
];
const textOf = (mission, [name, , text = String]) => known(mission[name]) ? text(mission[name]) : "–";
const stateOf = state => element("span", {class: "state " + state.replace(" ", "-")}, state);
const hasResult = mission => known(mission.results);
const followers = [];  // called with the chosen mission and who chose it

function choose(mission, by) {
  followers.forEach(follow => follow(mission, by));
}

function makeHead() {
  const counts = Object.keys(kStates).map(state => [state, missions.filter(mission => mission.state === state).length]);
  const sum = name => missions.reduce((total, mission) => total + (mission[name] ?? 0), 0);
  const figures = [["missions", missions.length], ...counts.filter(([, count]) => count),
                   ["photos in the layer", sum("photos")], ["dropped exposures", sum("dropped")]];
  byId("key-figures").append(...figures.map(
      ([term, value]) => element("div", {}, [element("dt", {}, term), element("dd", {}, grouped(value))])));
  const failed = missions.filter(mission => !hasResult(mission));
  byId("failed").hidden = failed.length === 0;
  byId("failed-list").append(...failed.map(mission => element("li", {}, [
    element("span", {}, mission.mission), element("span", {}, [stateOf(mission.state), ": " + mission.message])])));
  const rows = data.findings.map(({code, severity, missions: count}) => element("li", {}, [
    element("span", {class: "severity " + severity}, severity), element("span", {}, `${code}: ${counted(count, "mission")}`)]));
  byId("finding-list").append(...(rows.length ? rows : [element("li", {class: "quiet"}, "None.")]));
}

function showChosen(mission) {
  byId("chosen-name").textContent = visible(mission.mission);
  byId("chosen-link").replaceChildren(...(
      mission.report ? [element("a", {href: mission.report, target: "_blank", rel: "noopener"}, "Open its report")] : []));
  const megabytes = (mission.input_bytes / 1e6).toFixed(1);
  facts(byId("chosen-facts"), [
    ["State", stateOf(mission.state)],
    ["Message", mission.message],
    ...kColumns.slice(2, -1).map(column => [column[1], textOf(mission, column)]),
    ["ends, UTC", textOf(mission, ["ends", "", kColumns[2][2]])],
    ["fixes", grouped(mission.fixes)],
    ["input", `${counted(mission.input_files, "file")}, ${megabytes} MB`],
    ["took", known(mission.seconds) ? `${fixed(mission.seconds, 1)} s` : null],
    ["findings", (mission.findings ?? "").replaceAll(" ", ", ")],
  ]);
}

function styleOf(state, isChosen) {
  const {colour: name, dashArray} = kStates[state];
  return {color: colour(isChosen ? "ring" : name), weight: isChosen ? 5 : 2.5, opacity: .9, dashArray: isChosen ? null : dashArray};
}

function makeMap() {
  const placed = missions.filter(mission => mission.track.length);
  byId("place").hidden = placed.length === 0;
  if (!placed.length) return;
  const reference = placed[0].track[0][0][1];
  const linesOf = mission => mission.track.map(line => {
    const longitudes = unwrapped(line.map(([, longitude]) => longitude), reference);
    return line.map(([latitude], i) => [latitude, longitudes[i]]);
  });
  const lines = new Map(placed.map(mission => [mission, linesOf(mission)]));
  const places = [...lines.values()].flat(2);
  const map = planMap(extentOf(places.map(([latitude]) => latitude), places.map(([, longitude]) => longitude)));
  const groups = {}, drawn = new Map();
  for (const [mission, of] of lines) {
    groups[mission.state] ??= L.layerGroup().addTo(map);
    const line = L.polyline(of, styleOf(mission.state)).addTo(groups[mission.state]);
    // A track of one place, or far out, would be too small to see or hit.
    const spot = L.circleMarker(of[0][0], {...styleOf(mission.state), dashArray: null, radius: 4, fill: true, fillOpacity: 1});
    spot.addTo(groups[mission.state]);
    for (const mark of [line, spot]) mark.on("click", () => choose(mission, "map"));
    drawn.set(mission, [line, spot]);
  }
  let chosen = null;
  followers.push((mission, by) => {
    if (chosen) drawn.get(chosen).forEach(mark => mark.setStyle({...styleOf(chosen.state), ...(mark.getRadius && {dashArray: null})}));
    chosen = drawn.has(mission) ? mission : null;
    if (!chosen) return;
    drawn.get(chosen).forEach(mark => mark.setStyle(styleOf(chosen.state, true)).bringToFront());
    const bounds = drawn.get(chosen)[0].getBounds();
    if (by !== "map" && !map.getBounds().contains(bounds)) map.fitBounds(bounds, {padding: [40, 40], maxZoom: 3});
  });
  redraws.push(() => {
    for (const [mission, marks] of drawn) marks.forEach(mark => mark.setStyle({color: styleOf(mission.state, mission === chosen).color}));
  });
  byId("map-key").append(...Object.entries(groups).map(([state, group]) => {
    const box = element("input", {type: "checkbox"});
    box.checked = true;
    box.addEventListener("change", () => box.checked ? group.addTo(map) : group.remove());
    return element("label", {}, [box, stateOf(state)]);
  }));
  byId("map-note").textContent = "Plan in metres around the middle of the campaign; beyond a few hundred kilometres east-west " +
      "distances are distorted. Tracks are thinned; a dot is where one begins. Click into the map to zoom with the wheel.";
}

function makeTable() {
  const rows = missions.map(mission => {
    const cells = kColumns.map(column => element("td", {class: column[2] === grouped ? "number" : null, title: textOf(mission, column)},
                                                 column[0] === "state" ? stateOf(mission.state) : textOf(mission, column)));
    const row = element("tr", {tabindex: "0"}, cells);
    for (const event of ["click", "keydown"])
      row.addEventListener(event, ({key}) => [undefined, "Enter"].includes(key) && choose(mission, "table"));
    return {mission, row, text: JSON.stringify([mission.mission, mission.message, mission.findings]).toLowerCase()};
  });
  followers.push(mission => rows.forEach(each => each.row.setAttribute("aria-selected", each.mission === mission)));
  const show = () => {
    const text = byId("filter-text").value.toLowerCase(), state = byId("filter-state").value;
    const shown = rows.filter(each => each.text.includes(text) && (!state || each.mission.state === state));
    byId("table-rows").replaceChildren(...shown.map(each => each.row));
    byId("row-count").textContent = counted(shown.length, "mission");
    document.body.dataset.rows = shown.length;
  };
  const heads = kColumns.map(column => {
    const head = element("th", {scope: "col", class: column[2] === grouped ? "number" : null}, element("button", {type: "button"}, column[1]));
    head.firstChild.addEventListener("click", () => {
      const sign = head.getAttribute("aria-sort") === "ascending" ? -1 : 1;
      heads.forEach(each => each.removeAttribute("aria-sort"));
      head.setAttribute("aria-sort", sign > 0 ? "ascending" : "descending");
      const valueOf = each => each.mission[column[0]] ?? null;
      rows.sort((a, b) => {
        const [one, other] = [valueOf(a), valueOf(b)];
        if (one === null || other === null) return (one === null) - (other === null);
        return sign * (typeof one === "number" ? one - other : one.localeCompare(other));
      });
      show();
    });
    return head;
  });
  byId("table-head").append(...heads);
  byId("filter-state").append(...Object.keys(kStates).map(state => element("option", {}, state)));
  byId("filter-text").addEventListener("input", show), byId("filter-state").addEventListener("change", show);
  show();
}

followers.push(showChosen);
makeHead();
makeMap();
makeTable();
Object.assign(document.body.dataset, {
  missions: missions.length,
  tracks: missions.filter(mission => mission.track.length).length,
  failed: missions.filter(mission => !hasResult(mission)).length,
  ready: Math.round(performance.now()),
});
