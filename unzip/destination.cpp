#include "unzip/destination.h"

#include "unzip/status.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
// A name can be taken only by what an interrupted run left behind.
constexpr int kWorkingNames = 100;

std::atomic<unsigned> working_names_used{0};

std::string working_name() {
    return ".unzip-" + std::to_string(getpid()) + "-" + std::to_string(working_names_used++);
}

void close_if_open(int& file) {
    if (file >= 0)
        close(file);
    file = -1;
}

// Opens directory `name` in `directory`; -1 with a problem for all that is none.
int open_step(ZipProblem& problem, int directory, const std::string& name) {
    const int step = openat(directory, name.c_str(),
                            O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (step >= 0)
        return step;
    problem = problem_of_errno(kUnzipDiskFull);
    struct stat found {};
    if (fstatat(directory, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return -1;
    if (S_ISLNK(found.st_mode))
        problem = {kUnzipBroken, "its way leads through the symbolic link " + name};
    else if (!S_ISDIR(found.st_mode))
        problem = {kUnzipBroken, "its way leads through " + name + ", which is no directory"};
    return -1;
}

// Makes directory `name` in `directory` where nothing is.
ZipProblem make_step(bool& made, int directory, const std::string& name) {
    made = mkdirat(directory, name.c_str(), S_IRWXU | S_IRWXG | S_IRWXO) == 0;
    if (made || errno == EEXIST)
        return {};
    return problem_of_errno(kUnzipDiskFull);
}

// Goes to directory `name`, which becomes `last`, and makes what is missing on the way; `made` says
// whether the last step was.
ZipProblem go_to(bool& made, OpenDirectory& last, const Destination& destination,
                 std::string_view name) {
    made = false;
    if (last.directory >= 0 && last.name == name)
        return {};
    if (last.directory < 0 || last.name.empty() ||
        !(name.size() > last.name.size() && name.starts_with(last.name) &&
          name[last.name.size()] == '/')) {
        close_if_open(last.directory);
        last.name.clear();
        last.directory = fcntl(destination.directory, F_DUPFD_CLOEXEC, 0);
        if (last.directory < 0)
            return problem_of_errno(kUnzipDiskFull);
    }
    while (last.name.size() < name.size()) {
        const std::size_t from = last.name.empty() ? 0 : last.name.size() + 1;
        const std::string step(name.substr(from, name.find('/', from) - from));
        made = false;
        ZipProblem problem;
        int next = open_step(problem, last.directory, step);
        if (next < 0 && problem.error == ENOENT) {
            problem = make_step(made, last.directory, step);
            if (problem.status != 0)
                return problem;
            next = open_step(problem, last.directory, step);
        }
        if (next < 0)
            return problem;
        close(last.directory);
        last.directory = next;
        last.name = name.substr(0, from + step.size());
    }
    return {};
}

std::string_view parent_of(std::string_view name) {
    const std::size_t slash = name.rfind('/');
    return slash == std::string_view::npos ? "" : name.substr(0, slash);
}

std::string last_part(std::string_view name) {
    return std::string(name.substr(name.rfind('/') + 1));
}

ZipProblem go_to_parent(OpenDirectory& last, const Destination& destination,
                        std::string_view name) {
    bool made = false;
    return go_to(made, last, destination, parent_of(name));
}

std::array<timespec, 2> times_of(const EntryTimes& times) {
    return {timespec{static_cast<time_t>(times.accessed), 0},
            timespec{static_cast<time_t>(times.modified), 0}};
}

// Puts what was made under its working name at its place.
ZipProblem move_to_place(int directory, const std::string& working_name, const std::string& name) {
    if (renameat(directory, working_name.c_str(), directory, name.c_str()) == 0)
        return {};
    ZipProblem problem = problem_of_errno(kUnzipDiskFull);
    unlinkat(directory, working_name.c_str(), 0);
    if (problem.error == EISDIR)
        problem.reason = "a directory is in its place";
    return problem;
}

} // namespace

OpenDirectory::~OpenDirectory() {
    close_if_open(directory);
}

ZipProblem open_destination(Destination& destination, const std::string& path) {
    destination.path = path;
    while (destination.path.size() > 1 && destination.path.ends_with('/'))
        destination.path.pop_back();
    const char* opened = destination.path.empty() ? "." : destination.path.c_str();
    if (mkdir(opened, S_IRWXU | S_IRWXG | S_IRWXO) != 0 && errno != EEXIST) {
        struct stat found {};
        const int error = errno;
        if (stat(opened, &found) != 0) {
            errno = error;
            return problem_of_errno(error == ENOSPC ? kUnzipDiskFull : kUnzipBroken);
        }
    }
    destination.directory = open(opened, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return destination.directory < 0 ? problem_of_errno(kUnzipBroken) : ZipProblem{};
}

void close_destination(Destination& destination) {
    close_if_open(destination.directory);
}

std::string shown_path(const Destination& destination, std::string_view name) {
    if (destination.path.empty())
        return std::string(name);
    std::string path = destination.path;
    if (!path.ends_with('/'))
        path += '/';
    return path.append(name);
}

ZipProblem make_directory(bool& made, OpenDirectory& last, const Destination& destination,
                          std::string_view name) {
    return go_to(made, last, destination, name);
}

ZipProblem look_at(Found& found, OpenDirectory& last, const Destination& destination,
                   std::string_view name) {
    ZipProblem problem = go_to_parent(last, destination, name);
    if (problem.status != 0)
        return problem;
    struct stat there {};
    if (fstatat(last.directory, last_part(name).c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0)
        found = Found::kNothing;
    else
        found = S_ISLNK(there.st_mode) ? Found::kLink : Found::kOther;
    return {};
}

ZipProblem begin_short_file(bool& is_taken, NewFile& made, OpenDirectory& last,
                            const Destination& destination, std::string_view name) {
    ZipProblem problem = go_to_parent(last, destination, name);
    if (problem.status != 0)
        return problem;
    made.directory = last.directory;
    made.name = made.working_name = last_part(name);
    made.file = openat(made.directory, made.name.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IWUSR);
    is_taken = made.file < 0 && errno == EEXIST;
    if (made.file < 0 && !is_taken)
        return problem_of_errno(kUnzipDiskFull);
    return {};
}

ZipProblem begin_file(NewFile& made, OpenDirectory& last, const Destination& destination,
                      std::string_view name) {
    ZipProblem problem = go_to_parent(last, destination, name);
    if (problem.status != 0)
        return problem;
    made.directory = last.directory;
    made.name = last_part(name);
    for (int tries = 0; tries < kWorkingNames; ++tries) {
        made.working_name = working_name();
        made.file = openat(made.directory, made.working_name.c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (made.file >= 0)
            return {};
        if (errno != EEXIST)
            break;
    }
    return problem_of_errno(kUnzipDiskFull);
}

ZipProblem finish_file(NewFile& made, mode_t mode, const EntryTimes& times) {
    ZipProblem problem;
    // The mode comes last: it may forbid all further work.
    if (futimens(made.file, times_of(times).data()) != 0 ||
        fchmod(made.file, mode & kPermissions) != 0)
        problem = problem_of_errno(kUnzipDiskFull);
    // Some file systems tell only now that the disk is full.
    if (close(made.file) != 0 && problem.status == 0)
        problem = problem_of_errno(kUnzipDiskFull);
    made.file = -1;
    if (problem.status == 0 && made.working_name == made.name)
        return {};
    if (problem.status == 0)
        return move_to_place(made.directory, made.working_name, made.name);
    drop_file(made);
    return problem;
}

void drop_file(NewFile& made) {
    close_if_open(made.file);
    unlinkat(made.directory, made.working_name.c_str(), 0);
}

ZipProblem make_link(OpenDirectory& last, const Destination& destination, std::string_view name,
                     const std::string& target) {
    ZipProblem problem = go_to_parent(last, destination, name);
    if (problem.status != 0)
        return problem;
    for (int tries = 0; tries < kWorkingNames; ++tries) {
        const std::string working = working_name();
        if (symlinkat(target.c_str(), last.directory, working.c_str()) == 0)
            return move_to_place(last.directory, working, last_part(name));
        if (errno != EEXIST)
            break;
    }
    return problem_of_errno(kUnzipDiskFull);
}

ZipProblem finish_directory(OpenDirectory& last, const Destination& destination,
                            std::string_view name, mode_t mode, const EntryTimes& times) {
    bool made = false;
    ZipProblem problem = go_to(made, last, destination, name);
    if (problem.status != 0)
        return problem;
    if (futimens(last.directory, times_of(times).data()) != 0 ||
        fchmod(last.directory, mode & kPermissions) != 0)
        return problem_of_errno(kUnzipDiskFull);
    return {};
}
