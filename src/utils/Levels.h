// Which loops does this processor run?  Every source of kernels is compiled for all processors, and once more for those with
// AVX2; at run time one of the two is called, by the same name.
//
// KernelsAvx2.cpp includes the sources a second time. Between MD_LEVEL_BEGIN and MD_LEVEL_END the compiler may use what the
// level has. Headers are included before: an inline function or a template from there may be kept for the whole program
// from any source, so that all of them are for every processor, whoever inlines them.
#pragma once

#include <atomic>

#if !defined(MD_HAS_AVX2_LOOPS)  // defined as 0, it shows what other processors run
#if defined(__x86_64__) && !defined(__AVX2__) && defined(__GNUC__) && !defined(_WIN32)
#define MD_HAS_AVX2_LOOPS 1
#else
// Another architecture, or the whole build is for processors with AVX2; or Windows, where g++ aligns no stack for them.
#define MD_HAS_AVX2_LOOPS 0
#endif
#endif

#if !defined(MD_LEVEL_IS_AVX2)
#define MD_LEVEL Plain
#define MD_LEVEL_BEGIN
#define MD_LEVEL_END
#elif defined(__clang__)
#define MD_LEVEL       Avx2
#define MD_LEVEL_BEGIN _Pragma("clang attribute push(__attribute__((target(\"avx2\"))), apply_to = function)")
#define MD_LEVEL_END   _Pragma("clang attribute pop")
#else
#define MD_LEVEL       Avx2
#define MD_LEVEL_BEGIN _Pragma("GCC push_options") _Pragma("GCC target(\"avx2\")")
#define MD_LEVEL_END   _Pragma("GCC pop_options")
#endif

namespace MD {

enum class Level { Undecided, Plain, Avx2 };

extern std::atomic<Level> runningLevel;  // Undecided until a loop is asked for
Level DecideLevel();                     // the best that processor and operating system can run; remembers it

// Whichever thread asks first decides: all of them would decide the same.
inline Level RunningLevel() {
    const Level level = runningLevel.load(std::memory_order_relaxed);
    return level == Level::Undecided ? DecideLevel() : level;
}

// For tests: the level from now on. False where this processor or this build does not have it.
bool UseLevel(Level level);

// A loop of every level, called like a function. A call is for a range of blocks: what it costs to choose is paid by all.
template <class Signature>
class Loop;

template <class Result, class... Arguments>
class Loop<Result(Arguments...)> {
public:
    using Function = Result(Arguments...);

    constexpr Loop(Function* plain, Function* avx2) : _plain(plain), _avx2(avx2) {}

    Result operator()(Arguments... arguments) const {
        return (RunningLevel() == Level::Avx2 ? _avx2 : _plain)(arguments...);
    }
    constexpr Function* Of(Level level) const { return level == Level::Avx2 ? _avx2 : _plain; }

private:
    Function* _plain;
    Function* _avx2;  // the plain one, where there is no other
};

}  // namespace MD

// Behind the source's MD_LEVEL_END, once per loop that its header declares: MD_DEFINE_LOOP(MarkChanges).
#if defined(MD_LEVEL_IS_AVX2)
#define MD_DEFINE_LOOP(name) static_assert(true)
#elif MD_HAS_AVX2_LOOPS
#define MD_DEFINE_LOOP(name)                \
    namespace Avx2 {                        \
    decltype(Kernels::name)::Function name; \
    }                                       \
    constinit const decltype(Kernels::name) name(Plain::name, Avx2::name)
#else
#define MD_DEFINE_LOOP(name) constinit const decltype(Kernels::name) name(Plain::name, Plain::name)
#endif
