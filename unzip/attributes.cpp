#include "unzip/attributes.h"

#include "unzip/fields.h"

#include <algorithm>
#include <ctime>
#include <sys/stat.h>
#include <zlib.h>

namespace {

// The extra fields, by their numbers, that Unix archivers write times into.
constexpr unsigned kExtendedTimestamp = 0x5455;
constexpr unsigned kOldUnix = 0x5855;
constexpr unsigned kPkwareUnix = 0x000d;
constexpr unsigned kUnicodePath = 0x7075;

// The upper byte of "version made by".
constexpr unsigned kMadeOnDos = 0;
constexpr unsigned kMadeOnUnix = 3;

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

// Attributes of MS-DOS.
constexpr unsigned kDosReadOnly = 0x01;
constexpr unsigned kDosDirectory = 0x10;

std::int64_t time_at(std::string_view bytes, std::size_t at) {
    return static_cast<std::int32_t>(number_at(bytes, at, 4));
}

} // namespace

// The places of bits and bytes are those of the format.
// NOLINTBEGIN(cppcoreguidelines-avoid-magic-numbers)

std::int64_t time_of_dos(std::uint32_t dos_time) {
    // Many entries share their time, and the system's look at its clock's rules is slow.
    thread_local std::uint32_t last_dos_time = 0;
    thread_local std::int64_t last_time = 0;
    if (dos_time == last_dos_time && last_time != 0)
        return last_time;
    std::tm moment{};
    moment.tm_year = static_cast<int>((dos_time >> 25U & 0x7fU) + 80);
    // Nothing at all stands for the first month.
    moment.tm_mon = std::max(static_cast<int>(dos_time >> 21U & 0x0fU) - 1, 0);
    moment.tm_mday = static_cast<int>(dos_time >> 16U & 0x1fU);
    moment.tm_hour = static_cast<int>(dos_time >> 11U & 0x1fU);
    moment.tm_min = static_cast<int>(dos_time >> 5U & 0x3fU);
    moment.tm_sec = static_cast<int>(dos_time << 1U & 0x3eU);
    moment.tm_isdst = -1;
    last_dos_time = dos_time;
    last_time = std::mktime(&moment);
    return last_time;
}

EntryTimes entry_times(std::uint32_t dos_time, std::string_view local_extra) {
    bool has_extended = false;
    bool has_other = false;
    EntryTimes times;
    unsigned number = 0;
    for (std::string_view field; next_field(number, field, local_extra);) {
        // A time before 1970 is taken for a broken one.
        if (number == kExtendedTimestamp && field.size() >= 5 && (field[0] & 1) != 0 &&
            time_at(field, 1) >= 0) {
            // Modification, access and creation, as far as the bits of the first byte tell.
            times.modified = times.accessed = time_at(field, 1);
            if ((field[0] & 2) != 0 && field.size() >= 9)
                times.accessed = time_at(field, 5);
            has_extended = true;
        } else if ((number == kOldUnix || number == kPkwareUnix) && field.size() >= 8 &&
                   !has_extended) {
            times.accessed = time_at(field, 0);
            times.modified = time_at(field, 4);
            has_other = true;
        }
    }
    if (!has_extended && !has_other)
        times.modified = times.accessed = time_of_dos(dos_time);
    return times;
}

std::string unicode_name(std::string_view extra, std::string_view name) {
    unsigned number = 0;
    for (std::string_view field; next_field(number, field, extra);) {
        // A version, the sum of the name that it stands for, the name.
        if (number != kUnicodePath || field.size() < 6 || field[0] != 1)
            continue;
        const auto sum = crc32(crc32(0, nullptr, 0),
                               static_cast<const Bytef*>(static_cast<const void*>(name.data())),
                               static_cast<uInt>(name.size()));
        if (sum == number_at(field, 1, 4))
            return std::string(field.substr(5));
    }
    return "";
}

// NOLINTEND(cppcoreguidelines-avoid-magic-numbers)

mode_t entry_mode(unsigned made_by, std::uint32_t external, bool is_directory, mode_t mask) {
    const auto unix_mode = static_cast<mode_t>(external >> 16U);
    if (made_by >> 8U == kMadeOnUnix)
        return unix_mode & (S_IFMT | kPermissions);
    mode_t mode = S_IRUSR | S_IRGRP | S_IROTH;
    if ((external & kDosReadOnly) == 0)
        mode |= S_IWUSR | S_IWGRP | S_IWOTH;
    if (is_directory || (external & kDosDirectory) != 0)
        mode |= S_IXUSR | S_IXGRP | S_IXOTH;
    // Some archivers on Unix call themselves MS-DOS; their permissions are known by not
    // contradicting the attributes of MS-DOS.
    if (made_by >> 8U == kMadeOnDos && (unix_mode & S_IRWXU) == (mode & S_IRWXU))
        return unix_mode & kPermissions;
    return mode & ~mask;
}
