"use strict";
// Head, findings and facts of the page; then the parts are made.

const summary = data.summary;

function makeHead() {
  document.title = `${data.name} – mission report`;
  byId("mission-name").textContent = visible(data.name);
  byId("mission-path").textContent = visible(summary.mission ?? "");
  document.body.dataset.state = data.state.word;
  byId("state-word").textContent = data.state.word;
  byId("state-text").textContent = data.state.line;
  const {first, last} = [summary.trajectory, summary.timestamps, summary.events].find(input => input?.first) ?? {};
  const seconds = (Date.parse(last) - Date.parse(first)) / 1000;
  const duration = seconds >= 3600 ? `${Math.floor(seconds / 3600)} h ${Math.round(seconds % 3600 / 60)} min` :
                                     `${Math.floor(seconds / 60)} min ${Math.round(seconds % 60)} s`;
  const layer = name => summary.layers.find(each => each.name === name)?.records;
  const blurred = summary.cameras.reduce((sum, camera) => sum + (camera.sharpness?.blurred.length ?? 0), 0);
  const figures = [
    ["begins, UTC", known(seconds) && dateTime(Date.parse(first)).slice(0, 19)],
    ["duration", known(seconds) && duration],
    ["photos in the layer", known(layer("photos")) ? grouped(layer("photos")) : null],
    ["blurred", summary.cameras.some(camera => camera.sharpness) ? grouped(blurred) : null],
    ["dropped exposures", exposureCount ? grouped(summary.dropped.length) : null],
    ["stations", known(layer("stations")) ? grouped(layer("stations")) : null],
    ["fixes", track.fixes ? grouped(track.fixes) : null],
  ];
  const shown = figures.filter(([, value]) => value);
  byId("key-figures").append(...shown.map(
      ([term, value]) => element("div", {}, [element("dt", {}, term), element("dd", {}, value)])));
}

function makeFindings() {
  const rows = summary.findings.map(({severity, text}) =>
      element("li", {}, [element("span", {class: "severity " + severity}, severity), element("span", {}, text)]));
  byId("finding-list").append(...(rows.length ? rows : [element("li", {class: "quiet"}, "None.")]));
}

const whole = value => known(value) ? grouped(value) : null;
const spanOf = input => input?.first ? `${input.first.slice(11, 19)} to ${input.last.slice(11, 19)}` : null;
const fileOf = path => path?.split(/[\\/]/).pop();
const listed = counts =>
    Object.entries(counts ?? {}).map(([word, count]) => `${word.toLowerCase()} ${grouped(count)}`).join(", ");

const both = (one, other) => `${grouped(one)}, ${grouped(other)}`;
const range = of => of ? `${fixed(of.leastMetres, 3)} to ${fixed(of.largestMetres, 3)} m (1 σ)` : null;
const longestGap = trajectory => (trajectory.gaps ?? []).reduce((longest, gap) => Math.max(longest, gap.seconds), 0);

/** A title and a function from a part of the summary to rows; a part that the mission does not have is left out. */
const kInputs = {
  trajectory: ["Trajectory", of => [
    ["file", fileOf(of.file)],
    ["fixes", whole(of.fixes)],
    ["lines", whole(of.lines)],
    ["UTC", spanOf(of)],
    ["gaps", whole(of.gaps?.length)],
    ["longest gap", of.gaps?.length ? unit(longestGap(of), 1, "s") : null],
    ["fixes put in order", whole(of.fixesReordered)],
  ]],
  trajectoryComparison: ["Second trajectory", of => [
    ["file", fileOf(of.other)],
    ["fixes compared", whole(of.compared)],
    ["horizontal distance, median", unit(of.horizontal?.medianMetres, 3, "m")],
    ["vertical distance, median", unit(of.vertical?.medianMetres, 3, "m")],
  ]],
  events: ["Event file", of => [
    ["file", fileOf(of.file)],
    ["lines", whole(of.lines)],
    ["UTC", spanOf(of)],
    ["heartbeats read, placed", both(of.heartbeats.read, of.heartbeats.placed)],
    ["lines left out", whole(of.linesSkipped + of.faultyHeartbeats + of.wildTicks + of.offHeartbeats)],
    ["counter wraps", whole(of.counterWraps)],
  ]],
  timestamps: ["Timestamp file", of => [
    ["file", fileOf(of.file)],
    ["exposures", whole(of.exposures)],
    ["lines left out", whole(of.linesSkipped)],
    ["UTC", spanOf(of)],
  ]],
  positions: ["Places compared with a trajectory", of => [
    ["in use", of.used],
    ["exposures compared", whole(of.compared)],
    ["horizontal distance, median", unit(of.horizontal?.medianMetres, 3, "m")],
    ["vertical distance, median", unit(of.vertical?.medianMetres, 3, "m")],
  ]],
  stations: ["Stations", of => [
    ["two exposures", whole(of.paired)],
    ["one exposure", whole(of.single)],
    ["time difference, median", unit(of.medianDifferenceSeconds, 4, "s")],
    ["largest", unit(of.largestDifferenceSeconds, 4, "s")],
  ]],
  photos: ["Places of the photos", of => [
    ["quality", listed(of.byQuality)],
    ["attitude", of.attitude.source],
    ["UTC", spanOf(of)],
    ["accuracy, horizontal", range(of.horizontalAccuracy)],
    ["accuracy, vertical", range(of.verticalAccuracy)],
    ["lowest, ellipsoid", unit(of.bounds?.lowest, 2, "m")],
    ["highest, ellipsoid", unit(of.bounds?.highest, 2, "m")],
  ]],
  housekeeping: ["Housekeeping log", of => [
    ["file", fileOf(of.file)],
    ["entries read, dropped", both(of.entries.read, of.entries.dropped)],
    ["error lines", whole(of.errors.length)],
    ["UTC", spanOf(of)],
  ]],
  orientation: ["Orientation file", of => [
    ["file", fileOf(of.file)],
    ["readings", whole(of.entries)],
    ["without a time", whole(of.withoutTime)],
    ["stamped by", of.stampedBy],
  ]],
  applanix: ["Applanix export", of => [
    ["file", fileOf(of.file)],
    ["samples", whole(of.samples)],
    ["UTC", spanOf(of)],
  ]],
  pos: ["POS file", of => [
    ["file", fileOf(of.file)],
    ["samples", whole(of.samples)],
    ["transformed", whole(of.transformed)],
    ["target", of.target],
  ]],
};

function cameraFacts(camera) {
  return [
    ["exposures read, placed", both(camera.read, camera.placed)],
    ["paired", whole(camera.paired)],
    ["dropped", whole(camera.dropped)],
    ["photos", whole(camera.photos)],
    ["folder", fileOf(camera.photoFolder)],
    ["paired by", camera.pairedBy],
    ["clock", camera.clock?.state],
    ["photo − event, median", unit(camera.medianDifferenceSeconds, 3, "s")],
    ["largest", unit(camera.largestDifferenceSeconds, 3, "s")],
    ["photos without an event", whole(camera.photosWithoutEvent?.length)],
    ["sharpness, median", fixed(camera.sharpness?.median, 1)],
    ["blurred", whole(camera.sharpness?.blurred.length)],
    ["not graded", whole(camera.sharpness?.ungraded.length)],
    ["damaged", whole(camera.sharpness?.damaged.length)],
  ];
}

function factTables() {
  const inputs = Object.entries(kInputs).filter(([part]) => summary[part]);
  return [
    ...inputs.map(([part, [title, rows]]) => [title, rows(summary[part])]),
    ...summary.cameras.map(camera => ["Camera " + camera.camera, cameraFacts(camera)]),
    ["Layers", summary.layers.map(({name, records}) => [name, counted(records, "record")])],
  ];
}

function makeFacts() {
  const logErrors = summary.housekeeping?.errors ?? [];
  byId("fact-tables").append(...factTables().map(([title, rows]) => {
    const list = element("dl");
    facts(list, rows);
    return element("section", {}, [element("h3", {}, title), list]);
  }));
  if (logErrors.length)
    byId("facts").append(
        element("h3", {}, "Error lines of the housekeeping log"),
        element("ul", {}, logErrors.map(line => element("li", {}, line))));
}

makeHead();
makeFindings();
makeMap();
makePlots();
makeTable();
makePictures();
makeFacts();
byId("footer").textContent = data.program + ". Heights are above the ellipsoid, positions in WGS 84, times in UTC. " +
    "Links to photos hold while this page and the photos are moved together.";
byId("chosen").hidden = exposureCount === 0;
const all = Array.from({length: exposureCount}, (_, at) => at);
if (exposureCount) choose(all.find(isBlurred) ?? all.find(isDropped) ?? 0, "start"), byId("table").scrollTop = 0;
Object.assign(
    document.body.dataset,
    {exposures: exposureCount, findings: summary.findings.length, ready: Math.round(performance.now())});
