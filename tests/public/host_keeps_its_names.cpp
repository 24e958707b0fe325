// May a host name its own things like ours?  Compiled, never run: what the class headers declare is in namespaces. A name
// that a template has can be given to nothing else in the same scope: no function, type or constant.
template <class>
struct BlockRange;
template <class>
struct ByteDistance;
template <class>
struct CellArena;
template <class>
struct CellBox;
template <class>
struct ForEachChunk;
template <class>
struct FrameStatistics;
template <class>
struct Grid;
template <class>
struct IsAnySet;
template <class>
struct Kernels;
template <class>
struct MotionObject;
template <class>
struct ObjectMerger;
template <class>
struct chunkLength;
template <class>
struct pieceLength;

#include <coreMD/detector/BackgroundStorage.h>
#include <coreMD/detector/MotionDetector.h>
#include <coreMD/host/BlockReducer.h>
