"use strict";
// The map: a plan in metres around the middle of the mission, without tiles.

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

/** Longitudes without a step at the 180th meridian. */
function unwrapped(longitudes, reference) {
  return Float64Array.from(longitudes ?? [], longitude => longitude - 360 * Math.round((longitude - reference) / 360));
}

function extentOf(latitudes, longitudes) {
  const extent = {south: Infinity, north: -Infinity, west: Infinity, east: -Infinity};
  latitudes.forEach((latitude, i) => {
    if (!known(latitude) || !known(longitudes[i])) return;
    extent.south = Math.min(extent.south, latitude), extent.north = Math.max(extent.north, latitude);
    extent.west = Math.min(extent.west, longitudes[i]), extent.east = Math.max(extent.east, longitudes[i]);
  });
  return extent;
}

/** Degrees to metres on the WGS 84 ellipsoid at a latitude. True to scale there. */
function planAround(latitude, longitude) {
  const axis = 6378137, eccentricity = 0.00669437999014, sine = Math.sin(latitude * Math.PI / 180);
  const curve = 1 - eccentricity * sine * sine;
  const north = axis * (1 - eccentricity) / curve ** 1.5 * Math.PI / 180;
  const east = Math.max(axis / Math.sqrt(curve) * Math.cos(latitude * Math.PI / 180) * Math.PI / 180, 1);
  const projection = {
    project: place => L.point((place.lng - longitude) * east, (place.lat - latitude) * north),
    unproject: point => L.latLng(latitude + point.y / north, longitude + point.x / east),
    bounds: L.bounds([-3e7, -3e7], [3e7, 3e7]),
  };
  const distance = (a, b) => projection.project(a).distanceTo(projection.project(b));
  return L.extend({}, L.CRS.Simple, {projection, distance});
}

/** Lines of latitude and longitude, labelled at the edges. */
const Graticule = L.Layer.extend({
  onAdd(map) {
    this.canvas = L.DomUtil.create("canvas", "", map.getPane("tilePane"));
    map.on("move zoomend resize", this.draw, this);
    this.draw();
  },
  onRemove(map) {
    map.off("move zoomend resize", this.draw, this);
    this.canvas.remove();
  },
  draw() {
    const map = this._map, size = map.getSize(), ratio = window.devicePixelRatio || 1, canvas = this.canvas;
    L.DomUtil.setPosition(canvas, map.containerPointToLayerPoint([0, 0]));
    canvas.width = size.x * ratio, canvas.height = size.y * ratio;
    canvas.style.width = size.x + "px", canvas.style.height = size.y + "px";
    const pen = canvas.getContext("2d");
    pen.scale(ratio, ratio);
    pen.strokeStyle = colour("grid"), pen.fillStyle = colour("gridtext"), pen.lineWidth = 1,
    pen.font = "11px " + getComputedStyle(document.body).fontFamily;
    const corner = map.containerPointToLatLng([0, size.y]), far = map.containerPointToLatLng([size.x, 0]);
    this.lines(pen, corner.lng, far.lng, size.x, (at, label) => {
      pen.moveTo(at + .5, 0), pen.lineTo(at + .5, size.y), pen.fillText(label, at + 3, 11);
    });
    this.lines(pen, corner.lat, far.lat, size.y, (at, label) => {
      pen.moveTo(0, size.y - at + .5), pen.lineTo(size.x, size.y - at + .5), pen.fillText(label, 3, size.y - at - 3);
    });
  },
  lines(pen, from, to, pixels, line) {
    const rough = 110 * (to - from) / pixels, power = 10 ** Math.floor(Math.log10(rough));
    const step = [1, 2, 5, 10].find(times => times * power >= rough) * power;
    if (!(step > 1e-12)) return;
    const decimals = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
    pen.beginPath();
    for (let i = Math.ceil(from / step); i * step <= to; ++i)
      line(Math.round((i * step - from) / (to - from) * pixels), (i * step).toFixed(decimals) + "°");
    pen.stroke();
  },
});

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
  const extent = extentOf([...all[0][0], ...all[1][0]], [...trackLongitudes, ...longitudes]);
  const middle = [(extent.south + extent.north) / 2, (extent.west + extent.east) / 2];
  const map = L.map("map", {
    crs: planAround(...middle),
    renderer: L.canvas({padding: .3, tolerance: 3}),
    attributionControl: false,
    zoomAnimation: false,
    fadeAnimation: false,
    minZoom: -16,
    maxZoom: 9,
    zoomSnap: .25,
    zoomDelta: .75,
    scrollWheelZoom: false,
    zoomControl: false,
  });
  map.on("focus", () => map.scrollWheelZoom.enable()).on("blur", () => map.scrollWheelZoom.disable());
  const bounds = L.latLngBounds([extent.south, extent.west], [extent.north, extent.east]);
  map.fitBounds(bounds, {padding: [24, 24], maxZoom: 5});
  const graticule = new Graticule().addTo(map);
  L.control.zoom({position: "topright"}).addTo(map);
  L.control.scale({imperial: false, maxWidth: 160, position: "bottomright"}).addTo(map);

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

  const ring = L.circleMarker(middle, {radius: 12, color: colour("ring"), weight: 3, fill: false, interactive: false});
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
    graticule.draw(), mapKey(map, groups, qualities);
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
