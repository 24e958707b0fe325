// What can Python do with decoded pictures?
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Bindings.h"
#include "Planes.h"
#include "Records.h"
#include "coreMD-host.h"

namespace py = pybind11;

namespace Python {
namespace {

struct Layout {
    std::int32_t code;
    int planes;
    int across, down;  // by what chroma is divided
    int perPixel;      // samples of the chroma plane for each of its columns
    int bytes = 1;     // of a sample
};

const std::map<std::string, Layout> layouts = {
    {"yuv420", {COREMD_YUV420, 3, 2, 2, 1}},
    {"yuv422", {COREMD_YUV422, 3, 2, 1, 1}},
    {"yuv444", {COREMD_YUV444, 3, 1, 1, 1}},
    {"nv12", {COREMD_NV12, 2, 2, 2, 2}},
    {"grey", {COREMD_GREY, 1, 1, 1, 1}},
    {"p010", {COREMD_P010, 2, 2, 2, 2, 2}},
    {"yuv420p10", {COREMD_YUV420P10, 3, 2, 2, 1, 2}},
};
const std::map<std::string, std::int32_t> stabilisings = {
    {"off", COREMD_STABILISE_OFF}, {"auto", COREMD_STABILISE_AUTO}, {"on", COREMD_STABILISE_ON}};
class BlockReducer {
public:
    using Crop = std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t>;

    BlockReducer(std::int32_t width, std::int32_t height, const std::string& layout, std::int32_t block,
                 const std::string& range, const std::optional<Crop>& crop, const std::string& stabilise)
        : _layout(Choice(layouts, layout, "layout")), _layoutName(layout) {
        _format.width = width;
        _format.height = height;
        _format.layout = _layout.code;
        _format.blockSize = block != 0 ? block : coreMD_ChooseBlockSize(width, height, usualColumns);
        _format.range = Choice(ranges, range, "range");
        if (crop) {
            std::tie(_format.cropLeft, _format.cropTop, _format.cropWidth, _format.cropHeight) = *crop;
        }
        coreMD_Reducer* reducer = nullptr;
        Demand(coreMD_CreateReducer(&_format, Choice(stabilisings, stabilise, "stabilise"), &reducer));
        _reducer.reset(reducer);
        Demand(coreMD_ReducerGrid(reducer, &_grid));
    }

    py::array_t<std::uint8_t> Reduce(const py::args& arrays) {
        if (arrays.size() != static_cast<std::size_t>(_layout.planes)) {
            throw py::value_error(_layoutName + " has " + std::to_string(_layout.planes) + " planes");
        }
        std::array<Plane, 3> planes;
        coreMD_Picture picture{};
        for (std::size_t i = 0; i < arrays.size(); ++i) {
            planes[i] = PlaneOf(arrays[i], "plane " + std::to_string(i), _layout.bytes);
            const int across = i == 0 ? 1 : _layout.across, down = i == 0 ? 1 : _layout.down;
            const int perPixel = i == 0 ? 1 : _layout.perPixel;
            const std::ptrdiff_t rows = (_format.height + down - 1) / down;
            const std::ptrdiff_t columns = (_format.width + across - 1) / across * std::ptrdiff_t{perPixel};
            if (planes[i].rows != rows || planes[i].columns != columns) {
                throw py::value_error("plane " + std::to_string(i) + " has " + std::to_string(planes[i].rows) + " rows of " +
                                      std::to_string(planes[i].columns) + (_layout.bytes == 1 ? " bytes" : " samples") +
                                      ", not " + std::to_string(rows) + " of " + std::to_string(columns));
            }
            picture.plane[i] = planes[i].first;
            picture.stride[i] = planes[i].stride;
        }
        DemandUse();
        py::array_t<std::uint8_t> blocks = NewPlanes(_grid.columns, _grid.rows);
        std::uint8_t* const ycbcr = blocks.mutable_data();
        _isBusy = true;
        std::int32_t status = COREMD_HOST_DONE;
        {
            const py::gil_scoped_release others;
            status = coreMD_Reduce(_reducer.get(), &picture, ycbcr, blocks.size(), &_shift);
        }
        _isBusy = false;
        Demand(status);
        return blocks;
    }

    void Close() {
        if (_isBusy) {
            throw std::runtime_error("another thread is using this reducer");
        }
        _reducer.reset();
    }

    const coreMD_Grid& Grid() const { return _grid; }
    int Columns() const { return _grid.columns; }
    int Rows() const { return _grid.rows; }
    int Block() const { return _grid.blockSize; }
    std::pair<double, double> Shift() const { return {_shift.dx16 / 16.0, _shift.dy16 / 16.0}; }

    std::string Text() const {
        if (!_reducer) {
            return "<coremd.BlockReducer, closed>";
        }
        return "<coremd.BlockReducer of " + _layoutName + " " + std::to_string(_format.width) + "x" +
               std::to_string(_format.height) + " to " + std::to_string(_grid.columns) + "x" + std::to_string(_grid.rows) +
               " blocks of " + std::to_string(_grid.blockSize) + " pixels>";
    }

private:
    static constexpr std::int32_t usualColumns = 240;

    void DemandUse() const {
        if (_isBusy) {
            throw std::runtime_error("another thread is using this reducer");
        }
        if (!_reducer) {
            throw py::value_error("the reducer is closed");
        }
    }

    struct End {
        void operator()(coreMD_Reducer* reducer) const { coreMD_DestroyReducer(&reducer); }
    };

    Layout _layout;
    std::string _layoutName;
    coreMD_PictureFormat _format = {};
    coreMD_Grid _grid = {};
    coreMD_Shift _shift = {};
    std::unique_ptr<coreMD_Reducer, End> _reducer;
    bool _isBusy = false;
};

}  // namespace

void AddBlockReducer(py::module_& module) {
    py::class_<BlockReducer>(module, "BlockReducer")
        .def(py::init<std::int32_t, std::int32_t, const std::string&, std::int32_t, const std::string&,
                      const std::optional<BlockReducer::Crop>&, const std::string&>(),
             py::arg("width"), py::arg("height"), py::arg("layout") = "yuv420", py::kw_only(), py::arg("block") = 0,
             py::arg("range") = "limited", py::arg("crop") = py::none(), py::arg("stabilise") = "off",
             R"(Decoded pictures of one stream -> blocks.

width, height: pixels. layout: yuv420, yuv422, yuv444, nv12 or grey, 8 bits;
yuv420p10, ten bits in the lower ones of two bytes; p010, nv12 of ten bits in the upper ones.
block: pixels along one side of a block, 1..64; 0: a power of two that gives at most 240 columns.
range: limited or full. crop: left, top, width, height in pixels. stabilise: off, auto or on, for a camera that shakes.)")
        .def("reduce", &BlockReducer::Reduce,
             R"(The planes of a picture -> uint8 [3, rows, columns], the rounded means of Y, Cb and Cr.

Each plane an array [rows, columns] of uint8, of ten bits uint16, with rows of any stride;
the second of nv12 and p010 is [rows, columns / 2, 2] or [rows, columns].
Other threads run meanwhile.)")
        .def_property_readonly("columns", &BlockReducer::Columns, "Blocks in a row.")
        .def_property_readonly("rows", &BlockReducer::Rows, "Rows of blocks.")
        .def_property_readonly("block", &BlockReducer::Block, "Pixels along one side of a block.")
        .def_property_readonly("shift", &BlockReducer::Shift,
                               "What was taken back of the last picture's shift: right, down, in pixels.")
        .def_property_readonly("grid", &BlockReducer::Grid, "How the pictures are divided, a Grid.")
        .def("close", &BlockReducer::Close, "Frees what it holds.")
        .def("__enter__", [](py::object self) { return self; })
        .def("__exit__", [](BlockReducer& self, const py::args&) { self.Close(); })
        .def("__repr__", &BlockReducer::Text);
}

}  // namespace Python
