#include "unzip/command_line.h"

namespace {

constexpr const char* kNoDirectory = "the option -d needs the directory to unpack into";

// Takes the value of -d: the rest of its word or the next one.
std::string take_destination(UnzipCommand& command, std::size_t& next, const std::string& rest,
                             const std::vector<std::string>& arguments) {
    if (command.has_destination)
        return "the option -d is given twice";
    command.destination = rest;
    if (rest.empty() && next < arguments.size())
        command.destination = arguments[next++];
    command.has_destination = true;
    return command.destination.empty() ? kNoDirectory : "";
}

// Takes a word of letters.
std::string take_letters(UnzipCommand& command, std::size_t& next, const std::string& word,
                         const std::vector<std::string>& arguments) {
    for (std::size_t i = 1; i < word.size(); ++i) {
        switch (word[i]) {
        case 'q':
            ++command.quiet;
            break;
        case 'o':
            command.replace = true;
            break;
        case 't':
            if (command.task != UnzipTask::kHelp)
                command.task = UnzipTask::kTest;
            break;
        case 'l':
            // Of -l and -t the latter counts, in whatever order.
            if (command.task == UnzipTask::kUnpack)
                command.task = UnzipTask::kList;
            break;
        case 'h':
            command.task = UnzipTask::kHelp;
            break;
        case 'd':
            return take_destination(command, next, word.substr(i + 1), arguments);
        default:
            return "the option -" + word.substr(i, 1) + " is not known; see unzip --help";
        }
    }
    return "";
}

} // namespace

std::string read_command_line(UnzipCommand& command, const std::vector<std::string>& arguments) {
    bool has_archive = false;
    std::string alone; // the word that wants no name beside it
    if (arguments.empty())
        command.task = UnzipTask::kHelp;
    for (std::size_t next = 0; next < arguments.size();) {
        const std::string& word = arguments[next++];
        std::string wrong;
        if (word.empty())
            wrong = "an empty word names nothing; see unzip --help";
        else if (word == "--help" || word == "--version")
            alone = word;
        else if (word.starts_with("--"))
            wrong = "the option " + word + " is not known; see unzip --help";
        else if (word.size() > 1 && word.starts_with('-') &&
                 (!has_archive || word.starts_with("-d")))
            wrong = take_letters(command, next, word, arguments);
        else if (has_archive)
            wrong = word + " is one name too many: entries cannot be chosen, and options other "
                           "than -d stand before the archive";
        else
            command.archive = word;
        has_archive = has_archive || !command.archive.empty();
        if (!wrong.empty())
            return wrong;
    }
    if (!alone.empty() && has_archive)
        return command.archive + " is one name too many: " + alone + " takes none";
    if (!alone.empty() && command.has_destination)
        return "the option -d is one too many: " + alone + " takes none";
    if (!alone.empty())
        command.task = alone == "--help" ? UnzipTask::kHelp : UnzipTask::kVersion;
    else if (!has_archive && command.task != UnzipTask::kHelp)
        return "no archive is named; see unzip --help";
    return "";
}

const char* const kHelpText =
    "usage: unzip [-q]... [-o] ARCHIVE [-d DIRECTORY]\n"
    "       unzip [-q]... -t ARCHIVE\n"
    "       unzip [-q]... -l ARCHIVE\n"
    "\n"
    "Unpacks zip and jar archives into DIRECTORY, or into the current one. ARCHIVE may be a\n"
    "pattern of * ? [ ] behind its last slash; what fits it is taken in the order of the names.\n"
    "\n"
    "  -o  replace files that are there; without it they are left as they are\n"
    "  -d  the directory to unpack into; it is made when only its last part is missing\n"
    "  -t  check the archive and what would be refused of it, and unpack nothing\n"
    "  -l  list the archive\n"
    "  -q  list nothing of what is done (-qq: no headings either); failures are always told\n"
    "\n"
    "Status: 0 fine, 1 warnings, 2 or 3 a broken archive, 4 no memory, 9 no archive, 10 wrong\n"
    "options, 11 nothing fits the pattern, 12 entries that overlap, 50 the disk is full, 51 the\n"
    "archive ends early, 80 interrupted, 81 an unknown method, 82 an encrypted entry.\n";

const char* const kVersionText =
    "unzip of setupLauncher, for the archives of installation stages\n";
