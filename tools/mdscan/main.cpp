// mdscan: what moves in these videos, and when?
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "ask/Explain.h"
#include "ask/ZonePreview.h"
#include "command/ArchiveVerbs.h"
#include "command/ConfigFile.h"
#include "command/Options.h"
#include "command/Versions.h"
#include "results/Progress.h"
#include "results/TallyText.h"
#include "run/ScanInputs.h"
#include "video/base/Failure.h"
#include "video/base/Interruption.h"
#include "video/media/Libav.h"
#include "video/zones/ZoneSources.h"

namespace Scan {

namespace {

int Main(const std::vector<std::string>& arguments) {
    const Parsed parsed = ParseOptions(arguments, VersionText(), UsualConfigFile());
    if (!parsed.options) {
        std::fputs(parsed.text.c_str(), parsed.exitCode == Video::exitComplete ? stdout : stderr);
        return parsed.exitCode;
    }
    Options options = *parsed.options;
    Video::CollectComplaints();
    Video::LeaveOrderly();
    try {
        if (options.verb != ArchiveVerb::None) {
            return DoArchiveVerb(options, VersionText());
        }
        options.scan.zones = Video::ReadZones(options.zones);
        if (options.showZones) {
            return ShowZones(options.inputs, options.scan, {options.preview, options.edit}, options.zones.file);
        }
        if (options.explain) {
            Progress progress(StyleOf(options.run));
            return Explain(options.inputs, options.scan, options.question, progress);
        }
        return ScanInputs(options.inputs, options.scan, options.outputs, options.run, VersionText());
    } catch (const Video::Failure& failure) {
        PrintLastLine("", failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        PrintLastLine("", error.what());
        return Video::exitFailed;
    }
}

}  // namespace

}  // namespace Scan

int main(int argc, char** argv) { return Scan::Main(std::vector<std::string>(argv + 1, argv + argc)); }
