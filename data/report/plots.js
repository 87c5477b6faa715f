"use strict";
// The plots, on one time axis.

// The page has keys of its own; the library's would set styles that the page's policy does not allow.
Dygraph.PLUGINS = Dygraph.PLUGINS.filter(plugin => plugin !== Dygraph.Plugins.Legend);

const kLine = {strokeWidth: 1.2, drawPoints: false, connectSeparatedPoints: true};
const kPoints = {strokeWidth: 0, drawPoints: true, pointSize: 2};
const plots = [];
let wholeSpan = null;

/** Joins series into rows for the plotting library; in a line an unknown value is a gap. */
function rowsOf(series) {
  const rows = new Map();
  series.forEach(({times, values, isLine}, column) => times.forEach((time, i) => {
    if (!known(time) || (!isLine && !known(values[i]))) return;
    if (!rows.has(time)) rows.set(time, [new Date(time), ...series.map(() => null)]);
    rows.get(time)[column + 1] = values[i];
  }));
  return [...rows.values()].sort((a, b) => a[0] - b[0]);
}

function zoomAll(window) {
  for (const {graph} of plots) graph.updateOptions({dateWindow: window});
}

/** @param series  [{label, colour, times, values, isLine}]; those without values are left out */
function addPlot({title, unit, decimals, series, choosable = false}) {
  const shown = series.filter(({values}) => values.some(known));
  if (shown.length === 0) return;
  const rows = rowsOf(shown);
  const reading = element("span", {class: "reading quiet"}), area = element("div", {class: "plot-area"});
  const keys = shown.map(({label, colour: name}) => {
    const swatch = element("i", {class: "swatch"});
    const paint = () => swatch.style.background = colour(name);
    paint(), redraws.push(paint);
    return element("span", {}, [swatch, label]);
  });
  const head = element(
      "div", {class: "plot-head"},
      [element("h3", {}, `${title} [${unit}]`), ...(shown.length > 1 ? keys : []), reading]);
  byId("plots").append(element("figure", {class: "plot"}, [head, area]));
  const options = () => ({
    colors: shown.map(({colour: name}) => colour(name)),
    axisLineColor: colour("line"),
    gridLineColor: colour("line")
  });
  const graph = new Dygraph(area, rows, {
    ...options(),
    labels: ["time", ...shown.map(({label}) => label)],
    labelsUTC: true,
    height: 150,
    connectSeparatedPoints: false,
    highlightCircleSize: 4,
    xRangePad: 4,
    yRangePad: 10,
    rightGap: 12,
    axes: {
      y: {axisLabelWidth: 56, pixelsPerLabel: 26, axisLabelFormatter: value => String(+value.toPrecision(8))},
      x: {axisLabelFormatter: axisTime, pixelsPerLabel: 90}
    },
    series: Object.fromEntries(shown.map(({label, isLine}) => [label, isLine ? kLine : kPoints])),
    highlightCallback: (_, time, points) => {
      const values = points.map(({name, yval}) => (shown.length > 1 ? name + ": " : "") + yval.toFixed(decimals));
      reading.textContent = [dateTime(time) + " UTC", ...values].join("\u2003");
    },
    unhighlightCallback: () => reading.textContent = "",
    zoomCallback: (from, to) => zoomAll(from === graph.xAxisExtremes()[0] ? wholeSpan : [from, to]),
    pointClickCallback: (_, point) => choosable && choose(shown[0].find(point), "plot"),
  });
  plots.push({graph});
  redraws.push(() => graph.updateOptions(options()));
}

function axisTime(date, granularity, _, graph) {
  const [from, to] = graph.xAxisRange(), text = isoText(+date), span = to - from;
  if (span > 3 * 86400e3) return text.slice(5, 16).replace("T", " ");
  return span > 900e3 ? text.slice(11, 16) : span > 5e3 ? text.slice(11, 19) : text.slice(11, 23);
}

/** The series of each camera for a column of the exposures. */
function cameraSeries(values, keep = () => true) {
  const byPoint = new Map();
  const find = ({xval, yval, name}) => byPoint.get(`${name} ${xval} ${yval}`) ?? -1;
  return cameras.map((camera, i) => {
    const label = `camera ${camera}`, times = [], kept = [];
    for (let at = 0; at < exposureCount; ++at) {
      if (exposures.camera[at] !== camera || !known(valueAt(values, at)) || !keep(at)) continue;
      times.push(valueAt(exposures.time, at)), kept.push(values[at]);
      byPoint.set(`${label} ${times.at(-1)} ${values[at]}`, at);
    }
    return {label, colour: i ? "camera2" : "camera1", times, values: kept, find};
  });
}

function windowAfter(step) {
  const graph = plots[0].graph, [from, to] = graph.xAxisRange(), middle = (from + to) / 2, half = (to - from) / 2;
  const window = {in: [middle - half / 2, middle + half / 2], out: [middle - half * 2, middle + half * 2],
    back: [from - half, to - half], on: [from + half, to + half]}[step] ?? wholeSpan;
  return [Math.max(window[0], wholeSpan[0]), Math.min(window[1], wholeSpan[1])];
}

function makePlots() {
  addPlot({
    title: "Sharpness",
    unit: "variance of the Laplacian",
    decimals: 1,
    series: cameraSeries(exposures.sharpness),
    choosable: true
  });
  addPlot({
    title: "Photo time minus event time",
    unit: "s",
    decimals: 3,
    series: cameraSeries(exposures.difference),
    choosable: true
  });
  const height = {
    label: "track",
    colour: "plotline",
    isLine: true,
    times: withGaps(track.time, i => (track.time[i - 1] + track.time[i]) / 2),
    values: withGaps(track.height, () => NaN)
  };
  addPlot({
    title: "Height above the ellipsoid",
    unit: "m",
    decimals: 3,
    series: [height, ...cameraSeries(exposures.height, at => !isDropped(at))]
  });
  const beats = columnsOf(data.heartbeats);
  addPlot({
    title: "Heartbeat minus line through first and last",
    unit: "ms",
    decimals: 3,
    series: [{label: "heartbeats", colour: "plotline", times: beats.time ?? [], values: beats.milliseconds ?? []}]
  });
  const readings = new Map(), lineColours = ["plotline", "camera1", "camera2", "estimated"];
  for (const {plot, words, time, value} of data.housekeeping) {
    if (!readings.has(plot)) readings.set(plot, []);
    const lines = readings.get(plot);
    lines.push({
      label: words,
      colour: lineColours[lines.length % lineColours.length],
      times: numbersOf(time),
      values: numbersOf(value),
      isLine: true
    });
  }
  for (const [title, series] of readings) addPlot({title, unit: "as logged", decimals: 2, series});
  if (plots.length === 0) return byId("times").hidden = true;
  const spans = plots.map(({graph}) => graph.xAxisExtremes());
  wholeSpan = [Math.min(...spans.map(span => span[0])), Math.max(...spans.map(span => span[1]))];
  zoomAll(wholeSpan);
  for (const button of document.querySelectorAll("[data-zoom]"))
    button.addEventListener("click", () => zoomAll(windowAfter(button.dataset.zoom)));
  document.body.dataset.plots = plots.length;
}

/** A column of the track with an unknown value at each gap, where its line then stops. */
function withGaps(column, valueInGap) {
  const gaps = new Set(track.breaks);
  return Array.from(column ?? []).flatMap((value, i) => gaps.has(i) ? [valueInGap(i), value] : [value]);
}
