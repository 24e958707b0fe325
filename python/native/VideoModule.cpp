// What does Python see of a scan?  One class, which the module coremd.video wraps.
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "VideoScan.h"
#include "ZoneShapes.h"
#include "command/Options.h"
#include "command/Versions.h"
#include "results/RecordJson.h"
#include "video/base/Failure.h"
#include "video/media/Libav.h"
#include "video/zones/ZoneSources.h"

namespace py = pybind11;

namespace Python {
namespace {

// File names and what is said of them need not be UTF-8: as os.fsdecode has them.
py::str TextOf(const std::string& text) {
    PyObject* const decoded = PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "surrogateescape");
    if (decoded == nullptr) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::str>(decoded);
}

[[noreturn]] void ThrowValueError(const std::string& text) {
    PyErr_SetObject(PyExc_ValueError, TextOf(text).ptr());
    throw py::error_already_set();
}

py::object ObjectOf(const nlohmann::ordered_json& json) {
    if (json.is_null()) {
        return py::none();
    }
    if (json.is_object()) {
        py::dict dict;
        for (const auto& item : json.items()) {
            dict[TextOf(item.key())] = ObjectOf(item.value());
        }
        return dict;
    }
    if (json.is_array()) {
        py::list list;
        for (const nlohmann::ordered_json& value : json) {
            list.append(ObjectOf(value));
        }
        return list;
    }
    if (json.is_boolean()) {
        return py::bool_(json.get<bool>());
    }
    if (json.is_number_float()) {
        return py::float_(json.get<double>());
    }
    if (json.is_number()) {
        return py::int_(json.get<std::int64_t>());
    }
    return TextOf(json.get<std::string>());
}

// The array takes the pixels over.
py::object ArrayOf(std::optional<RgbPicture>&& picture) {
    if (!picture) {
        return py::none();
    }
    auto* const kept = new RgbPicture(std::move(*picture));
    const py::capsule owner(kept, [](void* memory) { delete static_cast<RgbPicture*>(memory); });
    return py::array_t<std::uint8_t>({kept->height, kept->width, 3}, kept->pixels.data(), owner);
}

py::object Told(ToldRecord&& told) {
    py::object dict = ObjectOf(std::visit([](const auto& record) { return Scan::JsonOf(record); }, told.record));
    dict["picture"] = ArrayOf(std::move(told.picture));
    return dict;
}

py::object Told(WatchedFrame&& frame) {
    py::list objects;
    for (const Video::MovingObject& object : frame.findings.objects) {
        objects.append(
            py::make_tuple(object.box.x, object.box.y, object.box.width, object.box.height, object.blocks, object.zones));
    }
    py::array_t<std::uint8_t> marks({frame.grid.rows, frame.grid.columns});
    std::transform(frame.marks.begin(), frame.marks.end(), marks.mutable_data(),
                   [](Video::BlockMark mark) { return static_cast<std::uint8_t>(mark); });
    py::dict dict;
    dict["type"] = "watched";
    dict["time"] = Video::ToSeconds(frame.findings.time);
    dict["number"] = frame.number.number;
    dict["exact"] = frame.number.exact;
    dict["objects"] = objects;
    dict["marks"] = marks;
    dict["block"] = frame.grid.blockSize;
    dict["picture"] = ArrayOf(std::move(frame.picture));
    return dict;
}

py::object Told(Warning&& warning) {
    py::dict dict;
    dict["type"] = "warning";
    dict["text"] = TextOf(warning.text);
    return dict;
}

// (name, polygon or mask, exclude, smallest, largest)
using GivenZone = std::tuple<std::string, py::object, bool, std::optional<double>, std::optional<double>>;

std::vector<Video::Zone> VideoZones(const std::vector<GivenZone>& given) {
    std::vector<Video::Zone> zones;
    for (const auto& [name, shape, exclude, smallest, largest] : given) {
        Video::Zone zone{.name = name, .exclude = exclude, .minSize = smallest, .maxSize = largest};
        if (py::isinstance<py::array>(shape) && !IsPolygon(shape)) {
            const OwnedZone mask = ZoneOfMask(shape, name);
            if (mask.columns < 1 || mask.rows < 1) {
                throw py::value_error(name + ": the mask is empty");
            }
            zone.mask = {.width = mask.columns, .height = mask.rows, .pixels = mask.mask};
            for (std::uint8_t& cell : zone.mask.pixels) {
                cell = cell != 0 ? 255 : 0;
            }
        } else {
            zone.polygon = PolygonOf(shape, name);
        }
        zones.push_back(std::move(zone));
    }
    const auto watched = static_cast<std::size_t>(
        std::count_if(zones.begin(), zones.end(), [](const Video::Zone& zone) { return !zone.exclude; }));
    if (watched > Video::mostZones) {
        throw py::value_error("there are more than " + std::to_string(Video::mostZones) + " zones");
    }
    return zones;
}

class ScanBinding {
public:
    ScanBinding(const std::string& input, const std::vector<std::string>& words, const std::vector<GivenZone>& zones,
                bool records, bool frames, bool pictures) {
        std::vector<std::string> arguments = words;
        arguments.push_back("--");
        arguments.push_back(input);
        const Scan::Parsed parsed = Scan::ParseOptions(arguments, Scan::VersionText());
        if (!parsed.options) {
            ThrowValueError(parsed.text);
        }
        Scan::JobSettings settings{.scan = parsed.options->scan, .files = {}, .reconnect = parsed.options->run.reconnect};
        try {
            settings.scan.zones = Video::ReadZones(parsed.options->zones);
        } catch (const Video::Failure& failure) {
            ThrowValueError(failure.what());
        }
        for (Video::Zone& zone : VideoZones(zones)) {
            settings.scan.zones.push_back(std::move(zone));
        }
        _zones = Video::WatchedNames(settings.scan.zones);
        _scan = std::make_unique<VideoScan>(input, std::move(settings),
                                            ScanWishes{.records = records, .frames = frames, .pictures = pictures});
    }
    ~ScanBinding() { Close(); }
    ScanBinding(const ScanBinding&) = delete;
    ScanBinding& operator=(const ScanBinding&) = delete;

    // None at the end. Signals are looked after meanwhile.
    py::object Next() {
        while (const std::shared_ptr<VideoScan> scan = _scan) {
            std::optional<Item> item;
            {
                const py::gil_scoped_release others;
                item = scan->Take(std::chrono::milliseconds(50));
            }
            if (item) {
                return std::visit([](auto&& one) { return Told(std::move(one)); }, std::move(*item));
            }
            if (PyErr_CheckSignals() != 0) {
                throw py::error_already_set();
            }
            if (const std::optional<Scan::JobResult> result = scan->Result()) {
                _result = result;
                break;
            }
        }
        return py::none();
    }

    void Close() {
        if (const std::shared_ptr<VideoScan> scan = std::move(_scan)) {
            const py::gil_scoped_release others;
            scan->Stop();
        }
    }

    // (how it ended, in words, whether the wish was wrong rather than the input); None before the end.
    py::object Result() const {
        if (!_result) {
            return py::none();
        }
        const bool isWrongWish = _result->code == Video::exitUsage;
        return py::make_tuple(Scan::NameOf(_result->health), TextOf(_result->trouble), isWrongWish);
    }

    const std::vector<std::string>& Zones() const { return _zones; }

private:
    std::shared_ptr<VideoScan> _scan;  // null: closed
    std::vector<std::string> _zones;   // names of those that are watched
    std::optional<Scan::JobResult> _result;
};

}  // namespace

}  // namespace Python

PYBIND11_MODULE(_video, module) {
    module.doc() = "The compiled part of coremd.video; import that instead.";
    Video::CollectComplaints();
    py::class_<Python::ScanBinding>(module, "Scan")
        .def(py::init<const std::string&, const std::vector<std::string>&, const std::vector<Python::GivenZone>&, bool, bool,
                      bool>(),
             py::arg("input"), py::arg("words"), py::arg("zones"), py::kw_only(), py::arg("records"), py::arg("frames"),
             py::arg("pictures"))
        .def("next", &Python::ScanBinding::Next)
        .def("close", &Python::ScanBinding::Close)
        .def("result", &Python::ScanBinding::Result)
        .def_property_readonly("zones", &Python::ScanBinding::Zones);
}
