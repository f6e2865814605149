// Decoders of compressed blocks. Each takes the words of a block, as many as it has, and writes 16 texels of four
// values: bytes of R, G, B and A, or what BC4, BC5 and BC6H store as numbers.
"use strict";

const kWeights = { 2: [0, 21, 43, 64], 3: [0, 9, 18, 27, 37, 46, 55, 64],
  4: [0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64] };

// The bits of a block, from the lowest one on.
class BitReader {
  open(words, at) {
    this.words = words;
    this.at = at;
  }
  take(count) {
    const word = this.at >>> 5, shift = this.at & 31;
    let value = this.words[word] >>> shift;
    if (shift + count > 32) value |= this.words[word + 1] << (32 - shift);
    this.at += count;
    return value & ((1 << count) - 1);
  }
}
const reader = new BitReader();

// BC1 to BC3: two colours of 5:6:5, and what is mixed from them.
const colours = new Uint8Array(16);
function decodeColours(first, indices, mayHaveThree, out) {
  const a = first & 0xFFFF, b = first >>> 16, three = mayHaveThree && a <= b;
  for (let channel = 0; channel < 3; ++channel) {
    const shift = [11, 5, 0][channel];
    const widen = (colour) => channel === 1 ? ((colour >> 5 & 63) * 65) >> 4 : ((colour >> shift & 31) * 33) >> 2;
    const low = widen(a), high = widen(b);
    colours[channel] = low;
    colours[4 + channel] = high;
    colours[8 + channel] = three ? (low + high + 1) >> 1 : (43 * low + 21 * high + 32) >> 6;
    colours[12 + channel] = three ? 0 : (21 * low + 43 * high + 32) >> 6;
  }
  colours[3] = colours[7] = colours[11] = 255;
  colours[15] = three ? 0 : 255;
  for (let texel = 0; texel < 16; ++texel) {
    const entry = (indices >>> 2 * texel & 3) * 4;
    for (let channel = 0; channel < 4; ++channel) out[4 * texel + channel] = colours[entry + channel];
  }
}

// Alpha of BC3, and BC4: eight values, 64 times as large, of which 16 indices of three bits choose.
const ramp = new Int32Array(8);
function readRamp(words, at, isSigned) {
  const number = (byte) => isSigned ? Math.max((byte << 24) >> 24, -127) : byte & 255;
  const a = number(words[at]), b = number(words[at] >>> 8);
  const second = a > b ? [0, 64, 9, 18, 27, 37, 46, 55] : [0, 64, 13, 26, 38, 51, 0, 0];
  for (let i = 0; i < 8; ++i) ramp[i] = (64 - second[i]) * a + second[i] * b;
  if (a <= b) {
    ramp[6] = isSigned ? -8128 : 0;
    ramp[7] = isSigned ? 8128 : 16320;
  }
  reader.open(words, 32 * at + 16);
}
function decodeRamp(words, at, isSigned, out, lane) {
  const scale = Math.fround(isSigned ? 0.0001230315 : 6.127451e-5);
  readRamp(words, at, isSigned);
  for (let texel = 0; texel < 16; ++texel) out[4 * texel + lane] = Math.fround(ramp[reader.take(3)] * scale);
}

function decodeBc2(words, out) {
  decodeColours(words[2], words[3], false, out);
  for (let texel = 0; texel < 16; ++texel) out[4 * texel + 3] = (words[texel >> 3] >>> 4 * (texel & 7) & 15) * 17;
}
function decodeBc3(words, out) {
  decodeColours(words[2], words[3], false, out);
  readRamp(words, 0, false);
  for (let texel = 0; texel < 16; ++texel) out[4 * texel + 3] = (ramp[reader.take(3)] + 32) >> 6;
}
function decodeRamps(count, words, out, isSigned) {
  for (let lane = 0; lane < count; ++lane) decodeRamp(words, 2 * lane, isSigned, out, lane);
}

// Partitions of BC6H and BC7: for each texel, the first one topmost, the number of its subset.
function numbers(digits, text) {
  return text.match(new RegExp(`.{${digits}}`, "g")).map((number) => parseInt(number, 16));
}
const kPartitions2 = numbers(4,
  "33331111777713370113377f137f0137001337ff017f001717ff00ff0fff000f08ef7100008e7310310008ce008c7331" +
  "3110088c6666366c17e80ff0718e399c55550f0f5a5a33cc3c3c55aa69695aa573ce13c8324c3bdc69963cc366990660" +
  "4e402720027204e46c9336c9639c39c66cc963397e8118e70f3333f022ee4477");
const kPartitions3 = numbers(8,
  "050529aa0105a5a90081a5a52a0a051500005a5a05050a0a0a0a55550505a5a5000055aa005555aa0055aaaa06060606" +
  "161616161a1a1a1a05165a6a0581a0a80105165a150581a0005a5a5a0a0a0a5515152a2a0101a9a900051a1a0050a4a4" +
  "1a1a050006065aaa14696914001469690a52520a141482aa051a1a050080a5a900025a6a2a0a060505060a2a18181818" +
  "0055aa00186186181886611805a05a05055aa0051111aaaa000099990a5a0a5a0a050a052869286911aaaa1100999999" +
  "111111aa2a152a1502560256009696962a15152a02565602141414aa000096961414aaaa0a05050a0a5a5a0a00000096" +
  "020102012a6a2a6a11aaaaaa1585a1a8");
// Where the index of the second or third subset lacks its top bit; that of the first is texel 0.
const kAnchors2 = numbers(1, "fffffffffffffffff282288f28228822ff6828ff28222ff66268ff22fffff22f");
const kSecondAnchors3 = numbers(1, "33ff83ff88666533338f336a588685ff8f356a8ff3f5ffff3f55585a5a8dfc33");
const kThirdAnchors3 = numbers(1, "f883ff38fffffff8f8f3f8f83f6affa8f3faa89a6f8f3668f3ffffffffff3ff8");

function subsetOf(subsets, partition, texel) {
  if (subsets === 1) return 0;
  return subsets === 2 ? kPartitions2[partition] >> (15 - texel) & 1 : kPartitions3[partition] >> 2 * (15 - texel) & 3;
}
function isAnchor(subsets, partition, texel) {
  if (texel === 0 || subsets === 1) return texel === 0;
  if (subsets === 2) return texel === kAnchors2[partition];
  return texel === kSecondAnchors3[partition] || texel === kThirdAnchors3[partition];
}
function mix(a, b, weight) {
  return ((64 - weight) * a + weight * b + 32) >> 6;
}

const kBc7Modes = [
  // subsets, bits of partition, rotation, selection, colour, alpha; p-bits (1 a subset, 2 an end); bits of indices
  [3, 4, 0, 0, 4, 0, 2, 3, 0], [2, 6, 0, 0, 6, 0, 1, 3, 0], [3, 6, 0, 0, 5, 0, 0, 2, 0], [2, 6, 0, 0, 7, 0, 2, 2, 0],
  [1, 0, 2, 1, 5, 6, 0, 2, 3], [1, 0, 2, 0, 7, 8, 0, 2, 2], [1, 0, 0, 0, 7, 7, 2, 4, 0], [2, 6, 0, 0, 5, 5, 2, 2, 0],
];
const ends = new Int32Array(24), firstIndices = new Uint8Array(16), secondIndices = new Uint8Array(16);
function readIndices(bits, subsets, partition, indices) {
  for (let texel = 0; texel < 16; ++texel) indices[texel] = reader.take(bits - isAnchor(subsets, partition, texel));
}
function readBc7Ends(count, colourBits, alphaBits, pBits) {
  for (let channel = 0; channel < 4; ++channel) {
    for (let end = 0; end < count; ++end) ends[4 * end + channel] = reader.take(channel < 3 ? colourBits : alphaBits);
  }
  let p = 0;
  for (let end = 0; end < count; ++end) {
    if (pBits === 2 || (pBits === 1 && end % 2 === 0)) p = reader.take(1);
    for (let channel = 0; channel < 4; ++channel) {
      const bits = (channel < 3 ? colourBits : alphaBits) + (pBits !== 0);
      const value = pBits !== 0 ? ends[4 * end + channel] << 1 | p : ends[4 * end + channel];
      ends[4 * end + channel] = value << (8 - bits) | value >> (2 * bits - 8);
    }
    if (alphaBits === 0) ends[4 * end + 3] = 255;
  }
}
function decodeBc7(words, out) {
  const mode = kBc7Modes[31 - Math.clz32(words[0] & -words[0] & 255)];
  if (!mode) return out.fill(0); // reserved
  const [subsets, partitionBits, rotationBits, selectionBits, colourBits, alphaBits, pBits, bits, secondBits] = mode;
  reader.open(words, kBc7Modes.indexOf(mode) + 1);
  const partition = reader.take(partitionBits), rotation = reader.take(rotationBits);
  const swaps = reader.take(selectionBits) !== 0;
  readBc7Ends(2 * subsets, colourBits, alphaBits, pBits);
  readIndices(bits, subsets, partition, firstIndices);
  if (secondBits !== 0) readIndices(secondBits, 1, 0, secondIndices);
  const first = kWeights[bits], second = kWeights[secondBits];
  for (let texel = 0; texel < 16; ++texel) {
    const at = 8 * subsetOf(subsets, partition, texel);
    const one = first[firstIndices[texel]], two = second ? second[secondIndices[texel]] : one;
    const colour = swaps ? two : one, alpha = swaps ? one : two;
    for (let channel = 0; channel < 4; ++channel) {
      out[4 * texel + channel] = mix(ends[at + channel], ends[at + 4 + channel], channel < 3 ? colour : alpha);
    }
    if (rotation !== 0) {
      const place = 4 * texel + rotation - 1, value = out[place];
      out[place] = out[4 * texel + 3];
      out[4 * texel + 3] = value;
    }
  }
}

// Modes of BC6H: the bits that name it, and how many; subsets; bits of the first end and, for each channel, of the
// others, which are differences where they are fewer; then the fields in the block's order: channel, end, bits.
const kBc6Modes = [
  [0x1E, 5, 2, 6, 6, 6, 6, "r0:0-5 g3:4 b3:0-1 b2:4 g0:0-5 g2:5 b2:5 b3:2 g2:4 b0:0-5 g3:5 b3:3 b3:5 b3:4 r1:0-5 g2:0-3 g1:0-5 g3:0-3 b1:0-5 b2:0-3 r2:0-5 r3:0-5"],
  [0x01, 2, 2, 7, 6, 6, 6, "g2:5 g3:4-5 r0:0-6 b3:0-1 b2:4 g0:0-6 b2:5 b3:2 g2:4 b0:0-6 b3:3 b3:5 b3:4 r1:0-5 g2:0-3 g1:0-5 g3:0-3 b1:0-5 b2:0-3 r2:0-5 r3:0-5"],
  [0x12, 5, 2, 8, 6, 5, 5, "r0:0-7 g3:4 b2:4 g0:0-7 b3:2 g2:4 b0:0-7 b3:3-4 r1:0-5 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-5 r3:0-5"],
  [0x16, 5, 2, 8, 5, 6, 5, "r0:0-7 b3:0 b2:4 g0:0-7 g2:5 g2:4 b0:0-7 g3:5 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-5 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3"],
  [0x1A, 5, 2, 8, 5, 5, 6, "r0:0-7 b3:1 b2:4 g0:0-7 b2:5 g2:4 b0:0-7 b3:5 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-5 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3"],
  [0x0E, 5, 2, 9, 5, 5, 5, "r0:0-8 b2:4 g0:0-8 g2:4 b0:0-8 b3:4 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3"],
  [0x00, 2, 2, 10, 5, 5, 5, "g2:4 b2:4 b3:4 r0:0-9 g0:0-9 b0:0-9 r1:0-4 g3:4 g2:0-3 g1:0-4 b3:0 g3:0-3 b1:0-4 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3"],
  [0x02, 5, 2, 11, 5, 4, 4, "r0:0-9 g0:0-9 b0:0-9 r1:0-4 r0:10 g2:0-3 g1:0-3 g0:10 b3:0 g3:0-3 b1:0-3 b0:10 b3:1 b2:0-3 r2:0-4 b3:2 r3:0-4 b3:3"],
  [0x06, 5, 2, 11, 4, 5, 4, "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:10 g3:4 g2:0-3 g1:0-4 g0:10 g3:0-3 b1:0-3 b0:10 b3:1 b2:0-3 r2:0-3 b3:0 b3:2 r3:0-3 g2:4 b3:3"],
  [0x0A, 5, 2, 11, 4, 4, 5, "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:10 b2:4 g2:0-3 g1:0-3 g0:10 b3:0 g3:0-3 b1:0-4 b0:10 b2:0-3 r2:0-3 b3:1-2 r3:0-3 b3:4 b3:3"],
  [0x03, 5, 1, 10, 10, 10, 10, "r0:0-9 g0:0-9 b0:0-9 r1:0-9 g1:0-9 b1:0-9"],
  [0x07, 5, 1, 11, 9, 9, 9, "r0:0-9 g0:0-9 b0:0-9 r1:0-8 r0:10 g1:0-8 g0:10 b1:0-8 b0:10"],
  [0x0B, 5, 1, 12, 8, 8, 8, "r0:0-9 g0:0-9 b0:0-9 r1:0-7 r0:11-10 g1:0-7 g0:11-10 b1:0-7 b0:11-10"],
  [0x0F, 5, 1, 16, 4, 4, 4, "r0:0-9 g0:0-9 b0:0-9 r1:0-3 r0:15-10 g1:0-3 g0:15-10 b1:0-3 b0:15-10"],
].map(([name, nameBits, subsets, endBits, ...rest]) => ({ name, nameBits, subsets, endBits, deltaBits: rest.slice(0, 3),
  fields: rest[3].split(" ").map((field) => {
    const [, channel, end, first, last] = field.match(/(.)(\d):(\d+)-?(\d*)/);
    return [4 * end + "rgb".indexOf(channel), +first, last === "" ? +first : +last];
  }) }));
const kBc6ModeOfBits = Array.from({ length: 32 }, (_, bits) => // the four reserved names have none
  kBc6Modes.find((mode) => (bits & ((1 << mode.nameBits) - 1)) === mode.name));

function signExtend(value, bits) {
  return value << (32 - bits) >> (32 - bits);
}
function unquantize(value, bits, isSigned) {
  if (!isSigned) {
    if (bits >= 15 || value === 0) return value;
    return value === (1 << bits) - 1 ? 0xFFFF : ((value << 16) + 0x8000) >> bits;
  }
  const magnitude = Math.abs(value);
  if (bits >= 16 || magnitude === 0) return value;
  const wide = magnitude >= (1 << (bits - 1)) - 1 ? 0x7FFF : ((magnitude << 15) + 0x4000) >> (bits - 1);
  return value < 0 ? -wide : wide;
}
function readBc6Ends(mode, isSigned) {
  ends.fill(0);
  for (const [word, first, last] of mode.fields) {
    for (let bit = first, step = first <= last ? 1 : -1; bit !== last + step; bit += step) ends[word] |= reader.take(1) << bit;
  }
  for (let word = 0; word < 8 * mode.subsets; ++word) {
    const channel = word % 4;
    if (channel === 3) continue;
    if (word > 3 && mode.deltaBits[channel] < mode.endBits) {
      ends[word] = signExtend(ends[word], mode.deltaBits[channel]) + ends[channel] & (1 << mode.endBits) - 1;
    }
  }
  for (let word = 0; word < 8 * mode.subsets; ++word) {
    ends[word] = unquantize(isSigned ? signExtend(ends[word], mode.endBits) : ends[word], mode.endBits, isSigned);
  }
}
function halfToNumber(half) {
  const exponent = half >> 10 & 31, mantissa = half & 1023;
  if (exponent === 31) return mantissa === 0 ? Infinity : NaN;
  return exponent === 0 ? mantissa * 2 ** -24 : (1024 + mantissa) * 2 ** (exponent - 25);
}
const kHalves = Float64Array.from({ length: 32768 }, (_, half) => halfToNumber(half)); // without sign
function decodeBc6(words, out, isSigned) {
  const mode = kBc6ModeOfBits[words[0] & 31];
  out.fill(0);
  for (let texel = 0; texel < 16; ++texel) out[4 * texel + 3] = 1;
  if (!mode) return;
  reader.open(words, mode.nameBits);
  readBc6Ends(mode, isSigned);
  const partition = mode.subsets === 2 ? reader.take(5) : 0, bits = mode.subsets === 2 ? 3 : 4;
  readIndices(bits, mode.subsets, partition, firstIndices);
  for (let texel = 0; texel < 16; ++texel) {
    const at = 8 * subsetOf(mode.subsets, partition, texel), weight = kWeights[bits][firstIndices[texel]];
    for (let channel = 0; channel < 3; ++channel) {
      const value = mix(ends[at + channel], ends[at + 4 + channel], weight);
      const half = isSigned ? (Math.abs(value) * 31) >> 5 : (value * 31) >> 6;
      out[4 * texel + channel] = isSigned && value < 0 && half !== 0 ? -kHalves[half] : kHalves[half];
    }
  }
}

const kBlockDecoders = { // by surface format, from BC1 to BC7
  35: (words, out) => decodeColours(words[0], words[1], true, out), 36: decodeBc2, 37: decodeBc3,
  38: decodeRamps.bind(null, 1), 39: decodeRamps.bind(null, 2), 40: decodeBc6, 41: decodeBc7 };
