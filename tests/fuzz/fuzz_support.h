// What the fuzzers share: properties that end the run when they do not hold, and input as files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

// Standard error as it was before the fuzzer discarded what the code under test says there.
inline const int kReportDescriptor = dup(STDERR_FILENO);

// Ends the run, with the input kept by the fuzzer, when `holds` is false.
inline void require(bool holds, const char* property) {
    if (holds)
        return;
    dprintf(kReportDescriptor, "property does not hold: %s\n", property);
    std::abort();
}

inline std::string_view as_text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// The pieces of `text` between line feeds, NULs dropped: what a caller can pass as arguments.
inline std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n')
            lines.emplace_back();
        else if (c != '\0')
            lines.back() += c;
    }
    return lines;
}

inline bool occurs_in(std::string_view whole, std::string_view part) {
    return whole.find(part) != std::string_view::npos;
}

// The pieces of `text` between runs of `separators`, as the C library cuts them. `text` ends at its
// first NUL.
inline std::vector<std::string> pieces_of(const std::string& text, const char* separators) {
    std::vector<std::string> pieces;
    std::string work = text;
    char* rest = nullptr;
    for (const char* piece = strtok_r(work.data(), separators, &rest); piece != nullptr;
         piece = strtok_r(nullptr, separators, &rest))
        pieces.emplace_back(piece);
    return pieces;
}

// A directory of this run's own that goes when the run ends. ./fuzz-all names the place for it, and
// removes what a broken run leaves there; else the memory file system keeps the disk out of the
// loop.
inline const std::string& fuzz_directory() {
    struct Directory {
        std::string name;
        Directory() {
            const char* place = std::getenv("LAUNCHER_FUZZ_DIRECTORY");
            if (place == nullptr)
                place = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
            name = std::string(place) + "/launcher_fuzz_XXXXXX";
            if (mkdtemp(name.data()) == nullptr)
                std::abort();
        }
        Directory(const Directory&) = delete;
        Directory& operator=(const Directory&) = delete;
        ~Directory() {
            std::error_code ignored;
            std::filesystem::remove_all(name, ignored);
        }
    };
    static const Directory directory;
    return directory.name;
}

inline void write_file(const std::string& path, std::string_view bytes) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (descriptor < 0 ||
        write(descriptor, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        std::abort();
    close(descriptor);
}

// Standard output takes what the code under test shows, and loses it.
inline void discard_standard_output() {
    static const bool done = std::freopen("/dev/null", "w", stdout) != nullptr;
    require(done, "standard output can be discarded");
}
