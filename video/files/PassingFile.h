// Under which name does a file grow, and how is one that somebody writes told from one that was left behind?  Its lock
// tells, which ends with the process that holds it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Video {

class PassingFile {
public:
    // Makes "PATH.NUMBER.part", empty, with the number of this process, and removes those of this path that ended processes
    // have left behind, but none of the inputs. Throws Failure.
    PassingFile(const std::string& path, const std::vector<std::string>& inputs);

    // Removes it, unless it was renamed.
    ~PassingFile();
    PassingFile(const PassingFile&) = delete;
    PassingFile& operator=(const PassingFile&) = delete;

    const std::string& Name() const { return _name; }

    // False: errno says why.
    bool RenameTo(const std::string& path);

private:
    std::string _name;
    int _file = -1;  // descriptor, which holds the lock
    bool _renamed = false;
};

// Is it "NAME.NUMBER.part"?
bool IsPassingNameOf(std::string_view name, std::string_view passing);

// Removes "PATH.NUMBER.part" that nobody holds a lock of: where file systems have no locks, none. A folder is looked through
// when a process first asks about a file in it. inputs: files that must not be removed.
void RemoveLeftovers(const std::string& path, const std::vector<std::string>& inputs = {});

}  // namespace Video
