// Renders the sample pictures beside this file. Only exactly rounded operations are used, so that every
// machine renders the same bytes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Vector {
    double x, y, z;
};

Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vector operator*(Vector a, double s) { return {a.x * s, a.y * s, a.z * s}; }
Vector operator*(Vector a, Vector b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
double dot(Vector a, Vector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vector unit(Vector a) { return a * (1.0 / std::sqrt(dot(a, a))); }
double mix(double a, double b, double t) { return a + (b - a) * t; }
Vector mix(Vector a, Vector b, double t) { return a + (b - a) * t; }
double clamp01(double v) { return std::clamp(v, 0.0, 1.0); }
double smooth(double t) { return t * t * (3 - 2 * t); }
double ramp(double from, double to, double v) { return smooth(clamp01((v - from) / (to - from))); }

struct Colour {
    Vector rgb{0, 0, 0};
    double alpha = 1;
};

// ---- Noise

double hash(int x, int y, unsigned seed) {
    unsigned h =
        seed * 0x9E3779B1u ^ static_cast<unsigned>(x) * 0x85EBCA6Bu ^ static_cast<unsigned>(y) * 0xC2B2AE35u;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return (h ^ (h >> 15)) * (1.0 / 4294967296.0);
}

double valueNoise(double x, double y, unsigned seed) {
    const double fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const double tx = smooth(x - fx), ty = smooth(y - fy);
    return mix(mix(hash(ix, iy, seed), hash(ix + 1, iy, seed), tx),
               mix(hash(ix, iy + 1, seed), hash(ix + 1, iy + 1, seed), tx), ty);
}

double fractalNoise(double x, double y, unsigned seed, int octaves) {
    double sum = 0, weight = 0.5;
    for (int octave = 0; octave < octaves; ++octave, weight *= 0.5) {
        sum += valueNoise(x, y, seed + static_cast<unsigned>(octave)) * weight;
        x *= 2.03;
        y *= 2.03;
    }
    return sum;
}

// ---- A mountain lake at dusk; u and v run from 0 to the aspect ratio and from 0 (top) to 1

Vector duskSky(double u, double v) {
    Vector sky = mix({0.10, 0.13, 0.34}, {0.98, 0.55, 0.30}, ramp(0.0, 0.62, v));
    sky = mix(sky, {1.0, 0.80, 0.48}, ramp(0.40, 0.64, v) * 0.7);
    const double cloud = fractalNoise(u * 2.2, v * 9 + 3, 11, 5);
    sky = mix(sky, {0.93, 0.45, 0.42}, ramp(0.48, 0.70, cloud) * ramp(0.60, 0.15, v) * 0.8);
    const double dx = u - 1.18, dy = v - 0.47, distance = std::sqrt(dx * dx + dy * dy);
    sky = sky + Vector{1.0, 0.62, 0.30} * (0.05 / (distance + 0.08));
    const double star = hash(static_cast<int>(u * 270), static_cast<int>(v * 270), 5);
    const double glow = star > 0.9965 ? ramp(0.28, 0.0, v) : 0.0;
    return mix(mix(sky, {1.0, 0.95, 0.80}, ramp(0.052, 0.046, distance)), {1, 1, 0.9}, glow * 0.8);
}

Vector duskLand(double u, double v) {
    static constexpr double kHorizon = 0.64;
    Vector colour = duskSky(u, v);
    for (int ridge = 0; ridge < 4; ++ridge) {
        const double nearness = ridge / 3.0;
        const double height =
            fractalNoise(u * (1.6 + ridge), ridge * 7.3, 40u + static_cast<unsigned>(ridge), 6);
        const double crest = kHorizon + 0.02 - (0.42 - 0.30 * nearness) * (height - 0.12);
        if (v > crest) {
            const Vector rock = mix({0.52, 0.36, 0.48}, {0.05, 0.07, 0.13}, nearness);
            const double mist = ramp(crest, kHorizon, v) * (1 - nearness) * 0.45;
            const double snow = ridge < 2 ? ramp(0.03, 0.0, v - crest) * ramp(0.50, 0.62, height) : 0.0;
            colour = mix(mix(rock, {0.96, 0.66, 0.52}, mist), {0.98, 0.84, 0.80}, snow * 0.8);
        }
    }
    return colour;
}

Colour dusk(double u, double v) {
    static constexpr double kShore = 0.66;
    if (v < kShore) {
        return {duskLand(u, v)};
    }
    const double depth = v - kShore;
    const double ripple = fractalNoise(u * 7, depth * 130, 77, 3) - 0.45;
    const Vector mirrored =
        duskLand(u + ripple * 0.05 * depth, std::max(0.0, kShore - depth * 1.25 - ripple * 0.10 * depth));
    const Vector water =
        mix(mirrored * Vector{0.72, 0.70, 0.80}, {0.04, 0.07, 0.18}, ramp(0.0, 0.40, depth) * 0.75);
    return {water + Vector{0.10, 0.07, 0.05} * ramp(0.15, 0.35, ripple)};
}

// ---- Glass marbles on nothing but their shadows

struct Marble {
    Vector centre;
    double radius;
    Vector colour, swirl;
    unsigned seed;
};

const Marble kMarbles[] = {
    {{-0.46, 0.48, 0.35}, 0.48, {0.16, 0.42, 0.95}, {0.95, 0.97, 1.0}, 3},
    {{0.50, 0.38, 0.10}, 0.38, {0.95, 0.30, 0.22}, {1.0, 0.85, 0.35}, 17},
    {{0.02, 0.25, -0.55}, 0.25, {0.15, 0.75, 0.42}, {0.95, 1.0, 0.70}, 29},
};
const Vector kLight = unit({-0.55, 1.0, -0.65});

double hitDistance(const Marble& marble, Vector from, Vector direction) {
    const Vector offset = from - marble.centre;
    const double b = dot(offset, direction), c = dot(offset, offset) - marble.radius * marble.radius;
    const double discriminant = b * b - c;
    return discriminant < 0 ? -1 : -b - std::sqrt(discriminant);
}

Vector room(Vector direction) {
    const double up = direction.y * 0.5 + 0.5;
    Vector light = mix({0.30, 0.27, 0.25}, {0.72, 0.80, 0.92}, smooth(clamp01(up)));
    const bool window = direction.y > 0.35 && direction.x < -0.1 && direction.x > -0.75 && direction.z < 0.2;
    const bool bar = std::fabs(direction.x + 0.42) < 0.025;
    return window && !bar ? Vector{1.6, 1.6, 1.5} : light;
}

Colour shadeMarble(const Marble& marble, Vector point, Vector direction) {
    const Vector normal = unit(point - marble.centre);
    const double facing = -dot(direction, normal);
    // The ribbon inside, seen where a bent ray crosses the middle of the glass.
    const Vector inside = unit(direction - normal * 0.45) * (marble.radius * facing * 1.1);
    const Vector middle = (point + inside - marble.centre) * (1 / marble.radius);
    const double ribbon =
        fractalNoise(middle.x * 2.6 + middle.y * 1.8, middle.z * 2.2 - middle.y * 3, marble.seed, 4);
    const double band = ramp(0.44, 0.52, ribbon) * ramp(0.64, 0.56, ribbon);
    const Vector body = mix(marble.colour * (0.35 + 0.65 * facing), marble.swirl, band * 0.85);
    const double diffuse = 0.55 + 0.45 * clamp01(dot(normal, kLight));
    const double through = clamp01(-dot(normal, kLight)) * 0.7;
    const Vector mirrored = direction + normal * (2 * facing);
    const double grazing = (1 - facing) * (1 - facing) * (1 - facing);
    const double shine = clamp01(dot(mirrored, kLight));
    const double shine8 = shine * shine * shine * shine * shine * shine * shine * shine;
    const Vector lit = body * diffuse + marble.colour * through;
    const double highlight = shine8 * shine8 * shine8 * shine8;
    return {mix(lit, room(mirrored), 0.06 + 0.7 * grazing) + Vector{1, 1, 1} * (highlight * 0.9),
            mix(0.80, 1.0, std::max(band, grazing))};
}

Colour shadow(Vector from, Vector direction) {
    if (direction.y >= 0) {
        return {{0, 0, 0}, 0};
    }
    const Vector floorPoint = from + direction * (-from.y / direction.y);
    double dark = 0;
    Vector tint{0.02, 0.02, 0.03};
    for (const Marble& marble : kMarbles) {
        const Vector toCentre = marble.centre - floorPoint;
        const double along = dot(toCentre, kLight);
        const Vector across = toCentre - kLight * along;
        const double distance = std::sqrt(dot(across, across)) / marble.radius;
        dark = std::max(dark, ramp(1.12, 0.70, distance) * 0.62);
        tint = mix(tint, marble.colour * 0.9, ramp(0.55, 0.05, distance) * 0.8);
    }
    return {tint, dark};
}

Colour marbles(double u, double v) {
    const Vector eye{0, 1.35, -4.2};
    const Vector forward = unit(Vector{0, 0.33, 0} - eye), right = {1, 0, 0};
    const Vector up{0, forward.z, -forward.y};
    const Vector direction = unit(forward + right * ((u - 0.5) * 0.56) + up * ((0.5 - v) * 0.56));
    const Marble* nearest = nullptr;
    double best = 1e9;
    for (const Marble& marble : kMarbles) {
        const double distance = hitDistance(marble, eye, direction);
        if (distance > 0 && distance < best) {
            best = distance;
            nearest = &marble;
        }
    }
    return nearest ? shadeMarble(*nearest, eye + direction * best, direction) : shadow(eye, direction);
}

// ---- A cratered moon

double moonHeight(double x, double y) {
    double height = fractalNoise(x * 6, y * 6, 90, 5) * 0.5;
    for (int crater = 0; crater < 70; ++crater) {
        const double size = 0.03 + 0.16 * hash(crater, 3, 8) * hash(crater, 4, 8);
        const double dx = x - (hash(crater, 1, 8) * 2.4 - 1.2), dy = y - (hash(crater, 2, 8) * 2.4 - 1.2);
        const double distance = std::sqrt(dx * dx + dy * dy) / size;
        height += size * 2.2 * (ramp(1.35, 1.0, distance) * 0.35 - ramp(1.0, 0.55, distance));
    }
    return height;
}

Colour moon(double u, double v) {
    const double x = (u - 0.68) * 2.25, y = (v - 0.5) * 2.25, square = x * x + y * y;
    if (square >= 1) {
        const double star = hash(static_cast<int>(u * 150), static_cast<int>(v * 150), 61);
        const double bright = star > 0.985 ? (star - 0.985) * 50 : 0.0;
        return {Vector{1, 1, 1} * (0.02 + bright)};
    }
    const double z = std::sqrt(1 - square), px = x / (0.75 + 0.25 * z), py = y / (0.75 + 0.25 * z),
                 step = 0.004;
    const double height = moonHeight(px, py);
    const double slopeX = (moonHeight(px + step, py) - height) / step,
                 slopeY = (moonHeight(px, py + step) - height) / step;
    const Vector normal = unit({x - slopeX * 0.16, y - slopeY * 0.16, z});
    const double light = clamp01(dot(normal, unit({-0.72, -0.38, 0.55})));
    const double maria = mix(0.55, 1.0, ramp(0.40, 0.56, fractalNoise(px * 1.7 + 9, py * 1.7, 33, 3)));
    return {Vector{1, 1, 1} * (light * maria * 1.15 + 0.012)};
}

// ---- Pictures and files

struct Picture {
    const char* name;
    int width, height;
    int bytesPerPixel; // 1 grey, 3 or 4
    std::function<Colour(double u, double v)> colourAt;
};

std::uint8_t toByte(double linear) {
    // Close to the usual display curve, with a square root for exactness.
    return static_cast<std::uint8_t>(std::sqrt(clamp01(linear)) * 255 + 0.5);
}

void appendPixel(std::vector<std::uint8_t>& bytes, const Picture& picture, int column, int row) {
    static constexpr int kGrid = 4;
    Vector sum{0, 0, 0};
    double alpha = 0;
    for (int sample = 0; sample < kGrid * kGrid; ++sample) {
        const double x = column + (sample % kGrid + 0.5) / kGrid, y = row + (sample / kGrid + 0.5) / kGrid;
        const Colour colour = picture.colourAt(x / picture.height, y / picture.height);
        sum =
            sum + Vector{clamp01(colour.rgb.x), clamp01(colour.rgb.y), clamp01(colour.rgb.z)} * colour.alpha;
        alpha += colour.alpha;
    }
    const Vector mean = alpha > 0 ? sum * (1 / alpha) : sum;
    const std::uint8_t pixel[] = {toByte(mean.z), toByte(mean.y), toByte(mean.x),
                                  static_cast<std::uint8_t>(alpha / (kGrid * kGrid) * 255 + 0.5)};
    bytes.insert(bytes.end(), pixel, pixel + picture.bytesPerPixel);
}

// Uncompressed TGA, top row first.
bool writePicture(const Picture& picture, const std::string& directory) {
    const auto low = [](int value) { return static_cast<std::uint8_t>(value & 0xFF); };
    const bool grey = picture.bytesPerPixel == 1, hasAlpha = picture.bytesPerPixel == 4;
    std::vector<std::uint8_t> bytes = {0,
                                       0,
                                       low(grey ? 3 : 2),
                                       0,
                                       0,
                                       0,
                                       0,
                                       0,
                                       0,
                                       0,
                                       0,
                                       0,
                                       low(picture.width),
                                       low(picture.width >> 8),
                                       low(picture.height),
                                       low(picture.height >> 8),
                                       low(picture.bytesPerPixel * 8),
                                       low(hasAlpha ? 0x28 : 0x20)};
    for (int row = 0; row < picture.height; ++row) {
        for (int column = 0; column < picture.width; ++column) {
            appendPixel(bytes, picture, column, row);
        }
    }
    std::FILE* file = std::fopen((directory + "/" + picture.name).c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char** argv) {
    const Picture pictures[] = {
        {"dusk.tga", 480, 272, 3, dusk},
        {"marbles.tga", 320, 320, 4, marbles},
        {"moon.tga", 203, 149, 1, moon},
    };
    const std::string directory = argc > 1 ? argv[1] : ".";
    for (const Picture& picture : pictures) {
        if (!writePicture(picture, directory)) {
            std::fprintf(stderr, "render_samples: cannot write %s\n", picture.name);
            return 1;
        }
    }
    return 0;
}
