"use strict";
// What the pages of a mission and of a campaign share: the data, texts of numbers and times, elements, colours, paper.
// Texts from files reach the page as text nodes only.

const data = JSON.parse(document.getElementById("data").textContent);

const known = value => value !== null && value !== undefined && !Number.isNaN(value);
const fixed = (value, decimals) => known(value) ? value.toFixed(decimals) : "–";
const grouped = value => known(value) ? value.toLocaleString("en-US") : "–";
const counted = (count, one, many = one + "s") => `${grouped(count)} ${count === 1 ? one : many}`;
const isoText = time => new Date(time).toISOString();
const dateTime = time => known(time) ? isoText(time).replace("T", " ").slice(0, 23) : "–";
const timeOfDay = time => known(time) ? isoText(time).slice(11, 23) : "–";

/** A text with its control characters shown, as the summary shows them. */
function visible(text) {
  return text.replace(
      /[\u0000-\u001f\u007f-\u009f\u2028\u2029]/g, one => "\\u" + one.charCodeAt(0).toString(16).padStart(4, "0"));
}

/** @param content  a text, an element, or a list of them */
function element(tag, attributes = {}, content = []) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== null && value !== false) made.setAttribute(name, value === true ? "" : value);
  }
  made.append(...[content].flat().map(part => typeof part === "string" ? visible(part) : part));
  return made;
}
const byId = id => document.getElementById(id);

/** A colour of the style sheet by its name there, for canvases. */
function colour(name) {
  if (!colours.has(name)) colours.set(name, getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim());
  return colours.get(name);
}
const colours = new Map();
const redraws = [];  // called when the colours change
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
  colours.clear();
  redraws.forEach(redraw => redraw());
});

// On paper the page is light and as wide as A4 with its margins. Drawings are scaled, not made anew: browsers print
// canvases as they were last shown.
const kPaperWidth = 718;
const prints = [];  // called with whether the page is about to be printed
for (const [name, isPrinted] of [["beforeprint", true], ["afterprint", false]]) {
  addEventListener(name, () => {
    for (const drawing of document.querySelectorAll("#map, .plot-area")) {
      const {offsetWidth: width, offsetHeight: height} = drawing;
      drawing.style.width = isPrinted ? width + "px" : "", drawing.style.height = isPrinted ? height + "px" : "";
      drawing.style.zoom = isPrinted ? Math.min(1, kPaperWidth / width) : "";
    }
    document.documentElement.classList.toggle("printed", isPrinted);
    prints.forEach(print => print(isPrinted));
  });
}

/** Rows of a list of terms; unknown ones are left out. */
function facts(list, rows) {
  const shown = rows.filter(([, value]) => known(value) && value !== "" && value !== "–");
  list.replaceChildren(...shown.flatMap(([term, value]) => [element("dt", {}, term), element("dd", {}, value)]));
}
