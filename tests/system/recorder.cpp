// Stands where the launcher expects the java program and stores what it was
// given: arguments, environment, working directory, file-creation mask, limit
// of open files, open descriptors, signal state and the scratch directory that
// "-scratchPath" names.
//
// The record is one JSON object in the file RECORD_FILE (without that variable
// in /home/operator/.recorder/record.json); if that file exists, in the first
// free one of RECORD_FILE.1, .2 and so on. Every text in it holds one character
// per byte, so that no byte is lost. It is complete as soon as its name exists.
//
// What it does then is told by the environment; these names and RECORD_FILE are
// left out of the recorded one:
//   RECORDER_STDIN=1     reads standard input to its end and stores it
//   RECORDER_STDOUT      text for standard output
//   RECORDER_STDERR      text for standard error
//   RECORDER_WRITE       file to make in the scratch directory
//   RECORDER_WAIT_FOR    path that must exist before it goes on
//   RECORDER_SLEEP       seconds
//   RECORDER_SIGNAL      ends by this signal
//   RECORDER_EXIT        exit status, else 0
// A record that cannot be written ends with status 98.

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern char** environ;

namespace {

constexpr std::size_t kLargestStoredContent = 1 << 20;
constexpr const char* kDefaultRecord = "/home/operator/.recorder/record.json";

std::string quoted(const std::string& bytes) {
    std::string out = "\"";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7f || c == '"' || c == '\\') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string list(const std::vector<std::string>& values) {
    std::string out = "[";
    for (const std::string& value : values) {
        if (out.size() > 1) {
            out += ", ";
        }
        out += value;
    }
    return out + "]";
}

std::string setting(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::uint32_t crc32(const std::string& bytes) {
    std::uint32_t crc = 0xffffffffU;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~crc;
}

std::vector<std::string> namesIn(const std::string& directory) {
    std::vector<std::string> names;
    if (DIR* stream = opendir(directory.c_str())) {
        while (const dirent* entry = readdir(stream)) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
                names.emplace_back(entry->d_name);
            }
        }
        closedir(stream);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// One entry and, for a directory, everything below it. The top has the path ".".
void addTree(std::vector<std::string>& entries, const std::string& path, const std::string& name) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) {
        return;
    }
    std::string entry =
        "{\"path\": " + quoted(name) + ", \"mode\": " + std::to_string(info.st_mode & 07777U);
    if (S_ISDIR(info.st_mode)) {
        entries.push_back(entry + ", \"type\": \"dir\"}");
        for (const std::string& child : namesIn(path)) {
            addTree(entries, path + "/" + child, name == "." ? child : name + "/" + child);
        }
        return;
    }
    if (S_ISLNK(info.st_mode)) {
        char target[4096];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        entry += ", \"type\": \"link\", \"target\": " +
                 quoted(std::string(target, length < 0 ? 0 : static_cast<std::size_t>(length)));
    } else if (S_ISREG(info.st_mode)) {
        const std::string content = readAll(path);
        entry += ", \"type\": \"file\", \"size\": " + std::to_string(info.st_size) +
                 ", \"crc\": " + std::to_string(crc32(content));
        if (content.size() <= kLargestStoredContent) {
            entry += ", \"content\": " + quoted(content);
        }
    } else {
        entry += ", \"type\": \"other\"";
    }
    entries.push_back(entry + "}");
}

std::string openDescriptors() {
    std::vector<std::string> numbers;
    for (const std::string& name : namesIn("/proc/self/fd")) {
        const int number = std::atoi(name.c_str());
        if (number > 2 && fcntl(number, F_GETFD) != -1) {
            numbers.push_back(name);
        }
    }
    return list(numbers);
}

// The hexadecimal mask after "SigBlk:" or "SigIgn:".
std::string signalMask(const std::string& field) {
    const std::string status = readAll("/proc/self/status");
    const std::size_t at = status.find(field + ":\t");
    return at == std::string::npos ? "" : status.substr(at + field.size() + 2, 16);
}

std::string limit(rlim_t value) {
    return value == RLIM_INFINITY ? "-1" : std::to_string(value);
}

std::string scratchOf(int argc, char** argv) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "-scratchPath") == 0) {
            return argv[i + 1];
        }
    }
    return "";
}

std::string record(int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.push_back(quoted(argv[i]));
    }
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, "RECORD", 6) != 0) {
            environment.push_back(quoted(*entry));
        }
    }
    char directory[65536];
    const bool known = getcwd(directory, sizeof directory) != nullptr;
    const mode_t mask = umask(0);
    umask(mask);
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const std::string scratch = scratchOf(argc, argv);
    std::vector<std::string> tree;
    if (!scratch.empty()) {
        addTree(tree, scratch, ".");
    }
    std::string out = "{\n\"argv\": " + list(arguments) + ",\n\"env\": " + list(environment);
    out += ",\n\"cwd\": " + (known ? quoted(directory) : "null");
    out += ",\n\"umask\": " + std::to_string(mask);
    out += ",\n\"nofile\": " + list({limit(files.rlim_cur), limit(files.rlim_max)});
    out += ",\n\"fds\": " + openDescriptors();
    out += ",\n\"signals_blocked\": " + quoted(signalMask("SigBlk"));
    out += ",\n\"signals_ignored\": " + quoted(signalMask("SigIgn"));
    out += ",\n\"pid\": " + std::to_string(getpid()) + ",\n\"ppid\": " + std::to_string(getppid());
    out += ",\n\"uid\": " + std::to_string(getuid());
    out += ",\n\"scratch\": " + (scratch.empty() ? "null" : quoted(scratch));
    out += ",\n\"tree\": " + list(tree);
    if (!setting("RECORDER_STDIN").empty()) {
        out += ",\n\"stdin\": " + quoted(readAll("/dev/stdin"));
    }
    return out + "\n}\n";
}

// Written beside its name and then linked to the first free name, so that a
// reader never sees half of it.
bool store(const std::string& text) {
    std::string name = setting("RECORD_FILE");
    if (name.empty()) {
        name = kDefaultRecord;
    }
    const std::string unfinished = name + ".unfinished." + std::to_string(getpid());
    std::ofstream out(unfinished, std::ios::binary);
    out << text;
    out.close();
    bool stored = false;
    for (int number = 0; out && !stored && number < 1000; ++number) {
        const std::string target = number == 0 ? name : name + "." + std::to_string(number);
        stored = link(unfinished.c_str(), target.c_str()) == 0;
    }
    unlink(unfinished.c_str());
    return stored;
}

void obey(const std::string& scratch) {
    std::fputs(setting("RECORDER_STDOUT").c_str(), stdout);
    std::fflush(stdout);
    std::fputs(setting("RECORDER_STDERR").c_str(), stderr);
    const std::string file = setting("RECORDER_WRITE");
    if (!file.empty()) {
        std::ofstream(scratch + "/" + file) << "written by the installer\n";
    }
    const std::string path = setting("RECORDER_WAIT_FOR");
    while (!path.empty() && access(path.c_str(), F_OK) != 0) {
        usleep(5000);
    }
    usleep(static_cast<useconds_t>(1e6 * std::atof(setting("RECORDER_SLEEP").c_str())));
    const int number = std::atoi(setting("RECORDER_SIGNAL").c_str());
    if (number != 0) {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        signal(number, SIG_DFL);
        raise(number);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (!store(record(argc, argv))) {
        std::fputs("recorder: cannot write the record\n", stderr);
        return 98;
    }
    obey(scratchOf(argc, argv));
    return std::atoi(setting("RECORDER_EXIT").c_str());
}
