#include "platform/mount_table.h"

#include "base/text.h"

namespace {

// The limits of the table's home system.
constexpr std::size_t kLongestLine = 1022;
constexpr std::size_t kFields = 5;

enum class Line { read, cut, end };

// Reads a line without its line feed; one that is too long is read up to the limit, and the next
// read goes on inside it.
Line read_line(std::FILE* table, std::string& line) {
    line.clear();
    for (int byte = std::getc(table); byte != EOF; byte = std::getc(table)) {
        if (byte == '\n')
            return Line::read;
        if (line.size() == kLongestLine) {
            std::ungetc(byte, table);
            return Line::cut;
        }
        line += static_cast<char>(byte);
    }
    return line.empty() ? Line::end : Line::read;
}

std::string field(const std::string& text) {
    return text == "-" ? "" : text;
}

} // namespace

int next_mount_entry(std::FILE* table, MountEntry& entry) {
    std::string line;
    for (;;) {
        const Line result = read_line(table, line);
        if (result == Line::end)
            return kMountTableEnd;
        if (result == Line::cut)
            return kMountLineTooLong;
        const std::size_t first = line.find_first_not_of(" \t");
        if (first != std::string::npos && line[first] != '#')
            break;
    }
    const std::vector<std::string> fields = split(line, " \t");
    if (fields.size() < kFields)
        return kMountTooFewFields;
    if (fields.size() > kFields)
        return kMountTooManyFields;
    entry = MountEntry{field(fields[0]), field(fields[1]), field(fields[2]), field(fields[3]),
                       field(fields[4])};
    return kMountEntryRead;
}
