// A stage in a temporary tree, and what a bootstrap from it brought.
#pragma once

#include "bootstrap/bootstrap.h"

#include "launch_fixture.h"

#include <algorithm>
#include <dirent.h>
#include <dlfcn.h>

// A directory whose first read yields nothing, as on a file system that is about to vanish.
inline std::string unreadable_directory;

inline bool is_unreadable(DIR* directory) {
    struct stat asked {};
    struct stat unreadable {};
    return !unreadable_directory.empty() && fstat(dirfd(directory), &asked) == 0 &&
           stat(unreadable_directory.c_str(), &unreadable) == 0 &&
           asked.st_dev == unreadable.st_dev && asked.st_ino == unreadable.st_ino;
}

extern "C" dirent* readdir(DIR* directory) {
    using Readdir = dirent* (*)(DIR*);
    static const auto of_the_system = reinterpret_cast<Readdir>(dlsym(RTLD_NEXT, "readdir"));
    return is_unreadable(directory) ? nullptr : of_the_system(directory);
}

using Lines = std::vector<std::string>;

// A stage in a temporary tree. Its jars are lists of the files to make, and the two unzip programs
// beside the launcher are scripts that make them and write down how they were called.
class BootstrapTest : public LaunchFixture {
  protected:
    BootstrapTest() : mask_before_(umask(022)) {
        unreadable_directory.clear();
        make_directory("scratch");
        make_unzip("start");
        make_unzip("original");
        scratch = room.file("scratch");
        startup = room.file("start");
        original = room.file("original");
        // The logs lie outside the scratch directory, so that its tree is what was brought.
        state::inventoryLocation = room.file("inv");
        openTimeLog(room.file("times"), room.file("none"), "STAMP");
        umask(022);
        std::filesystem::current_path(room.file("start"));
    }
    ~BootstrapTest() override {
        unreadable_directory.clear();
        umask(mask_before_);
    }

    void make_unzip(const std::string& directory) const {
        const std::string program =
            make_file(directory + "/unzip",
                      "#!/bin/sh\n"
                      "{ printf '%s:' \"$PWD\"; printf '<%s>' \"$0\" \"$@\"; echo; } >> '" +
                          room.file("unzip_runs") +
                          "'\n"
                          "pattern=$2 dest=$4 status=11\n"
                          "for jar in $pattern; do\n"
                          "    [ -f \"$jar\" ] || continue\n"
                          "    status=0\n"
                          "    while read -r path; do\n"
                          "        [ \"$path\" != BROKEN ] || exit 3\n"
                          "        mkdir -p \"$dest/${path%/*}\"\n"
                          "        printf '%s' \"$jar\" > \"$dest/$path\"\n"
                          "    done < \"$jar\"\n"
                          "done\n"
                          "exit $status\n");
        std::filesystem::permissions(program, std::filesystem::perms(0755));
    }

    void make_component(const std::string& name, const std::string& version,
                        const std::string& files) const {
        make_file("stage/Components/" + name + "/" + version + "/1/DataFiles/pack.jar", files);
    }

    void make_known_components() const {
        make_component("talvex.swd.zul", "1.0", "zul/installer\n");
        make_component("talvex.swd.zul.core", "2.0", "zul/core\n");
        make_component("talvex.swd.zul.core.min", "3.0", "zul/minimal\n");
        make_component("talvex.swd.tessel", "4.0", "Tessel/tool\n");
        make_component("talvex.swd.jre", "5.0", "jre/1.8/bin/java\n");
    }

    static std::string payload(const std::string& name, const std::string& version) {
        return "../stage/Components/" + name + "/" + version + "/1/DataFiles";
    }
    static std::string jar(const std::string& name, const std::string& version) {
        return payload(name, version) + "/pack.jar";
    }

    int run() {
        int result = 99;
        said = said_by([&] {
            result = doBootStrap({scratch,    zul,     core,         minimal,  tessel,     jre,
                                  jre_full,   "9",     "8",          images,   prereq,     startup,
                                  original,   size,    distribution, ext_jlib, ext_lib,    ext_bin,
                                  brings_jre, pointer, "STAMP",      "/log",   components, access,
                                  only,       nothing, ship_home});
        });
        return result;
    }

    // Every file below the scratch directory with its content, in order of names.
    Lines arrived() const {
        return files_below(scratch);
    }
    static Lines files_below(const std::string& root) {
        Lines found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            if (!entry.is_directory())
                found.push_back(entry.path().string().substr(root.size() + 1) + "=" +
                                bytes_of(entry.path().string()));
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    // The runs of unzip in their order; a run is written as unzip_run() writes it.
    Lines unzip_runs() const {
        Lines runs;
        std::ifstream file(room.file("unzip_runs"));
        for (std::string line; std::getline(file, line);)
            runs.push_back(line);
        return runs;
    }
    std::string unzip_run(const std::string& program_directory, const std::string& source,
                          const std::string& working_directory = "start") const {
        return room.file(working_directory) + ":<" + room.file(program_directory) +
               "/unzip><-qqqo><" + source + "/*.jar><-d><" + scratch + ">";
    }
    std::string unzip_logged(const std::string& program_directory,
                             const std::string& source) const {
        return logged("S_UNZIP_COMMANDLINE") + room.file(program_directory) + "/unzip -qqqo " +
               source + "/\\*.jar -d " + scratch + " ";
    }
    static std::string counted(int jre_files, int zul_files) {
        return logged("S_NUMBER_OF_FILES_BOOTSTRAPPED", {"jre", std::to_string(jre_files)}) +
               logged("S_NUMBER_OF_FILES_BOOTSTRAPPED", {"zul", std::to_string(zul_files)});
    }

    std::string log() const {
        return bytes_of(room.file("inv/logs/logSTAMP.log"));
    }
    // The time log with its times taken out, in seconds with five digits behind the point.
    std::string times() const {
        const std::string before = " is ";
        std::string text = bytes_of(room.file("times/timeSTAMP.log"));
        for (std::size_t at = text.find(before); at != std::string::npos;
             at = text.find(before, at + 1)) {
            const std::size_t start = at + before.size();
            const std::size_t end = text.find_first_not_of("0123456789.", start);
            if (end != std::string::npos && end >= start + 7 && text[end - 6] == '.')
                text.replace(start, end - start, "TIME");
        }
        return text;
    }
    static std::string known_time(const std::string& name) {
        return "\n Time taken for bootstrapping " + name + " is TIME  seconds";
    }
    static std::string listed_time(const std::string& name) {
        return "\n Time taken for bootstrapping " + name + " is TIME   seconds";
    }

    std::string in_scratch(const std::string& name) const {
        return scratch + "/" + name;
    }

    std::string scratch, zul, core, minimal, tessel, jre, jre_full, images, prereq, startup,
        original;
    std::string ext_jlib, ext_lib, ext_bin, access;
    std::string pointer = "/no/such/pointer_file";
    Lines components;
    long size = 0;
    bool distribution = true;
    bool brings_jre = true;
    bool only = false;
    bool nothing = false;
    bool ship_home = false;
    Said said;

  private:
    mode_t mask_before_;
};
