// How is what was found in one picture written as text?
#include "gstreamer/FrameJson.h"

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

namespace Gst {

namespace {

using Json = nlohmann::ordered_json;

Json ObjectJson(const Video::MovingObject& object, int id, const Scene& scene) {
    Json zones = Json::array();
    for (std::size_t i = 0; i < scene.zones->size(); ++i) {
        if ((object.zones >> i & 1) != 0) {
            zones.push_back((*scene.zones)[i]);
        }
    }
    return {{"id", id},
            {"x", object.box.x + scene.part.x},
            {"y", object.box.y + scene.part.y},
            {"width", object.box.width},
            {"height", object.box.height},
            {"blocks", object.blocks},
            {"zones", std::move(zones)}};
}

}  // namespace

void RegisterJsonMeta() {
    static const gchar* noTags[] = {nullptr};
    if (!gst_meta_get_info(COREMD_JSON_META)) {
        gst_meta_register_custom(COREMD_JSON_META, noTags, nullptr, nullptr, nullptr);
    }
}

std::string JsonOf(const FrameFindings& findings, const Scene& scene) {
    Json objects = Json::array(), conditions = Json::array();
    int id = 0;
    for (const Video::MovingObject& object : *findings.objects) {
        objects.push_back(ObjectJson(object, ++id, scene));
    }
    for (const Video::Condition& condition : findings.conditions) {
        conditions.push_back(Video::NameOf(condition.kind));
    }
    const Json frame = {{"running-time", findings.runningTime},
                        {"width", findings.width},
                        {"height", findings.height},
                        {"fresh", findings.isFresh},
                        {"ready", findings.isReady},
                        {"event", findings.event},
                        {"conditions", std::move(conditions)},
                        {"objects", std::move(objects)}};
    return frame.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void AttachJson(GstBuffer* buffer, const std::string& json) {
    GstCustomMeta* meta = gst_buffer_get_custom_meta(buffer, COREMD_JSON_META);  // of an element before this one
    if (!meta) {
        meta = gst_buffer_add_custom_meta(buffer, COREMD_JSON_META);
    }
    gst_structure_set(gst_custom_meta_get_structure(meta), "json", G_TYPE_STRING, json.c_str(), nullptr);
}

}  // namespace Gst
