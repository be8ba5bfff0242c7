// Any bytes as a mount table.
#include "fuzz_support.h"
#include "platform/mount_table.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = fuzz_directory() + "/mnttab";
    write_file(path, as_text(data, size));
    std::FILE* table = std::fopen(path.c_str(), "r");
    MountEntry entry;
    std::size_t entries = 0;
    int status = next_mount_entry(table, entry);
    while (status != kMountTableEnd) {
        require(status >= kMountEntryRead && status <= kMountTooFewFields, "a result has a name");
        require(++entries <= size, "the table ends");
        if (status == kMountEntryRead)
            require(occurs_in(as_text(data, size), entry.mount_point), "fields are pieces of it");
        status = next_mount_entry(table, entry);
    }
    std::fclose(table);
    return 0;
}
