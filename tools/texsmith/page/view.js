// The canvas: where surfaces lie on it, which of their texels are in sight, and how these look.
"use strict";

const kZooms = [1 / 64, 1 / 32, 1 / 16, 1 / 8, 1 / 4, 1 / 2, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64];
const kCells = 128; // a tile of the screen, each way; at most one texel, or the mean of several, a cell
const kMostTiles = 400;
const kCrossPlaces = [[2, 1], [0, 1], [1, 0], [1, 2], [1, 1], [3, 1]]; // column and row of each face
const kHeat = [[0, 0, 0], [70, 10, 120], [190, 40, 70], [250, 140, 20], [255, 255, 200]];
const kSrgbEncoded = Uint8Array.from({ length: 65536 }, (_, i) =>
  Math.round(255 * (i / 65535 <= 0.0031306685 ? i / 65535 * 12.92 : (i / 65535) ** (1 / 2.4) * 1.055 - 0.055)));

function heatColour(share) {
  const position = share * (kHeat.length - 1), step = Math.min(Math.floor(position), kHeat.length - 2);
  return kHeat[step].map((from, i) => from + (position - step) * (kHeat[step + 1][i] - from));
}
const kHeatBytes = Array.from({ length: 256 }, (_, i) => heatColour(i / 255));

function range(count) {
  return Array.from({ length: count }, (_, i) => i);
}

// Surfaces with their places in texels. All of them lie as on a canvas of the library: the mips side by side, slices
// of a volume, faces and array entries one below the other. Those of one mip lie in a grid.
function placeSurfaces(texture, chosen) {
  const pick = (name, count) => chosen[name] === "all" ? range(count) : [Number(chosen[name])];
  const mips = chosen.mip === "all" ? range(texture.mips).slice(texture.firstMip) : [Number(chosen.mip)];
  const slices = pick("slice", texture.slices), isCross = chosen.face === "cross";
  const faces = isCross ? range(6) : pick("face", texture.faces), fragment = Number(chosen.fragment);
  const padded = (size) => (size + 7) & ~7;
  const depthsOf = (mip) => pick("depth", texture.deep(mip)).filter((depth) => depth < texture.deep(mip));
  const corners = [], placed = [];
  let canvasWide = 0, canvasTall = 0;
  for (const mip of mips) {
    const wide = padded(texture.wide(mip)), tall = padded(texture.tall(mip)) * depthsOf(mip).length;
    const last = corners.at(-1), corner = { mip, wide, tall, x: 0, y: 0 };
    if (corners.length === 1) corner.x = last.wide;
    if (corners.length > 1) {
      const fits = last.y + last.tall + tall <= corners[0].tall;
      [corner.x, corner.y] = fits ? [last.x, last.y + last.tall] : [last.x + last.wide, last.y];
    }
    corners.push(corner);
    [canvasWide, canvasTall] = [Math.max(canvasWide, corner.x + wide), Math.max(canvasTall, corner.y + tall)];
  }
  const count = slices.length * faces.length * (mips.length === 1 ? depthsOf(mips[0]).length : 1);
  const columns = mips.length === 1 && !isCross ? Math.ceil(Math.sqrt(count)) : 1;
  slices.forEach((slice, sliceAt) => faces.forEach((face, faceAt) => corners.forEach((corner) => {
    depthsOf(corner.mip).forEach((depth, depthAt) => {
      const { mip } = corner, wide = texture.wide(mip), tall = texture.tall(mip);
      const [column, row] = isCross ? kCrossPlaces[face] : [0, faceAt], rows = isCross ? 3 : faces.length;
      let x = corner.x + column * canvasWide, y = corner.y + depthAt * padded(tall) + (sliceAt * rows + row) * canvasTall;
      if (!isCross && mips.length === 1) {
        const at = (sliceAt * faces.length + faceAt) * depthsOf(corner.mip).length + depthAt;
        [x, y] = [at % columns * padded(wide), Math.floor(at / columns) * padded(tall)];
      }
      const id = `${slice}-${face}-${mip}-${depth}-${fragment}`;
      placed.push({ surface: { slice, face, mip, depth, fragment }, x, y, wide, tall, id });
    });
  })));
  return placed;
}

// One cell of the texels of a square: the mean of one texture's, or the largest difference of two.
function foldTexels(squares, left, top, right, bottom, out, at) {
  const [a, b] = squares, count = (right - left) * (bottom - top);
  for (let lane = 0; lane < 4; ++lane) {
    let folded = 0;
    for (let y = top; y < bottom; ++y) {
      for (let x = left; x < right; ++x) {
        const place = 16 * y + 4 * x + lane;
        folded = b ? Math.max(folded, Math.abs(a[place] - b[place])) : folded + a[place] / count;
      }
    }
    out[at + lane] = folded;
  }
}

class View {
  constructor(canvas, onPoint, onDraw) {
    this.canvas = canvas;
    this.context = canvas.getContext("2d");
    Object.assign(this, { onPoint, onDraw });
    this.redraw = () => this.requestDraw();
    [this.isAsked, this.isWhole] = [false, true];
    new ResizeObserver(this.redraw).observe(canvas);
  }
  // `settings` stays the caller's, who calls restyle when it changes, and arrange when surfaces come and go.
  open(textures, settings) {
    Object.assign(this, { textures, settings, tiles: new Map(), stamp: 0, zoom: 1, x: 0, y: 0, pinned: null });
    this.arrange();
    this.fit();
  }
  arrange() {
    this.placed = placeSurfaces(this.textures[0], this.settings);
    this.wide = Math.max(...this.placed.map((place) => place.x + place.wide));
    this.tall = Math.max(...this.placed.map((place) => place.y + place.tall));
    this.requestDraw();
  }
  restyle() {
    ++this.stamp;
    this.requestDraw();
  }
  ratio() { return window.devicePixelRatio || 1; }
  screen() { return [Math.round(this.canvas.clientWidth * this.ratio()), Math.round(this.canvas.clientHeight * this.ratio())]; }
  fit() {
    const [wide, tall] = this.screen();
    const fitting = kZooms.filter((zoom) => this.wide * zoom <= wide && this.tall * zoom <= tall && zoom <= 8);
    this.zoom = fitting.at(-1) ?? kZooms[0];
    this.centre(this.wide / 2, this.tall / 2);
  }
  centre(x, y) {
    const [wide, tall] = this.screen();
    [this.x, this.y] = [Math.round(x * this.zoom - wide / 2), Math.round(y * this.zoom - tall / 2)];
    this.requestDraw();
  }
  // `screenX`, `screenY`: the place, in pixels of the device, that stays where it is.
  zoomTo(zoom, screenX, screenY) {
    const x = (this.x + screenX) / this.zoom, y = (this.y + screenY) / this.zoom;
    this.zoom = zoom;
    [this.x, this.y] = [Math.round(x * zoom - screenX), Math.round(y * zoom - screenY)];
    this.requestDraw();
  }
  zoomBy(step, at) {
    const [wide, tall] = this.screen(), [x, y] = at ?? [wide / 2, tall / 2];
    const next = Math.min(Math.max(kZooms.indexOf(this.zoom) + step, 0), kZooms.length - 1);
    this.zoomTo(kZooms[next], x, y);
  }
  // The texel at a place of the screen, or null.
  texelAt(screenX, screenY) {
    const x = Math.floor((this.x + screenX) / this.zoom), y = Math.floor((this.y + screenY) / this.zoom);
    const place = this.placed.find((p) => x >= p.x && x < p.x + p.wide && y >= p.y && y < p.y + p.tall);
    return place ? { place, surface: place.surface, x: x - place.x, y: y - place.y } : null;
  }
  pin(texel, mayScroll) {
    this.pinned = texel;
    const [wide, tall] = this.screen(), x = texel.place.x + texel.x, y = texel.place.y + texel.y;
    const left = x * this.zoom - this.x, top = y * this.zoom - this.y;
    const isInSight = left >= 0 && top >= 0 && left + this.zoom <= wide && top + this.zoom <= tall;
    if (mayScroll && !isInSight) this.centre(x, y);
    this.requestDraw();
    this.onPoint();
  }
  requestDraw() {
    if (this.isAsked || !this.placed) return;
    this.isAsked = true;
    requestAnimationFrame(() => {
      this.isAsked = false;
      this.draw();
    });
  }
  draw() {
    const [wide, tall] = this.screen(), context = this.context, deadline = performance.now() + 24;
    if (this.canvas.width !== wide || this.canvas.height !== tall) [this.canvas.width, this.canvas.height] = [wide, tall];
    context.imageSmoothingEnabled = false;
    context.clearRect(0, 0, wide, tall);
    this.isWhole = true;
    const split = Math.round(this.settings.split * wide);
    const layers = { a: [[0, 0, wide]], b: [[1, 0, wide]], heat: [["heat", 0, wide]], split: [[0, 0, split], [1, split, wide]] };
    for (const [source, left, right] of layers[this.settings.mode]) {
      context.save();
      context.beginPath();
      context.rect(left, 0, right - left, tall);
      context.clip();
      for (const place of this.placed) this.drawSurface(place, source, left, right, tall, deadline);
      context.restore();
    }
    if (this.settings.mode === "split") this.drawLine(split, tall);
    if (this.pinned) this.drawMark();
    if (!this.isWhole) this.requestDraw();
    this.onDraw();
  }
  drawSurface(place, source, left, right, tall, deadline) {
    const step = Math.max(1, 1 / this.zoom), scale = this.zoom * step, span = kCells * step;
    const x = Math.round(place.x * this.zoom) - this.x, y = Math.round(place.y * this.zoom) - this.y;
    const cellsWide = Math.ceil(place.wide / step), cellsTall = Math.ceil(place.tall / step);
    if (x >= right || y >= tall || x + cellsWide * scale <= left || y + cellsTall * scale <= 0) return;
    const side = kCells * scale, from = (at) => Math.max(0, Math.floor(at / side));
    for (let row = from(-y); row * kCells < cellsTall && y + row * side < tall; ++row) {
      for (let column = from(left - x); column * kCells < cellsWide && x + column * side < right; ++column) {
        const canvas = this.tileOf(place, source, step, column * span, row * span, deadline)?.canvas;
        if (canvas) this.context.drawImage(canvas, x + column * side, y + row * side, canvas.width * scale, canvas.height * scale);
      }
    }
  }
  drawLine(x, tall) {
    this.context.fillStyle = "#000";
    this.context.fillRect(x - 2, 0, 4, tall);
    this.context.fillStyle = "#fff";
    this.context.fillRect(x - 1, 0, 2, tall);
  }
  drawMark() {
    const { place, x, y } = this.pinned, side = Math.max(this.zoom, 9), middle = (side - this.zoom) / 2;
    const left = Math.round((place.x + x) * this.zoom - middle) - this.x;
    const top = Math.round((place.y + y) * this.zoom - middle) - this.y;
    for (const [colour, grown] of [["#000", 1.5], ["#fff", 2.5], ["#000", 3.5]]) {
      this.context.strokeStyle = colour;
      this.context.strokeRect(left - grown, top - grown, side + 2 * grown, side + 2 * grown);
    }
  }
  // Null while the time of this frame is over, or texels are still to come.
  tileOf(place, source, step, x, y, deadline) {
    const key = `${source}/${place.id}/${step}/${x}/${y}`;
    let tile = this.tiles.get(key);
    if (!tile) {
      if (performance.now() > deadline) return this.comeBack();
      const width = Math.ceil(Math.min(kCells, (place.wide - x) / step));
      const height = Math.ceil(Math.min(kCells, (place.tall - y) / step));
      const values = this.valuesOf(place.surface, source, step, x, y, width, height);
      if (!values) return null; // their coming asks for another frame
      tile = { values, canvas: Object.assign(document.createElement("canvas"), { width, height }), stamp: -1 };
    }
    this.tiles.delete(key); // the last used stands last
    this.tiles.set(key, tile);
    if (this.tiles.size > kMostTiles) this.tiles.delete(this.tiles.keys().next().value);
    if (tile.stamp !== this.stamp) this.colour(tile, source);
    return tile;
  }
  comeBack() {
    this.isWhole = false;
    return null;
  }
  // Four numbers a cell. Cells of several texels have the mean of at most 16 of them, or the largest difference.
  valuesOf(surface, source, step, x, y, wide, tall) {
    const isHeat = source === "heat", textures = isHeat ? this.textures : [this.textures[source]];
    const pieces = textures.map((texture) => texture.bytesOf(surface, this.redraw));
    if (pieces.some((bytes) => !bytes?.length)) return null;
    const squares = textures.map(() => new Float64Array(64)), values = new Float32Array(4 * wide * tall);
    const inner = Math.min(step, 4), cells = 4 / inner, asStored = isHeat && this.settings.asStored; // of a square, each way
    const columns = Math.ceil(wide / cells), count = columns * Math.ceil(tall / cells), { mip } = surface;
    for (let at = 0; at < count; ++at) {
      const column = at % columns * cells, row = Math.floor(at / columns) * cells;
      const left = x + column * step, top = y + row * step;
      textures.forEach((texture, i) => texture.decodeSquare(pieces[i], surface, left, top, asStored, squares[i]));
      const right = Math.min(4, textures[0].wide(mip) - left), bottom = Math.min(4, textures[0].tall(mip) - top);
      for (let cellY = 0; cellY * inner < bottom && row + cellY < tall; ++cellY) {
        for (let cellX = 0; cellX * inner < right && column + cellX < wide; ++cellX) {
          foldTexels(squares, cellX * inner, cellY * inner, Math.min(right, (cellX + 1) * inner),
            Math.min(bottom, (cellY + 1) * inner), values, 4 * ((row + cellY) * wide + column + cellX));
        }
      }
    }
    return values;
  }
  colour(tile, source) {
    const { channel, exposure, low, high, heatMost } = this.settings, { values, canvas } = tile;
    const picture = new ImageData(canvas.width, canvas.height), out = picture.data, isHeat = source === "heat";
    const isLight = !isHeat && this.textures[source].format.isLight, scale = (isLight ? 2 ** exposure : 1) / (high - low);
    const shown = (value) => {
      const share = (value - low) * scale;
      return isLight ? kSrgbEncoded[Math.min(Math.max(share, 0), 1) * 65535 + 0.5 | 0] : share * 255;
    };
    for (let at = 0; at < out.length; at += 4) {
      const single = channel >= 1 && channel <= 4, value = values[at + channel - 1];
      out[at + 3] = 255;
      if (isHeat) {
        const most = single ? value : Math.max(values[at], values[at + 1], values[at + 2], values[at + 3]);
        const colour = kHeatBytes[Math.min(255, Math.round(255 * most / heatMost)) || 0];
        for (let lane = 0; lane < 3; ++lane) out[at + lane] = colour[lane];
      } else if (single) {
        out[at] = out[at + 1] = out[at + 2] = channel === 4 && isLight ? value * 255 : shown(value);
      } else {
        for (let lane = 0; lane < 3; ++lane) out[at + lane] = shown(values[at + lane]);
        if (channel === 5) out[at + 3] = values[at + 3] * 255;
      }
      const isNumber = !Number.isNaN(single ? value : values[at] + values[at + 1] + values[at + 2]);
      if (!isNumber) [out[at], out[at + 1], out[at + 2]] = [255, 0, 255];
    }
    canvas.getContext("2d").putImageData(picture, 0, 0);
    tile.stamp = this.stamp;
  }
}
