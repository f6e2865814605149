// The page around the canvas: its controls, tables and links.
"use strict";

const report = JSON.parse(document.getElementById("report").textContent);
const kChannels = ["RGB", "R", "G", "B", "A", "RGBA"];
const kModes = { split: "Slider", a: "File", b: "Reference", heat: "Heat map" };
const kFaceNames = ["+X", "\u2212X", "+Y", "\u2212Y", "+Z", "\u2212Z"];
const kInks = ["#e0483e", "#2f9e44", "#3b7be0", "#8a8f98"];
const kPlaceNames = ["mip", "face", "slice", "depth", "fragment"];
const byId = (id) => document.getElementById(id);
const view = new View(byId("canvas"), () => showReadout(view.pinned), showZoom);
let settings = null, textures = [];

function make(tag, attributes, ...children) {
  const isDrawn = tag === "svg" || tag === "path";
  const element = isDrawn ? document.createElementNS("http://www.w3.org/2000/svg", tag) : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
function makeTable(kind, heads, rows) {
  const head = make("tr", {}, ...heads.map((text) => make("th", { scope: "col" }, text)));
  const body = rows.map(([first, ...rest]) =>
    make("tr", {}, make("th", { scope: "row" }, first), ...rest.map((text) => make("td", {}, text))));
  return make("table", { class: kind }, make("thead", {}, head), make("tbody", {}, ...body));
}
function fillSection(id, ...children) {
  byId(id).hidden = children.length === 0;
  byId(id).replaceChildren(byId(id).firstElementChild, ...children);
}

// Radio buttons that look like one bar.
function fillChoice(id, names, name) {
  byId(id).replaceChildren(...Object.entries(names).map(([value, text]) => {
    const button = make("input", { type: "radio", name: id, value });
    button.onchange = () => change(name, id === "channels" ? Number(value) : value);
    return make("label", {}, button, text);
  }));
  byId(id).hidden = Object.keys(names).length < 2;
}
function fillSelect(name, count, first, label = String) {
  const options = range(count).slice(first).map((i) => [i, label(i)]);
  byId(name).parentElement.hidden = options.length < 2;
  if (name !== "fragment") options.unshift(["all", "all"]);
  if (name === "face" && count === 6) options.unshift(["cross", "cross"]);
  byId(name).replaceChildren(...options.map(([value, text]) => make("option", { value }, text)));
  byId(name).value = settings[name];
  byId(name).onchange = () => change(name, byId(name).value);
}
function change(name, value) {
  const { mode, channel, exposure } = Object.assign(settings, { [name]: value });
  for (const id of ["split", "leftTag", "rightTag"]) byId(id).hidden = mode !== "split";
  for (const id of ["legend", "heat"]) byId(id).hidden = mode !== "heat";
  byId("range").hidden = mode === "heat";
  byId("light").hidden = mode === "heat" || !textures.some(({ format }) => format.isLight && format.type !== kSrgb);
  byId("canvas").classList.toggle("checks", channel === 5 && mode !== "heat");
  byId("stops").textContent = `${exposure > 0 ? "+" : ""}${exposure} EV`;
  byId("heatLabel").textContent = Number(settings.heatMost).toPrecision(3);
  for (const button of document.querySelectorAll(".choice input")) {
    button.checked = [String(channel), mode].includes(button.value);
  }
  if (kPlaceNames.includes(name)) rearrange(name, value);
  view.restyle();
}
function rearrange(name, value) {
  byId(name).value = value;
  if (settings.mip !== "all" && Number(settings.depth) >= textures[0].deep(settings.mip)) {
    byId("depth").value = settings.depth = "all"; // a smaller mip has fewer
  }
  view.pinned = null;
  view.arrange();
  view.fit();
  showReadout(null);
}

// Numbers as `texsmith texel` prints them: six places, and of two that are as near the one with an even digit.
function numberText(number) {
  if (!Number.isFinite(number)) return String(number).replace("Infinity", "inf").toLowerCase();
  const exact = number.toFixed(60), isTie = /^[02468]50*$/.test(exact.slice(-55));
  return (Object.is(number, -0) ? "-" : "") + (isTie ? exact.slice(0, -54) : number.toFixed(6));
}
function listText(numbers, isInteger) {
  return `[${numbers.map(isInteger ? String : numberText).join(", ")}]`;
}
function placeText({ surface, x, y }) {
  const { mips, faces, slices, depth, fragments } = textures[0], parts = [`${x}, ${y}`];
  if (mips > 1) parts.push(`mip ${surface.mip}`);
  if (faces > 1) parts.push(`face ${surface.face} ${kFaceNames[surface.face] ?? ""}`);
  if (slices > 1) parts.push(`slice ${surface.slice}`);
  if (depth > 1) parts.push(`depth ${surface.depth}`);
  if (fragments > 1) parts.push(`sample ${surface.fragment}`);
  return parts.join(", ");
}
function showReadout(texel) {
  const rows = [], tell = (label, text) => rows.push(make("dt", {}, label), make("dd", {}, text));
  const show = () => byId("readout").replaceChildren(...rows);
  if (!texel) {
    rows.push(make("dd", { class: "hint" }, "Point at a texel, or press an arrow key."));
    return show();
  }
  const found = textures.map((texture) => texture.inspect(texel.surface, texel.x, texel.y, () => showReadout(texel)));
  tell("Place", placeText(texel));
  found.forEach((facts, i) => {
    if (!facts) return;
    const name = (label) => i === 0 ? label : `Ref. ${label.toLowerCase()}`;
    tell(name("Bytes"), `[${facts.bytes.map((byte) => byte.toString(16).padStart(2, "0")).join(", ")}]`);
    tell(name("Value"), listText(facts.value, facts.isInteger));
    if (facts.hardware) tell(name("Hardware"), listText(facts.hardware, false));
    if (facts.modified) tell(name("Modified"), listText(facts.modified, false));
  });
  if (found[0] && found[1]) tell("Difference", listText(found[0].value.map((value, i) => value - found[1].value[i]), false));
  if (texel === view.pinned) byId("spoken").textContent = rows.slice(0, 6).map((row) => row.textContent).join(" ");
  show();
}

// The first and the last bin may be cut: empty grounds would make all others flat.
function makeHistogram({ name, bins, low, high }, i) {
  const most = Math.max(...bins.slice(1, -1)) || 1;
  const tall = (count) => Math.min(64, Math.ceil(64 * Math.sqrt(count / most)));
  const path = make("path", { d: bins.map((count, bin) => `M${bin} 64v${-tall(count)}h1V64z`).join(""), fill: kInks[i] });
  const label = `Histogram of ${name}, from ${low} to ${high}`;
  const drawing = make("svg", { viewBox: "0 0 256 64", preserveAspectRatio: "none", role: "img", "aria-label": label }, path);
  return make("figure", {}, drawing, make("figcaption", {}, ...[low, name, high].map((text) => make("span", {}, text))));
}
function showTables(files, comparison) {
  const channels = files[0].channels.map((c) => [c.name, c.least, c.greatest, c.mean, c.constant]);
  fillSection("facts", ...files.map((file) => makeTable("", [], file.facts)));
  fillSection("values", makeTable("numbers", ["", "least", "greatest", "mean", ""], channels),
    ...files[0].channels.map(makeHistogram));
  if (!comparison) return fillSection("comparison");
  const links = comparison.worst.map(({ text, place }) =>
    make("li", {}, make("a", { href: `#${new URLSearchParams(place)}` }, text)));
  fillSection("comparison", ...comparison.tables.map(({ heads, rows }) => makeTable("numbers", heads, rows)),
    ...comparison.notes.map((text) => make("p", {}, text)),
    ...(links.length ? [make("h2", {}, "Worst texels"), make("ol", {}, ...links)] : [make("p", {}, "No texel differs.")]));
}

function showHead(title, summary, note) {
  byId("title").textContent = document.title = title;
  byId("summary").textContent = summary;
  byId("note").textContent = note;
  byId("note").hidden = note === "";
}
function openFile(number) {
  const file = report.files[number], comparison = report.comparison, files = comparison ? report.files : [file];
  byId("viewer").hidden = "failure" in file;
  if (file.failure) {
    textures = [];
    return showHead(file.name, "", file.failure);
  }
  textures = files.map((each, i) => new Texture(comparison ? i : number, each));
  const isMany = Math.max(file.slices * file.faces, file.depth) > 6, [low, high] = file.range;
  settings = { mip: isMany || comparison ? file.firstMip : "all", face: "all", slice: "all", depth: "all", fragment: 0,
    channel: 0, exposure: 0, low, high, mode: comparison ? "split" : "a", split: 0.5,
    heatMost: comparison?.largest || 1, asStored: comparison?.asStored };
  showHead(comparison ? `${file.name} against ${report.files[1].name}` : file.name, file.summary, file.note);
  fillChoice("modes", comparison ? kModes : {}, "mode");
  fillChoice("channels", kChannels, "channel");
  const sizeText = (mip) => `${mip}: ${textures[0].wide(mip)} \u00d7 ${textures[0].tall(mip)}`;
  fillSelect("mip", file.mips, file.firstMip, sizeText);
  fillSelect("face", file.faces, 0, (face) => `${face} ${kFaceNames[face] ?? ""}`);
  for (const [name, count] of [["slice", file.slices], ["depth", file.depth], ["fragment", file.fragments]]) {
    fillSelect(name, count, 0);
  }
  for (const name of ["low", "high", "heatMost", "exposure"]) byId(name).value = settings[name];
  showTables(files, comparison);
  byId("picture").hidden = file.firstMip >= file.mips; // the page carries no texels
  if (!byId("picture").hidden) view.open(textures, settings);
  change("mode", settings.mode);
  if (!byId("picture").hidden) view.fit(); // into the room that the controls have left
  showReadout(null);
}
function showSheet() {
  const key = byId("sort").value, cards = report.files.map((file, number) => ({ ...file, number }));
  const compare = (a, b) => typeof a === "number" ? a - b : String(a).localeCompare(b);
  cards.sort((a, b) => !!b.failure - !!a.failure || (a.failure ? 0 : compare(a[key], b[key])) || a.number - b.number);
  if (byId("reverse").checked) cards.reverse();
  byId("cards").replaceChildren(...cards.map(({ number, name, thumbnail, failure, summary }) =>
    make("li", {}, make("a", { href: `#file=${number}` },
      make("div", { class: "thumbnail" }, ...(thumbnail ? [make("img", { src: thumbnail, alt: "" })] : [])),
      make("b", {}, name), make("span", {}, failure ?? summary)))));
  showHead(`${report.files.length} textures`, "", "");
}

// The address names a file, and perhaps a texel to go to.
function followAddress() {
  const named = [...new URLSearchParams(location.hash.slice(1))];
  const place = Object.fromEntries(named.map(([name, value]) => [name, Math.max(0, Math.trunc(value)) || 0]));
  const isSheet = report.isSheet && !(place.file in report.files), number = report.isSheet ? place.file : 0;
  byId("sheet").hidden = !isSheet;
  byId("back").hidden = isSheet || !report.isSheet;
  if (isSheet) {
    byId("viewer").hidden = true;
    return showSheet();
  }
  if (textures[0]?.file !== number || byId("viewer").hidden) openFile(number);
  if ("x" in place && !byId("viewer").hidden) goTo(place);
}
function goTo(place) {
  for (const name of kPlaceNames) {
    const wanted = place[name] ?? 0;
    if (!["all", "cross", String(wanted)].includes(String(settings[name]))) change(name, wanted);
  }
  const found = view.placed.find(({ surface }) => kPlaceNames.every((name) => surface[name] === (place[name] ?? 0)));
  if (!found || place.x >= found.wide || place.y >= found.tall) return;
  view.zoomTo(Math.max(view.zoom, 16), 0, 0);
  view.centre(found.x + place.x + 0.5, found.y + place.y + 0.5);
  view.pin({ place: found, surface: found.surface, x: place.x, y: place.y }, false);
}

function screenPlace(event) {
  const box = byId("canvas").getBoundingClientRect();
  return [(event.clientX - box.left) * view.ratio(), (event.clientY - box.top) * view.ratio()];
}
function listenToPointer(canvas) {
  let held = null;
  canvas.onpointerdown = (event) => {
    const [x, y] = screenPlace(event), split = settings.split * view.screen()[0];
    held = { x, y, moved: false, isSplit: settings.mode === "split" && Math.abs(x - split) < 8 * view.ratio() };
    canvas.setPointerCapture(event.pointerId);
  };
  canvas.onpointermove = (event) => {
    const [x, y] = screenPlace(event);
    if (held?.isSplit) moveSplit(x / view.screen()[0]);
    else if (held && (held.moved ||= Math.hypot(x - held.x, y - held.y) > 4)) {
      [view.x, view.y] = [Math.round(view.x + held.x - x), Math.round(view.y + held.y - y)];
      [held.x, held.y] = [x, y];
      view.requestDraw();
    } else showReadout(view.texelAt(x, y) ?? view.pinned);
  };
  canvas.onpointerup = (event) => {
    const texel = view.texelAt(...screenPlace(event));
    if (held && !held.moved && !held.isSplit && texel) view.pin(texel, false);
    held = null;
  };
  canvas.onpointercancel = () => { held = null; };
  canvas.onpointerleave = () => showReadout(view.pinned);
  canvas.onwheel = (event) => {
    event.preventDefault();
    view.zoomBy(event.deltaY < 0 ? 1 : -1, screenPlace(event));
  };
}
function showZoom() {
  byId("zoom").textContent = view.zoom >= 1 ? `${view.zoom}:1` : `1:${1 / view.zoom}`;
}
function moveSplit(share) {
  settings.split = Math.min(Math.max(share, 0), 1);
  byId("split").value = 1000 * settings.split;
  view.requestDraw();
}
function moveMark(right, down) {
  const step = Math.max(1, 1 / view.zoom), { place, x, y } = view.pinned ?? { place: view.placed[0], x: 0, y: 0 };
  const within = (at, size) => Math.min(Math.max(at, 0), size - 1);
  const moved = { x: within(x + right * step, place.wide), y: within(y + down * step, place.tall) };
  view.pin({ place, surface: place.surface, ...(view.pinned ? moved : { x, y }) }, true);
}
document.addEventListener("keydown", (event) => {
  const isTyping = event.target.matches("input:not([type=radio]), select"), far = event.shiftKey ? 16 : 1;
  const arrow = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
  if (isTyping || event.ctrlKey || event.metaKey || event.altKey || byId("viewer").hidden || byId("picture").hidden) return;
  if (arrow && !event.target.matches("input")) moveMark(far * arrow[0], far * arrow[1]);
  else if (event.key === "+" || event.key === "=") view.zoomBy(1);
  else if (event.key === "-") view.zoomBy(-1);
  else if (/^[1-6]$/.test(event.key)) change("channel", Number(event.key) - 1);
  else return;
  event.preventDefault();
});
for (const name of ["low", "high", "heatMost", "exposure"]) {
  byId(name).oninput = () => Number.isFinite(byId(name).valueAsNumber) && change(name, byId(name).valueAsNumber);
}
byId("split").oninput = () => moveSplit(byId("split").value / 1000);
byId("in").onclick = () => view.zoomBy(1);
byId("out").onclick = () => view.zoomBy(-1);
byId("fit").onclick = () => view.fit();
byId("sort").onchange = byId("reverse").onchange = showSheet;
document.querySelector(".scale").style.background = `linear-gradient(to right, ${kHeat.map((colour) => `rgb(${colour})`)})`;
window.addEventListener("hashchange", followAddress);
listenToPointer(byId("canvas"));
followAddress();
