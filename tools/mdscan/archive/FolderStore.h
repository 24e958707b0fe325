// Which jobs does a folder know to be done?  A file for each result, which any number of processes on any number of machines
// may add to.
//
// "KEY.part" is the file under whose lock a job is done and into which its result is written; "KEY.result" is the same file
// once it is whole. A process that ends, however it does, lets go of the lock; the next one takes the file over.
#pragma once

#include <map>
#include <string>

#include "archive/ResultStore.h"

namespace Scan {

class FolderStore : public ResultStore {
public:
    // Throws Failure when there is no such folder.
    explicit FolderStore(const std::string& folder);
    ~FolderStore() override;
    FolderStore(const FolderStore&) = delete;
    FolderStore& operator=(const FolderStore&) = delete;

    Taking Take(const std::string& key) override;
    void GiveBack(const std::string& key) override;
    void Keep(const std::string& key, const std::string& line) override;
    std::optional<std::string> Read(const std::string& key) override;
    void Discard(const std::string& key) override;
    std::set<std::string> List() override;

private:
    std::string PartOf(const std::string& key) const;
    std::string ResultOf(const std::string& key) const;
    bool IsDone(const std::string& key) const;
    [[noreturn]] void Fail(const std::string& what, const std::string& path, int error) const;

    const std::string _folder;
    int _descriptor = -1;               // of the folder
    std::map<std::string, int> _taken;  // descriptors of files that are locked, by key
};

}  // namespace Scan
