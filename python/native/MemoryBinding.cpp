// What can Python keep of a background, and how do polygons become masks?
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Bindings.h"
#include "Planes.h"
#include "Records.h"
#include "ZoneShapes.h"
#include "coreMD-host.h"
#include "video/zones/ZoneMask.h"

namespace py = pybind11;

namespace Python {
namespace {

std::string TextOf(const coreMD_Grid& grid) {
    return std::to_string(grid.columns) + "x" + std::to_string(grid.rows) + " blocks of " + std::to_string(grid.blockSize) +
           " pixels";
}

coreMD_Grid GridFrom(std::int32_t columns, std::int32_t rows, std::int32_t width, std::int32_t height, std::int32_t block) {
    const auto blocks = [&](std::int32_t pixels) { return (std::int64_t{pixels} + block - 1) / block; };
    if (columns < 1 || columns > 9999 || rows < 1 || rows > 9999 || width < 1 || height < 1 || block < 1) {
        Demand(COREMD_HOST_OUT_OF_RANGE);
    }
    if (blocks(width) != columns || blocks(height) != rows) {
        throw py::value_error("the picture has other columns or rows of such blocks");
    }
    return {.columns = columns, .rows = rows, .width = width, .height = height, .blockSize = block};
}

struct BackgroundMemory {
    coreMD_Grid grid{};
    py::array_t<std::uint8_t> planes;
    py::array_t<bool> known;
    double time = 0;

    static BackgroundMemory From(const coreMD_Grid& grid, const py::object& array, const std::optional<py::object>& known,
                                 double time) {
        SecondsOf(TicksOf(time));
        const WholePlanes given = PlanesOf(array, grid.columns, grid.rows);
        BackgroundMemory memory{.grid = grid,
                                .planes = NewPlanes(grid.columns, grid.rows),
                                .known = py::array_t<bool>({static_cast<int>(grid.rows), static_cast<int>(grid.columns)}),
                                .time = time};
        std::copy_n(given.first, given.size, memory.planes.mutable_data());
        bool* place = memory.known.mutable_data();
        std::fill_n(place, memory.known.size(), true);
        if (known) {
            const Plane plane = PlaneOf(*known, "known");
            if (plane.rows != grid.rows || plane.columns != grid.columns) {
                throw py::value_error("known has other rows or columns than the grid");
            }
            for (std::ptrdiff_t row = 0; row < plane.rows; ++row) {
                for (std::ptrdiff_t column = 0; column < plane.columns; ++column) {
                    *place++ = plane.first[row * plane.stride + column] != 0;
                }
            }
        }
        return memory;
    }

    static BackgroundMemory Load(const py::bytes& bytes, const coreMD_Grid& grid) {
        const std::string_view view = bytes;
        BackgroundMemory memory{.grid = grid,
                                .planes = NewPlanes(grid.columns, grid.rows),
                                .known = py::array_t<bool>({static_cast<int>(grid.rows), static_cast<int>(grid.columns)})};
        std::vector<std::uint8_t> isKnown(static_cast<std::size_t>(memory.known.size()));
        std::int64_t ticks = 0;
        Demand(coreMD_UnpackBackground(reinterpret_cast<const std::uint8_t*>(view.data()),
                                       static_cast<std::int64_t>(view.size()), &grid, &ticks, memory.planes.mutable_data(),
                                       isKnown.data(), static_cast<std::int64_t>(isKnown.size())));
        std::transform(isKnown.begin(), isKnown.end(), memory.known.mutable_data(),
                       [](std::uint8_t flag) { return flag != 0; });
        memory.time = SecondsOf(ticks);
        return memory;
    }

    py::bytes Bytes() const {
        // The arrays are Python's: what became of them meanwhile is checked anew.
        const WholePlanes whole = PlanesOf(planes, grid.columns, grid.rows);
        std::vector<std::uint8_t> isKnown(static_cast<std::size_t>(known.size()));
        if (known.size() != std::int64_t{grid.columns} * grid.rows) {
            throw py::value_error("known has other rows or columns than the grid");
        }
        std::transform(known.data(), known.data() + known.size(), isKnown.begin(),
                       [](bool flag) { return static_cast<std::uint8_t>(flag ? 255 : 0); });
        std::int64_t needed = 0;
        const std::int32_t asked =
            coreMD_PackBackground(&grid, TicksOf(time), whole.first, isKnown.data(), nullptr, 0, &needed);
        Demand(asked == COREMD_HOST_NO_ROOM ? COREMD_HOST_DONE : asked);
        std::vector<std::uint8_t> memory(static_cast<std::size_t>(needed));
        Demand(coreMD_PackBackground(&grid, TicksOf(time), whole.first, isKnown.data(), memory.data(), needed, &needed));
        return {reinterpret_cast<const char*>(memory.data()), memory.size()};
    }
};

py::array_t<bool> PolygonMask(const py::object& polygon, const coreMD_Grid& grid) {
    const Video::Zone zone{.name = "", .polygon = PolygonOf(polygon, "polygon")};
    const std::vector<std::uint8_t> mask = Video::ZoneMask(zone, {.pictureWidth = grid.width,
                                                                  .pictureHeight = grid.height,
                                                                  .blockSize = grid.blockSize,
                                                                  .columns = grid.columns,
                                                                  .rows = grid.rows});
    py::array_t<bool> result({static_cast<int>(grid.rows), static_cast<int>(grid.columns)});
    std::transform(mask.begin(), mask.end(), result.mutable_data(), [](std::uint8_t flag) { return flag != 0; });
    return result;
}

}  // namespace

void AddMemories(py::module_& module) {
    py::class_<coreMD_Grid>(module, "Grid", "How a picture is divided into blocks.")
        .def(py::init(&GridFrom), py::arg("columns"), py::arg("rows"), py::arg("width"), py::arg("height"), py::arg("block"))
        .def_readonly("columns", &coreMD_Grid::columns, "Blocks in a row.")
        .def_readonly("rows", &coreMD_Grid::rows, "Rows of blocks.")
        .def_readonly("width", &coreMD_Grid::width, "Pixels of the part that counts.")
        .def_readonly("height", &coreMD_Grid::height, "Likewise.")
        .def_readonly("block", &coreMD_Grid::blockSize, "Pixels along one side of a block.")
        .def("__eq__",
             [](const coreMD_Grid& one, const py::object& other) {
                 if (!py::isinstance<coreMD_Grid>(other)) {
                     return false;
                 }
                 const auto& two = other.cast<const coreMD_Grid&>();
                 return one.columns == two.columns && one.rows == two.rows && one.width == two.width &&
                        one.height == two.height && one.blockSize == two.blockSize;
             })
        .def("__hash__",
             [](const coreMD_Grid& grid) {
                 return py::hash(py::make_tuple(grid.columns, grid.rows, grid.width, grid.height, grid.blockSize));
             })
        .def("__repr__", [](const coreMD_Grid& grid) { return "<coremd.Grid of " + TextOf(grid) + ">"; });
    py::class_<BackgroundMemory>(module, "BackgroundMemory")
        .def(py::init(&BackgroundMemory::From), py::arg("grid"), py::arg("planes"), py::arg("known") = py::none(),
             py::kw_only(), py::arg("time") = 0.0, R"(What a scene looks like when nothing happens, to be kept.

grid: of the pictures, BlockReducer.grid. planes: uint8 [3, rows, columns]; known: bool [rows, columns], where it was
learned, None: everywhere; both are copied. time: seconds, when it was.)")
        .def_static("from_bytes", &BackgroundMemory::Load, py::arg("memory"), py::arg("grid"),
                    "What to_bytes gave, on any machine. ValueError where it is not whole, or of another grid.")
        .def("to_bytes", &BackgroundMemory::Bytes, "Bytes that survive other settings and versions, with a checksum.")
        .def_readonly("grid", &BackgroundMemory::grid, "Of the pictures.")
        .def_readonly("planes", &BackgroundMemory::planes, "uint8 [3, rows, columns].")
        .def_readonly("known", &BackgroundMemory::known, "bool [rows, columns]: where it was learned.")
        .def_readonly("time", &BackgroundMemory::time, "Seconds, when it was.")
        .def("__repr__", [](const BackgroundMemory& memory) {
            return "<coremd.BackgroundMemory of " + TextOf(memory.grid) + ", at " + std::to_string(memory.time) + " s>";
        });
    module.def("polygon_mask", &PolygonMask, py::arg("polygon"), py::arg("grid"),
               R"(The blocks whose centres lie in a polygon, as mdscan has it: bool [rows, columns], a zone for a Detector.

polygon: at least three corners (x, y), fractions 0..1 of the picture. One too thin to hold a centre gets the blocks along
its middle. grid: BlockReducer.grid.)");
}

}  // namespace Python
