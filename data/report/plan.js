"use strict";
// A map without tiles: a plan in metres around the middle of what it shows.

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

/** Makes the map of the page show an extent; the wheel zooms it while it has the focus. */
function planMap(extent) {
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
  redraws.push(() => graticule.draw());
  return map;
}
