// How are blocks and pictures counted?
#include "Score.h"

#include <cstddef>

namespace Accuracy {

namespace {

double Share(double part, double whole) { return whole > 0 ? part / whole : 0; }

// What is added up only where it counts.
class Mean {
public:
    void Add(double value, bool counts) {
        _sum += counts ? value : 0;
        _count += counts ? 1 : 0;
    }
    double Value() const { return Share(_sum, _count); }

private:
    double _sum = 0;
    int _count = 0;
};

}  // namespace

void Score::Add(const std::vector<Truth>& truth, const std::vector<std::uint8_t>& found) {
    bool moves = false, finds = false;
    for (std::size_t i = 0; i < truth.size(); ++i) {
        if (truth[i] == Truth::Unknown) {
            continue;
        }
        const bool isMoving = truth[i] == Truth::Moving, isFound = found[i] != 0;
        _hits += isMoving && isFound;
        _misses += isMoving && !isFound;
        _extra += !isMoving && isFound;
        moves |= isMoving;
        finds |= isFound;
    }
    (moves ? _moving : _still) += 1;
    _missed += moves && !finds;
    _false += !moves && finds;
}

Figures Score::Of() const {
    const auto hits = static_cast<double>(_hits);
    return {.f = Share(2 * hits, static_cast<double>(2 * _hits + _misses + _extra)),
            .precision = Share(hits, static_cast<double>(_hits + _extra)),
            .recall = Share(hits, static_cast<double>(_hits + _misses)),
            .missed = Share(_missed, _moving),
            .falseShare = Share(_false, _still)};
}

Figures MeanOf(const std::map<std::string, Score>& sequences) {
    Mean f, precision, recall, missed, falseShare;
    for (const auto& [name, score] : sequences) {
        const Figures figures = score.Of();
        f.Add(figures.f, true);
        precision.Add(figures.precision, true);
        recall.Add(figures.recall, true);
        missed.Add(figures.missed, score.Moving() > 0);
        falseShare.Add(figures.falseShare, score.Still() > 0);
    }
    return {f.Value(), precision.Value(), recall.Value(), missed.Value(), falseShare.Value()};
}

}  // namespace Accuracy
