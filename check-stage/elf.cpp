#include "elf.h"

#include <cstdint>
#include <optional>

namespace {

// From the tables of the System V ABI.
constexpr std::size_t kIdentification = 16;
constexpr unsigned char kClass64 = 2;
constexpr unsigned char kBigEndian = 2;
constexpr unsigned char kAbiSolaris = 6;
constexpr unsigned char kAbiLinux = 3;
constexpr std::uint64_t kSegmentLoad = 1;
constexpr std::uint64_t kSegmentDynamic = 2;
constexpr std::uint64_t kSegmentInterpreter = 3;
constexpr std::uint64_t kSegmentNote = 4;
constexpr std::uint64_t kNoteHead = 12; // three numbers before the name
constexpr std::uint64_t kTagEnd = 0;
constexpr std::uint64_t kTagNeeded = 1;
constexpr std::uint64_t kTagStringTable = 5;
// No program has more of either; a broken file may claim it.
constexpr std::uint64_t kMostSegments = 200;
constexpr std::uint64_t kMostTags = 10000;

struct Machine {
    std::uint64_t number;
    const char* name;
};
constexpr Machine kMachines[] = {
    {2, "SPARC"},   {3, "x86"},       {8, "MIPS"},     {20, "PowerPC"},    {21, "PowerPC64"},
    {22, "S390"},   {40, "ARM"},      {43, "SPARC"},   {50, "Itanium"},    {18, "SPARC"},
    {62, "x86-64"}, {183, "AArch64"}, {243, "RISC-V"}, {258, "LoongArch"},
};

struct Reader {
    std::string_view bytes;
    bool wide;
    bool big_endian;

    // The number of `size` bytes at `at`.
    [[nodiscard]] std::optional<std::uint64_t> number(std::uint64_t at, unsigned size) const {
        if (at > bytes.size() || bytes.size() - at < size)
            return std::nullopt;
        std::uint64_t value = 0;
        for (unsigned i = 0; i < size; ++i) {
            const unsigned place = big_endian ? i : size - 1 - i;
            value = value << 8U | static_cast<unsigned char>(bytes[at + place]);
        }
        return value;
    }

    // The field of a structure, at one offset in 64-bit files and at another in 32-bit ones.
    [[nodiscard]] std::optional<std::uint64_t> address(std::uint64_t base, unsigned offset64,
                                                       unsigned offset32) const {
        return number(base + (wide ? offset64 : offset32), wide ? 8 : 4);
    }

    [[nodiscard]] std::string text(std::uint64_t at) const {
        if (at >= bytes.size())
            return "";
        return std::string(bytes.substr(at, bytes.find('\0', at) - at));
    }
};

struct Segment {
    std::uint64_t type;
    std::uint64_t offset;
    std::uint64_t address;
    std::uint64_t size;
};

std::vector<Segment> segments_of(const Reader& reader, bool& broken) {
    std::vector<Segment> segments;
    const auto table = reader.address(0, 32, 28);
    const auto each = reader.number(reader.wide ? 54 : 42, 2);
    const auto count = reader.number(reader.wide ? 56 : 44, 2);
    if (!table || !each || !count || *count > kMostSegments) {
        broken = true;
        return segments;
    }
    for (std::uint64_t i = 0; i < *count; ++i) {
        const std::uint64_t at = *table + i * *each;
        const auto type = reader.number(at, 4);
        const auto offset = reader.address(at, 8, 4);
        const auto address = reader.address(at, 16, 8);
        const auto size = reader.address(at, 32, 16);
        if (!type || !offset || !address || !size) {
            broken = true;
            break;
        }
        segments.push_back({*type, *offset, *address, *size});
    }
    return segments;
}

// Where in the file the address lies that a program sees.
std::optional<std::uint64_t> place_of(const std::vector<Segment>& segments, std::uint64_t address) {
    for (const Segment& segment : segments) {
        if (segment.type == kSegmentLoad && address >= segment.address &&
            address - segment.address < segment.size)
            return address - segment.address + segment.offset;
    }
    return std::nullopt;
}

// Reads the dynamic section: the names of the libraries that the program needs.
void read_dynamic(const Reader& reader, const Segment& dynamic,
                  const std::vector<Segment>& segments, ElfFile& file) {
    const unsigned step = reader.wide ? 8 : 4;
    std::vector<std::uint64_t> names;
    std::optional<std::uint64_t> strings;
    for (std::uint64_t i = 0; i < kMostTags && i * 2 * step < dynamic.size; ++i) {
        const auto tag = reader.number(dynamic.offset + i * 2 * step, step);
        const auto value = reader.number(dynamic.offset + (i * 2 + 1) * step, step);
        file.broken = file.broken || !tag || !value;
        if (!tag || !value || *tag == kTagEnd)
            break;
        if (*tag == kTagNeeded)
            names.push_back(*value);
        if (*tag == kTagStringTable)
            strings = place_of(segments, *value);
    }
    for (const std::uint64_t name : names) {
        if (strings)
            file.needed.push_back(reader.text(*strings + name));
    }
}

void read_needed(const Reader& reader, const std::vector<Segment>& segments, ElfFile& file) {
    for (const Segment& segment : segments) {
        if (segment.type == kSegmentDynamic)
            read_dynamic(reader, segment, segments, file);
    }
}

// The loader's name tells the system, where the file has none in its head: both systems leave that
// at the common value.
void read_system(const Reader& reader, const std::vector<Segment>& segments, ElfFile& file) {
    const auto abi = static_cast<unsigned char>(reader.bytes[7]);
    if (abi == kAbiSolaris)
        file.system = "Solaris";
    else if (abi == kAbiLinux)
        file.system = "Linux";
    for (const Segment& segment : segments) {
        if (segment.type == kSegmentInterpreter) {
            const std::string loader = reader.text(segment.offset);
            if (loader.find("/ld-linux") != std::string::npos ||
                loader.find("/ld-musl") != std::string::npos ||
                loader.find("/ld64.so") != std::string::npos)
                file.system = "Linux";
            else if (loader.ends_with("/ld.so.1"))
                file.system = "Solaris";
        } else if (segment.type == kSegmentNote && file.system.empty() &&
                   segment.offset <= reader.bytes.size()) {
            // A note of type 1 by "GNU" names the system by a number; 0 is Linux.
            const auto type = reader.number(segment.offset + 8, 4);
            const auto system = reader.number(segment.offset + 16, 4);
            if (type == 1U && system == 0U && reader.text(segment.offset + kNoteHead) == "GNU")
                file.system = "Linux";
        }
    }
}

} // namespace

ElfFile read_elf(std::string_view bytes) {
    ElfFile file;
    file.is_script = bytes.starts_with("#!");
    if (!bytes.starts_with("\x7f"
                           "ELF"))
        return file;
    file.is_elf = true;
    if (bytes.size() < kIdentification) {
        file.broken = true;
        return file;
    }
    const Reader reader{bytes, static_cast<unsigned char>(bytes[4]) == kClass64,
                        static_cast<unsigned char>(bytes[5]) == kBigEndian};
    file.bits = reader.wide ? 64 : 32;
    const auto machine = reader.number(18, 2);
    if (!machine) {
        file.broken = true;
        return file;
    }
    file.machine = "machine " + std::to_string(*machine);
    for (const Machine& known : kMachines) {
        if (known.number == *machine)
            file.machine = known.name;
    }
    const std::vector<Segment> segments = segments_of(reader, file.broken);
    read_needed(reader, segments, file);
    read_system(reader, segments, file);
    return file;
}

std::string described(const ElfFile& file) {
    return std::to_string(file.bits) + "-bit " + file.machine +
           (file.system.empty() ? "" : " for " + file.system);
}

bool fit_together(const ElfFile& one, const ElfFile& other) {
    // 32-bit programs run on the 64-bit machines of their family.
    const auto family = [](const ElfFile& file) {
        return file.machine == "x86" ? std::string("x86-64") : file.machine;
    };
    return family(one) == family(other) &&
           (one.system.empty() || other.system.empty() || one.system == other.system);
}
