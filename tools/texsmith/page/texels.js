// The texels of one texture, decoded as the library decodes them.
"use strict";

const kUNorm = 0, kUInt = 4, kSInt = 5, kFloat = 7, kSrgb = 9, kUBInt = 12; // channel types
const kSharedExponent = 34, kBc4 = 38, kBc6 = 40; // surface formats
const kSignedTypes = [1, 3, 5, 6];
const kFloatBits = { 10: [0, 5, 5], 11: [0, 5, 6], 16: [1, 5, 10], 32: [1, 8, 23] }; // sign, exponent, mantissa
const floatView = new Float32Array(1), bitsView = new Uint32Array(floatView.buffer);

function floatOfBits(bits) {
  bitsView[0] = bits;
  return floatView[0];
}
// Denormals of narrow floats deliberately become those of wide ones.
function decodeFloat(raw, bits) {
  const [signBits, exponentBits, mantissaBits] = kFloatBits[bits] ?? [0, 0, 0];
  const exponent = raw >>> mantissaBits & (1 << exponentBits) - 1, most = (1 << exponentBits) - 1;
  const wide = exponent === 0 ? 0 : exponent === most ? 255 : exponent - (most >> 1) + 127;
  const mantissa = (raw & (1 << mantissaBits) - 1) << (23 - mantissaBits);
  return floatOfBits(((signBits ? raw >>> (exponentBits + mantissaBits) << 31 : 0) | wide << 23 | mantissa) >>> 0);
}
function srgbDecode(x) {
  const round = Math.fround;
  return round(x <= 0.040448237 ? x / round(12.92) : round(round(x + round(0.055)) / round(1.055)) ** round(2.4));
}
function decodeChannel(type, raw, bits, lane) {
  const round = Math.fround, half = bits ? 2 ** (bits - 1) : 0;
  const signed = () => (raw & half ? raw - 2 * half : raw) | 0;
  const unormScale = round(bits ? 1 / (2 ** bits - 1) : 1), snormScale = round(bits > 1 ? 1 / (half - 1) : 1);
  const unorm = (value) => round(round(value) * unormScale);
  switch (type) {
  case kUNorm: return unorm(raw);
  case 1: return Math.max(round(round(signed()) * snormScale), -1);
  case 2: return round(raw);
  case 3: return round(signed());
  case kUInt: return raw;
  case kSInt: return signed();
  case 6: return round(Math.min(Math.max(unorm((signed() + half) >>> 0), 0), 1) * 2 - 1);
  case kFloat: return decodeFloat(raw, bits);
  case kSrgb: return lane < 3 ? srgbDecode(unorm(raw)) : unorm(raw);
  case 10: return Math.max(round(round((raw - half) | 0) * snormScale), -1);
  case 11: return round(unorm(raw | 0) * 2 - 1);
  case kUBInt: return (raw - half) | 0;
  case 13: return round((raw - half) | 0);
  default: return 0;
  }
}

// Turns stored elements into values. `asStored` takes sRGB texels for plain numbers.
class Codec {
  constructor(format, asStored) {
    this.format = format;
    this.type = asStored && format.type === kSrgb ? kUNorm : format.type;
    this.isBlocks = format.block === 4;
    this.decodeBlock = kBlockDecoders[format.surface];
    this.isBytes = this.isBlocks && (format.surface < kBc4 || format.surface > kBc6);
    this.hasHardware = this.type === kSrgb && (this.isBytes || !this.isBlocks) && format.surface !== kSharedExponent;
    this.isSigned = kSignedTypes.includes(this.type);
    this.isInteger = [kUInt, kSInt, kUBInt].includes(this.type);
    this.one = this.isInteger ? 0x3F800000 : 1;
    this.bits = this.isBytes ? [8, 8, 8, 8] : format.bits;
    this.tables = this.bits.map((bits, lane) => bits > 16 || (this.isBlocks && !this.isBytes) ? null
      : Float64Array.from({ length: 2 ** bits }, (_, raw) => decodeChannel(this.type, raw, bits, lane)));
    this.words = new Uint32Array(4);
    this.lanes = new Float64Array(4);
    this.stored = this.isBytes ? new Uint8Array(64) : new Float64Array(64);
  }
  readWords(bytes, at) {
    this.words.fill(0);
    for (let i = 0; i < this.format.bytes; ++i) this.words[i >> 2] |= bytes[at + i] << 8 * (i & 3);
  }
  decodeLanes(raws, at) {
    for (let lane = 0; lane < 4; ++lane) {
      const raw = raws[at + lane], table = this.tables[lane];
      this.lanes[lane] = table ? table[raw] : decodeChannel(this.type, raw, this.bits[lane], lane);
    }
  }
  decodeSharedExponent() {
    const word = this.words[0], scale = 2 ** ((word >>> 27) - 23);
    for (let lane = 0; lane < 3; ++lane) this.lanes[lane] = (word >>> 9 * lane & 511) * scale;
    this.lanes[3] = 0;
  }
  select(out, at) {
    for (let lane = 0; lane < 4; ++lane) {
      const select = this.format.selects[lane];
      out[at + lane] = select >= 4 ? this.lanes[select - 4] : select === 1 ? this.one : 0;
    }
  }
  // The element at `at`: one texel, or 16 of a block.
  decode(bytes, at, out, outAt) {
    this.readWords(bytes, at);
    if (this.isBlocks) {
      this.decodeBlock(this.words, this.stored, this.isSigned);
      for (let texel = 0; texel < 16; ++texel) {
        if (this.isBytes) this.decodeLanes(this.stored, 4 * texel);
        else for (let lane = 0; lane < 4; ++lane) this.lanes[lane] = this.stored[4 * texel + lane];
        this.select(out, outAt + 4 * texel);
      }
      return;
    }
    if (this.format.surface === kSharedExponent) {
      this.decodeSharedExponent();
    } else {
      for (let lane = 0; lane < 4; ++lane) {
        const shift = this.format.shifts[lane], bits = this.bits[lane];
        const mask = bits === 32 ? -1 : (1 << bits) - 1;
        this.stored[lane] = bits === 0 ? 0 : (this.words[shift >> 5] >>> (shift & 31) & mask) >>> 0;
      }
      this.decodeLanes(this.stored, 0);
    }
    this.select(out, outAt);
  }
  // What graphics hardware makes of sRGB texels; a block deliberately gives its first texel for all of them.
  decodeAsHardware(bytes, at, table) {
    this.readWords(bytes, at);
    if (this.isBytes) this.decodeBlock(this.words, this.stored, this.isSigned);
    else for (let lane = 0; lane < 4; ++lane) this.stored[lane] = this.words[0] >>> 8 * lane & 255;
    for (let lane = 0; lane < 3; ++lane) this.lanes[lane] = floatOfBits(table[this.stored[lane]] * 65536);
    this.lanes[3] = Math.fround(this.stored[3] / 255);
    const out = [];
    this.select(out, 0);
    return out;
  }
}

// One file's texture. Its bytes wait in the page until they are asked for, a piece for each mip of each face and slice.
class Texture {
  constructor(file, data) {
    Object.assign(this, data);
    this.file = file;
    this.codecs = [new Codec(data.format, false), new Codec(data.format, true)];
    this.pieces = new Map();
  }
  wide(mip) { return Math.max(1, this.width >> mip); }
  tall(mip) { return Math.max(1, this.height >> mip); }
  deep(mip) { return Math.max(1, this.depth >> mip); }
  // Null until the bytes are there, of whose coming `then` is told; empty for a piece that the page lacks.
  bytesOf({ slice, face, mip }, then) {
    const id = `${this.file}-${slice}-${face}-${mip}`;
    if (!this.pieces.has(id)) {
      this.pieces.set(id, null);
      unpack(document.getElementById("texels-" + id)).then((bytes) => {
        this.pieces.set(id, bytes);
        then();
      });
    }
    return this.pieces.get(id);
  }
  // Where the element with the texel lies in its piece.
  elementAt({ mip, depth, fragment }, x, y) {
    const { block, bytes } = this.format, wide = Math.ceil(this.wide(mip) / block), tall = Math.ceil(this.tall(mip) / block);
    const surface = (depth * this.fragments + fragment) * wide * tall;
    return (surface + Math.floor(y / block) * wide + Math.floor(x / block)) * bytes;
  }
  // A square of 4 x 4 texels whose corner is a multiple of four. What overhangs keeps what `out` held.
  decodeSquare(bytes, surface, x, y, asStored, out) {
    const codec = this.codecs[asStored ? 1 : 0], most = codec.isBlocks ? 1 : 4;
    const wide = Math.min(most, this.wide(surface.mip) - x), tall = Math.min(most, this.tall(surface.mip) - y);
    for (let row = 0; row < tall; ++row) {
      const at = this.elementAt(surface, x, y + row);
      for (let column = 0; column < wide; ++column) {
        codec.decode(bytes, at + column * this.format.bytes, out, 16 * row + 4 * column);
      }
    }
    if (this.transform) this.applyTransform(out);
  }
  // What the file asks readers to do to its values: a power, then a matrix with its rows and what is added.
  applyTransform(square) {
    const { power, rows, add } = this.transform;
    for (let at = 0; at < 64; at += 4) {
      const texel = power.map((exponent, lane) => exponent === 1 ? square[at + lane] : square[at + lane] ** exponent);
      for (let lane = 0; lane < 4; ++lane) {
        square[at + lane] = rows[lane].reduce((sum, factor, i) => sum + factor * texel[i], add[lane]);
      }
    }
  }
  // All that there is to say about a texel, or null while its bytes are on the way.
  inspect(surface, x, y, then) {
    const bytes = this.bytesOf(surface, then), codec = this.codecs[0], format = this.format;
    if (!bytes?.length) return null;
    const at = this.elementAt(surface, x, y), square = new Float64Array(64);
    const place = codec.isBlocks ? 4 * (4 * (y & 3) + (x & 3)) : 0, texelOf = () => Array.from(square.subarray(place, place + 4));
    codec.decode(bytes, at, square, 0);
    const value = texelOf(), hardware = codec.hasHardware ? codec.decodeAsHardware(bytes, at, report.hardwareSrgb) : value;
    if (this.transform) this.applyTransform(square);
    return { bytes: Array.from(bytes.subarray(at, at + format.bytes)), value, isInteger: codec.isInteger,
      hardware: hardware.some((number, lane) => number !== value[lane]) ? hardware : null,
      modified: this.transform ? texelOf() : null };
  }
}

// The bytes of a piece: base 64 in the page, most of them deflated.
async function unpack(element) {
  const text = element ? element.textContent : "";
  const bytes = Uint8Array.fromBase64?.(text) ?? Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
  if (!element || !element.dataset.deflated) return bytes;
  const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}
