// How does a container name its chapters?
#include "video/pictures/Chapters.h"

#include <cstddef>
#include <new>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/mem.h>
}

namespace Video {

void AddChapters(AVFormatContext& output, const std::vector<Chapter>& chapters) {
    if (chapters.empty()) {
        return;
    }
    output.chapters = static_cast<AVChapter**>(av_calloc(chapters.size(), sizeof(AVChapter*)));  // freed with the output
    if (!output.chapters) {
        throw std::bad_alloc();
    }
    for (const Chapter& chapter : chapters) {
        auto* made = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!made) {
            throw std::bad_alloc();
        }
        output.chapters[output.nb_chapters++] = made;
        made->id = output.nb_chapters;
        made->time_base = tickBase;
        made->start = chapter.start;
        made->end = chapter.end;
        av_dict_set(&made->metadata, "title", chapter.title.c_str(), 0);
    }
}

}  // namespace Video
