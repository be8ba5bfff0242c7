// What the unit tests share: a temporary directory of their own, files with given contents, and
// what a call writes to the standard streams.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

// A directory that goes away with the object.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = "/tmp/launcher_unit_XXXXXX";
        const char* made = mkdtemp(name.data());
        EXPECT_NE(made, nullptr);
        path_ = std::filesystem::canonical(name).string();
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const {
        return path_;
    }
    std::string file(const std::string& name) const {
        return path_ + "/" + name;
    }
    // Writes `bytes` to file `name` here and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream out(file(name), std::ios::binary);
        out << bytes;
        out.close();
        EXPECT_TRUE(out) << file(name) << " cannot be written";
        return file(name);
    }

  private:
    std::string path_;
};

inline std::string bytes_of(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Rises with every descriptor that is left open.
inline int lowest_free_descriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

inline unsigned mode_of(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(stat(path.c_str(), &found), 0) << path;
    return static_cast<unsigned>(found.st_mode) & 07777U;
}

// What `call` writes to standard output; the stream is flushed before and after.
template <typename Call>
std::string shown_by(const Call& call) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// The same for standard error.
template <typename Call>
std::string complained_by(const Call& call) {
    testing::internal::CaptureStderr();
    call();
    std::fflush(stderr);
    return testing::internal::GetCapturedStderr();
}

// What a launch without any catalogue in `directory` tells.
inline std::string no_catalogue_in(const std::string& directory) {
    return "\nERROR: Could not read any NLS message catalogue!\n"
           "It was looked for in the directory " +
           directory +
           ". A launcher that is found through the search path or started through a link looks "
           "there, not beside its own file: start it by its full path.\n";
}
