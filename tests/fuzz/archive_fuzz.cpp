// Any bytes at all as an archive: it is listed, checked and unpacked into a directory with links
// that lead out of it.
#include "fuzz_support.h"
#include "unzip/archive.h"
#include "unzip/entry_data.h"
#include "unzip/run.h"
#include "unzip/status.h"

#include <algorithm>
#include <array>

namespace {

namespace fs = std::filesystem;

constexpr std::array kSettled = {
    kUnzipFine,    kUnzipWarning,  kUnzipBroken,    kUnzipBrokenDirectory, kUnzipNotFound,
    kUnzipOverlap, kUnzipDiskFull, kUnzipEndsEarly, kUnzipUnknownMethod,   kUnzipEncrypted};
constexpr const char* kKept = "kept";

std::string text_of(const std::string& path) {
    std::string text(64, '\0');
    const int file = open(path.c_str(), O_RDONLY);
    const ssize_t got = file < 0 ? 0 : read(file, text.data(), text.size());
    close(file);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return text;
}

// Everything is within reach of whoever runs this, whatever modes the archive gave.
void remove_all(const std::string& path) {
    std::error_code ignored;
    for (auto at = fs::recursive_directory_iterator(path, ignored);
         at != fs::recursive_directory_iterator(); at.increment(ignored)) {
        if (at->is_directory(ignored) && !at->is_symlink(ignored))
            fs::permissions(at->path(), fs::perms::owner_all, ignored);
    }
    fs::remove_all(path, ignored);
}

// A destination in which "out" and "file" lead to what has to stay as it is.
void lay_out(const std::string& top) {
    remove_all(top + "/dest");
    fs::create_directories(top + "/dest/there");
    fs::create_directories(top + "/outside");
    write_file(top + "/outside/file", kKept);
    fs::create_symlink("../outside", top + "/dest/out");
    fs::create_symlink("../outside/file", top + "/dest/file");
    fs::create_symlink("../../outside", top + "/dest/there/out");
}

std::size_t files_in(const std::string& path) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(path), fs::directory_iterator()));
}

int run(const UnzipCommand& command) {
    const int status = run_unzip(command);
    require(std::count(kSettled.begin(), kSettled.end(), status) == 1,
            "the status is one of the settled ones");
    return status;
}

// No working file is left, and every file of the destination is one that an entry whole tells of.
void look_around(const std::string& top) {
    require(files_in(top) == 3 && files_in(top + "/outside") == 1 &&
                text_of(top + "/outside/file") == kKept,
            "nothing outside of the destination has changed");
    std::error_code failed;
    for (auto at = fs::recursive_directory_iterator(top + "/dest", failed);
         at != fs::recursive_directory_iterator(); at.increment(failed))
        require(!at->path().filename().string().starts_with(".unzip-"),
                "no file is left under its working name");
}

// The status of a check that opens each entry by itself.
int status_by_hand(const std::string& path) {
    ZipArchive archive;
    open_archive(archive, path);
    int status = archive.problem.status;
    std::uint64_t packed = 0;
    for (const ZipEntry& entry : archive.entries) {
        const ZipProblem problem = check_entry(archive, entry);
        require((problem.status == 0) == problem.reason.empty(), "every problem has a reason");
        require(problem.status == 0 || entry.status == 0 || problem.status == entry.status,
                "an entry has one status");
        if (entry.status == 0)
            packed += entry.packed;
        status = std::max(status, problem.status);
    }
    require(packed <= archive.size, "no bytes of the archive count twice");
    close_archive(archive);
    return status;
}

} // namespace

// What an entry tells of its size takes no memory before its data bears it out.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static std::vector<char*> arguments(*argv, *argv + *argc);
    static std::string limit = "-malloc_limit_mb=64";
    static std::string whole = "-rss_limit_mb=1024";
    arguments.push_back(limit.data());
    arguments.push_back(whole.data());
    arguments.push_back(nullptr);
    *argc = static_cast<int>(arguments.size()) - 1;
    *argv = arguments.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    discard_standard_output();
    const std::string top = fuzz_directory() + "/archive";
    lay_out(top);
    UnzipCommand command;
    command.archive = top + "/a.jar";
    write_file(command.archive, as_text(data, size));

    command.task = UnzipTask::kList;
    run(command);
    command.task = UnzipTask::kTest;
    const int checked = run(command);
    const int by_hand = status_by_hand(command.archive);
    require(checked == by_hand || (checked == kUnzipBroken && by_hand < kUnzipBroken),
            "a check says all that the data says, and else what unpacking would refuse");
    command.task = UnzipTask::kUnpack;
    command.destination = top + "/dest";
    command.has_destination = true;
    command.replace = true;
    command.quiet = size % 2 == 0 ? 3 : 0;
    run(command);
    look_around(top);
    return 0;
}
