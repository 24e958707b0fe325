// Where does a test put its files?  In a folder of its own, empty at first and gone afterwards. Base of the fixtures of
// tests that read or write files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace Kit {

class FolderFixture : public testing::Test {
protected:
    FolderFixture() {
        std::string pattern = testing::TempDir() + "coreMD.XXXXXX";
        if (!mkdtemp(pattern.data())) {  // nothing may be written, or removed, elsewhere
            throw std::filesystem::filesystem_error("no folder for a test", pattern, {errno, std::generic_category()});
        }
        _folder = pattern;
    }
    ~FolderFixture() override {
        std::error_code error;
        std::filesystem::remove_all(_folder, error);
        EXPECT_FALSE(error) << _folder << ": " << error.message();
    }

    std::string Folder() const { return _folder.string(); }

    // name: below the folder. Whole paths stay as they are.
    std::string In(const std::string& name) const { return (_folder / name).string(); }

    std::vector<std::string> FilesInFolder() const {
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(_folder)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    void Write(const std::string& name, const std::string& content) const {
        std::ofstream(In(name), std::ios::binary) << content;
    }

    // Empty where there is no such file.
    std::string Read(const std::string& name) const {
        std::ifstream file(In(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path _folder;
};

}  // namespace Kit
