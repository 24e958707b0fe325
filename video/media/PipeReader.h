// How is a pipe read that may stall?  Hands FFmpeg what comes, and ends as soon as its patience does; reading as such would
// go on until the other side says something.
#pragma once

#include <functional>
#include <string>

#include "video/media/Connection.h"

namespace Video {

class PipeReader {
public:
    static constexpr const char* standardInput = "-";

    // path: of a named pipe, or standardInput. patience must outlive the reader. onWait: called once where nobody writes to
    // the named pipe yet; may be empty. Throws Failure.
    PipeReader(const std::string& path, const Patience& patience, std::function<void()> onWait = {});
    ~PipeReader();
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    // Is it one?
    static bool Reads(const std::string& path);

    AVIOContext* Context() const { return _context; }

private:
    int Read(unsigned char* to, int size);

    const Patience& _patience;
    int _file;                      // descriptor
    bool _owned;                    // closed by this
    std::function<void()> _onWait;  // empty: not, or not any more
    AVIOContext* _context;
};

}  // namespace Video
