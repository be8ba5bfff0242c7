#include "unzip/messages.h"

#include "unzip/names.h"
#include "unzip/progress.h"

#include <cstdio>

void complain_of(std::string_view where, std::string_view reason) {
    const std::string line = "unzip: " + printable(where) + ": " + printable(reason) + "\n";
    erase_progress();
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
}

void complain_of_entry(std::string_view archive, std::string_view entry, std::string_view reason) {
    complain_of(std::string(archive) + ": " + std::string(entry), reason);
}
