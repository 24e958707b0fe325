// How are counts and lengths worded?
#include "results/TallyText.h"

#include <array>
#include <cstdio>

#include "results/JobResult.h"
#include "results/VisibleText.h"
#include "video/base/Damage.h"
#include "video/base/Tally.h"
#include "video/time/TickTime.h"

namespace Scan {

namespace {

template <typename... Values>
std::string Text(const char* format, Values... values) {
    std::array<char, 256> line = {};
    std::snprintf(line.data(), line.size(), format, values...);
    return line.data();
}

}  // namespace

std::string Counted(std::int64_t count, const char* one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string ResultText(const JobResult& result) {
    if (result.tally.elapsed == 0) {
        return result.trouble;  // it was not even opened
    }
    return (result.trouble.empty() ? "" : result.trouble + "; ") + TallyText(result.tally);
}

std::string TallyText(const Video::Tally& tally) {
    std::string text = Counted(tally.pictures, "picture") + Text(" (%.1f s), %lld analysed", Video::ToSeconds(tally.length),
                                                                 static_cast<long long>(tally.analysed));
    if (tally.analysed > 0) {
        const bool isOne = tally.grid.columns == 1 && tally.grid.rows == 1;
        text += Text(" on %dx%d %s of ", tally.grid.columns, tally.grid.rows, isOne ? "block" : "blocks") +
                Counted(tally.grid.blockSize, "pixel");
    }
    if (tally.gops.gops > 0) {
        text += Text("; decoded %d of ", tally.gops.decoded) + Counted(tally.gops.gops, "group");
        if (tally.gops.tooLong > 0) {
            text += Text(", %d because keyframes lie up to %.1f s apart", tally.gops.tooLong,
                         Video::ToSeconds(tally.gops.longest));
        }
        if (tally.gops.bySize > 0) {
            text += Text(", %d because much is stored of them", tally.gops.bySize);
        }
        if (tally.gops.unscouted > 0) {
            text += Text(", %d because looking at keyframes did not pay", tally.gops.unscouted);
        }
    }
    text += "; " + Counted(tally.events, "event");
    if (tally.dropped > 0 && tally.flashes > 0) {
        text += Text(" (%d too short, %d flash%s)", tally.dropped, tally.flashes, tally.flashes == 1 ? "" : "es");
    } else if (tally.dropped > 0) {
        text += Text(" (%d too short)", tally.dropped);
    } else if (tally.flashes > 0) {
        text += Text(" (%d flash%s ignored)", tally.flashes, tally.flashes == 1 ? "" : "es");
    }
    if (tally.gaps > 0) {
        text += "; " + Counted(tally.gaps, "gap");
    }
    if (tally.droppedPackets > 0) {
        text += "; " + Counted(tally.droppedPackets, "packet") + " dropped, the scan was too slow";
    }
    return text + Text("; took %.1f s, %.1f x real time", tally.elapsed, Video::SpeedOf(tally));
}

std::string SumText(const Video::Tally& tally, Video::Ticks recalled) {
    const double speed = tally.elapsed > 0 ? Video::ToSeconds(tally.length - recalled) / tally.elapsed : 0;
    return Counted(tally.events, "event") +
           Text(" in %.1f s of video; took %.1f s, %.1f x real time", Video::ToSeconds(tally.length), tally.elapsed, speed);
}

void PrintLastLine(const std::string& subject, const std::string& text) {
    std::fprintf(stderr, "%s\n", Visible("mdscan: " + (subject.empty() ? text : subject + ": " + text)).c_str());
}

std::string ProgressText(double done, double left, const Video::Tally& tally) {
    std::string text =
        Text("%3.0f %%  %.1f s  %.1f x  ", done * 100, Video::ToSeconds(tally.length), Video::SpeedOf(tally)) +
        Counted(tally.events, "event");
    if (left >= 0) {
        const auto seconds = static_cast<long long>(left + 0.5);
        text += Text("  %lld:%02lld:%02lld left", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
    return text;
}

std::string DamageText(const Video::Damage& damage) {
    const std::string more = damage.count > 1 ? Text(" (first of %d errors)", damage.count) : "";
    return Text("damaged near %.1f s: ", Video::ToSeconds(damage.time)) + damage.what + more;
}

}  // namespace Scan
