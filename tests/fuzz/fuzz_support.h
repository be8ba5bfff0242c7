// What the fuzzers share: properties that end the run when they do not hold, and input as files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// Ends the run, with the input kept by the fuzzer, when `holds` is false.
inline void require(bool holds, const char* property) {
    if (holds)
        return;
    std::fprintf(stderr, "property does not hold: %s\n", property);
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

// A directory of this run's own; the memory file system keeps the disk out of the loop.
inline const std::string& fuzz_directory() {
    static const std::string directory = [] {
        std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm/launcher_fuzz_XXXXXX"
                                                         : "/tmp/launcher_fuzz_XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        return name;
    }();
    return directory;
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
