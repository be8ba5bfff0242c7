#include "unzip/listing.h"

#include "unzip/names.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <ctime>

namespace {

// The moment as the table shows it, in local time.
std::string shown_time(std::int64_t moment) {
    const auto seconds = static_cast<std::time_t>(moment);
    std::tm local{};
    std::array<char, 64> text{};
    if (localtime_r(&seconds, &local) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &local) == 0)
        return "---------- --:--";
    return text.data();
}

} // namespace

void list_archive(const ZipArchive& archive, int quiet) {
    if (quiet == 0)
        std::printf("Archive:  %s\n", printable(archive.path).c_str());
    if (quiet < 2)
        std::puts("  Length      Date    Time    Name\n"
                  "---------  ---------- -----   ----");
    std::uint64_t sum = 0;
    for (const ZipEntry& entry : archive.entries) {
        std::printf("%9" PRIu64 "  %s   %s\n", entry.unpacked,
                    shown_time(entry.times.modified).c_str(),
                    printable(entry_name(archive, entry)).c_str());
        sum += entry.unpacked;
    }
    const std::size_t count = archive.entries.size();
    if (quiet < 2)
        std::printf("---------                     -------\n"
                    "%9" PRIu64 "                     %zu file%s\n",
                    sum, count, count == 1 ? "" : "s");
}
