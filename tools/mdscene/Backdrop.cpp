// How is the empty street painted?  See Backdrop.h.
#include "Backdrop.h"

#include <algorithm>
#include <cmath>

#include "SceneRandom.h"

namespace MdScene {
namespace {

// Heights of the picture, from top to bottom, down to Backdrop.h's pavement.
constexpr double skyline = 0.07, plinthTop = 0.40, frontBottom = 0.435;
constexpr double centreLine = 0.77;  // of the road
constexpr double treeFoot = 0.485, crownMiddle = 0.215, crownRadius = 0.15;

constexpr Colour sky = ColourOfRgb(196, 208, 222), plaster = ColourOfRgb(176, 158, 134), brick = ColourOfRgb(132, 92, 78);
constexpr Colour glass = ColourOfRgb(52, 62, 74), frame = ColourOfRgb(206, 204, 196), wood = ColourOfRgb(84, 60, 46);
constexpr Colour lawn = ColourOfRgb(84, 108, 58), slab = ColourOfRgb(158, 154, 148), kerb = ColourOfRgb(182, 180, 174);
constexpr Colour asphalt = ColourOfRgb(92, 92, 96), paint = ColourOfRgb(204, 204, 198), metal = ColourOfRgb(70, 76, 78);
constexpr Colour leaf = ColourOfRgb(62, 92, 40), bark = ColourOfRgb(82, 66, 52);

// Saw tooth: how far along its cell is a value?  0..1
double PartOf(double value, double cell) {
    const double cells = value / cell;
    return cells - std::floor(cells);
}

bool IsBetween(double value, double low, double high) { return value >= low && value < high; }

// Uneven brightness: coarse stains and fine grain.
Colour Rough(Colour colour, std::uint64_t seed, double x, double y, double stains, double grain) {
    const double coarse = Landscape(seed, x * 14, y * 26) - 0.5, fine = Landscape(seed + 1, x * 260, y * 260) - 0.5;
    return Scaled(colour, static_cast<float>(1 + stains * coarse + grain * fine));
}

double Squared(double value) { return value * value; }

}  // namespace

Backdrop::Backdrop(int width, int height, std::uint64_t seed, double wind)
    : _seed(Scramble(seed, 'B')),
      _wind(wind),
      _width(static_cast<double>(width) / height),
      _treeX(_width * 0.21),
      _still(width, height) {
    constexpr int raster = 3;  // samples per pixel and direction
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Colour sum = {0, 0, 0};
            for (int sample = 0; sample < raster * raster; ++sample) {
                const int across = sample % raster, down = sample / raster;
                const Colour colour = ColourAt((x + (across + 0.5) / raster) / height, (y + (down + 0.5) / raster) / height);
                sum = {sum.y + colour.y, sum.cb + colour.cb, sum.cr + colour.cr};
            }
            constexpr float share = 1.0f / (raster * raster);
            _still.pixels[_still.IndexOf(x, y)] = {sum.y * share, sum.cb * share, sum.cr * share};
        }

    const auto pixel = [&](double length, int size) { return std::clamp(static_cast<int>(length * height), 0, size); };
    constexpr double reach = crownRadius * 1.25;
    _treeBox = {pixel(_treeX - reach, width), pixel(crownMiddle - reach, height), pixel(_treeX + reach, width),
                pixel(treeFoot + 0.01, height)};
    for (int y = _treeBox.top; y < _treeBox.bottom; ++y)
        for (int x = _treeBox.left; x < _treeBox.right; ++x) _tree.push_back(TreeAt((x + 0.5) / height, (y + 0.5) / height));
}

Colour Backdrop::ColourAt(double x, double y) const {
    const double lampX = _width * 0.74;
    if (IsBetween(y, 0.13, 0.5) && IsBetween(x, lampX, lampX + 0.009)) return Scaled(metal, 1.2f);
    if (IsBetween(y, 0.115, 0.135) && IsBetween(x, lampX - 0.05, lampX + 0.012)) return metal;
    if (y < skyline) return Rough(sky, _seed, x * 0.3, y * 0.2, 0.10, 0);
    if (y < frontBottom) return FrontAt(x, y);
    Colour ground = GroundAt(x, y);
    // The tree's own shadow, with light between the leaves.
    const double fromShadow = Squared((x - _treeX - 0.12) / 0.19) + Squared((y - 0.545) / 0.05);
    const double leaves = 0.35 + 0.65 * Landscape(_seed + 9, x * 40, y * 90);
    const double dark = std::clamp(1.3 - fromShadow, 0.0, 1.0) * 0.4 * leaves;
    ground = Scaled(ground, static_cast<float>(1 - dark));
    return ground;
}

Colour Backdrop::FrontAt(double x, double y) const {
    if (y < skyline + 0.012) return Scaled(brick, 0.6f);  // eaves
    if (y >= plinthTop) return Rough(brick, _seed + 10, x, y, 0.2, 0.15);

    const double house = std::floor(x / 0.74), within = x - house * 0.74;
    const Colour wall = Scaled(Mix(plaster, brick, static_cast<float>(Landscape(_seed + 11, house, 0) * 0.7)),
                               static_cast<float>(0.85 + 0.25 * Landscape(_seed + 12, house, 0)));
    if (within < 0.008) return Scaled(wall, 0.7f);  // gap between houses

    const bool isDoor = IsBetween(within, 0.6, 0.685) && y > 0.268;
    if (isDoor) {
        const bool isLeaf = IsBetween(within, 0.608, 0.677) && y > 0.278;
        return isLeaf ? Rough(wood, _seed + 13, x * 4, y, 0.2, 0.1) : frame;
    }
    // Two storeys of windows; the fourth below is the door's place.
    const bool hasWindow = within < 0.555 || y < 0.25;
    const double column = PartOf(within - 0.03, 0.175), storey = PartOf(y - 0.085, 0.165) * 0.165;
    const bool isWindow = hasWindow && IsBetween(column, 0.24, 0.78) && IsBetween(storey, 0.028, 0.128) && y < 0.39;
    if (isWindow) {
        const bool isFrame =
            !IsBetween(column, 0.275, 0.745) || !IsBetween(storey, 0.035, 0.121) || IsBetween(column, 0.495, 0.525);
        if (isFrame) return frame;
        const double reflection = Landscape(_seed + 14, x * 9 + y * 6, y * 11);
        return Mix(glass, sky, static_cast<float>(0.35 * reflection * reflection));
    }
    if (hasWindow && IsBetween(column, 0.22, 0.80) && IsBetween(storey, 0.128, 0.136)) return Scaled(wall, 1.2f);  // sill
    return Rough(wall, _seed + 15, x, y, 0.16, 0.12);
}

Colour Backdrop::GroundAt(double x, double y) const {
    const double fromMiddle = x - _width / 2;  // lines towards the horizon meet above the picture's middle
    if (y < farPavementTop) return Rough(lawn, _seed + 20, x * 2, y * 3, 0.35, 0.5);
    if (y < farPavementBottom || y >= nearPavementTop) {
        const double across = fromMiddle / (y + 0.25) / 0.11, along = 1 / (y - 0.2) / 0.28;  // slabs
        const double column = std::floor(across), row = std::floor(along);
        const bool isJoint = across - column < 0.035 || along - row < 0.05;
        const double shade = 0.95 + 0.1 * Landscape(_seed + 21, column * 3, row * 3);  // every slab has its own
        const Colour stone = Scaled(slab, static_cast<float>(shade));
        return isJoint ? Scaled(stone, 0.82f) : Rough(stone, _seed + 22, x, y, 0.12, 0.14);
    }
    if (y < roadTop || y >= roadBottom) return Scaled(kerb, y < roadTop + (roadTop - farPavementBottom) / 2 ? 1.0f : 0.9f);
    const bool isLine = IsBetween(y, centreLine - 0.005, centreLine + 0.005) && PartOf(fromMiddle, 0.34) < 0.5;
    if (isLine) return Rough(paint, _seed + 23, x, y, 0.3, 0.3);
    const double track = std::min(std::abs(y - 0.735), std::abs(y - 0.895));  // where tyres polish the road
    const float polish = static_cast<float>(0.94 + std::min(track, 0.04) * 2);
    return Rough(Scaled(asphalt, polish), _seed + 24, x * 0.7, y, 0.16, 0.3);
}

Backdrop::TreePixel Backdrop::TreeAt(double x, double y) const {
    const double dx = x - _treeX, dy = y - crownMiddle;
    // The crown's outline bulges; holes let the house shine through near it.
    const double bulge = 0.75 + 0.35 * Landscape(_seed + 30, x * 16, y * 16) + 0.2 * Landscape(_seed + 31, x * 45, y * 45);
    const double inside = crownRadius * bulge - std::sqrt(dx * dx + dy * dy * 0.8);
    const double crown = std::clamp(inside * 90, 0.0, 1.0);
    if (crown > 0) {
        const double light = 0.55 + 0.75 * Landscape(_seed + 32, x * 70, y * 70) - 1.1 * dy - 0.6 * dx;
        return {Scaled(leaf, static_cast<float>(light)), static_cast<float>(crown)};
    }
    const double trunk = 0.0105 + std::max(0.0, y - 0.455) * 0.2;
    if (y > crownMiddle && y < treeFoot && std::abs(dx) < trunk)
        return {Rough(Scaled(bark, static_cast<float>(1 - 15 * dx)), _seed + 33, x * 8, y, 0.4, 0.3), 1};
    return {leaf, 0};
}

void Backdrop::Paint(double seconds, Canvas& canvas) const {
    canvas.pixels = _still.pixels;
    PaintTree(seconds, canvas);
}

// Moves the still tree: every pixel looks up where it came from.  The higher, the further; boughs have swings of their own.
void Backdrop::PaintTree(double seconds, Canvas& canvas) const {
    const int width = _treeBox.right - _treeBox.left, height = _treeBox.bottom - _treeBox.top;
    if (width < 2 || height < 2) return;
    const double gust = Swing(seconds / 3.7) * (0.6 + 0.4 * Swing(seconds / 11.3));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double realX = static_cast<double>(x + _treeBox.left) / canvas.height;
            const double realY = static_cast<double>(y + _treeBox.top) / canvas.height;
            const double lift = std::max(0.0, (treeFoot - realY) / treeFoot);
            const double bough = Landscape(_seed + 40, realX * 22, realY * 22);
            const double ownSwing = Swing(seconds / 1.9 + bough * 3);
            const double reach = _wind * 0.0075 * lift * lift * canvas.height;  // pixels
            const double fromX = std::clamp(x - reach * (0.7 * gust + 0.3 * ownSwing), 0.0, width - 1.001);
            const double fromY = std::clamp(y - reach * 0.25 * Swing(seconds / 2.3 + bough * 5), 0.0, height - 1.001);

            const int column = static_cast<int>(fromX), row = static_cast<int>(fromY);
            const float partX = static_cast<float>(fromX - column), partY = static_cast<float>(fromY - row);
            const auto at = [&](int dx, int dy) -> const TreePixel& {
                return _tree[static_cast<std::size_t>((row + dy) * width + column + dx)];
            };
            const auto blend = [](const TreePixel& a, const TreePixel& b, float share) {
                return TreePixel{Mix(a.colour, b.colour, share), a.cover + (b.cover - a.cover) * share};
            };
            const TreePixel tree = blend(blend(at(0, 0), at(1, 0), partX), blend(at(0, 1), at(1, 1), partX), partY);
            Colour& pixel = canvas.pixels[canvas.IndexOf(x + _treeBox.left, y + _treeBox.top)];
            pixel = Mix(pixel, tree.colour, tree.cover);
        }
}

}  // namespace MdScene
