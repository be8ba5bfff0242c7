#include "platform/program_file.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

// Enough for the first line of a script, and for the table in a program that names its loader.
constexpr std::size_t kBeginning = 4096;
// As much of a file as has to be text.
constexpr std::size_t kTextBeginning = 512;
// A first line is no longer than this on any system.
constexpr std::size_t kLongestRunner = 1024;

// The first bytes of the regular file `path`; none of what cannot be read.
std::string beginning_of(const std::string& path) {
    // Nothing that is no file may keep the launch waiting.
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    if (descriptor < 0)
        return "";
    std::vector<char> bytes(kBeginning);
    const ssize_t got = read(descriptor, bytes.data(), bytes.size());
    close(descriptor);
    return got < 0 ? "" : std::string(bytes.data(), static_cast<std::size_t>(got));
}

bool belongs_to_text(char byte) {
    constexpr std::string_view controls_in_texts = "\a\b\t\n\v\f\r\x1b";
    constexpr char kDelete = '\x7f';
    if (static_cast<unsigned char>(byte) >= ' ')
        return byte != kDelete;
    return controls_in_texts.find(byte) != std::string_view::npos;
}

// The number of `size` bytes at `at`, the lowest first; 0 behind the end.
std::uint64_t number_at(std::string_view bytes, std::uint64_t at, std::size_t size) {
    if (at > bytes.size() || size > bytes.size() - at)
        return 0;
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
    return number;
}

std::string runner_of_script(std::string_view bytes) {
    std::string_view line = bytes.substr(2, bytes.find('\n') - 2);
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos)
        return "";
    line.remove_prefix(start);
    return std::string(line.substr(0, std::min(line.find_first_of(" \t"), kLongestRunner)));
}

// Where the fields of a program's header and of its segments lie, by the width of an address.
struct ElfForm {
    std::size_t width;
    std::size_t table;      // in the header: where the table of segments lies
    std::size_t entry_size; // and the size of one of its entries
    std::size_t entries;    // and their number
    std::size_t offset;     // in an entry: where the segment lies in the file
    std::size_t size;       // and how long it is there
};

std::string loader_of_program(std::string_view bytes) {
    constexpr ElfForm narrow{4, 28, 42, 44, 4, 16};
    constexpr ElfForm wide{8, 32, 54, 56, 8, 32};
    constexpr std::uint64_t names_the_loader = 3; // PT_INTERP
    const ElfForm& form = number_at(bytes, 4, 1) == 2 ? wide : narrow;
    const std::uint64_t table = number_at(bytes, form.table, form.width);
    const std::uint64_t entry_size = number_at(bytes, form.entry_size, 2);
    const std::uint64_t entries = number_at(bytes, form.entries, 2);
    for (std::uint64_t i = 0; i < entries; ++i) {
        const std::uint64_t entry = table + i * entry_size;
        if (number_at(bytes, entry, 4) != names_the_loader)
            continue;
        const std::uint64_t offset = number_at(bytes, entry + form.offset, form.width);
        const std::uint64_t size = number_at(bytes, entry + form.size, form.width);
        if (offset >= bytes.size() || size > bytes.size() - offset)
            return "";
        const std::string_view name = bytes.substr(offset, size);
        return std::string(name.substr(0, name.find('\0')));
    }
    return "";
}

} // namespace

bool is_plain_text(const std::string& path) {
    const std::string bytes = beginning_of(path).substr(0, kTextBeginning);
    return !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), belongs_to_text);
}

std::string runner_named_by(const std::string& path) {
    const std::string bytes = beginning_of(path);
    if (bytes.starts_with("#!"))
        return runner_of_script(bytes);
    return bytes.starts_with("\x7f"
                             "ELF")
               ? loader_of_program(bytes)
               : "";
}
