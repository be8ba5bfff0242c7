#include "setupLauncher/scratch.h"

#include "base/launcher_state.h"
#include "base/paths.h"
#include "base/status.h"
#include "bootstrap/tree.h"
#include "log/install_log.h"
#include "log/reasons.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kLastResort = "/tmp";
constexpr const char* kScratchPrefix = "TalInstall";
constexpr mode_t kScratchMode = 0750;

std::string made_scratch;

// Makes `directory`; false with the system's error kept when it is taken or cannot be made.
bool make_scratch(const std::string& directory) {
    if (mkdir(directory.c_str(), kScratchMode) != 0)
        return false;
    made_scratch = directory;
    return true;
}

void complain_of_creation(const std::string& directory, int error) {
    complain("S_ERBOOTSTRAP", directory, kUsualBootstrapMegabytes);
    complain_of_place(directory, error, kUsualNeed);
}

} // namespace

void computeTimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 64> stamp{};
    const std::size_t length =
        std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d_%I-%M-%S%p", &local);
    launcher_state::gsTimeStamp.assign(stamp.data(), length);
}

void GetTempDir(std::string& Temp) {
    Temp = kLastResort;
    if (validatePath(launcher_state::scratchPath)) {
        Temp = launcher_state::scratchPath;
    } else {
        // A TEMP that is set but unusable does not give way to TMP.
        const char* named = std::getenv("TEMP");
        if (named == nullptr)
            named = std::getenv("TMP");
        if (named != nullptr && validatePath(named))
            Temp = named;
    }
    NormalizeDir(Temp);
}

std::string scratch_name(const std::string& base, int suffix) {
    const std::string name = base + "/" + kScratchPrefix + launcher_state::gsTimeStamp;
    return suffix == 0 ? name : name + "_" + std::to_string(suffix);
}

int GetScratchPath(std::string& Spath) {
    std::string base;
    GetTempDir(base);
    if (!PathWritable(base)) {
        const int error = errno;
        complain("S_ERPERDIR", base);
        complain_of_place(base, error, kUsualNeed);
        return kFailed;
    }
    if (launcher_state::_bPrereqSession && launcher_state::prereqLogLocation.empty())
        launcher_state::prereqLogLocation = base;

    std::string candidate = scratch_name(base, 0);
    for (int suffix = 1; suffix <= kHighestSuffix + 1; ++suffix) {
        if (!PathExists(candidate)) {
            if (make_scratch(candidate)) {
                Spath = candidate;
                return kOk;
            }
            // Another launch may have taken the name since the look at it.
            if (errno != EEXIST) {
                complain_of_creation(candidate, errno);
                return kFailed;
            }
        }
        candidate = scratch_name(base, suffix);
    }
    // The launch has failed, but the one name more is tried all the same.
    complain("S_ERPERDIR", scratch_name(base, 0));
    complain_of_place(scratch_name(base, 0), EEXIST, kUsualNeed);
    if (!make_scratch(candidate))
        complain_of_creation(candidate, errno);
    return kFailed;
}

int GetCurrentDir(std::string& pt) {
    std::vector<char> path(1024);
    while (getcwd(path.data(), path.size()) == nullptr) {
        if (errno != ERANGE) {
            show("S_ERGOSLST", "GetCurrentDir()", errno);
            NormalizeDir(pt);
            return kFailed;
        }
        path.resize(path.size() * 2);
    }
    pt = path.data();
    NormalizeDir(pt);
    return kOk;
}

void removeMadeScratch() {
    if (!made_scratch.empty())
        cleanupScratchPath(std::string(made_scratch));
}

void cleanupScratchPath(const std::string& pPath) {
    // From here on the name is free for another launch.
    if (pPath == made_scratch)
        made_scratch.clear();
    CopyDirRecursive(pPath.c_str(), nullptr);
}
