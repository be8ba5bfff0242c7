// What the tests of the file-system work share: a directory to make trees in, and whole trees as
// one value.
#pragma once

#include "base/status.h"
#include "bootstrap/tree.h"
#include "unit_surroundings.h"

#include <map>

using Contents = std::map<std::string, std::string>;

// Everything below `root`: files with their bytes, directories (their names end in "/") and links
// with where they lead.
inline Contents contents_of(const std::string& root) {
    Contents contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).string();
        if (entry.is_symlink())
            contents[name] = "-> " + std::filesystem::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            contents[name + "/"] = "";
        else
            contents[name] = bytes_of(entry.path().string());
    }
    return contents;
}

// Whether there is anything at `path`, a dangling link included.
inline bool exists(const std::string& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

inline void set_mode(const std::string& path, mode_t mode) {
    EXPECT_EQ(chmod(path.c_str(), mode), 0) << path;
}

class Tree : public testing::Test {
  protected:
    // Writes a file together with the directories it lies in.
    std::string make_file(const std::string& name, const std::string& bytes = "") const {
        std::filesystem::create_directories(std::filesystem::path(here.file(name)).parent_path());
        return here.write(name, bytes);
    }
    std::string make_directory(const std::string& name) const {
        std::filesystem::create_directories(here.file(name));
        return here.file(name);
    }
    void make_link(const std::string& name, const std::string& to) const {
        std::filesystem::create_directories(std::filesystem::path(here.file(name)).parent_path());
        std::filesystem::create_symlink(to, here.file(name));
    }

    TemporaryDirectory here;
    Mask mask{022};
    std::string tree = here.file("tree");
    std::string copy = here.file("copy");
};
