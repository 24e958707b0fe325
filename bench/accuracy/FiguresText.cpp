// How do figures become text?
#include "FiguresText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace Accuracy {

namespace {

template <typename... Values>
std::string Printed(const char* format, const Values&... values) {
    std::array<char, 512> text = {};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string RowOf(std::size_t width, const std::string& name, const Figures& figures, const std::string& pictures) {
    return name + std::string(width - name.size(), ' ') +
           Printed("  %.3f  %9.3f  %6.3f  %5.1f %%  %4.1f %%  ", figures.f, figures.precision, figures.recall,
                   100 * figures.missed, 100 * figures.falseShare) +
           pictures + "\n";
}

}  // namespace

std::string Quoted(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string JsonOf(const Figures& figures) {
    return Printed("{\"f\":%.4f,\"precision\":%.4f,\"recall\":%.4f,\"missed\":%.4f,\"false\":%.4f}", figures.f,
                   figures.precision, figures.recall, figures.missed, figures.falseShare);
}

std::string JsonOf(const std::map<std::string, Score>& sequences) {
    std::string list;
    for (const auto& [name, score] : sequences) {
        list += Quoted(name) + ":" + JsonOf(score.Of()) + ",";
    }
    list.resize(list.empty() ? 0 : list.size() - 1);
    return "{\"sequences\":{" + list + "},\"mean\":" + JsonOf(MeanOf(sequences)) + "}";
}

std::string TableOf(const std::map<std::string, Score>& sequences) {
    std::size_t width = std::string("sequence").size();
    for (const auto& [name, score] : sequences) {
        width = std::max(width, name.size());
    }
    std::string text = "sequence" + std::string(width - 8, ' ') +
                       "      F  precision  recall   missed   false  pictures with motion, without\n";
    for (const auto& [name, score] : sequences) {
        text += RowOf(width, name, score.Of(), Printed("%d, %d", score.Moving(), score.Still()));
    }
    return text + RowOf(width, "mean", MeanOf(sequences), "each sequence weighs the same");
}

}  // namespace Accuracy
