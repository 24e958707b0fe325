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

// {"name":value,...} of what is told of each.
template <typename Value, typename Tell>
std::string ObjectOf(const std::map<std::string, Value>& values, const Tell& tell) {
    std::string list;
    for (const auto& [name, value] : values) {
        list += Quoted(name) + ":" + tell(name, value) + ",";
    }
    list.resize(list.empty() ? 0 : list.size() - 1);
    return "{" + list + "}";
}

// What follows the last member of an object.
std::string Extended(std::string object, const std::string& members) {
    object.pop_back();
    return object + "," + members + "}";
}

double MillisecondsOf(double seconds, int pictures) { return pictures > 0 ? 1000 * seconds / pictures : 0; }

std::string CountsOf(const Score& score, const Outcome& outcome) {
    std::string thirds;
    for (const EventCount& third : outcome.thirds) {
        thirds += Printed("%s[%d,%d,%d]", thirds.empty() ? "" : ",", third.real, third.found, third.falseFound);
    }
    return Printed("\"moving\":%d,\"still\":%d,\"analysed\":%d,\"cpu_ms\":%.3f,\"thirds\":[", score.Moving(), score.Still(),
                   outcome.analysed, MillisecondsOf(outcome.cpu, outcome.analysed)) +
           thirds + "]";
}

std::string JsonOf(const StillOutcome& outcome) {
    const std::string conditions = nlohmann::json(outcome.conditions).dump();
    return Printed("{\"length\":%.2f,\"seconds\":%.2f,\"events\":%d,\"told\":%.2f,\"conditions\":", outcome.length,
                   outcome.alarm, outcome.events, outcome.told) +
           conditions + "}";
}

std::string MeanAndStill(const Results& results, bool counts) {
    std::string text = "\"mean\":" + JsonOf(MeanOf(results.sequences));
    if (!results.still.empty()) {
        text += ",\"still\":" + ObjectOf(results.still, [&](const std::string&, const StillOutcome& outcome) {
                    const double cpu = MillisecondsOf(outcome.cpu, outcome.analysed);
                    return counts ? Extended(JsonOf(outcome), Printed("\"cpu_ms\":%.3f", cpu)) : JsonOf(outcome);
                });
    }
    return text;
}

std::string Padded(const std::string& text, std::size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::string RowOf(const Figures& figures) {
    return Printed("  %.3f  %9.3f  %6.3f  %5.1f %%  %5.1f %%  ", figures.f, figures.precision, figures.recall,
                   100 * figures.missed, 100 * figures.falseShare);
}

}  // namespace

std::string Quoted(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string JsonOf(const Figures& figures) {
    return Printed("{\"f\":%.4f,\"precision\":%.4f,\"recall\":%.4f,\"missed\":%.4f,\"false\":%.4f}", figures.f,
                   figures.precision, figures.recall, figures.missed, figures.falseShare);
}

std::string JsonOf(const Results& results) {
    const auto tell = [](const std::string&, const Score& score) { return JsonOf(score.Of()); };
    return "{\"sequences\":" + ObjectOf(results.sequences, tell) + "," + MeanAndStill(results, false) + "}";
}

std::string LineOf(const Results& results) {
    const auto tell = [&](const std::string& name, const Score& score) {
        return Extended(JsonOf(score.Of()), CountsOf(score, results.outcomes.at(name)));
    };
    return "{\"subject\":" + Quoted(results.subject) + Printed(",\"share\":%g,\"sequences\":", results.share) +
           ObjectOf(results.sequences, tell) + ",\"settled\":" + JsonOf(MeanOf(results.settled)) + "," +
           MeanAndStill(results, true) + "}";
}

std::string TableOf(const Results& results) {
    std::size_t width = std::string("sequence").size();
    for (const auto& [name, score] : results.sequences) {
        width = std::max(width, name.size());
    }
    for (const auto& [name, outcome] : results.still) {
        width = std::max(width, name.size());
    }
    std::string text = results.subject + Printed(", found where %g of a block is covered\n", results.share);
    if (!results.sequences.empty()) {
        text += Padded("sequence", width) +
                "      F  precision  recall   missed    false  pictures with motion, without; ms per analysed picture\n";
        for (const auto& [name, score] : results.sequences) {
            const Outcome& outcome = results.outcomes.at(name);
            text += Padded(name, width) + RowOf(score.Of()) +
                    Printed("%d, %d; %.2f\n", score.Moving(), score.Still(), MillisecondsOf(outcome.cpu, outcome.analysed));
        }
        text += Padded("mean", width) + RowOf(MeanOf(results.sequences)) + "each sequence weighs the same\n";
    }
    for (const auto& [name, outcome] : results.still) {
        text += Padded(name, width) + Printed("  %.1f of %.1f s in alarm, %d events of %.1f s", outcome.alarm,
                                              outcome.length, outcome.events, outcome.told);
        for (const std::string& condition : outcome.conditions) {
            text += ", " + condition;
        }
        text += Printed("; %.2f ms per analysed picture\n", MillisecondsOf(outcome.cpu, outcome.analysed));
    }
    return text;
}

}  // namespace Accuracy
