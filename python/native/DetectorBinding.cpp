// What can Python do with a detector?
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Bindings.h"
#include "DetectorHandle.h"
#include "FrameResult.h"
#include "Planes.h"
#include "Records.h"
#include "ZoneShapes.h"
#include "coreMD.hpp"

namespace py = pybind11;

namespace Python {
namespace {

void DemandAccepted(const coremd::Attempt& attempt) {
    if (!attempt) {
        throw py::value_error(attempt.error());
    }
}

// The planes of one frame: three arrays of rows and columns, or one of [3, rows, columns], which is not copied.
class FramePlanes {
public:
    FramePlanes(const py::object& y, const py::object& cb, const py::object& cr) {
        if (cb.is_none() != cr.is_none()) {
            throw py::type_error("cb and cr come together");
        }
        cb.is_none() ? TakeWhole(y) : Gather(y, cb, cr);
    }

    coremd::Frame Record() const {
        coremd::Frame frame;
        frame.columns = _columns;
        frame.rows = _rows;
        frame.ycbcr = _gathered.empty() ? _whole : std::span<const std::uint8_t>(_gathered);
        return frame;
    }

private:
    void TakeWhole(const py::object& planes) {
        const WholePlanes whole = PlanesOf(planes);
        _owner = whole.owner;
        _rows = whole.rows;
        _columns = whole.columns;
        _whole = {whole.first, static_cast<std::size_t>(whole.size)};
    }

    void Gather(const py::object& y, const py::object& cb, const py::object& cr) {
        const Plane planes[] = {PlaneOf(y, "y"), PlaneOf(cb, "cb"), PlaneOf(cr, "cr")};
        for (const Plane& plane : planes) {
            if (plane.rows != planes[0].rows || plane.columns != planes[0].columns) {
                throw py::value_error("y, cb and cr differ in their rows or columns");
            }
        }
        _rows = Clamped(planes[0].rows);
        _columns = Clamped(planes[0].columns);
        if (_rows >= 10000 || _columns >= 10000) {  // a broadcast array may claim more than could be copied
            throw py::value_error("y, cb and cr have " + std::to_string(_rows) + " rows and " + std::to_string(_columns) +
                                  " columns: 9999 are the most");
        }
        for (const Plane& plane : planes) {
            for (std::ptrdiff_t row = 0; row < plane.rows; ++row) {
                const std::uint8_t* first = plane.first + row * plane.stride;
                _gathered.insert(_gathered.end(), first, first + plane.columns);
            }
        }
    }

    py::array _owner;
    std::span<const std::uint8_t> _whole;
    std::vector<std::uint8_t> _gathered;
    std::int32_t _rows = 0, _columns = 0;
};

class Detector {
public:
    Detector(const std::optional<py::sequence>& zones, std::pair<float, float> smallest, bool shadows, double rate,
             const std::optional<unsigned>& seed)
        : _smallest(smallest), _shadows(shadows), _rate(rate) {
        if (seed) {
            std::srand(*seed);  // a detector draws one number when it is made
            _held = std::make_shared<HeldDetector>();
        }
        const DetectorAccess detector(*_held);
        for (const OwnedZone& zone : ZonesOf(zones)) {
            DemandAccepted(detector->TryAddZone(zone.Record(smallest)));
        }
    }

    Frame Detect(const py::object& y, const py::object& cb, const py::object& cr, double time) {
        const FramePlanes planes(y, cb, cr);
        coremd::Frame record = planes.Record();
        record.time = coremd::Ticks(TicksOf(time));
        record.fps = _rate;
        record.detectShadow = _shadows;
        const DetectorAccess detector(*_held);
        ++_held->generation;
        coremd::Attempt attempt;
        {
            const py::gil_scoped_release others;
            attempt = detector->TryDetect(record);
        }
        if (!attempt) {
            --_held->generation;  // nothing has changed: results of the frame before stay
        }
        DemandAccepted(attempt);
        return ReadFrame(_held, *detector);
    }

    void ReplaceZones(const std::optional<py::sequence>& masks) {
        const std::vector<OwnedZone> zones = ZonesOf(masks);
        if (zones.empty()) {
            throw py::value_error("count > 0");
        }
        const DetectorAccess detector(*_held);
        std::vector<coremd::Zone> records;
        coremd::Detector probe;  // says whether they are zones at all
        for (const OwnedZone& zone : zones) {
            records.push_back(zone.Record(_smallest));
            DemandAccepted(probe.TryAddZone(records.back()));
        }
        ++_held->generation;
        *detector = detector->ReplaceZones(records);
    }

    py::tuple Background() {
        const DetectorAccess detector(*_held);
        const coremd::BackgroundPicture picture = detector->Background();
        const py::array_t<std::uint8_t> bgr({picture.rows, picture.columns, 3}, picture.bgr.data());
        py::array_t<bool> known({picture.rows, picture.columns});
        std::transform(picture.known.begin(), picture.known.end(), known.mutable_data(),
                       [](std::int32_t flag) { return flag != 0; });
        return py::make_tuple(bgr, known);
    }

    py::bytes SaveState() {
        const std::vector<std::uint8_t> state = DetectorAccess(*_held)->SaveState();
        return {reinterpret_cast<const char*>(state.data()), state.size()};
    }

    void LoadState(const py::bytes& state) {
        const std::string_view bytes = state;
        const DetectorAccess detector(*_held);
        switch (detector->LoadState({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()})) {
            case coremd::StateStatus::Done: ++_held->generation; return;
            case coremd::StateStatus::Foreign: throw py::value_error("these bytes are no state");
            case coremd::StateStatus::OtherVersion: throw py::value_error("a state of another version of the library");
            case coremd::StateStatus::Damaged: throw py::value_error("a state that is damaged");
            case coremd::StateStatus::Impossible: break;
        }
        throw py::value_error("a state that no detector can have");
    }

    void LimitToMotion(bool on) { DetectorAccess(*_held)->LimitToMotion(on); }
    void LearnSlowly(bool on) { DetectorAccess(*_held)->LearnSlowly(on); }

    void Close() {
        if (_held->isBusy) {
            throw std::runtime_error("another thread is using this detector");
        }
        _held->detector.reset();
        ++_held->generation;
    }

    bool IsClosed() const { return !_held->detector; }
    int Columns() const { return _held->detector && !_held->isBusy ? _held->detector->Columns() : 0; }
    int Rows() const { return _held->detector && !_held->isBusy ? _held->detector->Rows() : 0; }

    std::string Text() const {
        if (IsClosed()) {
            return "<coremd.Detector, closed>";
        }
        return Columns() > 0 ? "<coremd.Detector of " + std::to_string(Columns()) + "x" + std::to_string(Rows()) + " blocks>"
                             : "<coremd.Detector before its first frame>";
    }

    const std::shared_ptr<HeldDetector>& Held() const { return _held; }

private:
    std::shared_ptr<HeldDetector> _held = std::make_shared<HeldDetector>();
    std::pair<float, float> _smallest;
    bool _shadows;
    double _rate;
};

template <class Element>
void AddBlockMap(py::module_& module, const char* name) {
    using Map = BlockMap<Element>;
    py::class_<Map, std::shared_ptr<Map>>(module, name,
                                          "An array [rows, columns] of the detector's own, until its next frame.")
        .def_property_readonly("shape", [](const Map& map) { return py::make_tuple(map.Rows(), map.Columns()); })
        .def("__len__", &Map::Rows)
        .def(
            "__array__",
            [](const Map& map, const py::object& dtype, const py::object& copy) {
                if (!copy.is_none() && !copy.cast<bool>()) {
                    throw py::value_error("blocks are copied: the detector writes over its own");
                }
                py::object copied = map.Copy();
                return dtype.is_none() ? copied : copied.attr("astype")(dtype);
            },
            py::arg("dtype") = py::none(), py::arg("copy") = py::none())
        .def("__getitem__", [](const Map& map, const py::object& place) { return py::object(map.Copy()[place]); })
        .def("__repr__", [](const Map& map) {
            return "<coremd.BlockMap of " + std::to_string(map.Columns()) + "x" + std::to_string(map.Rows()) + " blocks>";
        });
}

void AddResults(py::module_& module) {
    PYBIND11_NUMPY_DTYPE(ObjectRow, left, top, right, bottom, blocks);
    AddBlockMap<std::uint16_t>(module, "LabelMap");
    AddBlockMap<std::uint8_t>(module, "StateMap");
    py::class_<Object>(module, "Object", "One thing that moves; its box in blocks, ends included.")
        .def_property_readonly("left", [](const Object& object) { return object.Row().left; })
        .def_property_readonly("top", [](const Object& object) { return object.Row().top; })
        .def_property_readonly("right", [](const Object& object) { return object.Row().right; })
        .def_property_readonly("bottom", [](const Object& object) { return object.Row().bottom; })
        .def_property_readonly("block_count", [](const Object& object) { return object.Row().blocks; })
        .def_property_readonly("blocks", &Object::Blocks, "int16 [blocks, 2], column and row of each; until the next frame.")
        .def("__repr__", [](const Object& object) {
            const ObjectRow row = object.Row();
            return "<coremd.Object of " + std::to_string(row.blocks) + " blocks in columns " + std::to_string(row.left) +
                   " to " + std::to_string(row.right) + ", rows " + std::to_string(row.top) + " to " +
                   std::to_string(row.bottom) + ">";
        });
    py::class_<Frame>(module, "Frame", "What one frame gave. True where something moves.")
        .def_readonly("is_ready", &Frame::isReady, "Whether 11 frames of history are there.")
        .def_readonly("objects", &Frame::objects, "A list of Object.")
        .def_readonly("labels", &Frame::labels, "0: no object; else its place in objects, from 1. None while not ready.")
        .def_readonly("states", &Frame::states, "With shadows: 0 nothing, 1 motion, 2 shadow; else 0. None while not ready.")
        .def_property_readonly(
            "table",
            [](const Frame& frame) {
                py::array_t<ObjectRow> table(static_cast<py::ssize_t>(frame.objects.size()));
                std::transform(frame.objects.begin(), frame.objects.end(), table.mutable_data(),
                               [](const Object& object) { return object.Row(); });
                return table;
            },
            "The objects as a structured array: left, top, right, bottom, blocks; int32.")
        .def("__bool__", [](const Frame& frame) { return !frame.objects.empty(); })
        .def("__repr__", [](const Frame& frame) {
            return frame.isReady ? "<coremd.Frame with " + std::to_string(frame.objects.size()) + " objects>"
                                 : std::string("<coremd.Frame, history not yet filled>");
        });
}

}  // namespace

std::shared_ptr<HeldDetector> HeldBy(py::handle detector) {
    if (!py::isinstance<Detector>(detector)) {
        throw py::type_error("that is no coremd.Detector");
    }
    return detector.cast<const Detector&>().Held();
}

void AddDetector(py::module_& module) {
    AddResults(module);
    py::class_<Detector>(module, "Detector")
        .def(py::init<const std::optional<py::sequence>&, std::pair<float, float>, bool, double,
                      const std::optional<unsigned>&>(),
             py::arg("zones") = py::none(), py::kw_only(), py::arg("min_object") = std::pair(0.0f, 0.0f),
             py::arg("shadows") = false, py::arg("rate") = 25.0, py::arg("seed") = py::none(),
             R"(Finds what moves in the zones.

zones: masks, arrays [rows, columns] of uint8 or bool of any resolution, non-zero where the zone is; or polygons, lists
or floating-point arrays of at least three corners (x, y), fractions 0..1 of the picture. None: the whole picture.
min_object: width and height of the smallest object kept, as fractions 0..1 of the grid's.
shadows: drop shadows. rate: frames per second of the source, above 0.
seed: detectors with the same seed do the same to the bit; srand of the process is called with it.)")
        .def("detect", &Detector::Detect, py::arg("y"), py::arg("cb") = py::none(), py::arg("cr") = py::none(),
             py::kw_only(), py::arg("time"), R"(Shows the next frame; returns a Frame.

y, cb, cr: means of the blocks, arrays [rows, columns] of uint8; or all in y, contiguous [3, rows, columns], not copied.
time: seconds, as a rule above that of the frame before; below it, the detector starts afresh.
Other threads run meanwhile. ValueError, with the condition, for what the library would not take;
the detector is as before.)")
        .def("replace_zones", &Detector::ReplaceZones, py::arg("zones") = py::none(),
             "Goes on with other zones, as if the detector had had them all along. min_object stays.")
        .def("background", &Detector::Background,
             "The learned background: uint8 [rows, columns, 3] of blue, green, red, and bool [rows, columns], where it is "
             "known.")
        .def("save_state", &Detector::SaveState, "All that decides about the frames to come, as bytes; about 200 a block.")
        .def("load_state", &Detector::LoadState, py::arg("state"),
             "Makes this detector what the saved one was, zones included. ValueError where it cannot; nothing has changed "
             "then.")
        .def("limit_to_motion", &Detector::LimitToMotion, py::arg("on"),
             "Limits objects to blocks that moved just now; on by default.")
        .def("learn_slowly", &Detector::LearnSlowly, py::arg("on"), "Lets the background learn slowly; off by default.")
        .def("close", &Detector::Close, "Frees what it holds; results that are still there cannot be read any more.")
        .def_property_readonly("closed", &Detector::IsClosed, "Whether close was called.")
        .def_property_readonly("columns", &Detector::Columns, "Blocks in a row of the last frame; 0 before the first.")
        .def_property_readonly("rows", &Detector::Rows, "Rows of blocks of the last frame; 0 before the first.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](Detector& self, const py::args&) { self.Close(); })
        .def("__repr__", &Detector::Text);
}

}  // namespace Python
