"use strict";
// The map of a mission: its track and exposures.

const trackColours = {
  FIXED: "fixed",
  FLOAT: "float",
  DGPS: "dgps",
  SINGLE: "single",
  ESTIMATED: "estimated",
  SIMULATED: "simulated",
  MIXED: "mixed",
};
const qualityColour = word => colour(trackColours[(word ?? "").toUpperCase()] ?? "none");

/** The mark of an exposure: with two cameras the left half for camera 1, the right for 2; a cross if it was dropped. */
const Mark = L.CircleMarker.extend({
  _updatePath() {
    this._renderer._updateMark(this);
  },
  _containsPoint(point) {
    const side = point.x - this._point.x, shape = this.options.shape;
    if ((shape === "left" && side > 1) || (shape === "right" && side < -1)) return false;
    return L.CircleMarker.prototype._containsPoint.call(this, point);
  },
});
function drawMark(pen, shape, x, y, radius) {
  pen.beginPath();
  if (shape === "cross") {
    for (const slope of [-1, 1]) pen.moveTo(x - radius, y - slope * radius), pen.lineTo(x + radius, y + slope * radius);
  } else if (shape === "left") {
    pen.arc(x - .75, y, radius, Math.PI / 2, Math.PI * 3 / 2), pen.closePath();
  } else if (shape === "right") {
    pen.arc(x + .75, y, radius, -Math.PI / 2, Math.PI / 2), pen.closePath();
  } else {
    pen.arc(x, y, radius, 0, Math.PI * 2);
  }
}
L.Canvas.include({
  _updateMark(mark) {
    if (!this._drawing || mark._empty()) return;
    drawMark(this._ctx, mark.options.shape, mark._point.x, mark._point.y, mark._radius);
    this._fillStroke(this._ctx, mark);
  },
});

const cameras = [...new Set(exposures.camera ?? [])].sort();
function shapeOf(at) {
  if (isDropped(at)) return "cross";
  if (cameras.length < 2) return "disc";
  return exposures.camera[at] === cameras[0] ? "left" : "right";
}

function styleOf(at, rankColour) {
  if (isDropped(at)) return {color: colour("dropped"), weight: 2, fill: false, opacity: 1, radius: 5, shape: "cross"};
  const blurred = isBlurred(at);
  return {
    fillColor: blurred ? colour("blurred") : rankColour(valueAt(exposures.rank, at)),
    fillOpacity: 1,
    fill: true,
    color: blurred ? colour("text") : colour("map"),
    weight: blurred ? 1.5 : .75,
    opacity: 1,
    radius: blurred ? 8 : 6,
    shape: shapeOf(at),
  };
}

/** A line per quality, of all its stretches; each reaches to the first fix of the next quality, unless a gap is there. */
function trackLines(places) {
  const lines = new Map(), breaks = new Set(track.breaks);
  let stretch = null;
  places.forEach((place, i) => {
    const quality = valueAt(track.quality, i) ?? null, isNew = stretch === null || breaks.has(i);
    if (!place.every(known)) return stretch = null;
    if (!isNew) stretch.push(place);
    if (!isNew && quality === (valueAt(track.quality, i - 1) ?? null)) return;
    stretch = [place];
    if (!lines.has(quality)) lines.set(quality, []);
    lines.get(quality).push(stretch);
  });
  return lines;
}

function symbol(draw, className = "") {
  const canvas = element(
      "canvas", {width: className ? 240 : 32, height: className ? 20 : 32, class: className, "aria-hidden": "true"});
  draw(canvas.getContext("2d"));
  return canvas;
}

function markSymbol(style) {
  return symbol(pen => {
    pen.scale(2, 2), drawMark(pen, style.shape, 8, 8, Math.min(style.radius, 6));
    if (style.fill) pen.fillStyle = style.fillColor, pen.fill();
    pen.strokeStyle = style.color, pen.lineWidth = style.weight, pen.stroke();
  });
}

function lineSymbol(word) {
  return symbol(pen => {
    pen.scale(2, 2), pen.strokeStyle = qualityColour(word), pen.lineWidth = 3;
    pen.beginPath(), pen.moveTo(0, 8), pen.lineTo(16, 8), pen.stroke();
  });
}

function makeMap() {
  const all = [[track.latitude ?? [], track.longitude ?? []], [exposures.latitude ?? [], exposures.longitude ?? []]];
  const reference = all.map(([, longitudes]) => longitudes.find(known)).find(known);
  if (!known(reference)) {
    byId("place").hidden = true;
    return;
  }
  const trackLongitudes = unwrapped(all[0][1], reference), longitudes = unwrapped(all[1][1], reference);
  const map = planMap(extentOf([...all[0][0], ...all[1][0]], [...trackLongitudes, ...longitudes]));

  const words = Object.keys(trackColours), rankOf = word => words.indexOf(word ?? "");
  const lines = trackLines(Array.from(track.latitude ?? [], (latitude, i) => [latitude, trackLongitudes[i]]));
  const groups = {
    track: L.layerGroup().addTo(map),
    photos: L.layerGroup().addTo(map),
    dropped: L.layerGroup().addTo(map)
  };
  const drawnLines = [...lines].map(([word, stretches]) => {
    const style = {color: qualityColour(word), weight: 2.5, opacity: .9, interactive: false};
    return [word, L.polyline(stretches, style).addTo(groups.track)];
  });

  const marks = [];
  let rankColour = rankColours();
  for (let at = 0; at < exposureCount; ++at) {
    if (!isPlaced(at)) continue;
    const mark = new Mark([exposures.latitude[at], longitudes[at]], styleOf(at, rankColour));
    marks[at] = mark.on("click", () => choose(at, "map")).addTo(isDropped(at) ? groups.dropped : groups.photos);
  }
  for (const [at, mark] of marks.entries())
    if (mark && (isBlurred(at) || isDropped(at))) mark.bringToFront();

  const ring = L.circleMarker(map.getCenter(), {radius: 12, color: colour("ring"), weight: 3, fill: false, interactive: false});
  followers.push((at, by) => {
    if (!marks[at]) return ring.remove();
    ring.setLatLng(marks[at].getLatLng()).addTo(map);
    if (by !== "map" && !map.getBounds().pad(-.05).contains(ring.getLatLng()))
      map.panTo(ring.getLatLng(), {animate: false});
  });
  const qualities = [...lines.keys()].sort((a, b) => rankOf(a) - rankOf(b));
  mapKey(map, groups, qualities);
  const thinned = track.fixes > track.shown ? `Of ${grouped(track.fixes)} fixes ${grouped(track.shown)} are drawn: ` +
      "gaps, changes of quality and local extremes are kept. " : "";
  byId("map-note").textContent = "Plan in metres around the middle of the mission; lines of latitude and longitude in " +
      `degrees (WGS 84). ${thinned}Click into the map to zoom with the wheel.`;
  redraws.push(() => {
    rankColour = rankColours();
    for (const [word, line] of drawnLines) line.setStyle({color: qualityColour(word)});
    marks.forEach((mark, at) => mark.setStyle(styleOf(at, rankColour)));
    ring.setStyle({color: colour("ring")});
    mapKey(map, groups, qualities);
  });
  const count = group => groups[group].getLayers().length;
  Object.assign(
      document.body.dataset,
      {photoMarks: count("photos"), droppedMarks: count("dropped"), trackPoints: track.shown ?? 0});
}

function mapKey(map, groups, qualities) {
  const rankColour = rankColours();
  const toggle = (group, text, ...symbols) => {
    const box = element("input", {type: "checkbox"});
    box.checked = map.hasLayer(groups[group]);
    box.addEventListener("change", () => box.checked ? groups[group].addTo(map) : groups[group].remove());
    return element("label", {}, [box, ...symbols, text]);
  };
  const disc = (shape, more = {}) =>
      markSymbol({shape, radius: 6, fill: true, fillColor: rankColour(60), color: colour("map"), weight: .75, ...more});
  const ramp = symbol(pen => {
    for (let x = 0; x < 240; ++x) pen.fillStyle = rankColour(x / 2.4), pen.fillRect(x, 0, 1, 20);
  }, "ramp");
  const has = test => Array.from({length: exposureCount}, (_, at) => at).some(test);
  const item = (text, ...symbols) => element("span", {}, [...symbols, text]);
  const blurred = {fillColor: colour("blurred"), color: colour("text"), weight: 1.5};
  const dropped = {fill: false, color: colour("dropped"), weight: 2, radius: 5};
  const only = (is, make) => is ? [make()] : [];
  byId("map-key").replaceChildren(
      ...only(qualities.length > 0, () => toggle("track", "track")),
      ...qualities.map(word => item((word ?? "quality unknown").toLowerCase(), lineSymbol(word))),
      ...only(exposureCount > 0, () => toggle("photos", "photos")),
      ...(cameras.length > 1 ? cameras.map((camera, i) => item("camera " + camera, disc(i ? "right" : "left"))) : []),
      ...only(has(at => known(valueAt(exposures.rank, at))),
              () => element("span", {}, ["least sharp", ramp, "sharpest (rank within the camera)"])),
      ...only(has(isBlurred), () => item("blurred", disc("disc", blurred))),
      ...only(has(at => isDropped(at) && isPlaced(at)), () => toggle("dropped", "dropped", disc("cross", dropped))));
}
