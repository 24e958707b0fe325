// How is an explanation worded?
#include "ask/Explanation.h"

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <sstream>

#include "ask/BlockProbe.h"
#include "results/VisibleText.h"
#include "video/base/Box.h"
#include "video/base/Findings.h"
#include "video/time/TickTime.h"
#include "video/watch/Watcher.h"

namespace Scan {

namespace {

template <class... Parts>
std::string Joined(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

std::string Ago(Video::Ticks ticks) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << Video::ToSeconds(ticks) << " s ago";
    return text.str();
}

std::string Size(int columns, int rows) { return Joined(columns, " by ", rows, " blocks"); }

std::string Blocks(int count) { return Joined(count, count == 1 ? " block" : " blocks"); }

// The candidate that decided: the first with the verdict.
const Candidate* Deciding(const BlockFacts& facts) {
    const auto found = std::find_if(facts.candidates.begin(), facts.candidates.end(),
                                    [&](const Candidate& candidate) { return candidate.verdict == facts.verdict; });
    return found == facts.candidates.end() ? nullptr : &*found;
}

std::string MotionText(const Explanation& e) {
    const Video::MovingObject& object = *e.facts.object;
    const Video::Box& box = object.box;
    const std::string text = Joined("Motion: part of an object of ", Blocks(object.blocks), ", ", box.width, " by ",
                                    box.height, " pixels at ", box.x, ",", box.y);
    if (e.movingBlocks < e.minBlocks) {
        return Joined(text, ". The picture counts as still all the same: ", Blocks(e.movingBlocks),
                      " moved in it, --min-blocks is ", e.minBlocks, ".");
    }
    if (!e.event) {
        return text + ".";
    }
    const std::string span = Joined(" from ", SecondsText(e.event->start), " s to ", SecondsText(e.event->end), " s");
    if (e.event->forgotten) {
        return Joined(text, ". What moved", span, " was forgotten: it was a disturbance, as became known then.");
    }
    if (e.event->flash) {
        return Joined(text, ". What moved", span, " was dropped as a flash: --ignore-flashes.");
    }
    return e.event->counts ? Joined(text, ", in event ", e.event->number, span, ".")
                           : Joined(text, ". What moved", span, " was dropped: --min-duration is ", e.minDuration, " s.");
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

std::string DroppedText(const BlockFacts& facts) {
    const std::string text = "No motion: the detector found it, conditioning dropped it. ";
    return facts.suppressed ? Joined(text, "Nothing counts: ", Listed(facts.disturbances), ".")
                            : text + "It stands still for long, or does no more than its place usually does.";
}

std::string VerdictText(const Explanation& e) {
    const BlockFacts& facts = e.facts;
    const Candidate* const candidate = Deciding(facts);
    switch (facts.verdict) {
        case Verdict::NotReady: return "Not judged: nothing is found in the first eleven analysed pictures.";
        case Verdict::Unseen:
            return "No motion: the picture was not shown to the detector, for it is covered or a scene to be learned.";
        case Verdict::Excluded: return "No motion: the block lies in an excluded zone.";
        case Verdict::Outside: return "No motion: the block lies outside all zones.";
        case Verdict::Still:
            return facts.known ? "No motion: the block looks like its background."
                               : "No motion: the block looks as in the picture before. Its background is not known yet.";
        case Verdict::Shadow:
            return Joined("No motion: the block has its background's texture and colour, like one in shadow",
                          facts.found ? "." : " (--shadows).");
        case Verdict::Unmoved:
            return Joined("No motion: the block differs, but it stands still. Of ", Blocks(candidate->blocks),
                          " close together none changed just now.");
        case Verdict::Trimmed:
            return Joined("No motion: the block differs, but lies beside what changed just now of the ",
                          Blocks(candidate->blocks), " close together.");
        case Verdict::Small:
            return Joined("No motion: its object is too small, ", Size(candidate->box.Width(), candidate->box.Height()),
                          ". It needs ", Size(candidate->leastColumns, candidate->leastRows), " (--min-size).");
        case Verdict::Dropped: return DroppedText(facts);
        case Verdict::Large:
            return Joined("No motion: its object is larger than --max-size, ",
                          Size(facts.large->extent.columns, facts.large->extent.rows), ". It may have ",
                          Size(facts.large->largest.columns, facts.large->largest.rows), ".");
        case Verdict::Motion: break;
    }
    return MotionText(e);
}

std::string Row(const std::string& name, const std::string& text) {
    std::ostringstream row;
    row << "  " << std::left << std::setw(12) << name << text << "\n";
    return row.str();
}

std::string ReferenceRows(const BlockFacts& facts) {
    const Levels& now = facts.current;
    const Levels& reference = facts.reference;
    const char* const against = facts.known ? "background " : "picture before ";
    const int luma = std::abs(now.y - reference.y);
    const int chroma = std::max(std::abs(now.cb - reference.cb), std::abs(now.cr - reference.cr));
    const auto compared = [](double difference, double limit) {
        return difference > limit ? ", more than " : ", not more than ";
    };
    return Row("luma", Joined(now.y, ", ", against, reference.y, ": differs by ", luma, compared(luma, facts.noise),
                              "its noise level ", facts.noise)) +
           Row("chroma", Joined("Cb ", now.cb, ", Cr ", now.cr, ", ", against, reference.cb, ", ", reference.cr,
                                ": differs by ", chroma, compared(chroma, facts.chromaLimit), facts.chromaLimit)) +
           Row("background", facts.known ? Joined("known, learned or confirmed ", Ago(facts.backgroundAge))
                                         : "not known: it takes five quiet seconds of a stable block");
}

std::string HistoryRows(const BlockFacts& facts) {
    std::string windows;
    for (std::size_t i = 0; i < facts.means.size(); ++i) {
        std::ostringstream text;
        text << std::setprecision(4) << (i > 0 ? ", " : "") << facts.means[i] << " (" << facts.dispersions[i] << ")";
        windows += text.str();
    }
    std::string history;
    for (const int luma : facts.history) {
        history += Joined(luma, " ");
    }
    const char* const when = facts.taught ? "" : ", as of an earlier picture: this one taught nothing";
    return Row("history", Joined(history, "(luma of this picture and those before)")) +
           Row("stability",
               Joined(facts.stable ? "stable" : "restless", when, "; means (variances) of three windows: ", windows)) +
           Row("change", Joined(facts.changed ? "just now" : Ago(facts.sinceChange) + " or when learning began",
                                ", by more than ", facts.changeLimit, when));
}

std::string ConditioningRows(const BlockFacts& facts) {
    if (!facts.found) {
        return "";
    }
    std::string rows = Row("shown", "balanced and dimmed luma; the detector's seconds last two");
    if (*facts.found != facts.verdict) {
        rows += Row(
            "detector",
            Joined(NameOf(*facts.found),
                   facts.verdict == Verdict::Motion ? ": the block is in a hole of the object, or its object is held" : ""));
    }
    return facts.disturbances.empty() ? rows : rows + Row("disturbed", Listed(facts.disturbances));
}

std::string ZoneRows(const BlockFacts& facts) {
    std::string names = Listed(facts.zones);
    if (names.empty()) {
        names = facts.excluded ? "excluded" : facts.watched ? "the whole picture" : "none";
    }
    std::string rows = Row("zones", names);
    for (const Candidate& candidate : facts.candidates) {
        const std::string where = candidate.zone.empty() ? "" : Joined("in ", candidate.zone, ": ");
        rows += Row("object", Joined(where, Blocks(candidate.blocks), " close together, ", candidate.moved,
                                     " changed just now, within ", Size(candidate.box.Width(), candidate.box.Height()),
                                     "; the smallest that counts has ", Size(candidate.leastColumns, candidate.leastRows)));
    }
    return rows;
}

}  // namespace

const char* NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::NotReady: return "not_ready";
        case Verdict::Unseen: return "unseen";
        case Verdict::Excluded: return "excluded";
        case Verdict::Outside: return "outside";
        case Verdict::Still: return "still";
        case Verdict::Shadow: return "shadow";
        case Verdict::Unmoved: return "unmoved";
        case Verdict::Trimmed: return "trimmed";
        case Verdict::Small: return "small";
        case Verdict::Dropped: return "dropped";
        case Verdict::Large: return "large";
        case Verdict::Motion: break;
    }
    return "motion";
}

std::string SecondsText(Video::Ticks ticks) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << Video::ToSeconds(ticks);
    return text.str();
}

std::string ExplanationText(const Explanation& e) {
    const BlockFacts& facts = e.facts;
    const Video::Box pixels =
        Video::PixelBox({facts.place.column, facts.place.row, facts.place.column, facts.place.row}, facts.grid);
    const std::string later = Video::PrintedSeconds(e.time) == Video::PrintedSeconds(e.asked)
                                  ? ""
                                  : Joined(", the last one analysed by ", SecondsText(e.asked), " s");
    std::string text = Joined(Visible(e.file), ": block ", facts.place.column, ",", facts.place.row, " (pixels ", pixels.x,
                              ",", pixels.y, " to ", pixels.x + pixels.width - 1, ",", pixels.y + pixels.height - 1, "), ",
                              e.picture.exact ? "" : "about ", "picture ", e.picture.number, " at ", SecondsText(e.time),
                              " s", later, "\n", VerdictText(e), "\n");
    text += ConditioningRows(facts);
    if (!facts.judged) {
        return text + Row("luma", Joined(facts.current.y)) + ZoneRows(facts);
    }
    text += ReferenceRows(facts) + HistoryRows(facts);
    if (facts.shadowScore) {
        const bool isShadow = *facts.shadowScore < facts.shadowLimit;
        text +=
            Row("shadow", Joined("score ", *facts.shadowScore, isShadow ? ", below " : ", not below ", facts.shadowLimit));
    } else if (facts.shadowsDropped && facts.foreground) {
        text += Row("shadow", "not examined: only a known background can be darkened");
    }
    return text + ZoneRows(facts);
}

}  // namespace Scan
