// How do events become chapters?
#include "outputs/EventJoin.h"

#include <variant>

#include "results/JsonLines.h"
#include "video/time/WallClock.h"

namespace Scan {

namespace {

// "gate.mp4, 12.3 s, door and street": whoever looks at one finds it in the lines.
std::string TitleOf(const std::string& input, const EventRecord& event) {
    std::string title = ToldName(input) + ", ";
    title += event.wall ? Video::WallTimeText(event.wall->start) : ToldSeconds(event.start) + " s";
    const std::vector<std::string> none;
    const std::vector<std::string>& zones = event.zones ? *event.zones : none;
    for (std::size_t i = 0; i < zones.size(); ++i) {
        title += (i == 0 ? ", " : i + 1 < zones.size() ? ", " : " and ") + zones[i];
    }
    return title;
}

}  // namespace

EventJoin::EventJoin(const std::string& path, const std::vector<std::string>& inputs) {
    Video::CheckJoins(path);
    _file.emplace(path, inputs);
}

void EventJoin::Take(const std::string& input, const Record& record) {
    const auto* event = std::get_if<EventRecord>(&record);
    if (event && event->clip) {
        _parts.push_back({event->clip->path, TitleOf(input, *event)});
    }
}

void EventJoin::Keep() {
    if (!_parts.empty()) {
        Video::JoinClips(_parts, *_file);
        _file->Keep();
    }
}

}  // namespace Scan
