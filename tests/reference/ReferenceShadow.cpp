// Which foreground blocks are only shadows?  A shadow darkens a surface but keeps its texture and its colour.
#include "ReferenceModel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Reference {

void Model::RemoveShadows() {
    if (!IsFilled() || _isPartial) {
        Count(_isPartial ? Rule::shadowNotPartial : Rule::shadowNotFilled);
        return;
    }
    const std::vector<bool> examined = Surroundings();
    std::vector<Features> features(BlockCount());
    for (int y = 0; y < _height; ++y)
        for (int x = 0; x < _width; ++x)
            if (examined[IndexOf(x, y)] && _blocks[IndexOf(x, y)].isBackground) features[IndexOf(x, y)] = FeaturesOf(x, y);

    for (int y = 0; y < _height; ++y)
        for (int x = 0; x < _width; ++x) {
            const std::size_t i = IndexOf(x, y);
            _results[i] = _blocks[i].isObject ? 1 : 0;
            if (!_blocks[i].isObject) {
                Count(Rule::shadowNoForeground);
            } else if (!_blocks[i].isBackground) {
                Count(Rule::shadowNoBackground);
            } else if (const float score = ShadowScore(x, y, features); score < _rules.shadowBelow) {
                Count(Rule::shadowFound);
                _blocks[i].isObject = false;
                _results[i] = 2;
            } else {
                Count(score > 255.0f ? Rule::shadowRejectedClamped : Rule::shadowRejected);
            }
        }
}

// The foreground blocks and their neighbours.
std::vector<bool> Model::Surroundings() const {
    std::vector<bool> marked(BlockCount(), false);
    for (int y = 0; y < _height; ++y)
        for (int x = 0; x < _width; ++x)
            for (int ny = std::max(y - 1, 0); ny <= std::min(y + 1, _height - 1); ++ny)
                for (int nx = std::max(x - 1, 0); nx <= std::min(x + 1, _width - 1); ++nx)
                    if (_blocks[IndexOf(x, y)].isObject) marked[IndexOf(nx, ny)] = true;
    return marked;
}

// Gradients point to the next column and row, in the last ones from the column and row before. A grid of one column or row
// has no gradient that way; its windows are empty anyway.
Model::Features Model::FeaturesOf(int x, int y) {
    const auto background = [&](int column, int row) {
        return std::log(static_cast<double>(_blocks[IndexOf(column, row)].backgroundY + 1));
    };
    const auto current = [&](int column, int row) {
        return std::log(static_cast<double>(_history[0].luma[IndexOf(column, row)] + 1));
    };
    Features f;
    if (_width > 1) {
        const int from = x < _width - 1 ? x : x - 1;
        f.backgroundX = static_cast<float>(background(from, y) - background(from + 1, y));
        f.currentX = static_cast<float>(current(from, y) - current(from + 1, y));
        if (from < x) Count(Rule::shadowLastColumn);
    }
    if (_height > 1) {
        const int from = y < _height - 1 ? y : y - 1;
        f.backgroundY = static_cast<float>(background(x, from) - background(x, from + 1));
        f.currentY = static_cast<float>(current(x, from) - current(x, from + 1));
        if (from < y) Count(Rule::shadowLastRow);
    }
    f.cb = ChromaFeature(_history[0].cb[IndexOf(x, y)], _blocks[IndexOf(x, y)].backgroundCb);
    f.cr = ChromaFeature(_history[0].cr[IndexOf(x, y)], _blocks[IndexOf(x, y)].backgroundCr);
    return f;
}

// Differences up to 6 count in full, larger ones only by what goes beyond 6.
float Model::ChromaFeature(int chroma, int background) {
    int difference = std::abs(chroma - background);
    if (difference == _rules.chromaDeadZone) Count(Rule::shadowChromaBorder);
    Count(difference > _rules.chromaDeadZone ? Rule::shadowChromaHigh : Rule::shadowChromaLow);
    if (difference > _rules.chromaDeadZone) difference -= _rules.chromaDeadZone;
    return static_cast<float>(difference) * _rules.chromaScale;
}

// The window is the block with its left, upper and upper left neighbour: it ends before the next row and column, and before
// the last ones of the grid.
float Model::ShadowScore(int x, int y, const std::vector<Features>& features) {
    const int more = _rules.windowIncludesLast ? 1 : 0;
    const int firstRow = std::max(y - 1, 0), endRow = std::min(y + 1, _height - 1) + more;
    const int firstColumn = std::max(x - 1, 0), endColumn = std::min(x + 1, _width - 1) + more;
    if (firstRow >= endRow || firstColumn >= endColumn) Count(Rule::shadowEmptyWindow);
    float texture = 0.0f, colour = 0.0f;
    for (int row = firstRow; row < endRow; ++row)
        for (int column = firstColumn; column < endColumn; ++column) {
            const Features& f = features[IndexOf(column, row)];
            texture += std::fabs(f.backgroundX - f.currentX) + std::fabs(f.backgroundY - f.currentY);
            colour += f.cb + f.cr;
        }
    return _rules.textureWeight * texture + _rules.colourWeight * colour;
}

}  // namespace Reference
