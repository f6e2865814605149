// The page around the canvas: its controls, tables and links.
"use strict";

const report = JSON.parse(document.getElementById("report").textContent);
const kChannels = ["RGB", "R", "G", "B", "A", "RGBA"], kModes = { split: "Slider", a: "File", b: "Reference", heat: "Heat map" };
const kFaceNames = ["+X", "\u2212X", "+Y", "\u2212Y", "+Z", "\u2212Z"], kInks = ["#e0483e", "#2f9e44", "#3b7be0", "#8a8f98"];
const byId = (id) => document.getElementById(id);
const view = new View(byId("canvas"), () => showReadout(view.pinned), showZoom);
let settings = null, textures = [];

function make(tag, attributes, ...children) {
  const element = tag === "svg" || tag === "path" ? document.createElementNS("http://www.w3.org/2000/svg", tag) : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
function makeTable(kind, heads, rows) {
  const head = heads.map((text) => make("th", { scope: "col" }, text));
  const body = rows.map(([first, ...rest]) => make("tr", {}, make("th", { scope: "row" }, first), ...rest.map((text) => make("td", {}, text))));
  return make("table", { class: kind }, ...(heads.length ? [make("thead", {}, make("tr", {}, ...head))] : []), make("tbody", {}, ...body));
}
function fillSection(id, ...children) {
  byId(id).hidden = children.length === 0;
  byId(id).replaceChildren(byId(id).firstElementChild, ...children);
}

// Radio buttons that look like one bar.
function fillChoice(id, names, name) {
  byId(id).replaceChildren(...Object.entries(names).map(([value, text]) => {
    const button = make("input", { type: "radio", name: id, value });
    button.checked = String(settings[name]) === value;
    button.onchange = () => change(name, id === "channels" ? Number(value) : value);
    return make("label", {}, button, text);
  }));
  byId(id).hidden = Object.keys(names).length < 2;
}
function fillSelect(name, count, first, label = String) {
  const options = range(count).slice(first).map((i) => [i, label(i)]);
  if (options.length > 1) options.unshift(["all", "all"], ...(name === "face" && count === 6 ? [["cross", "cross"]] : []));
  if (name === "fragment") options.splice(0, options.length > 1 ? 1 : 0);
  byId(name).replaceChildren(...options.map(([value, text]) => make("option", { value }, text)));
  byId(name).value = settings[name];
  byId(name).parentElement.hidden = options.length < 2;
  byId(name).onchange = () => change(name, byId(name).value);
}
function change(name, value) {
  settings[name] = value;
  for (const id of ["split", "leftTag", "rightTag"]) byId(id).hidden = settings.mode !== "split";
  byId("legend").hidden = byId("heat").hidden = settings.mode !== "heat";
  byId("light").hidden = settings.mode === "heat" || !textures.some((texture) => texture.isLight && texture.format.type !== kSrgb);
  byId("range").hidden = settings.mode === "heat";
  byId("canvas").classList.toggle("checks", settings.channel === 5 && settings.mode !== "heat");
  byId("stops").textContent = `${settings.exposure > 0 ? "+" : ""}${settings.exposure} EV`;
  byId("heatLabel").textContent = Number(settings.heatMost).toPrecision(3);
  for (const button of document.querySelectorAll(`#channels input, #modes input`)) button.checked = [String(settings.channel), settings.mode].includes(button.value);
  if (["mip", "face", "slice", "depth", "fragment"].includes(name)) {
    byId(name).value = value;
    view.pinned = null;
    view.arrange();
    view.fit();
    showReadout(null);
  }
  view.restyle();
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
function showReadout(texel) {
  const rows = [], tell = (label, text) => rows.push(make("dt", {}, label), make("dd", {}, text));
  if (!texel) rows.push(make("dd", { class: "hint" }, "Point at a texel, or press an arrow key."));
  else {
    const { surface, x, y } = texel, texture = textures[0], parts = [`${x}, ${y}`];
    if (texture.mips > 1) parts.push(`mip ${surface.mip}`);
    if (texture.faces > 1) parts.push(`face ${surface.face} ${kFaceNames[surface.face] ?? ""}`);
    if (texture.slices > 1) parts.push(`slice ${surface.slice}`);
    if (texture.depth > 1) parts.push(`depth ${surface.depth}`);
    tell("Place", parts.join(", "));
    const found = textures.map((each) => each.inspect(surface, x, y, () => showReadout(texel)));
    found.forEach((facts, i) => {
      const prefix = i ? "Ref. " : "";
      if (!facts) return;
      tell(prefix + (i ? "bytes" : "Bytes"), `[${facts.bytes.map((byte) => byte.toString(16).padStart(2, "0")).join(", ")}]`);
      tell(prefix + (i ? "value" : "Value"), listText(facts.value, facts.isInteger));
      if (facts.hardware) tell(prefix + (i ? "hardware" : "Hardware"), listText(facts.hardware, false));
    });
    if (found.length > 1 && found[0] && found[1]) tell("Difference", listText(found[0].value.map((value, lane) => value - found[1].value[lane]), false));
    if (texel === view.pinned) byId("spoken").textContent = rows.slice(0, 6).map((row) => row.textContent).join(" ");
  }
  byId("readout").replaceChildren(...rows);
}

// The first and the last bin may be cut: empty grounds would make all others flat.
function makeHistogram(channel, i) {
  const most = Math.max(...channel.bins.slice(1, -1)) || 1, path = channel.bins.map((count, bin) => `M${bin} 64v${-Math.min(64, Math.ceil(64 * Math.sqrt(count / most)))}h1V64z`).join("");
  const svg = make("svg", { viewBox: "0 0 256 64", preserveAspectRatio: "none", role: "img", "aria-label": `Histogram of ${channel.name}, from ${channel.low} to ${channel.high}` },
    make("path", { d: path, fill: kInks[i] }));
  return make("figure", {}, svg, make("figcaption", {}, make("span", {}, channel.low), make("span", {}, channel.name), make("span", {}, channel.high)));
}
function showTables(file, comparison) {
  fillSection("facts", makeTable("", [], file.facts));
  fillSection("values", makeTable("numbers", ["", "least", "greatest", "mean", ""], file.channels.map((c) => [c.name, c.least, c.greatest, c.mean, c.constant])), ...file.channels.map(makeHistogram));
  if (!comparison) return fillSection("comparison");
  const links = comparison.worst.map(({ text, place }) => make("li", {}, place ? make("a", { href: `#${new URLSearchParams(place)}` }, text) : text));
  fillSection("comparison", ...comparison.tables.map(({ heads, rows }) => makeTable("numbers", heads, rows)),
    ...comparison.notes.map((text) => make("p", {}, text)), make("h2", {}, "Worst texels"), links.length ? make("ol", {}, ...links) : "No texel differs.");
}

function openFile(number) {
  const file = report.files[number], comparison = report.comparison;
  if (file.failure) return showFailure(file);
  const [low, high] = file.range;
  textures = (comparison ? report.files : [file]).map((each, i) => new Texture(comparison ? i : number, each));
  const many = Math.max(textures[0].slices * textures[0].faces, textures[0].depth) > 6;
  settings = { mip: many || comparison ? file.firstMip : "all", face: "all", slice: "all", depth: "all", fragment: 0, channel: 0, exposure: 0, low, high,
    mode: comparison ? "split" : "a", split: 0.5, heatMost: comparison?.largest || 1, asStored: comparison?.asStored };
  showHead(comparison ? `${file.name} against ${report.files[1].name}` : file.name, file.summary, file.note);
  fillChoice("modes", comparison ? kModes : {}, "mode");
  fillChoice("channels", kChannels, "channel");
  fillSelect("mip", file.mips, Math.min(file.firstMip, file.mips - 1), (mip) => `${mip}: ${textures[0].wide(mip)} \u00d7 ${textures[0].tall(mip)}`);
  fillSelect("face", file.faces, 0, (face) => `${face} ${kFaceNames[face] ?? ""}`);
  fillSelect("slice", file.slices, 0);
  fillSelect("depth", file.depth, 0);
  fillSelect("fragment", file.fragments, 0);
  for (const name of ["low", "high", "heatMost", "exposure"]) byId(name).value = settings[name];
  showTables(file, comparison);
  byId("picture").hidden = file.firstMip >= file.mips;
  byId("viewer").hidden = false;
  view.open(textures, settings);
  change("mode", settings.mode);
  view.fit(); // into the room that the controls have left
  showReadout(null);
}
function showFailure(file) {
  textures = [];
  byId("viewer").hidden = true;
  showHead(file.name, "", file.failure);
}
function showHead(title, summary, note) {
  byId("title").textContent = document.title = title;
  byId("summary").textContent = summary;
  byId("note").textContent = note;
  byId("note").hidden = note === "";
}
function showSheet() {
  const key = byId("sort").value, order = report.files.map((file, number) => ({ ...file, number }));
  const compare = (a, b) => typeof a === "number" ? a - b : String(a).localeCompare(b);
  order.sort((a, b) => !!b.failure - !!a.failure || (a.failure ? 0 : compare(a[key], b[key])) || a.number - b.number);
  if (byId("reverse").checked) order.reverse();
  byId("cards").replaceChildren(...order.map((file) => make("li", {}, make("a", { href: `#file=${file.number}` },
    make("div", { class: "thumbnail" }, ...(file.thumbnail ? [make("img", { src: file.thumbnail, alt: "" })] : [])),
    make("b", {}, file.name), make("span", {}, file.failure ?? file.summary)))));
  showHead(`${report.files.length} textures`, "", "");
}
// The address names a file, and perhaps a texel to go to.
function followAddress() {
  const place = Object.fromEntries([...new URLSearchParams(location.hash.slice(1))].map(([name, value]) => [name, Number(value)]));
  const isSheet = report.isSheet && !(place.file in report.files), number = report.isSheet ? place.file : 0;
  byId("sheet").hidden = !isSheet;
  byId("back").hidden = isSheet || !report.isSheet;
  if (isSheet) {
    byId("viewer").hidden = true;
    return showSheet();
  }
  if (textures[0]?.file !== number || byId("viewer").hidden) openFile(number);
  if (!("x" in place)) return;
  for (const name of ["mip", "face", "slice", "depth"]) {
    if (!["all", "cross", String(place[name] ?? 0)].includes(String(settings[name]))) change(name, place[name] ?? 0);
  }
  const found = view.placed.find(({ surface }) => ["mip", "face", "slice", "depth"].every((name) => surface[name] === (place[name] ?? 0)));
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
  const texel = { place, surface: place.surface, x: within(x + right * step, place.wide), y: within(y + down * step, place.tall) };
  view.pin(view.pinned ? texel : { ...texel, x, y }, true);
}
document.addEventListener("keydown", (event) => {
  const isTyping = event.target.matches("input:not([type=radio]), select"), far = event.shiftKey ? 16 : 1;
  const arrow = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] }[event.key];
  if (isTyping || event.ctrlKey || event.metaKey || event.altKey || byId("viewer").hidden) return;
  if (arrow && !event.target.matches("input")) moveMark(far * arrow[0], far * arrow[1]);
  else if (event.key === "+" || event.key === "=") view.zoomBy(1);
  else if (event.key === "-") view.zoomBy(-1);
  else if (/^[1-6]$/.test(event.key)) change("channel", Number(event.key) - 1);
  else return;
  event.preventDefault();
});
for (const name of ["low", "high", "heatMost", "exposure"]) {
  byId(name).oninput = () => { if (Number.isFinite(byId(name).valueAsNumber)) change(name, byId(name).valueAsNumber); };
}
byId("split").oninput = () => moveSplit(byId("split").value / 1000);
byId("in").onclick = () => view.zoomBy(1);
byId("out").onclick = () => view.zoomBy(-1);
byId("fit").onclick = () => view.fit();
byId("sort").onchange = byId("reverse").onchange = showSheet;
window.addEventListener("hashchange", followAddress);
listenToPointer(byId("canvas"));
followAddress();
