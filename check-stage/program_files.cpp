#include "program_files.h"

#include "base/paths.h"
#include "findings.h"
#include "quiet_files.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

// Programs of a stage are a few megabytes.
constexpr std::size_t kMostProgramBytes = std::size_t{64} << 20;

// What every machine has, by the beginnings of the names on either system: the C library and what
// was split off from it, and the loader.
constexpr std::string_view kCommonLibraries[] = {
    "libc.so",      "libm.so",      "libdl.so",   "libpthread.so", "librt.so", "libnsl.so",
    "libsocket.so", "libresolv.so", "libutil.so", "ld-linux",      "ld.so",
};

std::string uncommon_libraries(const ElfFile& file) {
    std::string names;
    for (const std::string& name : file.needed) {
        bool common = false;
        for (const std::string_view known : kCommonLibraries)
            common = common || name.starts_with(known);
        if (!common)
            names.append(names.empty() ? "" : ", ").append(name);
    }
    return names;
}

// Whoever launches has to be able to run it: of a stage that may be anybody.
bool users_may_run(const std::string& path, bool is_stage) {
    struct stat found {};
    const mode_t wanted = is_stage ? S_IXOTH : S_IXUSR | S_IXGRP | S_IXOTH;
    return stat(path.c_str(), &found) != 0 || (found.st_mode & wanted) != 0;
}

// Looks at one program; what the file says of itself.
ElfFile check_program(const Places& places, const char* program, const std::string& need,
                      bool is_stage) {
    const std::string path = joined_path(places.launcher_directory, program);
    const std::string name = shown_name(places, path);
    const FileKind kind = kind_of(path);
    if (kind == FileKind::missing) {
        report_error(name, kNoLine, "the program " + std::string(program) + " is missing: " + need);
        return {};
    }
    if (kind != FileKind::regular && kind != FileKind::out_of_reach) {
        report_error(name, kNoLine, "this is no file: " + need);
        return {};
    }
    std::string bytes;
    if (!read_quietly(bytes, path, kMostProgramBytes)) {
        if (!users_may_run(path, is_stage))
            report_error(name, kNoLine, "the program is not executable: give it the mode 755");
        report_note(name, kNoLine,
                    std::string("the program could not be looked into: ") + std::strerror(errno));
        return {};
    }
    if (!users_may_run(path, is_stage))
        report_error(name, kNoLine, "the program is not executable: give it the mode 755");
    ElfFile file = read_elf(bytes);
    if (bytes.empty())
        report_error(name, kNoLine, "the program is empty: " + need);
    else if (file.broken)
        report_error(name, kNoLine, "the program file is broken off or damaged: " + need);
    else if (file.is_script)
        report_note(name, kNoLine, "this is a script, which can be checked no further");
    else if (!file.is_elf)
        report_error(name, kNoLine, "this is no program: " + need);
    const std::string libraries = uncommon_libraries(file);
    if (!libraries.empty())
        report_warning(name, kNoLine,
                       "the program needs " + libraries +
                           ", which a bare machine does not have: link it statically");
    return file;
}

} // namespace

void check_machine(const ElfFile& program, const ElfFile& launcher, const std::string& name,
                   const std::string& consequence) {
    if (!program.is_elf || !launcher.is_elf || program.broken || launcher.broken ||
        fit_together(program, launcher))
        return;
    report_error(name, kNoLine,
                 "this program is " + described(program) + ", the launcher " + described(launcher) +
                     ": " + consequence);
}

ElfFile check_program_files(const Places& places, bool is_stage, bool unpacks) {
    ElfFile launcher = check_program(places, kLauncherName, "put the launcher there", is_stage);
    if (!unpacks)
        return launcher;
    const ElfFile unpacker = check_program(
        places, kUnpackerName,
        "put the unpacker beside the launcher, or no component can be unpacked", is_stage);
    check_machine(unpacker, launcher,
                  shown_name(places, joined_path(places.launcher_directory, kUnpackerName)),
                  "put the unpacker of the launcher's system there");
    return launcher;
}
