// How is a farm's state told to people and to programs?
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "farm/FarmStatus.h"
#include "results/TallyText.h"
#include "results/VisibleText.h"

namespace Scan {

namespace {

std::string Rounded(double number) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", number);
    return text;
}

// "5 s", "12 min", "3.4 h"
std::string Duration(double seconds) {
    return seconds < 120         ? std::to_string(std::lround(seconds)) + " s"
           : seconds < 7200      ? std::to_string(std::lround(seconds / 60)) + " min"
           : seconds < 48 * 3600 ? Rounded(seconds / 3600) + " h"
                                 : Rounded(seconds / 86400) + " days";
}

double ThreeDecimals(double number) { return std::round(number * 1000) / 1000; }

// A label's value, as Prometheus reads it.
std::string Label(const std::string& text) {
    std::string label;
    for (const char c : text) {
        label += c == '\\' ? "\\\\" : c == '"' ? "\\\"" : c == '\n' ? "\\n" : std::string(1, c);
    }
    return label;
}

std::string Metric(const char* name, const char* help, const std::string& values) {
    return std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " gauge\n" + values;
}

}  // namespace

std::string StatusText(const FarmStatus& status) {
    std::string text = Visible(status.farm) + ": " + Counted(status.jobs, "job") + ", " + std::to_string(status.done) +
                       " done, " + std::to_string(status.taken) + " under way, " + std::to_string(status.open) + " open, " +
                       std::to_string(status.failed) + " failed\n";
    if (!status.IsOver()) {
        text += Rounded(status.perMinute) + " jobs per minute, " +
                (status.secondsLeft ? Duration(*status.secondsLeft) + " left" : "nobody knows how long it takes") + "\n";
    }
    for (const FarmStatus::Worker& worker : status.workers) {
        text += "worker " + Visible(worker.name) + " (" + Visible(worker.role) + "), for " + Duration(worker.seconds) +
                (worker.isSilent ? ", silent" : "") + (worker.jobs.empty() ? ": idle" : "") + "\n";
        for (const FarmStatus::Job& job : worker.jobs) {
            text += "  " + Visible(job.file) + ", for " + Duration(job.seconds) + "\n";
        }
    }
    for (const FarmStatus::Trouble& trouble : status.troubles) {
        text += (trouble.isGivenUp ? "failed: " : "to be tried again: ") + Counted(trouble.jobs, "job") + ", " +
                Visible(trouble.reason) + " (" + Visible(trouble.example) + ")\n";
    }
    return text;
}

std::string StatusJson(const FarmStatus& status) {
    using Json = nlohmann::ordered_json;
    Json json = {{"type", "farm"},
                 {"farm", status.farm},
                 {"jobs", status.jobs},
                 {"done", status.done},
                 {"under_way", status.taken},
                 {"open", status.open},
                 {"failed", status.failed},
                 {"jobs_per_minute", ThreeDecimals(status.perMinute)}};
    json["seconds_left"] = status.secondsLeft ? Json(ThreeDecimals(*status.secondsLeft)) : Json();
    json["workers"] = Json::array();
    for (const FarmStatus::Worker& worker : status.workers) {
        Json one = {{"name", worker.name},       {"role", worker.role},
                    {"slots", worker.slots},     {"seconds", ThreeDecimals(worker.seconds)},
                    {"silent", worker.isSilent}, {"jobs", Json::array()}};
        for (const FarmStatus::Job& job : worker.jobs) {
            one["jobs"].push_back({{"file", job.file}, {"seconds", ThreeDecimals(job.seconds)}});
        }
        json["workers"].push_back(one);
    }
    json["troubles"] = Json::array();
    for (const FarmStatus::Trouble& trouble : status.troubles) {
        json["troubles"].push_back({{"reason", trouble.reason},
                                    {"jobs", trouble.jobs},
                                    {"failed", trouble.isGivenUp},
                                    {"example", trouble.example}});
    }
    return VisibleJson(json.dump(-1, ' ', false, Json::error_handler_t::replace)) + "\n";
}

std::string StatusMetrics(const FarmStatus& status) {
    const std::string farm = "farm=\"" + Label(status.farm) + "\"";
    std::string jobs, failed;
    const auto add = [&](const char* state, std::int64_t count) {
        jobs += "mdscan_jobs{" + farm + ",state=\"" + state + "\"} " + std::to_string(count) + "\n";
    };
    add("done", status.done);
    add("under_way", status.taken);
    add("open", status.open);
    add("failed", status.failed);
    const auto one = [&](const char* name, const std::string& value) {
        return std::string(name) + "{" + farm + "} " + value + "\n";
    };
    return Metric("mdscan_jobs", "Jobs of a farm by state.", jobs) +
           Metric("mdscan_jobs_per_minute", "Jobs done per minute, in the last ten minutes.",
                  one("mdscan_jobs_per_minute", std::to_string(status.perMinute))) +
           Metric("mdscan_seconds_left", "Seconds until all is done at this rate; NaN: not known.",
                  one("mdscan_seconds_left", status.secondsLeft ? std::to_string(*status.secondsLeft) : "NaN")) +
           Metric("mdscan_workers", "Workers that are there.", one("mdscan_workers", std::to_string(status.workers.size())));
}

}  // namespace Scan
