/* coreMD-host: what stands between a decoder and a detector, in C.
 *
 * Four things, each usable without the others; coreMD.h declares the detector itself, which this library does not call.
 *
 *   reducer       a decoded picture  ->  what a detector is fed with: one mean of Y, Cb and Cr per block
 *   priming       the first pictures  ->  what the scene looks like when nothing happens
 *   conditioner   planes  ->  what the detector is shown; its answer  ->  what is told of it
 *   memories      what was learned  ->  bytes that survive a restart, on any machine, and back
 *
 * Words used throughout
 *   block     one cell of the grid; block (x, y) has index y * columns + x, rows without padding
 *   [block]   an array of columns * rows elements in that order
 *   planes    three [block] arrays of bytes one after another: Y, Cb, Cr; 3 * columns * rows bytes
 *   ticks     signed 64-bit count of 100 ns
 *   boolean   int32_t, 0 or 1
 *
 * Errors: every function that can fail returns a status, COREMD_HOST_DONE (0) or what is wrong; coreMD_HostStatusText says
 * it in words. No argument ends the process, and no C++ exception leaves the library. Pointers to records, arrays and
 * handles may be null: that is a status, too. What they point to must exist: arrays hold as many elements as the size
 * beside them says. Where a call fails, what it would have written means nothing; handles are as before unless stated
 * otherwise.
 *
 * Ownership: what a host passes in stays its own, is read or written during the call only, and never kept. Handles are made
 * by coreMD_Create... and ended by coreMD_Destroy..., which takes the variable's address and sets it to null; a variable
 * that is null already is left alone. What the variable held before coreMD_Create... is overwritten, not destroyed.
 *
 * Threads: one thread at a time per handle; different handles, and functions without one, at the same time as anything. No
 * function starts a thread, takes a lock, reads a clock or opens a file.
 *
 * Memory is taken by coreMD_Create..., and by functions that say so.
 *
 * C89 with <stdint.h>, C99, C11, C++. The binary interface is kept as that of coreMD.h: records do not change while the
 * library's name ends in .so.1.
 */
#ifndef COREMD_HOST_H
#define COREMD_HOST_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) && !defined(_WIN32) /* whose libraries have a list of what they export */
#define COREMD_HOST_API __attribute__((visibility("default")))
#else
#define COREMD_HOST_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status ---------------------------------------------------------------------------------------------------------- */

enum {
    COREMD_HOST_DONE = 0,           /* it is done */
    COREMD_HOST_NULL = 1,           /* a pointer is null that must not be */
    COREMD_HOST_OUT_OF_RANGE = 2,   /* a number is outside the range that is stated for it */
    COREMD_HOST_NO_ROOM = 3,        /* an array is too short, or as many pictures are kept as there is room for */
    COREMD_HOST_NO_MEMORY = 4,      /* memory ran out */
    COREMD_HOST_WRONG_ORDER = 5,    /* not now: what has to come before did not, or the time steps back */
    COREMD_HOST_OTHER_GRID = 6,     /* another grid, size of picture or size of block */
    COREMD_HOST_FOREIGN = 7,        /* these bytes are no memory */
    COREMD_HOST_DAMAGED = 8,        /* a memory that is cut off, too long, or not as it was written */
    COREMD_HOST_OTHER_KIND = 9,     /* a memory of the other kind */
    COREMD_HOST_OTHER_VERSION = 10, /* a newer format, or a state of another version of the detector's library */
    COREMD_HOST_FAILED = 11         /* a host's function in C++ threw an exception */
};

/* A status in words, "a pointer is null that must not be"; of any other number "unknown status". Never null; static. */
COREMD_HOST_API const char* coreMD_HostStatusText(int32_t status);

/* The version of this header: major * 10000 + minor * 100 + patch. */
#define COREMD_HOST_VERSION 10000

/* That of the library that runs: where it is less than COREMD_HOST_VERSION, the library is older than this header. */
COREMD_HOST_API int32_t coreMD_HostVersion(void);

/* ---- Pictures and grids ---------------------------------------------------------------------------------------------- */

/* Layout of a picture. Halved planes of odd pictures are rounded up: 5 columns of luma have 3 of chroma. A sample is a
 * byte, or, with ten bits, two bytes, the lower ones first on every machine. */
enum {
    COREMD_YUV420 = 0,   /* three planes, chroma halved in both directions */
    COREMD_YUV422 = 1,   /* three planes, chroma halved horizontally */
    COREMD_YUV444 = 2,   /* three planes of the same size */
    COREMD_NV12 = 3,     /* two planes: luma; Cb and Cr in turn, halved in both directions */
    COREMD_GREY = 4,     /* one plane; chroma is 128 everywhere */
    COREMD_P010 = 5,     /* NV12 of ten bits, the upper ones of two bytes, as hardware decodes; the lower six are left out */
    COREMD_YUV420P10 = 6 /* YUV420 of ten bits, the lower ones of two bytes; the upper six are left out */
};

/* What black and white are. Means are the decoder's own values either way. */
enum {
    COREMD_LIMITED_RANGE = 0, /* luma 16..235, chroma 16..240: the usual video range */
    COREMD_FULL_RANGE = 1     /* luma 0..255 */
};

/* The pictures of one stream. Zeros after blockSize are the usual: limited range, no crop. */
typedef struct coreMD_PictureFormat {
    int32_t width;      /* pixels of the decoded picture, at least 1 */
    int32_t height;     /* likewise */
    int32_t layout;     /* COREMD_YUV420 ... COREMD_YUV420P10 */
    int32_t blockSize;  /* pixels along one side of a block, 1..64; at most 9999 blocks either way may come out */
    int32_t range;      /* COREMD_LIMITED_RANGE or COREMD_FULL_RANGE */
    int32_t cropLeft;   /* the part that counts; multiples of 2 where chroma is halved */
    int32_t cropTop;    /* likewise */
    int32_t cropWidth;  /* pixels; 0: all to the right of cropLeft */
    int32_t cropHeight; /* pixels; 0: all below cropTop */
} coreMD_PictureFormat;

/* A decoded picture. As many planes count as the layout has. */
typedef struct coreMD_Picture {
    const uint8_t* plane[3]; /* first sample of the top row, of the whole picture where it is cropped */
    ptrdiff_t stride[3];     /* bytes from a row to the one below, negative where stored bottom up; rows must not overlap */
} coreMD_Picture;

/* How a picture is divided. */
typedef struct coreMD_Grid {
    int32_t columns;   /* blocks per row, 1..9999 */
    int32_t rows;      /* block rows, 1..9999 */
    int32_t width;     /* pixels of the part that counts, at least 1 */
    int32_t height;    /* likewise */
    int32_t blockSize; /* pixels along one side of a block, at least 1 */
} coreMD_Grid;

/* Where a picture's content lies beside its usual place, in sixteenths of a pixel: further right, further down. What is
 * found at a place of the planes is to be seen in the camera's picture at that place plus the shift. */
typedef struct coreMD_Shift {
    int32_t dx16; /* -208..208 */
    int32_t dy16; /* likewise */
} coreMD_Shift;

/* The smallest power of two that gives at most so many columns, 64 where none does; 0 where a number is below 1 or 64 is
 * too small for the grid. 240 columns are a good choice; 128 are for pictures that are conditioned, with any size of block:
 * (width + 127) / 128. */
COREMD_HOST_API int32_t coreMD_ChooseBlockSize(int32_t width, int32_t height, int32_t mostColumns);

/* ---- Reducer: a picture -> planes ------------------------------------------------------------------------------------ */

/* What a shaking camera's pictures are moved back by, before they are reduced. */
enum {
    COREMD_STABILISE_OFF = 0,  /* nothing */
    COREMD_STABILISE_AUTO = 1, /* their shift, as soon as the camera is seen to shake */
    COREMD_STABILISE_ON = 2    /* their shift */
};

typedef struct coreMD_Reducer coreMD_Reducer;

COREMD_HOST_API int32_t coreMD_CreateReducer(const coreMD_PictureFormat* format, int32_t stabilise,
                                             coreMD_Reducer** reducer);
COREMD_HOST_API void coreMD_DestroyReducer(coreMD_Reducer** reducer);

/* What the reducer's planes are like. */
COREMD_HOST_API int32_t coreMD_ReducerGrid(const coreMD_Reducer* reducer, coreMD_Grid* grid);

/* Fills planes of the host with the means of a picture: (sum + count / 2) / count in integers, over every pixel that
 * exists; of ten bits (sum + 2 * count) / (4 * count), 255 at most, which is the mean of the same picture in bytes, rounded
 * once. Reads exactly the samples of the part that counts. Blocks that a picture which was moved back does not reach keep
 * what they were in the picture before.
 * ycbcr: planes; size: bytes there, at least 3 * columns * rows.
 * shift: gets what was taken back; may be null. */
COREMD_HOST_API int32_t coreMD_Reduce(coreMD_Reducer* reducer, const coreMD_Picture* picture, uint8_t* ycbcr, int64_t size,
                                      coreMD_Shift* shift);

/* Planes as colours, for people to look at; a detector reads no pixel. ycbcr: planes of so many blocks, 1..99980001;
 * bgr: 3 * blocks bytes, one BGR pixel per block. */
COREMD_HOST_API int32_t coreMD_PaintBlocks(const uint8_t* ycbcr, int64_t blocks, int32_t range, uint8_t* bgr);

/* ---- Priming: the first pictures -> a background --------------------------------------------------------------------- */

typedef struct coreMD_Priming coreMD_Priming;

/* Room for 1..13107 pictures, of which each takes 3 * columns * rows bytes as soon as it is kept. */
COREMD_HOST_API int32_t coreMD_CreatePriming(int32_t columns, int32_t rows, int32_t mostPictures, coreMD_Priming** priming);
COREMD_HOST_API void coreMD_DestroyPriming(coreMD_Priming** priming);

/* Keeps a copy of planes; size: bytes there. COREMD_HOST_NO_ROOM where mostPictures are kept already. */
COREMD_HOST_API int32_t coreMD_KeepPicture(coreMD_Priming* priming, const uint8_t* ycbcr, int64_t size);

/* How many are kept. */
COREMD_HOST_API int32_t coreMD_KeptPictures(const coreMD_Priming* priming, int32_t* pictures);

/* Copies the planes of one that is kept, 0 the first, into planes of the host. */
COREMD_HOST_API int32_t coreMD_KeptPicture(const coreMD_Priming* priming, int32_t index, uint8_t* ycbcr, int64_t size);

/* Forgets all of them. */
COREMD_HOST_API int32_t coreMD_ForgetPictures(coreMD_Priming* priming);

/* Writes planes: what was most often to be seen in each block. What stands still for `ahead` pictures weighs most: those of
 * two thirds of a second, at least 1. COREMD_HOST_WRONG_ORDER where no picture is kept. */
COREMD_HOST_API int32_t coreMD_MostFrequent(const coreMD_Priming* priming, int32_t ahead, uint8_t* ycbcr, int64_t size);

/* ---- Conditioner: what a detector is shown, and what is made of its answer ------------------------------------------- */

/* How little is told? */
enum {
    COREMD_LOW_SENSITIVITY = 0,    /* large things of good contrast */
    COREMD_NORMAL_SENSITIVITY = 1, /* what mdscan takes */
    COREMD_HIGH_SENSITIVITY = 2    /* small and faint ones, too */
};

/* All that mdscan does between its reducer and its events: balances brightness, takes a restless place for what it is, lets
 * the detector learn fast, fills holes, holds what stopped for half a second as motion, and watches for what is no motion.
 *
 *   for every picture, in order of time
 *     coreMD_ConditionPicture    shows it to the host's function, which calls h13
 *     h17, h19                   maps of the detector, if it is ready
 *     coreMD_ConditionAnswer     makes labels of them: what moves
 *
 * The detector is the host's, with its zones: h35(&detector, 1) before the first frame; fps 1000, detectShadow 1 in every
 * record, and stamp and planes as shown. Show 5 to 8 pictures a second, at even distances: among more, slow things look
 * as if they stood. Where the stream starts anew, or with another grid, make a new conditioner and a new detector. */
typedef struct coreMD_Conditioner coreMD_Conditioner;

/* Shows planes to the detector: a function of the host's, called during coreMD_PrimeConditioner and
 * coreMD_ConditionPicture, in order of stamps. The planes are the library's; whatever the host writes there is lost. It
 * must return, and call no function with the same conditioner (COREMD_HOST_WRONG_ORDER); coreMD_DestroyConditioner does
 * nothing there, and leaves the variable as it is. */
typedef void (*coreMD_Show)(void* context, uint8_t* ycbcr, int64_t stamp);

/* columns, rows: 1..9999 blocks; range: of the pictures' samples. Takes about 170 bytes a block. */
COREMD_HOST_API int32_t coreMD_CreateConditioner(int32_t columns, int32_t rows, int32_t range, int32_t sensitivity,
                                                 coreMD_Conditioner** conditioner);
COREMD_HOST_API void coreMD_DestroyConditioner(coreMD_Conditioner** conditioner);

/* Before the first picture, or when the scene has become another one: what it looks like when nothing happens, so that the
 * detector knows it from the first picture on. Without it a detector learns as fast as it can. Shows 14 pictures; a
 * detector that was shown others starts afresh. Takes memory for the time of the call.
 * background: planes as reduced, such as coreMD_MostFrequent of them; size: bytes there. Not what coreMD_ReadBlocks gives
 * of the conditioned detector: that is dimmed and balanced, and would be so again with every restart.
 * restless: pictures of the same grid, in which leaves and water are looked for; may be null. mdscan takes the first 16
 * seconds, and the background from the first 6 of them. */
COREMD_HOST_API int32_t coreMD_PrimeConditioner(coreMD_Conditioner* conditioner, const uint8_t* background, int64_t size,
                                                const coreMD_Priming* restless, coreMD_Show show, void* context);

/* The next picture. Shows it once; not at all where there is nothing to be seen, as with a covered lens; more often where a
 * new scene has to be learned. After COREMD_HOST_NO_MEMORY and COREMD_HOST_FAILED the conditioner goes on with the next
 * picture; what it was learning then, it learns again.
 * ycbcr: planes, as reduced; size: bytes there. shift: what coreMD_Reduce took back; null: nothing.
 * time: ticks, not below that of the picture before (COREMD_HOST_WRONG_ORDER), between -2^62 and 2^62. */
COREMD_HOST_API int32_t coreMD_ConditionPicture(coreMD_Conditioner* conditioner, const uint8_t* ycbcr, int64_t size,
                                                const coreMD_Shift* shift, int64_t time, coreMD_Show show, void* context);

/* What the detector said of it, once for each picture, also of one that was not shown.
 * objectsMap, zoneMap: [block], as h19 tells them; both null while the detector is not ready. No object's place may be
 * larger than the grid has blocks.
 * labels: [block], gets 0 where nothing moves, else the label of the block's object, from 1; not every number is in use.
 * May be the memory of objectsMap.
 * blocks: of each of the three, at least columns * rows. */
COREMD_HOST_API int32_t coreMD_ConditionAnswer(coreMD_Conditioner* conditioner, const uint16_t* objectsMap,
                                               const uint8_t* zoneMap, uint16_t* labels, int64_t blocks);

/* What follows, up to coreMD_Disturbance, is of the newest picture: COREMD_HOST_WRONG_ORDER before it is answered, from
 * coreMD_ConditionPicture on. */

/* The same labels, with objects that stopped up to 30 seconds ago. */
COREMD_HOST_API int32_t coreMD_LabelsWithStopped(const coreMD_Conditioner* conditioner, uint16_t* labels, int64_t blocks);

/* How the newest picture was taken. */
typedef struct coreMD_PictureState {
    int32_t wasShown;   /* boolean: the detector saw it */
    int32_t isDark;     /* boolean: nothing is to be seen but darkness */
    int32_t suppresses; /* boolean: what moves there is a disturbance; labels are 0 then */
} coreMD_PictureState;

COREMD_HOST_API int32_t coreMD_ConditionerState(const coreMD_Conditioner* conditioner, coreMD_PictureState* state);

/* What disturbs a picture. */
enum {
    COREMD_LIGHT = 0,    /* the light on everything changes fast */
    COREMD_INFRARED = 1, /* the camera changes to night mode or back */
    COREMD_SHAKING = 2,  /* the picture jumps to and fro */
    COREMD_MOVED = 3,    /* the camera points elsewhere than before */
    COREMD_COVERED = 4,  /* something before the lens, or darkness */
    COREMD_FROZEN = 5,   /* the same picture to the bit */
    COREMD_RAIN = 6      /* small things everywhere, none of which goes anywhere */
};

/* The last disturbance of a kind, or the one that goes on. */
typedef struct coreMD_DisturbanceSpell {
    int64_t begin;     /* ticks; the first picture that showed it; it is told later where only its lasting tells */
    int64_t end;       /* ticks; the picture at which it was over; means nothing while it goes on */
    int32_t isRunning; /* boolean */
    int32_t hasBegun;  /* boolean: with the newest picture */
    int32_t hasEnded;  /* boolean: with the newest picture */
    int32_t reserved;  /* 0 */
} coreMD_DisturbanceSpell;

COREMD_HOST_API int32_t coreMD_Disturbance(const coreMD_Conditioner* conditioner, int32_t kind,
                                           coreMD_DisturbanceSpell* spell);

/* "light", "infrared", "shaking", "moved", "covered", "frozen", "rain-like"; of any other number "unknown". Static. */
COREMD_HOST_API const char* coreMD_DisturbanceName(int32_t kind);

/* Undoes the conditioner's dimming in a picture that h33 drew, for people to look at. bgr: 3 * [block]; isKnown: [block],
 * the mask of h33; blocks: at least columns * rows. */
COREMD_HOST_API int32_t coreMD_BrightenBackground(const coreMD_Conditioner* conditioner, uint8_t* bgr,
                                                  const int32_t* isKnown, int64_t blocks);

/* One object of a label map. */
typedef struct coreMD_Outline {
    int32_t label;  /* of its blocks */
    int32_t blocks; /* how many */
    int32_t left;   /* smallest column */
    int32_t top;    /* smallest row */
    int32_t right;  /* largest column, inclusive */
    int32_t bottom; /* largest row, inclusive */
} coreMD_Outline;

/* The objects of a label map of any origin, by rising label. labels: [block]; columns, rows: 1..9999. outlines: room for
 * `room` of them; may be null where that is 0. count: gets how many there are; where that is more than `room`, the first
 * `room` are written, and COREMD_HOST_NO_ROOM is returned. Takes memory for the time of the call. */
COREMD_HOST_API int32_t coreMD_OutlineLabels(const uint16_t* labels, int32_t columns, int32_t rows, coreMD_Outline* outlines,
                                             int64_t room, int64_t* count);

/* ---- Memories: what was learned <-> bytes ---------------------------------------------------------------------------- */

/* Two kinds: a background alone, which survives other settings and other versions, and the whole state of a detector, from
 * which it continues equal to the bit. Bytes are the same on every machine, in their order too, carry the version of their
 * format and a checksum of 64 bits: whatever changed by accident is refused. They are no protection against forgery; what
 * is loaded does no harm whatever it is.
 *
 * Packing: `needed` gets the bytes that a memory takes; may be null. memory holds `size` bytes; where that is less,
 * COREMD_HOST_NO_ROOM is returned and nothing is written: with 0 and null, the size is asked for. Unpacking: memory may
 * hold anything; `wanted` says what it has to be for. Both take memory for the time of the call, up to three times the
 * bytes. */

/* ycbcr: planes; isKnown: [block] 0 where nothing was learned of the block; null: all were. time: ticks, when it was. */
COREMD_HOST_API int32_t coreMD_PackBackground(const coreMD_Grid* grid, int64_t time, const uint8_t* ycbcr,
                                              const uint8_t* isKnown, uint8_t* memory, int64_t size, int64_t* needed);

/* ycbcr: gets planes; isKnown: gets [block] 0 or 255, may be null; blocks: room there, at least columns * rows. time: gets
 * when it was learned, may be null. */
COREMD_HOST_API int32_t coreMD_UnpackBackground(const uint8_t* memory, int64_t size, const coreMD_Grid* wanted,
                                                int64_t* time, uint8_t* ycbcr, uint8_t* isKnown, int64_t blocks);

/* state: stateSize bytes that coreMD_SaveState wrote; libraryVersion: coreMD_Version() of the library that did. time:
 * ticks, the stream time of the last picture.
 * Beside a conditioner: a new one shows stamps from 0 again, at which the loaded detector starts afresh. Pack the last stamp
 * that was shown as time, and add it plus one interval to every stamp after loading; or take the background. */
COREMD_HOST_API int32_t coreMD_PackState(const coreMD_Grid* grid, int64_t time, int32_t libraryVersion, const uint8_t* state,
                                         int64_t stateSize, uint8_t* memory, int64_t size, int64_t* needed);

/* libraryVersion: coreMD_Version() of the library that will load it. place, stateSize: get where in `memory` the state for
 * coreMD_LoadState begins, and its bytes. time: as above, may be null. */
COREMD_HOST_API int32_t coreMD_UnpackState(const uint8_t* memory, int64_t size, const coreMD_Grid* wanted,
                                           int32_t libraryVersion, int64_t* time, int64_t* place, int64_t* stateSize);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* COREMD_HOST_H */
