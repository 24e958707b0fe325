// Where in a name does a time stand that is written like this?  Patterns are strptime's, with a shell's wildcards.
//
// %Y four digits; %y two, from 2000 on; %m %d %H %M %S %I two; %b "Mar"; %p "AM"; %f up to nine, of a second; %s ten, since
// 1970; %z "Z", "+0100", "+01:00"; %F is %Y-%m-%d, %T is %H:%M:%S, %% is %. ? is any one character, * as few as there can be
// within a folder's or file's name, [-_] one of these. All else is itself.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "video/time/TickTime.h"
#include "video/time/WallClock.h"

namespace Video {

// How many characters there are a fraction of a second, of up to nine digits, or an offset; 0: none. What that is goes to
// the last.
std::size_t ReadFraction(const std::string& name, std::size_t at, Ticks& fraction);
std::size_t ReadOffset(const std::string& name, std::size_t at, std::optional<Ticks>& offset);

// What stands there, and from where to where.
struct NamedTime {
    CivilTime civil;
    std::optional<Ticks> offset;     // by which it is ahead of UTC; absent: nothing says so
    std::optional<WallTicks> ticks;  // instead of all that: seconds since 1970
    std::size_t begin, end;
};

class NamePattern {
public:
    // Why that is no pattern of a time; empty: it is one. It must tell a day and an hour.
    static std::string FaultOf(const std::string& text);

    // Precondition: no fault.
    explicit NamePattern(const std::string& text);

    // The first place from there on at which such a time stands, and there is such a day. No digit stands right before or
    // behind: longer numbers are none of ours.
    std::optional<NamedTime> FindIn(const std::string& name, std::size_t from = 0) const;

    int Folders() const { return _folders; }  // that it spans beside the file's name

private:
    struct Piece {
        char kind;         // '=', '[', '?', '*', or the letter of what is read
        std::string text;  // a character, or several to choose from
    };
    struct Fields;

    static std::string Read(const std::string& text, std::vector<Piece>& pieces);
    bool Match(std::size_t piece, const std::string& name, std::size_t begin, std::size_t at, Fields& fields) const;

    std::vector<Piece> _pieces;
    int _folders = 0;
};

}  // namespace Video
