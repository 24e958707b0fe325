// What do the properties say of themselves, and where do their values live?
#include "gstreamer/ElementProperties.h"

#include <gst/gst.h>

#include <iterator>
#include <mutex>

#include "gstreamer/CoremdElement.h"
#include "gstreamer/ElementState.h"
#include "gstreamer/FrameJson.h"

namespace Gst {

namespace {

enum Property : guint {
    None,
    Rate,
    Block,
    MinSize,
    Shadows,
    Zones,
    Condition,
    Memory,
    Sensitivity,
    MergeGap,
    MinDuration,
    Draw,
    Metas,
    JsonMeta,
    LastRunningTime,
    LastReady,
    LastMoving,
    LastObjects,
    LastBlocks,
    LastBegin,
    LastEnd,
    LastCondition,
    Analysed,
    Skipped,
    Events
};

constexpr double mostRate = 1000;     // pictures a second
constexpr double mostSeconds = 3600;  // of what joins and drops events
constexpr int mostBlock = 64;         // pixels

GType SensitivityType() {
    static const GEnumValue values[] = {
        {static_cast<gint>(Host::Sensitivity::Low), "Large things of good contrast", "low"},
        {static_cast<gint>(Host::Sensitivity::Normal), "What a person would see at once", "normal"},
        {static_cast<gint>(Host::Sensitivity::High), "Small and faint things, too", "high"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("GstCoremdSensitivity", values);
    return type;
}

void Set(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
    ElementState& state = *GST_COREMD(object)->state;
    const std::lock_guard lock(state.mutex);
    MotionSettings& settings = state.settings;
    const auto text = [&] {
        const gchar* const given = g_value_get_string(value);
        return std::string(given ? given : "");
    };
    switch (id) {
        case Rate: settings.rate = g_value_get_double(value); break;
        case Block: settings.block = g_value_get_int(value); break;
        case MinSize: settings.minSize = g_value_get_double(value); break;
        case Shadows: settings.shadows = g_value_get_boolean(value) != FALSE; break;
        case Zones: settings.zones = text(); break;
        case Condition: settings.condition = g_value_get_boolean(value) != FALSE; break;
        case Memory: settings.memory = text(); break;
        case Sensitivity: settings.sensitivity = static_cast<Host::Sensitivity>(g_value_get_enum(value)); break;
        case MergeGap: settings.mergeGap = g_value_get_double(value); break;
        case MinDuration: settings.minDuration = g_value_get_double(value); break;
        case Draw: state.draws = g_value_get_boolean(value) != FALSE; break;
        case Metas: state.marks = g_value_get_boolean(value) != FALSE; break;
        case JsonMeta: state.writes = g_value_get_boolean(value) != FALSE; break;
        default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec); return;
    }
    state.isChanged = true;
}

void Get(GObject* object, guint id, GValue* value, GParamSpec* spec) {
    ElementState& state = *GST_COREMD(object)->state;
    const std::lock_guard lock(state.mutex);
    const MotionSettings& settings = state.settings;
    const LastResults& last = state.last;
    switch (id) {
        case Rate: g_value_set_double(value, settings.rate); break;
        case Block: g_value_set_int(value, settings.block); break;
        case MinSize: g_value_set_double(value, settings.minSize); break;
        case Shadows: g_value_set_boolean(value, settings.shadows); break;
        case Zones: g_value_set_string(value, settings.zones.c_str()); break;
        case Condition: g_value_set_boolean(value, settings.condition); break;
        case Memory: g_value_set_string(value, settings.memory.c_str()); break;
        case Sensitivity: g_value_set_enum(value, static_cast<gint>(settings.sensitivity)); break;
        case MergeGap: g_value_set_double(value, settings.mergeGap); break;
        case MinDuration: g_value_set_double(value, settings.minDuration); break;
        case Draw: g_value_set_boolean(value, state.draws); break;
        case Metas: g_value_set_boolean(value, state.marks); break;
        case JsonMeta: g_value_set_boolean(value, state.writes); break;
        case LastRunningTime: g_value_set_uint64(value, last.runningTime); break;
        case LastReady: g_value_set_boolean(value, last.isReady); break;
        case LastMoving: g_value_set_boolean(value, last.isMoving); break;
        case LastObjects: g_value_set_uint(value, last.objects); break;
        case LastBlocks: g_value_set_uint(value, last.blocks); break;
        case LastBegin: g_value_set_boxed(value, last.begin.get()); break;
        case LastEnd: g_value_set_boxed(value, last.end.get()); break;
        case LastCondition: g_value_set_boxed(value, last.condition.get()); break;
        case Analysed: g_value_set_uint64(value, last.analysed); break;
        case Skipped: g_value_set_uint64(value, last.skipped); break;
        case Events: g_value_set_uint(value, last.events); break;
        default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

constexpr auto settable = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
constexpr auto readable = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);

}  // namespace

void InstallProperties(GObjectClass* objects) {
    objects->set_property = Set;
    objects->get_property = Get;
    const auto install = [&](Property id, GParamSpec* spec) { g_object_class_install_property(objects, id, spec); };
    const MotionSettings usual;

    install(Rate, g_param_spec_double("rate", "Rate",
                                      "Pictures analysed per second, at even distances; 0: all. What moves more slowly than "
                                      "it can be seen at wants fewer. While playing: at once, nothing is learned anew",
                                      0, mostRate, usual.rate, settable));
    install(Block, g_param_spec_int("block", "Block",
                                    "Pixels along one side of a block, the least that is told apart; 0: chosen by the "
                                    "picture's size. While playing: learns afresh",
                                    0, mostBlock, usual.block, settable));
    install(MinSize, g_param_spec_double("min-size", "Smallest object",
                                         "Width and height of the smallest object that counts, as a fraction of the "
                                         "picture's; negative: as the sensitivity says. Zones may state their own. While "
                                         "playing: learns afresh",
                                         -1, 1, usual.minSize, settable));
    install(Shadows, g_param_spec_boolean("shadows", "Drop shadows",
                                          "Drop what only darkens the background. Conditioning always does, so this matters "
                                          "where condition is false. While playing: learns afresh",
                                          usual.shadows, settable));
    install(Zones, g_param_spec_string("zones", "Zones",
                                       "Where motion counts: the name of a JSON file, or the JSON itself, {\"zones\": "
                                       "[{\"name\": \"gate\", \"polygon\": [[0.1, 0.2], [0.4, 0.2], [0.4, 0.9]]}]}, as "
                                       "mdscan has it; empty: the whole picture. While playing: learns afresh; what cannot "
                                       "be read is warned of and changes nothing",
                                       "", settable));
    install(Condition,
            g_param_spec_boolean("condition", "Condition",
                                 "Help the detector against changes of light, a shaking camera, rain and darkness, "
                                 "and post messages of them; false: the plain detector. While playing: learns "
                                 "afresh",
                                 usual.condition, settable));
    install(Memory,
            g_param_spec_string("memory", "Memory",
                                "File of the camera's background: read before the first picture, so that nothing has "
                                "to be learned, and written when the element stops. Where pictures are conditioned "
                                "only; empty: none. While playing: writes the old one, learns afresh",
                                "", settable));
    install(Sensitivity,
            g_param_spec_enum("sensitivity", "Sensitivity",
                              "How faint and small may be what moves. Where pictures are conditioned only. While "
                              "playing: learns afresh",
                              SensitivityType(), static_cast<gint>(usual.sensitivity), settable));
    install(MergeGap, g_param_spec_double("merge-gap", "Merge gap",
                                          "Seconds without an object that end an event. While playing: ends the running "
                                          "event, nothing is learned anew",
                                          0, mostSeconds, usual.mergeGap, settable));
    install(MinDuration,
            g_param_spec_double("min-duration", "Least duration",
                                "Seconds below which an event is not told; its begin is told so much later. While "
                                "playing: ends the running event, nothing is learned anew",
                                0, mostSeconds, usual.minDuration, settable));
    install(Draw, g_param_spec_boolean("draw", "Draw",
                                       "Draw a box around each object, the one thing that changes pixels. While playing: at "
                                       "once",
                                       FALSE, settable));
    install(Metas,
            g_param_spec_boolean("metas", "Metas",
                                 "Attach a GstVideoRegionOfInterestMeta of the type \"motion\" for each object, between "
                                 "analysed pictures those of the last one. While playing: at once",
                                 TRUE, settable));
    install(JsonMeta, g_param_spec_boolean("json", "JSON",
                                           "Attach a custom meta, " COREMD_JSON_META
                                           ", whose field \"json\" is all that is known of the "
                                           "picture: objects with zones, the event, conditions. While playing: at once",
                                           FALSE, settable));
    install(LastRunningTime, g_param_spec_uint64("last-running-time", "Last running time",
                                                 "Running time of the newest analysed picture in nanoseconds; the largest "
                                                 "value: none yet",
                                                 0, G_MAXUINT64, GST_CLOCK_TIME_NONE, readable));
    install(LastReady,
            g_param_spec_boolean("last-ready", "Last ready",
                                 "Whether enough was seen to find anything: eleven analysed pictures", FALSE, readable));
    install(LastMoving, g_param_spec_boolean("last-moving", "Last moving", "Whether an event goes on that was told of",
                                             FALSE, readable));
    install(LastObjects, g_param_spec_uint("last-objects", "Last objects",
                                           "Objects that move in the newest analysed picture", 0, G_MAXUINT, 0, readable));
    install(LastBlocks,
            g_param_spec_uint("last-blocks", "Last blocks", "Moving blocks of all of them", 0, G_MAXUINT, 0, readable));
    install(LastBegin, g_param_spec_boxed("last-begin", "Last begin", "The newest motion-begin, as it was posted",
                                          GST_TYPE_STRUCTURE, readable));
    install(LastEnd, g_param_spec_boxed("last-end", "Last end", "The newest motion-end, as it was posted",
                                        GST_TYPE_STRUCTURE, readable));
    install(LastCondition, g_param_spec_boxed("last-condition", "Last condition", "The newest condition, as it was posted",
                                              GST_TYPE_STRUCTURE, readable));
    install(Analysed, g_param_spec_uint64("analysed", "Analysed", "Pictures analysed since the element started", 0,
                                          G_MAXUINT64, 0, readable));
    install(Skipped, g_param_spec_uint64("skipped", "Skipped",
                                         "Pictures that were to be analysed and were not, being late, where qos is true", 0,
                                         G_MAXUINT64, 0, readable));
    install(Events,
            g_param_spec_uint("events", "Events", "Events told since the element started", 0, G_MAXUINT, 0, readable));
}

}  // namespace Gst
