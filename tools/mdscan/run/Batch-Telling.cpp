// Whose turn is it to be told and shown?
#include <exception>
#include <functional>
#include <utility>
#include <variant>

#include "outputs/RunOutputs.h"
#include "results/JsonLines.h"
#include "results/PictureLines.h"
#include "results/Records.h"
#include "results/ScanPictures.h"
#include "run/Batch.h"
#include "run/RunState.h"
#include "run/SpillFile.h"

namespace Scan {

// Lines of one input follow those of another, but for live sources; so do inputs on a page, where a live source takes its
// turn, too: what it tells waits for that in a file.
void Batch::TellInOrder() {
    const bool hasPage = !_settings.files.report.empty();
    bool isTurn = true, isTurnOnPage = true;  // nothing before is still to come
    for (std::size_t i = _head; i < _items.size(); ++i) {
        Item& item = _items[i];
        if (!item.isClosed && (isTurn || item.isLive)) {
            if (item.told < item.records.size() || (item.result && !item.isTold)) {
                _progress.Clear();  // both may go to the same terminal
            }
            HandOn(item, isTurnOnPage || (item.isLive && !hasPage));
        }
        isTurn = isTurn && (item.isTold || item.isLive);
        isTurnOnPage = isTurnOnPage && (item.isClosed || (item.isLive && !hasPage));
    }
    while (_head < _items.size() && _items[_head].isClosed) {
        ++_head;
    }
}

// What has come of this item since the last call.
void Batch::HandOn(Item& item, bool mayShow) {
    if (item.recalled) {
        HandOnRecalled(item, mayShow);
        return;
    }
    if (mayShow) {
        ShowWaiting(item);
    }
    for (; item.told < item.records.size(); ++item.told) {
        const Record& record = item.records[item.told];
        Tell(item, record);
        if (mayShow) {
            _results.Show(item.input.path, record);
        } else if (!std::holds_alternative<FrameRecord>(record)) {  // of which there are many, and no page shows them
            Spill([&] { item.waiting.push_back(_spillFile.Add(LineOf(record))); });
        }
    }
    if (item.isLive) {
        item.records.clear();  // there is no end to them
        item.told = 0;
    }
    if (item.result && !std::exchange(item.isTold, true)) {
        _results.TellEnd(item.input.path, *item.result);
        item.records = {};
        item.told = 0;
    }
    if (item.result && mayShow) {
        Close(item);
    }
}

// The state holds it for as long as it takes: it is read for the lines, and once more where the page comes later.
void Batch::HandOnRecalled(Item& item, bool mayShow) {
    const bool isToBeTold = !std::exchange(item.isTold, true);
    if (!isToBeTold && !mayShow) {
        return;
    }
    const RecalledInput recalled = _state->Read(item.input.path);
    if (mayShow) {
        for (const ScanPicture& picture : recalled.pictures) {
            _results.Show(item.input.path, picture);
        }
    }
    for (const Record& record : recalled.records) {
        if (isToBeTold) {
            Tell(item, record);
        }
        if (mayShow) {
            _results.Show(item.input.path, record);
        }
    }
    if (isToBeTold) {
        _results.TellEnd(item.input.path, *item.result);
    }
    if (mayShow) {
        Close(item);
    }
}

void Batch::Tell(Item& item, const Record& record) {
    item.note.Take(record);
    _results.Tell(item.input.path, record);
}

// An event's picture goes before its record.
void Batch::ShowWaiting(Item& item) {
    for (; item.shown < item.pictures.size(); ++item.shown) {
        Spill([&] { _results.Show(item.input.path, PictureOf(_spillFile.Get(item.pictures[item.shown]))); });
    }
    for (const SpillFile::Place& place : item.waiting) {
        Spill([&] { _results.Show(item.input.path, RecordOfLine(_spillFile.Get(place))); });
    }
    item.waiting.clear();
}

void Batch::Close(Item& item) {
    _results.ShowEnd(item.input.path, *item.result);
    item.pictures = {};
    item.shown = 0;
    item.isClosed = true;
}

// Only what is shown waits in that file: a full disk takes the page and the heat maps, and nothing else.
void Batch::Spill(const std::function<void()>& work) {
    if (!_spills) {
        return;
    }
    try {
        work();
    } catch (const std::exception& error) {  // or what it holds is damaged
        _spills = false;
        _results.GiveUpShowing(error.what());
    }
}

}  // namespace Scan
