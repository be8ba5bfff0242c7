// Any bytes as a mount table.
#include "fuzz_support.h"
#include "platform/mount_table.h"

#include <array>

namespace {

using Fields = std::array<std::string, 5>;

// Whether `line` holds all of `fields` in their order; an absent one stands there as "-".
bool stand_in_line(const Fields& fields, std::string_view line) {
    std::size_t at = 0;
    for (const std::string& field : fields) {
        const std::string_view text = field.empty() ? "-" : std::string_view(field);
        at = line.find(text, at);
        if (at == std::string_view::npos)
            return false;
        at += text.size();
    }
    return true;
}

bool stand_in_one_line(const Fields& fields, std::string_view table) {
    while (!table.empty()) {
        const std::size_t end = table.find('\n');
        if (stand_in_line(fields, table.substr(0, end)))
            return true;
        table.remove_prefix(end == std::string_view::npos ? table.size() : end + 1);
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = as_text(data, size);
    static const std::string path = fuzz_directory() + "/mnttab";
    write_file(path, text);
    std::FILE* table = std::fopen(path.c_str(), "r");
    MountEntry entry;
    std::size_t entries = 0;
    int status = next_mount_entry(table, entry);
    while (status != kMountTableEnd) {
        require(status >= kMountEntryRead && status <= kMountTooFewFields, "a result has a name");
        require(++entries <= size, "the table ends");
        if (status == kMountEntryRead) {
            const Fields fields{entry.special, entry.mount_point, entry.type, entry.options,
                                entry.time};
            for (const std::string& field : fields) {
                require(field.find_first_of(" \t\n") == std::string::npos,
                        "white space separates fields");
                require(field != "-", "a field that is left out is empty");
            }
            require(!fields[0].starts_with('#'), "a comment is no entry");
            require(stand_in_one_line(fields, text), "the fields of an entry stand in one line");
        }
        const MountEntry before = entry;
        status = next_mount_entry(table, entry);
        if (status != kMountEntryRead)
            require(entry.special == before.special && entry.mount_point == before.mount_point &&
                        entry.type == before.type && entry.options == before.options &&
                        entry.time == before.time,
                    "a line that is no entry changes nothing");
    }
    require(next_mount_entry(table, entry) == kMountTableEnd, "the end stays the end");
    std::fclose(table);
    return 0;
}
