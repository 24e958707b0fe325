// What can Python do with what conditions a detector?  Priming, Conditioner, and what that says of a picture.
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Bindings.h"
#include "DetectorHandle.h"
#include "Planes.h"
#include "Records.h"
#include "coreMD-host.h"
#include "coreMD.hpp"

namespace py = pybind11;

namespace Python {
namespace {

const std::map<std::string, std::int32_t> sensitivities = {
    {"low", COREMD_LOW_SENSITIVITY}, {"normal", COREMD_NORMAL_SENSITIVITY}, {"high", COREMD_HIGH_SENSITIVITY}};

struct EndPriming {
    void operator()(coreMD_Priming* priming) const { coreMD_DestroyPriming(&priming); }
};
struct EndConditioner {
    void operator()(coreMD_Conditioner* conditioner) const { coreMD_DestroyConditioner(&conditioner); }
};

// The first pictures of a stream. Its calls are short: none lets other threads run but while a background is made of it,
// and isBusy says so.
class Priming {
public:
    Priming(std::int32_t columns, std::int32_t rows, std::int32_t most) : _columns(columns), _rows(rows) {
        coreMD_Priming* priming = nullptr;
        Demand(coreMD_CreatePriming(columns, rows, most, &priming));
        _priming.reset(priming);
    }

    coreMD_Priming* Handle() const {
        if (isBusy) {
            throw std::runtime_error("another thread is using these pictures");
        }
        if (!_priming) {
            throw py::value_error("the pictures are closed");
        }
        return _priming.get();
    }

    void Keep(const py::object& array) {
        const WholePlanes planes = PlanesOf(array, _columns, _rows);
        Demand(coreMD_KeepPicture(Handle(), planes.first, planes.size));
    }

    std::int32_t Pictures() const {
        std::int32_t pictures = 0;
        Demand(coreMD_KeptPictures(Handle(), &pictures));
        return pictures;
    }

    py::array_t<std::uint8_t> Picture(std::int64_t index) const {
        const std::int64_t pictures = Pictures();
        if (index < -pictures || index >= pictures) {
            throw py::index_error("no such picture is kept");
        }
        py::array_t<std::uint8_t> planes = NewPlanes(_columns, _rows);
        const std::int64_t place = index < 0 ? index + pictures : index;
        Demand(coreMD_KeptPicture(Handle(), static_cast<std::int32_t>(place), planes.mutable_data(), planes.size()));
        return planes;
    }

    void Forget() { Demand(coreMD_ForgetPictures(Handle())); }

    py::array_t<std::uint8_t> MostFrequent(std::int32_t ahead) {
        coreMD_Priming* const handle = Handle();
        py::array_t<std::uint8_t> planes = NewPlanes(_columns, _rows);
        std::uint8_t* const first = planes.mutable_data();
        const std::int64_t size = planes.size();
        isBusy = true;
        std::int32_t status = COREMD_HOST_DONE;
        {
            const py::gil_scoped_release others;
            status = coreMD_MostFrequent(handle, ahead, first, size);
        }
        isBusy = false;
        Demand(status);
        return planes;
    }

    void Close() {
        if (isBusy) {
            throw std::runtime_error("another thread is using these pictures");
        }
        _priming.reset();
    }

    std::string Text() const {
        return "<coremd.Priming" + (!_priming ? std::string(", closed>")
                                    : isBusy  ? std::string(", at work>")
                                              : " with " + std::to_string(Pictures()) + " pictures of " +
                                                   std::to_string(_columns) + "x" + std::to_string(_rows) + " blocks>");
    }

    bool isBusy = false;

private:
    std::int32_t _columns, _rows;
    std::unique_ptr<coreMD_Priming, EndPriming> _priming;
};

// What disturbs pictures, or did.
struct Disturbance {
    double begin = 0;
    std::optional<double> end;  // absent: it goes on
    bool hasBegun = false, hasEnded = false;
};

// Copies: they outlast the conditioner.
struct ConditionedFrame {
    bool isReady = false, wasShown = false, isDark = false, suppresses = false;
    py::array_t<std::uint16_t> labels, withStopped;
    std::map<std::string, Disturbance> disturbances;
};

py::array_t<coreMD_Outline> Outlines(const py::array_t<std::uint16_t>& labels) {
    const auto rows = Clamped(labels.shape(0)), columns = Clamped(labels.shape(1));
    std::int64_t count = 0;
    const std::int32_t status = coreMD_OutlineLabels(labels.data(), columns, rows, nullptr, 0, &count);
    Demand(status == COREMD_HOST_NO_ROOM ? COREMD_HOST_DONE : status);
    py::array_t<coreMD_Outline> outlines(static_cast<py::ssize_t>(count));
    Demand(coreMD_OutlineLabels(labels.data(), columns, rows, outlines.mutable_data(), count, &count));
    return outlines;
}

// Also of a frame's own labels: that array is Python's, which may have made another kind of it meanwhile.
py::array_t<coreMD_Outline> OutlineLabels(const py::object& object) {
    const py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        throw py::type_error("the labels are no array");
    }
    if (!array.dtype().is(py::dtype::of<std::uint16_t>()) && !array.dtype().equal(py::dtype::of<std::uint16_t>())) {
        throw py::type_error("the labels hold " + py::str(array.dtype()).cast<std::string>() + ", not uint16");
    }
    if (array.ndim() != 2) {
        throw py::value_error("the labels have " + std::to_string(array.ndim()) + " dimensions, not rows and columns");
    }
    return Outlines(py::array_t<std::uint16_t, py::array::c_style | py::array::forcecast>(array));
}

class Conditioner {
public:
    Conditioner(const py::object& detector, std::int32_t columns, std::int32_t rows, const std::string& range,
                const std::string& sensitivity)
        : _held(HeldBy(detector)), _columns(columns), _rows(rows) {
        coreMD_Conditioner* conditioner = nullptr;
        Demand(coreMD_CreateConditioner(columns, rows, Choice(ranges, range, "range"),
                                        Choice(sensitivities, sensitivity, "sensitivity"), &conditioner));
        _conditioner.reset(conditioner);
        DetectorAccess(*_held)->LimitToMotion(false);
    }

    void Prime(const py::object& background, const std::optional<Priming*>& restless) {
        const WholePlanes planes = PlanesOf(background, _columns, _rows);
        Priming* const pictures = restless ? *restless : nullptr;
        coreMD_Priming* const handle = pictures ? pictures->Handle() : nullptr;
        const Use use(*this);
        ++_held->generation;
        if (pictures) {
            pictures->isBusy = true;
        }
        std::int32_t status = COREMD_HOST_DONE;
        {
            const py::gil_scoped_release others;
            status = coreMD_PrimeConditioner(_conditioner.get(), planes.first, planes.size, handle, Show, this);
        }
        if (pictures) {
            pictures->isBusy = false;
        }
        Demand(status);
        DemandShown();
    }

    ConditionedFrame Detect(const py::object& array, double time, std::pair<double, double> shift) {
        const WholePlanes planes = PlanesOf(array, _columns, _rows);
        const std::int64_t ticks = TicksOf(time);
        const coreMD_Shift shift16{Sixteenths(shift.first), Sixteenths(shift.second)};
        ConditionedFrame frame{
            .labels = py::array_t<std::uint16_t>({static_cast<int>(_rows), static_cast<int>(_columns)}),
            .withStopped = py::array_t<std::uint16_t>({static_cast<int>(_rows), static_cast<int>(_columns)}),
            .disturbances = {}};
        std::uint16_t *const labels = frame.labels.mutable_data(), *const stopped = frame.withStopped.mutable_data();
        const Use use(*this);
        ++_held->generation;
        std::int32_t status = COREMD_HOST_DONE;
        {
            const py::gil_scoped_release others;
            status = coreMD_ConditionPicture(_conditioner.get(), planes.first, planes.size, &shift16, ticks, Show, this);
            if (status == COREMD_HOST_DONE) {
                status = Answer(labels, stopped, frame.isReady);
            }
        }
        Demand(status);
        DemandShown();
        coreMD_PictureState state{};
        Demand(coreMD_ConditionerState(_conditioner.get(), &state));
        frame.wasShown = state.wasShown != 0;
        frame.isDark = state.isDark != 0;
        frame.suppresses = state.suppresses != 0;
        for (std::int32_t kind = COREMD_LIGHT; kind <= COREMD_RAIN; ++kind) {
            coreMD_DisturbanceSpell spell{};
            Demand(coreMD_Disturbance(_conditioner.get(), kind, &spell));
            if (spell.isRunning != 0 || spell.begin != 0 || spell.end != 0) {
                frame.disturbances[coreMD_DisturbanceName(kind)] = {
                    SecondsOf(spell.begin), spell.isRunning != 0 ? std::nullopt : std::optional(SecondsOf(spell.end)),
                    spell.hasBegun != 0, spell.hasEnded != 0};
            }
        }
        return frame;
    }

    void Close() {
        if (_isBusy) {
            throw std::runtime_error("another thread is using this conditioner");
        }
        _conditioner.reset();
    }

    std::string Text() const {
        return _conditioner ? "<coremd.Conditioner of " + std::to_string(_columns) + "x" + std::to_string(_rows) + " blocks>"
                            : "<coremd.Conditioner, closed>";
    }

private:
    // For the time of one call: nobody else uses the conditioner, or its detector.
    class Use {
    public:
        explicit Use(Conditioner& conditioner) : _conditioner(conditioner), _detector(Checked(conditioner)) {
            conditioner._isBusy = true;
            conditioner._broken = nullptr;
            conditioner._isOutOfMemory = false;
        }
        ~Use() { _conditioner._isBusy = false; }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        static HeldDetector& Checked(Conditioner& conditioner) {
            if (conditioner._isBusy) {
                throw std::runtime_error("another thread is using this conditioner");
            }
            if (!conditioner._conditioner) {
                throw py::value_error("the conditioner is closed");
            }
            return *conditioner._held;
        }

        Conditioner& _conditioner;
        DetectorAccess _detector;
    };

    static std::int32_t Sixteenths(double pixels) {
        if (!(pixels >= -13 && pixels <= 13)) {
            throw py::value_error("shift is not between -13 and 13 pixels");
        }
        return static_cast<std::int32_t>(pixels * 16 + (pixels < 0 ? -0.5 : 0.5));
    }

    // Called while other threads run: no exception, nothing of Python.
    static void Show(void* context, std::uint8_t* ycbcr, std::int64_t stamp) {
        auto& self = *static_cast<Conditioner*>(context);
        const auto blocks = static_cast<std::size_t>(self._columns) * static_cast<std::size_t>(self._rows);
        try {
            const coremd::Attempt attempt = self._held->detector->TryDetect({.columns = self._columns,
                                                                             .rows = self._rows,
                                                                             .ycbcr = {ycbcr, 3 * blocks},
                                                                             .time = coremd::Ticks(stamp),
                                                                             .fps = 1000,
                                                                             .detectShadow = true});
            if (!attempt) {
                self._broken = attempt.error();
            }
        } catch (const std::bad_alloc&) {
            self._isOutOfMemory = true;
        }
    }

    void DemandShown() const {
        if (_isOutOfMemory) {
            throw std::bad_alloc();
        }
        if (_broken) {
            throw py::value_error(_broken);
        }
    }

    // What the detector says of the picture, as labels; while other threads run.
    std::int32_t Answer(std::uint16_t* labels, std::uint16_t* stopped, bool& isReady) {
        const std::int64_t blocks = std::int64_t{_columns} * _rows;
        const std::uint16_t* objects = nullptr;
        const std::uint8_t* states = nullptr;
        if (!_broken && !_isOutOfMemory && _held->detector->Columns() == _columns && _held->detector->Rows() == _rows &&
            _held->detector->Summary().isReady) {
            for (const coremd::ZoneResult& zones : _held->detector->ZoneResults()) {  // one: they are merged
                objects = zones.Labels().data();
                states = zones.States().data();
            }
        }
        isReady = objects != nullptr;
        const std::int32_t status = coreMD_ConditionAnswer(_conditioner.get(), objects, states, labels, blocks);
        return status == COREMD_HOST_DONE ? coreMD_LabelsWithStopped(_conditioner.get(), stopped, blocks) : status;
    }

    std::shared_ptr<HeldDetector> _held;
    std::int32_t _columns, _rows;
    std::unique_ptr<coreMD_Conditioner, EndConditioner> _conditioner;
    bool _isBusy = false;
    const char* _broken = nullptr;  // what the detector would not take of the newest pictures shown; null: it took all
    bool _isOutOfMemory = false;
};

void AddConditionedResults(py::module_& module) {
    PYBIND11_NUMPY_DTYPE(coreMD_Outline, label, blocks, left, top, right, bottom);
    py::class_<Disturbance>(module, "Disturbance", "Something that is no motion, from when to when. Seconds.")
        .def_readonly("begin", &Disturbance::begin, "The first picture that showed it.")
        .def_readonly("end", &Disturbance::end, "The picture at which it was over; None while it goes on.")
        .def_readonly("has_begun", &Disturbance::hasBegun, "Whether it began with this picture.")
        .def_readonly("has_ended", &Disturbance::hasEnded, "Whether it ended with this picture.")
        .def("__repr__", [](const Disturbance& one) {
            return "<coremd.Disturbance from " + std::to_string(one.begin) + " s" +
                   (one.end ? " to " + std::to_string(*one.end) + " s>" : std::string(", going on>"));
        });
    py::class_<ConditionedFrame>(module, "ConditionedFrame",
                                 "What one picture gave. True where something moves. All copies.")
        .def_readonly("is_ready", &ConditionedFrame::isReady, "Whether the detector has seen enough.")
        .def_readonly("was_shown", &ConditionedFrame::wasShown, "Whether the detector was shown the picture.")
        .def_readonly("is_dark", &ConditionedFrame::isDark, "Whether nothing is to be seen but darkness.")
        .def_readonly("suppresses", &ConditionedFrame::suppresses, "Whether a disturbance makes it tell no motion.")
        .def_readonly("labels", &ConditionedFrame::labels,
                      "uint16 [rows, columns]: 0 where nothing moves, else an object's.")
        .def_readonly("with_stopped", &ConditionedFrame::withStopped,
                      "The same labels, with objects that stopped up to 30 seconds ago.")
        .def_readonly("disturbances", &ConditionedFrame::disturbances,
                      "The last of each kind that there was, by name: light, infrared, shaking, moved, covered, frozen, "
                      "rain-like.")
        .def_property_readonly(
            "table", [](const ConditionedFrame& frame) { return OutlineLabels(frame.labels); },
            "The objects as a structured array: label, blocks, left, top, right, bottom; int32, in blocks, ends included.")
        .def("__bool__", [](const ConditionedFrame& frame) { return OutlineLabels(frame.labels).size() > 0; })
        .def("__repr__", [](const ConditionedFrame& frame) {
            return "<coremd.ConditionedFrame with " + std::to_string(OutlineLabels(frame.labels).size()) + " objects" +
                   (frame.isReady ? "" : ", history not yet filled") + (frame.suppresses ? ", disturbed>" : ">");
        });
    module.def("outline_labels", &OutlineLabels, py::arg("labels"),
               "The objects of any label map, uint16 [rows, columns], as the table of a ConditionedFrame: by rising label.");
}

void AddPriming(py::module_& module) {
    py::class_<Priming>(module, "Priming")
        .def(py::init<std::int32_t, std::int32_t, std::int32_t>(), py::arg("columns"), py::arg("rows"), py::kw_only(),
             py::arg("most") = 100, R"(Room for the first pictures of a stream, from which a background is made.

columns, rows: blocks, 1..9999. most: pictures, 1..13107.)")
        .def("keep", &Priming::Keep, py::arg("planes"), "Keeps a copy of planes, uint8 [3, rows, columns].")
        .def("__len__", &Priming::Pictures)
        .def("__getitem__", &Priming::Picture)
        .def("forget", &Priming::Forget, "Forgets all pictures.")
        .def("most_frequent", &Priming::MostFrequent, py::arg("ahead") = 4,
             "Planes of what was most often to be seen in each block; what stands still for `ahead` pictures weighs most: "
             "those of two thirds of a second. Other threads run meanwhile.")
        .def("close", &Priming::Close, "Frees the pictures.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](Priming& self, const py::args&) { self.Close(); })
        .def("__repr__", &Priming::Text);
}

}  // namespace

void AddConditioning(py::module_& module) {
    AddConditionedResults(module);
    AddPriming(module);
    py::class_<Conditioner>(module, "Conditioner")
        .def(py::init<const py::object&, std::int32_t, std::int32_t, const std::string&, const std::string&>(),
             py::arg("detector"), py::arg("columns"), py::arg("rows"), py::kw_only(), py::arg("range") = "limited",
             py::arg("sensitivity") = "normal", R"(All that mdscan does between its reducer and its events.

Balances brightness, takes a restless place for what it is, holds what stopped for half a second as motion, and watches for
what is no motion. Show 5 to 8 pictures a second; where the stream starts anew, make a new one with a new detector.
detector: a new Detector, with its zones; from now on the conditioner shows it what it sees.
columns, rows: blocks, 1..9999. range: limited or full. sensitivity: low, normal or high.)")
        .def("prime", &Conditioner::Prime, py::arg("background"), py::arg("restless") = py::none(),
             R"(What the scene looks like when nothing happens, before the first picture.

background: planes, uint8 [3, rows, columns], such as Priming.most_frequent gives.
restless: a Priming in which leaves and water are looked for.)")
        .def("detect", &Conditioner::Detect, py::arg("planes"), py::kw_only(), py::arg("time"),
             py::arg("shift") = std::pair(0.0, 0.0), R"(The next picture; returns a ConditionedFrame.

planes: uint8 [3, rows, columns], as reduced, not copied. time: seconds, not below that of the picture before.
shift: what the reducer took back, pixels right and down: BlockReducer.shift.
Other threads run meanwhile. ValueError, with the condition, for what the library would not take.)")
        .def("close", &Conditioner::Close, "Frees what it holds; the detector stays.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](Conditioner& self, const py::args&) { self.Close(); })
        .def("__repr__", &Conditioner::Text);
}

}  // namespace Python
