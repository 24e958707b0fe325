// What did one frame give, and until when may it be read?
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "DetectorHandle.h"

namespace Python {

// One row of Frame.table, in blocks, ends included.
struct ObjectRow {
    std::int32_t left, top, right, bottom, blocks;
};

// That which results of a frame have in common: the detector whose memory they show, and the generation they belong to.
class Shown {
public:
    explicit Shown(std::shared_ptr<HeldDetector> held) : _held(std::move(held)), _generation(_held->generation) {}

    // ValueError once the detector has gone on.
    void Check() const {
        if (_held->isBusy || _held->generation != _generation) {
            throw pybind11::value_error("the detector has gone on since: copy what is to be kept before the next frame");
        }
    }

private:
    std::shared_ptr<HeldDetector> _held;
    std::uint64_t _generation;
};

// An array of the detector's own, one element per block.
template <class Element>
class BlockMap {
public:
    BlockMap(Shown shown, const Element* first, int rows, int columns)
        : _shown(std::move(shown)), _first(first), _rows(rows), _columns(columns) {}

    int Rows() const { return _rows; }
    int Columns() const { return _columns; }

    pybind11::array_t<Element> Copy() const {
        _shown.Check();
        return pybind11::array_t<Element>({_rows, _columns}, _first);
    }

private:
    Shown _shown;
    const Element* _first;
    int _rows, _columns;
};

class Object {
public:
    Object(Shown shown, const coremd::Object& object) : _shown(std::move(shown)), _object(object) {}

    ObjectRow Row() const {
        const coremd::Box box = _object.Bounds();
        return {box.left, box.top, box.right, box.bottom, _object.BlockCount()};
    }

    // [blocks, 2]: column and row of each, in the order in which they were found.
    pybind11::array_t<std::int16_t> Blocks() const {
        _shown.Check();
        pybind11::array_t<std::int16_t> blocks({static_cast<pybind11::ssize_t>(_object.BlockCount()), pybind11::ssize_t{2}});
        std::int16_t* place = blocks.mutable_data();
        for (const coremd::Block block : _object.Blocks()) {
            *place++ = static_cast<std::int16_t>(block.column);
            *place++ = static_cast<std::int16_t>(block.row);
        }
        return blocks;
    }

private:
    Shown _shown;
    coremd::Object _object;
};

struct Frame {
    bool isReady = false;
    std::vector<Object> objects;
    std::shared_ptr<BlockMap<std::uint16_t>> labels;  // null: not ready
    std::shared_ptr<BlockMap<std::uint8_t>> states;   // likewise
};

// Reads the detector's newest result.
Frame ReadFrame(const std::shared_ptr<HeldDetector>& held, coremd::Detector& detector);

}  // namespace Python
