// What could not be written, and why?  Whoever writes several things goes on with the others.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "video/base/Failure.h"

namespace Scan {

class GivenUp {
public:
    // False: it failed, which is remembered and goes no further. path: what the work writes.
    template <typename Work>
    bool Try(const std::string& path, const Work& work) {
        try {
            work();
            return true;
        } catch (const Video::Failure& failure) {  // names the path itself
            Add(failure.what());
        } catch (const std::exception& error) {
            Add("cannot write " + path + ": " + error.what());
        }
        return false;
    }

    // As long as there is such an output; where the work fails, there is none from then on.
    template <typename Output, typename Work>
    void Try(std::optional<Output>& output, const std::string& path, const Work& work) {
        if (output && !Try(path, [&] { work(*output); })) {
            output.reset();
        }
    }

    void Add(const std::string& reason) { _reasons.push_back(reason); }

    const std::vector<std::string>& Reasons() const { return _reasons; }  // in the order of their coming
    std::string Text() const;                                             // all of them; empty: nothing was given up

private:
    std::vector<std::string> _reasons;
};

}  // namespace Scan
