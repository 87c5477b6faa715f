"use strict";
// What the parts of the report share: columns, the chosen exposure and what is known about it.

/** A column of numbers: whole numbers of 10^-decimals, each the difference to the known one before; null is unknown. */
function numbersOf(column) {
  if (!column) return null;
  const scale = 10 ** column.decimals;
  let sum = 0;
  return Float64Array.from(column.steps, step => step === null ? NaN : (sum += step) / scale);
}

/** A column of words, each once in a list. */
function wordsOf(column) {
  return column && Array.from(numbersOf(column.of), at => Number.isNaN(at) ? null : column.words[at]);
}

function columnsOf(table) {
  const columns = {};
  for (const [name, column] of Object.entries(table || {}))
    columns[name] = column && column.words ? wordsOf(column) : column && column.steps ? numbersOf(column) : column;
  return columns;
}

const exposures = columnsOf(data.exposures);
const track = columnsOf(data.track);
const exposureCount = exposures.camera ? exposures.camera.length : 0;
const valueAt = (column, at) => column ? column[at] : NaN;
const isDropped = at => known(valueAt(exposures.drop, at));
const isBlurred = at => valueAt(exposures.blurred, at) === 1;
const isPlaced = at => known(valueAt(exposures.latitude, at)) && known(valueAt(exposures.longitude, at));
const stateOf = at => isDropped(at) ? exposures.drop[at] : isBlurred(at) ? "blurred" : "";
const hasPhotoLayer = data.summary.layers.some(({name}) => name === "photos");
const nameOf = at => visible(exposures.photo[at] ?? "no photo");

/** Colour of a sharpness by its rank within the camera, 0 to 100. */
function rankColours() {
  const stops =
      [0, 1, 2, 3, 4].map(stop => colour("rank" + stop).match(/[0-9a-f]{2}/gi).map(part => parseInt(part, 16)));
  const ungraded = colour("ungraded");
  return rank => {
    if (!known(rank)) return ungraded;
    const at = Math.min(Math.max(rank, 0), 99.999) / 25, low = Math.floor(at);
    const parts = stops[low].map((part, i) => Math.round(part + (stops[low + 1][i] - part) * (at - low)));
    return `rgb(${parts.join(",")})`;
  };
}

function thumbnail(at) {
  const index = valueAt(exposures.thumbnail, at);
  return known(index) ? "data:image/jpeg;base64," + data.thumbnails[index] : null;
}

let chosen = -1;
const followers = [];  // called with the chosen exposure and who chose it

function choose(at, by = "") {
  if (at < 0 || at >= exposureCount) return;
  chosen = at;
  followers.forEach(follow => follow(at, by));
}

function unit(value, decimals, name) {
  return known(value) ? `${fixed(value, decimals)} ${name}` : null;
}

function factsOf(at) {
  const of = name => valueAt(exposures[name], at);
  const angles = ["roll", "pitch"].map(of);
  return [
    ["State", isDropped(at) ? "dropped: " + exposures.drop[at] : isBlurred(at) ? "blurred" : hasPhotoLayer ? "in the photo layer" : "not dropped"],
    ["Camera", fixed(of("camera"), 0)],
    ["Date", known(of("time")) ? dateTime(of("time")).slice(0, 10) : "unknown"],
    ["Exposed, UTC", timeOfDay(of("time"))],
    ["Photo − event", unit(of("difference"), 3, "s")],
    ["Pair probability", known(of("probability")) ? fixed(of("probability"), 3) : null],
    ["Latitude", unit(of("latitude"), 8, "°")],
    ["Longitude", unit(of("longitude"), 8, "°")],
    ["Height, ellipsoid", unit(of("height"), 3, "m")],
    ["Position quality", known(of("quality")) ? of("quality").toLowerCase() : null],
    ["Accuracy, horizontal", unit(of("horizontal"), 3, "m (1 σ)")],
    ["Accuracy, vertical", unit(of("vertical"), 3, "m (1 σ)")],
    ["Roll, pitch [°]", angles.every(known) ? angles.map(angle => fixed(angle, 2)).join(", ") : null],
    ["Heading", unit(of("heading"), 2, "°")],
    ["Attitude from", known(of("attitude")) ? of("attitude").toLowerCase() : null],
    ["Sharpness", known(of("sharpness")) ? fixed(of("sharpness"), 1) : "not graded"],
    ["Rank in camera", unit(of("rank"), 1, "%")],
    ["Master clock", unit(of("tick"), 0, "ticks")],
    ["Photo number", fixed(of("number"), 0)],
  ];
}

/** The thumbnail of an exposure; without one the photo itself, when this page is opened from a disk. */
function pictureOf(at) {
  const link = exposures.link[at];  // encoded, and relative to this page unless the photo is on another drive
  const isLocal = location.protocol === "file:" && link !== null && !link.includes(":");
  const source = thumbnail(at) ?? (isLocal ? link : null);
  const linked = content => element("a", {href: link, target: "_blank", rel: "noopener", title: "Open the photo"}, content);
  if (source === null) return link === null ? [] : [linked("Open the photo")];
  const picture = element("img", {src: source, alt: `Photo ${nameOf(at)}`, class: thumbnail(at) ? null : "original"});
  picture.addEventListener(
      "error", () => picture.replaceWith(element("p", {class: "quiet"}, "The photo is not where it was.")));
  return [link === null ? picture : linked(picture)];
}

function showChosen(at) {
  byId("chosen-name").textContent = nameOf(at);
  byId("chosen-picture").replaceChildren(...pictureOf(at));
  facts(byId("chosen-facts"), factsOf(at));
}
followers.push(showChosen);
byId("previous").addEventListener("click", () => choose(chosen - 1));
byId("next").addEventListener("click", () => choose(chosen + 1));
