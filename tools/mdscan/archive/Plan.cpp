// Which lines does a plan have?
#include "archive/Plan.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "archive/Digest.h"
#include "results/PictureLines.h"
#include "video/base/BgrPicture.h"
#include "video/base/Failure.h"
#include "video/files/AtomicText.h"
#include "video/files/PngFile.h"
#include "video/time/TickTime.h"

namespace Scan {

namespace {

using PlanJson = nlohmann::ordered_json;

constexpr int planVersion = 1;
constexpr double latestPart = 1e9;    // seconds; no recording is that long
constexpr std::size_t keyBytes = 16;  // of 32: no two jobs of any archive share them

std::string Text(const PlanJson& line) { return line.dump(-1, ' ', false, PlanJson::error_handler_t::replace); }

PlanJson JsonOf(const Video::GreyPicture& mask) {
    Video::BgrPicture picture{mask.width, mask.height};
    for (const std::uint8_t pixel : mask.pixels) {
        picture.pixels.insert(picture.pixels.end(), 3, pixel);
    }
    return Base64(Video::PngBytes(picture));
}

Video::GreyPicture MaskOf(const PlanJson& json) {
    const Video::BgrPicture picture = Video::ReadPngBytes(Unbase64(json.get<std::string>()));
    Video::GreyPicture mask{picture.width, picture.height, {}};
    for (std::size_t i = 0; i < picture.pixels.size(); i += 3) {
        mask.pixels.push_back(picture.pixels[i]);
    }
    return mask;
}

PlanJson JsonOf(const Video::Zone& zone) {
    PlanJson json = {{"name", KeyOf(zone.name)}, {"exclude", zone.exclude}};
    if (zone.minSize) {
        json["min_size"] = *zone.minSize;
    }
    if (zone.maxSize) {
        json["max_size"] = *zone.maxSize;
    }
    for (const Video::Point& corner : zone.polygon) {
        json["polygon"].push_back({corner.x, corner.y});
    }
    if (!zone.mask.pixels.empty()) {
        json["mask"] = JsonOf(zone.mask);
    }
    return json;
}

Video::Zone ZoneOf(const PlanJson& json) {
    const auto size = [&](const char* name) {
        return json.contains(name) ? std::optional(json.at(name).get<double>()) : std::nullopt;
    };
    Video::Zone zone{.name = PathOf(json.at("name").get<std::string>()),
                     .exclude = json.at("exclude").get<bool>(),
                     .minSize = size("min_size"),
                     .maxSize = size("max_size")};
    for (const PlanJson& corner : json.value("polygon", PlanJson::array())) {
        zone.polygon.push_back({corner.at(0).get<double>(), corner.at(1).get<double>()});
    }
    if (json.contains("mask")) {
        zone.mask = MaskOf(json.at("mask"));
    }
    return zone;
}

PlanJson HeadOf(const Plan& plan) {
    PlanJson head = {{"type", "plan"},
                     {"plan", planVersion},
                     {"version", plan.version},
                     {"options", plan.options},
                     {"zones", PlanJson::array()},
                     {"settings", plan.settings},
                     {"roots", PlanJson::object()},
                     {"jobs", plan.jobs.size()},
                     {"other_files", plan.otherFiles}};
    for (const Video::Zone& zone : plan.zones) {
        head["zones"].push_back(JsonOf(zone));
    }
    for (const auto& [name, folder] : plan.roots) {
        head["roots"][name] = KeyOf(folder);
    }
    return head;
}

PlanJson JsonOf(const Video::StartTime& start) {
    PlanJson json = {start.at, static_cast<int>(start.source)};
    if (start.offset) {
        json.push_back(*start.offset);
    }
    return json;
}

Video::StartTime StartOf(const PlanJson& json) {
    const int source = json.at(1).get<int>();
    if (source < 0 || source > static_cast<int>(Video::ClockSource::Arrival)) {
        throw std::out_of_range("source");
    }
    return {json.at(0).get<Video::WallTicks>(), static_cast<Video::ClockSource>(source),
            json.size() > 2 ? std::optional(json.at(2).get<Video::Ticks>()) : std::nullopt};
}

PlanJson JsonOf(const JobPart& part) {
    PlanJson json = {{"learn", Video::PrintedSeconds(part.learn)}, {"from", Video::PrintedSeconds(part.from)}};
    if (part.to) {
        json["to"] = Video::PrintedSeconds(*part.to);
    }
    return json;
}

JobPart PartOf(const PlanJson& json) {
    const auto time = [&](const char* name) {
        const double seconds = json.at(name).get<double>();
        if (!(seconds >= 0 && seconds < latestPart)) {
            throw std::out_of_range(name);
        }
        return Video::FromSeconds(seconds);
    };
    JobPart part{.learn = time("learn"), .from = time("from")};
    if (json.contains("to")) {
        part.to = time("to");
    }
    if (part.learn > part.from || (part.to && *part.to <= part.from)) {
        throw std::out_of_range("part");
    }
    return part;
}

PlanJson JsonOf(const PlannedJob& job) {
    PlanJson json = {{"type", "job"}, {"file", KeyOf(job.file)}};
    if (!job.trouble.empty()) {
        json["trouble"] = job.trouble;
        return json;
    }
    json["key"] = job.key;
    if (!job.root.empty()) {
        json["root"] = job.root;
    }
    json["path"] = KeyOf(job.path);
    json["size"] = job.identity.size;
    if (job.content.empty()) {
        json["changed"] = job.identity.changed;
    } else {
        json["content"] = job.content;
    }
    if (job.start) {
        json["start"] = JsonOf(*job.start);
    }
    if (job.part) {
        json.update(JsonOf(*job.part));
    }
    return json;
}

PlannedJob JobOf(const PlanJson& json) {
    PlannedJob job{.file = PathOf(json.at("file").get<std::string>()), .trouble = json.value("trouble", std::string())};
    if (!job.trouble.empty()) {
        return job;
    }
    job.key = json.at("key").get<std::string>();
    if (job.key.empty() || job.key.find_first_not_of("0123456789abcdef") != std::string::npos) {  // names a file
        throw std::invalid_argument("key");
    }
    job.root = json.value("root", std::string());
    job.path = PathOf(json.at("path").get<std::string>());
    job.content = json.value("content", std::string());
    job.identity = {json.at("size").get<std::int64_t>(), job.content.empty() ? json.at("changed").get<std::int64_t>() : 0};
    if (json.contains("start")) {
        job.start = StartOf(json.at("start"));
    }
    if (json.contains("from")) {
        job.part = PartOf(json);
    }
    return job;
}

}  // namespace

std::string ResultKey(const Plan& plan, const PlannedJob& job) {
    const PlanJson state = job.content.empty() ? PlanJson(job.identity.changed) : PlanJson(job.content);
    PlanJson parts = {plan.version, plan.settings, job.root, KeyOf(job.path), job.identity.size, state, PlanJson()};
    if (job.start) {
        parts.back() = JsonOf(*job.start);
    }
    if (job.part) {
        parts.push_back(JsonOf(*job.part));
    }
    Digest digest;
    digest.Add(Text(parts) + "\n");
    return digest.Hex(keyBytes);
}

std::string HeadLineOf(const Plan& plan) { return Text(HeadOf(plan)); }

std::string JobLineOf(const PlannedJob& job) { return Text(JsonOf(job)); }

PlannedJob JobOfLine(const std::string& line) { return JobOf(PlanJson::parse(line)); }

std::size_t TakeHeadLine(const std::string& line, Plan& plan) {
    const PlanJson head = PlanJson::parse(line);
    if (head.at("type") != "plan" || head.at("plan") != planVersion) {
        throw std::invalid_argument("plan");
    }
    plan.version = head.at("version").get<std::string>();
    plan.options = head.at("options").get<std::vector<std::string>>();
    for (const PlanJson& zone : head.at("zones")) {
        plan.zones.push_back(ZoneOf(zone));
    }
    plan.settings = head.at("settings").get<std::string>();
    for (const auto& [name, folder] : head.at("roots").items()) {
        plan.roots[name] = PathOf(folder.get<std::string>());
    }
    plan.otherFiles = head.at("other_files").get<int>();
    return head.at("jobs").get<std::size_t>();
}

void WritePlan(const Plan& plan, const std::string& path) {
    std::optional<Video::AtomicText> file;
    if (!path.empty()) {
        file.emplace(path, std::vector<std::string>());
    }
    const auto write = [&](const std::string& text) {
        if (file) {
            file->Write(text);
        } else if (std::fputs(text.c_str(), stdout) < 0) {
            throw Video::Failure(Video::Concern::Output, std::string("cannot print the plan: ") + std::strerror(errno));
        }
    };
    write(HeadLineOf(plan) + "\n");
    for (const PlannedJob& job : plan.jobs) {
        write(JobLineOf(job) + "\n");
    }
    if (file) {
        file->Keep();
    } else if (std::fflush(stdout) != 0) {
        throw Video::Failure(Video::Concern::Output, std::string("cannot print the plan: ") + std::strerror(errno));
    }
}

Plan ReadPlan(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw Video::Failure(Video::Concern::Input, "cannot open " + path + ": " + std::strerror(errno));
    }
    Plan plan;
    std::size_t count = 0;
    int number = 0;
    try {
        std::string line;
        while (std::getline(file, line)) {
            if (++number == 1) {
                count = TakeHeadLine(line, plan);
            } else {
                plan.jobs.push_back(JobOfLine(line));
            }
        }
    } catch (const std::exception&) {
        throw Video::Failure(Video::Concern::Usage,
                             path + " is no plan of mdscan" +
                                 (number > 1 ? ": line " + std::to_string(number) + " is none of it" : std::string()));
    }
    if (number == 0 || plan.jobs.size() != count) {
        throw Video::Failure(Video::Concern::Usage, path + (number == 0 ? " is no plan of mdscan" : " is not a whole plan"));
    }
    return plan;
}

}  // namespace Scan
