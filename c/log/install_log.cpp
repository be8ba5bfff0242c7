#include "log/install_log.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/profile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::string sLogLoc;
std::string sTimeLogLoc;

namespace {

constexpr mode_t kTimeLogMask = 007;
constexpr mode_t kLogFileMode = 0666; // less the mask
constexpr int kLongestLocation = 1024;

std::FILE* logFile = nullptr;
std::FILE* timelogFile = nullptr;

// The directory for logs when the inventory is `inventory`: without one the scratch directory.
std::string log_directory(const std::string& inventory, const std::string& scratch) {
    return inventory.empty() ? scratch : inventory + "/logs";
}

std::string inventory_of_pointer_file(const std::string& pointer_file) {
    std::string inventory;
    GenericGetPrivateProfileString(nullptr, "inventory_loc", "", inventory, kLongestLocation,
                                   pointer_file.c_str());
    return inventory;
}

// Opens `path` when its directory can take a log. The stream before it then closes in any case:
// what belongs into the new log must not go on into the old one when the new one cannot be opened.
void open_log_file(const std::string& directory, const std::string& path, std::FILE*& stream,
                   std::string& location) {
    if (PathWritable(directory)) {
        std::FILE* before = stream;
        stream = open_for_appending(path);
        if (before != nullptr)
            std::fclose(before);
        location = path;
    }
    if (stream == nullptr)
        location.clear();
}

void append(std::FILE* stream, const std::string& text) {
    if (stream == nullptr)
        return;
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
}

void close_stream(std::FILE*& stream) {
    if (stream != nullptr)
        std::fclose(stream);
    stream = nullptr;
}

} // namespace

std::FILE* open_for_appending(const std::string& path) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, kLogFileMode);
    if (descriptor < 0)
        return nullptr;
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    std::FILE* stream = fdopen(descriptor, "a");
    if (stream == nullptr)
        close(descriptor);
    return stream;
}

void openLog(const std::string& scratchLoc, const std::string& invPtrLocation,
             const std::string& gsTimeStamp, const std::string& gsLogFileName) {
    std::string inventory = launcher_state::prereqLogLocation;
    if (inventory.empty())
        inventory = launcher_state::inventoryLocation;
    if (inventory.empty())
        inventory = inventory_of_pointer_file(invPtrLocation);
    const std::string directory = log_directory(inventory, scratchLoc);
    open_log_file(directory, directory + gsLogFileName + gsTimeStamp + ".log", logFile, sLogLoc);
}

void closeLog() {
    close_stream(logFile);
}

void openTimeLog(const std::string& scratchLoc, const std::string& invPtrLocation,
                 const std::string& gsTimeStamp) {
    const std::string directory =
        log_directory(inventory_of_pointer_file(invPtrLocation), scratchLoc);
    umask(kTimeLogMask);
    open_log_file(directory, directory + "/time" + gsTimeStamp + ".log", timelogFile, sTimeLogLoc);
}

void closeTimeLog() {
    close_stream(timelogFile);
}

void writeToInstallLog(const std::string& sMsg) {
    append(logFile, sMsg);
}

void logMsg(const std::string& sMsg) {
    logAndShowMsg(sMsg, 1);
}

void logAndShowMsg(const std::string& sMsg, int bLogToConsole) {
    if (bLogToConsole == 1)
        nls_out(sMsg);
    writeToInstallLog(sMsg);
}

void writeToTimeLog(const std::string& sMsg) {
    append(timelogFile, sMsg);
}

std::string unfilled_text(const char* key) {
    const char* text = nls_mesg(key);
    return text == nullptr ? "" : text;
}

std::string localised_text(const char* key, std::initializer_list<FormatArg> args) {
    const char* text = nls_mesg(key);
    return text == nullptr ? "" : format_text(text, args);
}

std::string english_text(const char* key, std::initializer_list<FormatArg> args) {
    const char* text = nls_mesg_english(key);
    return text == nullptr ? "" : format_text(text, args);
}

void print_text(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void print_debug(std::string* fout, std::string_view err_msg) {
    if (fout != nullptr)
        *fout = format_text(err_msg);
    else
        nls_out(std::string(err_msg));
}

void print_error(std::string_view err_msg) {
    // What was shown before the error stands before it also where both streams are one file.
    std::fflush(stdout);
    std::string line(err_msg);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void complain_because(const char* key, std::initializer_list<FormatArg> args,
                      const std::string& reason) {
    if (nls_mesg(key) != nullptr)
        print_error(localised_text(key, args) + reason);
}
