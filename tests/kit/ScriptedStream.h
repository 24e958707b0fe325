// What is a long, eventful stream?  Things and shadows that come and go, a flickering corner, drifting light, noise,
// irregular times, I-frames and P-frames: all drawn from a seed. Used where runs are compared, not where results are known.
#pragma once

#include <cstdint>
#include <vector>

#include "SeededRandom.h"
#include "StreamScene.h"

namespace Kit {

enum class GroundKind { Flat, Texture, Checkerboard, Lattice };

struct StreamScript {
    InputKind kind = InputKind::Standard;
    int columns = 24, rows = 18;
    std::uint64_t seed = 1;
    GroundKind ground = GroundKind::Texture;
    int things = 2, shadows = 0;
    int noise = 1;  // grey levels
    bool hasFlicker = true, hasDrift = false;
    std::int64_t interval = oneSecond / 5;  // from frame to frame
    int jitterPercent = 0;                  // of the interval, either way
    double fps = 25.0;                      // as told to the detector
};

class ScriptedStream {
public:
    explicit ScriptedStream(const StreamScript& script, std::int64_t firstTime = 0)
        : _script(script),
          _random(script.seed),
          _feed(script.kind, script.interval, firstTime),
          _ground(MakeGround()),
          _current(_ground) {
        _feed.fps = script.fps;
        for (int i = 0; i < script.things + script.shadows; ++i) _movers.push_back(MakeMover());
    }

    int BlockCount() const { return _script.columns * _script.rows; }
    std::int64_t NextTime() const { return _feed.nextTime; }
    Picture& Ground() { return _ground; }

    // Valid until the next call.
    DetectionInfo Next() {
        const Picture before = _current;
        Paint();
        ChooseFrameType(before);
        if (_script.jitterPercent > 0)
            _feed.interval = _script.interval * (100 + _random.Between(-_script.jitterPercent, _script.jitterPercent)) / 100;
        _feed.passThroughFlag = _random.OneIn(2);
        ++_frame;
        return _feed.Next(_current);
    }

private:
    struct Mover {
        Rectangle place{};
        int stepX = 0, stepY = 0, luma = 0, cb = 0, cr = 0;
    };

    static constexpr int calm = 45, busy = 60;  // frames: long enough to learn, then something happens

    Picture MakeGround() {
        Picture ground(_script.columns, _script.rows);
        switch (_script.ground) {
            case GroundKind::Flat: Fill(ground, ground.Whole(), 100); break;
            case GroundKind::Texture: ground = Texture(_script.columns, _script.rows, _random, 30, 200); break;
            case GroundKind::Checkerboard: ground = Checkerboard(_script.columns, _script.rows, 80, 140); break;
            case GroundKind::Lattice: ground = Lattice(_script.columns, _script.rows, 4, 150, 90); break;
        }
        return ground;
    }

    Mover MakeMover() {
        Mover mover;
        mover.place = {_random.Between(0, _script.columns - 1), _random.Between(0, _script.rows - 1), _random.Between(1, 7),
                       _random.Between(1, 6)};
        mover.stepX = _random.Between(-2, 2);
        mover.stepY = _random.Between(-1, 1);
        mover.luma = _random.Between(0, 255);
        mover.cb = _random.Between(100, 156);
        mover.cr = _random.Between(100, 156);
        return mover;
    }

    bool IsBusy() const { return _frame % (calm + busy) >= calm; }

    void Paint() {
        _current = _ground;
        if (_script.hasDrift) Brighten(_current, _current.Whole(), _frame / 25 % 12);
        if (IsBusy()) {
            for (std::size_t i = 0; i < _movers.size(); ++i) {
                Mover& mover = _movers[i];
                if (static_cast<int>(i) < _script.things) Fill(_current, mover.place, mover.luma, mover.cb, mover.cr);
                else Darken(_current, mover.place, 75);
                mover.place.left = Wrapped(mover.place.left + mover.stepX, _script.columns);
                mover.place.top = Wrapped(mover.place.top + mover.stepY, _script.rows);
                if (_random.OneIn(40)) mover = MakeMover();
            }
        }
        if (_script.hasFlicker && _frame % 2 == 0 && _frame > calm)
            Brighten(_current, {_script.columns - 4, _script.rows - 3, 4, 3}, 70);
        AddNoise(_current, _random, _script.noise, 3);
    }

    static int Wrapped(int position, int size) { return position < -6 ? size - 1 : position >= size ? -5 : position; }

    void ChooseFrameType(const Picture& before) {
        if (_script.kind == InputKind::MPEG4) {
            _feed.isIFrame = _frame % 12 == 0;
            if (_random.OneIn(10)) _feed.referenceLuma.clear();
            else _feed.Refer(before);
        } else if (_script.kind == InputKind::PartlyH264) {
            const int stretch = _frame / 80 % 3;  // groups of five, I-frames only, groups of twenty
            _feed.isIFrame = stretch == 1 || _frame % (stretch == 0 ? 5 : 20) == 0;
        } else {
            _feed.isIFrame = _random.OneIn(2);
        }
    }

    StreamScript _script;
    SeededRandom _random;
    FrameFeed _feed;
    Picture _ground, _current;
    std::vector<Mover> _movers;
    int _frame = 0;
};

}  // namespace Kit
