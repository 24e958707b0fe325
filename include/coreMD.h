/* coreMD: motion detection on a coarse grid of blocks.
 *
 * The complete C interface: five records, one handle, fourteen numbered functions, one that tells the version, three that
 * save and load a detector, one that gives it other zones, one that reads its blocks, four that check a call before it is
 * made, one that names who is told of a failure. C11 and C++; coreMD.hpp puts readable names on it for C++20.
 *
 * Words used throughout
 *   block     one cell of the grid; block (x, y) has index y * width + x, rows without padding
 *   [block]   an array of width * height elements in that order
 *   ticks     signed 64-bit count of 100 ns
 *   boolean   signed 32-bit integer, any non-zero value means true
 *
 * Calling order
 *   h15 once; h12 for every zone, at least once; then per frame h13, h17, h19 and after each successful h19 h18 until it
 *   returns non-zero; h14 once.
 *
 * Broken preconditions end the process with the C library's assertion message, in release builds too. There is no other
 * error channel besides the status codes below. Record pointers must not be null. A host that must not end for one wrong
 * record asks before the call: coreMD_CheckFrame, coreMD_CheckZone.
 *
 * Exhausted memory surfaces as a C++ exception (std::bad_alloc) out of h12, h13, h15, coreMD_LoadState or
 * coreMD_ReplaceZones, which a host in C cannot catch. After one out of h13 or coreMD_LoadState the detector can be
 * destroyed, or go on with the next frame; out of coreMD_ReplaceZones nothing has changed.
 *
 * Threads: a handle belongs to one thread at a time. Different handles share nothing, but for the failure handler and one
 * rand() that h15 draws to spread the detectors' frame cycles: results repeat for the same srand() before it.
 */
#ifndef COREMD_H
#define COREMD_H

#include <stdint.h>

/* The one place where the version is written; COREMD_HOST_VERSION of coreMD-host.h repeats it. */
#define COREMD_VERSION_MAJOR 1
#define COREMD_VERSION_MINOR 0
#define COREMD_VERSION_PATCH 0

/* Versions as numbers that can be compared; minor and patch stay below 100. */
/* clang-format off */
#define COREMD_VERSION_OF(major, minor, patch) ((major) * 10000 + (minor) * 100 + (patch))
/* clang-format on */
/* The version of this header. */
#define COREMD_VERSION COREMD_VERSION_OF(COREMD_VERSION_MAJOR, COREMD_VERSION_MINOR, COREMD_VERSION_PATCH)

#if defined(__GNUC__) && !defined(_WIN32) /* whose libraries have a list of what they export */
#define COREMD_API __attribute__((visibility("default")))
#else
#define COREMD_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status of h17, h18 and h19. */
enum {
    COREMD_DELIVERED = 0, /* the record was filled */
    COREMD_EXHAUSTED = 1, /* the cursor is at its end; what the record holds means nothing */
    COREMD_NOT_READY = 2  /* fewer than 11 frames of history since the detector started afresh; P-frames do not count */
};

/* Status of coreMD_SaveState and coreMD_LoadState. */
enum {
    COREMD_STATE_DONE = 0,          /* saved, or loaded */
    COREMD_STATE_NO_ROOM = 1,       /* the buffer is smaller than coreMD_StateSize says */
    COREMD_STATE_FOREIGN = 2,       /* these bytes are no state */
    COREMD_STATE_OTHER_VERSION = 3, /* a state of another version of the library */
    COREMD_STATE_DAMAGED = 4,       /* a state that is cut off, too long, or not as it was written */
    COREMD_STATE_IMPOSSIBLE = 5     /* whole, but no detector holds such values */
};

/* One frame. Show 5 to 8 a second, at even distances: among more, slow things change too little from one to the next and may
 * be missed. The caller owns every buffer; they are read during the call only. Start from zeros, then set what is known: the
 * extra flags and `reserved` are 0. Other values have no effect in this version, and may get one in a later minor version.
 * Records tell no size: within a major version none of them grows, and what is new comes in a record of its own. */
typedef struct DetectionInfo {
    int32_t width;               /* blocks per row, 1..9999 */
    int32_t height;              /* block rows, 1..9999 */
    int32_t bgr24stride;         /* bytes per row of bgr24ForEachBlock, at least 1 */
    int64_t timestamp;           /* ticks; a value below the previous frame's makes the detector start afresh */
    uint8_t* bgr24ForEachBlock;  /* one BGR pixel per block; must not be null, its pixels are not read */
    uint8_t* ycbcrForEachBlock;  /* three [block] planes one after another: Y, Cb, Cr */
    uint8_t* mpeg4ReferenceLuma; /* [block] reference luma of the MPEG-4 mode; may be null: that mode then marks nothing */
    int32_t extraFlag1;          /* 0 */
    int32_t isIFrame;            /* boolean: a complete picture; matters in MPEG-4 mode, echoed in MDResultInfo */
    double fps;                  /* frames per second of the source; taken when the detector starts afresh */
    int32_t passThroughFlag;     /* boolean, echoed in MDResultInfo */
    int32_t detectShadow;        /* boolean: drop shadows; taken when the detector starts afresh */
    int32_t extraFlag2;          /* 0 */
    int32_t reserved;            /* 0 */
    int32_t isMPEG4;             /* boolean: MPEG-4 mode; taken when the detector starts afresh */
    int32_t isH264Partly;        /* boolean: a partial H.264 decode, seldom worth it; read every frame */
    int32_t isH264PartlyIFrame;  /* boolean: that frame is an I-frame; read every frame */
} DetectionInfo;

/* One detection zone. h12 copies the record and the mask. */
typedef struct MDZoneInfo {
    uint8_t* mask;         /* maskWidth * maskHeight bytes, row after row, non-zero where the zone is active */
    int32_t maskWidth;     /* columns of mask; any resolution, it is resampled onto the grid */
    int32_t maskHeight;    /* rows of mask */
    float zoneValue;       /* carried with the zone, no effect */
    float minObjectWidth;  /* smallest object kept, as a fraction 0..1 of the grid's width; 0 keeps all */
    float minObjectHeight; /* likewise of the grid's height */
} MDZoneInfo;

/* Summary of the last frame. */
typedef struct MDResultInfo {
    int32_t zoneResultsCount; /* results that h19 delivers: 0 while not ready, then 1 */
    int32_t isIFrame;         /* 0 or 1: the input flag, or what the detector's frame cycle made of it */
    int32_t passThroughFlag;  /* 0 or 1 */
} MDResultInfo;

/* One zone result. The arrays are the detector's own: valid until the next h13 or h14. */
typedef struct MDZoneDetectionInfo {
    int32_t objectsCount; /* objects that h18 delivers */
    uint16_t* objectsMap; /* [block] 0: none; otherwise 1-based position of the block's object */
    uint8_t* zoneMap;     /* [block] 0; with shadow detection 1: motion, 2: shadow */
} MDZoneDetectionInfo;

/* One motion object. The arrays are the object's own: valid until the next h13 or h14. */
typedef struct MDObjectInfo {
    int16_t* pixelsX;    /* pixelsCount block columns */
    int16_t* pixelsY;    /* pixelsCount block rows, parallel to pixelsX */
    int32_t pixelsCount; /* blocks of the object */
    int16_t index;       /* 0 */
    int16_t secondIndex; /* 0 */
    int16_t left;        /* smallest column; all four are 0 for an object without blocks */
    int16_t right;       /* largest column, inclusive */
    int16_t top;         /* smallest row */
    int16_t bottom;      /* largest row, inclusive */
} MDObjectInfo;

/* The variable that the caller keeps: null before h15 and after h14. Every function takes its address. */
typedef void* DetectorHandle;

/* Creates a detector. Returns 0. Draws one rand().
 * `handle` must not be null ("ptr"), the variable must be null ("!*ptr"). */
COREMD_API int32_t h15(DetectorHandle* handle);

/* Destroys the detector, if there is one, and sets the variable to null. `handle` itself must not be null (not checked). */
COREMD_API void h14(DetectorHandle* handle);

/* Adds a zone after the ones already there. Returns 0.
 * The record must not be null ("zone"), nor its mask ("source"), and its sizes must not be of different sign, which throws
 * std::bad_array_new_length.
 * Zones are fitted to the grid when the detector starts afresh (first frame, new grid size, time running backwards): add
 * them before the first h13. With a zone added later, h13 stops the process ("currentZone->pixelMapWidth == blockCountX")
 * as soon as the history is filled, unless the detector starts afresh before; coreMD_ReplaceZones takes its place. */
COREMD_API int32_t h12(DetectorHandle* handle, MDZoneInfo* zone);

/* Removes all zones. Returns 0. Frames go on without objects, the label map keeps its last contents; starting afresh without
 * a zone is fatal ("first"). coreMD_ReplaceZones brings zones back. */
COREMD_API int32_t h11(DetectorHandle* handle);

/* Processes one frame.
 * Stops the process on: null record ("info"); width, height, stride or bgr24ForEachBlock outside their range; null
 * ycbcrForEachBlock ("source"); no zone when the detector starts afresh ("first"); more than 32767 objects in one zone
 * ("motionObjectsCount >= 0"); an object that fills the whole grid and is smaller than a zone's minimum, which takes a
 * fraction above 1 or a grid of one block ("mOBlocksCount > 0 && mOBlocksCount < blockCount"). */
COREMD_API void h13(DetectorHandle* handle, DetectionInfo* info);

/* Summary of the last frame; rewinds the zone cursor. Returns COREMD_DELIVERED or COREMD_NOT_READY (record written). */
COREMD_API int32_t h17(DetectorHandle* handle, MDResultInfo* result);

/* The zone result; rewinds the object cursor. Returns COREMD_DELIVERED, COREMD_EXHAUSTED or COREMD_NOT_READY.
 * The zones' results are merged into one, which every further call delivers again: call it zoneResultsCount times. */
COREMD_API int32_t h19(DetectorHandle* handle, MDZoneDetectionInfo* result);

/* The next object. Returns COREMD_DELIVERED or COREMD_EXHAUSTED. */
COREMD_API int32_t h18(DetectorHandle* handle, MDObjectInfo* object);

/* Draws the learned background.
 * image: width * height BGR pixels without row padding, magenta where no background is known yet.
 * mask: [block] 0, or 255 where a background is known.
 * Returns 0; a negative status with nothing written before the first h13, and where image is null, with the mask filled all
 * the same. */
COREMD_API int32_t h33(DetectorHandle* handle, uint8_t* image, int32_t* mask);

/* Limits objects to blocks that moved just now. On by default; 0 turns it on, 1 turns it off (sic). Any value whose low
 * byte is not 1 leaves it on. */
COREMD_API void h35(DetectorHandle* handle, int32_t value);

/* Makes the background learn more slowly, and lets every block of an object count as one that moved just now, which undoes
 * the limit of h35. Off by default; on when the value's low byte is not 0. */
COREMD_API void h36(DetectorHandle* handle, int32_t value);

/* Copies `length` bytes; nothing when length < 1. Source first, destination second. Returns the destination. */
COREMD_API void* h20(const void* source, void* destination, int32_t length);

/* Returns 0. */
COREMD_API int32_t h16(void);

/* Does nothing. */
COREMD_API void h34(void);

/* The version of the library that runs, as COREMD_VERSION_OF counts. May be called at any time, from any thread.
 * Compare it with COREMD_VERSION, that of the header a host was compiled with: the same major version is certain (the loader
 * sees to it), and a lower number means an older library, which has the functions and records that it had then. */
COREMD_API int32_t coreMD_Version(void);

/* Would a call go through?  Null where it would; else the text of the first condition that it would break, the one that its
 * assertion would print: a string that is never freed. Nothing changes and nothing ends, whatever the arguments are: null
 * handles, null records. Threads as for any call: a handle belongs to one at a time.
 *
 * Not to be known before a call, and not looked at:
 *   - whether a variable that is not null holds what h15 put there, and arrays are as long as their record says;
 *   - whether the records of h17, h18 and h19 and the buffer of coreMD_SaveState ("state") are there: a host sees that;
 *   - whether memory suffices. */

/* Of every function that takes a handle: "ptr", "*ptr", "res". That is all there is for h11, h17, h19, h33, h35, h36 and the
 * other coreMD_ functions but coreMD_ReplaceZones, whose records coreMD_CheckZone checks. h15 is the other way round: it
 * goes through where this says "*ptr", and breaks "!*ptr" elsewhere, or "ptr". h14 goes through wherever this does not say
 * "ptr". */
COREMD_API const char* coreMD_CheckHandle(DetectorHandle* handle);

/* Of h12: the handle's; "zone": no record; "maskWidth * maskHeight >= 0", where h12 throws std::bad_array_new_length;
 * "source": no mask. */
COREMD_API const char* coreMD_CheckZone(DetectorHandle* handle, const MDZoneInfo* zone);

/* Of h13, with the detector as it is now: everything that is said there, a late zone and a fresh start without one included.
 * Costs next to nothing, but where what the picture shows can end h13: on a grid that has room for more than 32767 objects
 * (width and height, halved and rounded up, multiplied), and with a zone that asks for objects larger than the grid. There
 * the frame is shown to a copy of the detector: about four times the cost of h13, and its memory once more. Where there is
 * none for the copy, what the picture would show is not looked at; all other conditions are.
 * A step back in time and another grid break nothing: the detector starts afresh, and what it learned is lost. A host that
 * minds compares them itself. */
COREMD_API const char* coreMD_CheckFrame(DetectorHandle* handle, const DetectionInfo* info);

/* Of h18: the handle's; "_isObject": there was no frame yet. */
COREMD_API const char* coreMD_CheckObject(DetectorHandle* handle);

/* Told of the condition that was broken, and where: text, file, line, function as the assertion's message has them. */
typedef void (*coreMD_FailureHandler)(void* context, const char* condition, const char* file, int32_t line,
                                      const char* function);

/* Has `handler` told of the first broken condition of any handle in any thread, before the message is printed and the
 * process ends. Null: nobody, as in the beginning. May be called at any time, from any thread; the last one counts.
 *
 * The handler runs in the thread that broke the condition, inside the call, and must not return into the library: when it
 * returns, the process ends with the message, as if there were none. It must not leave by longjmp; an exception that leaves
 * it ends the process too. Another thread that breaks a condition meanwhile waits for the end.
 *
 * Safe in it: to write to a log or a file, to ask for memory, to use detectors that no other thread is using, to call abort
 * or _exit. It is no signal handler. Not safe: the detector that failed, which is in the middle of its call; locks that its
 * thread holds; exit, which runs destructors beside the other threads. It is not told of std::bad_alloc, nor of what the
 * system ends. */
COREMD_API void coreMD_SetFailureHandler(coreMD_FailureHandler handler, void* context);

/* Copies what is known of every block after the last frame. `ycbcr` gets the learned background, three [block] planes as in
 * DetectionInfo, whose values mean nothing where none is known; `isKnown` [block] 255 where one is known, else 0;
 * `isForeground` [block] 255 where the block differed from its background and is no shadow, else 0. Each may be null.
 * `blocks`: width * height of the last frame. Returns 0, or a negative status with nothing written before the first h13, and
 * where `blocks` is another number. */
COREMD_API int32_t coreMD_ReadBlocks(DetectorHandle* handle, uint8_t* ycbcr, uint8_t* isKnown, uint8_t* isForeground,
                                     int64_t blocks);

/* Bytes that coreMD_SaveState writes now; they change with the grid, the zones and the objects of the last frame. */
COREMD_API int64_t coreMD_StateSize(DetectorHandle* handle);

/* Writes everything that decides about the frames to come, and the result of the last one: settings, zones, background,
 * history. The detector does not change. Returns COREMD_STATE_DONE, or COREMD_STATE_NO_ROOM with nothing written.
 * `state` holds `size` bytes and must not be null ("state"). The same detector gives the same bytes on every machine. */
COREMD_API int32_t coreMD_SaveState(DetectorHandle* handle, uint8_t* state, int64_t size);

/* Makes a detector in the variable `successor` that goes on from the whole state of `handle` with these `count` zones, as if
 * it had had them all along: blocks and objects of the frames to come are those, to the bit, and so is the result of the
 * last one, which h17 and h19 give at once. `handle` stays as it is, with its results, and can go on, too: the two share
 * nothing. The host ends each with h14, usually `handle` right away. Returns 0. Draws no rand().
 * Records and masks are copied. `zones` must not be null ("zones"), nor a mask ("source"), `count` is at least 1
 * ("count > 0"). `successor` must not be null ("successor"), its variable must be null ("!*successor"). Objects on which h13
 * would end the process end it here. */
COREMD_API int32_t coreMD_ReplaceZones(DetectorHandle* handle, const MDZoneInfo* zones, int32_t count,
                                       DetectorHandle* successor);

/* Makes the detector what the saved one was. From then on frames give what they would have given there, to the bit; h17 and
 * h19 give the result of its last frame. What the detector was before is forgotten, zones and settings too, and with it the
 * arrays of its results. `state` holds `size` bytes, which may be anything: what cannot be loaded is refused, with a status
 * as above, and the detector and both numbers stay as they were.
 * width, height: get the grid of the last frame, 0 before the first; either may be null. The next h13 must keep to that grid
 * and to times that rise, or the detector starts afresh as ever. */
COREMD_API int32_t coreMD_LoadState(DetectorHandle* handle, const uint8_t* state, int64_t size, int32_t* width,
                                    int32_t* height);

#ifdef __cplusplus
} /* extern "C" */

namespace MD {
class MotionDetector;
}

/* The detector behind a handle, for hosts that use the classes: no ABI promise beyond this version. Its version node and
 * theirs is COREMD_CLASSES; that of the C functions, COREMD_1, holds what is promised.
 * `handle` must not be null ("ptr"), nor the variable ("*ptr"), nor what it holds ("res"). */
COREMD_API MD::MotionDetector* GetDetector(void** handle);
#endif

#endif /* COREMD_H */
