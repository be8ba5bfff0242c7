// Parameter files with prerequisite sections, and what the driver makes of them.
//
// The checks used are those that need no command of the system: a temporary space that every disk
// has or none, and a processor of no machine.
#pragma once

#include "prereqchecks/prereq_driver.h"

#include "launch_fixture.h"

#include <sys/utsname.h>

inline std::string release() {
    struct utsname system {};
    EXPECT_GE(uname(&system), 0);
    return system.release;
}

inline std::string machine() {
    struct utsname system {};
    EXPECT_GE(uname(&system), 0);
    return system.machine;
}

// What a processor check says.
template <typename Say>
std::string processor_check(const Say& say, const std::string& words, bool passed) {
    return say("S_CHECKING_FOR_PROCESSOR", {}) + words +
           say(passed ? "S_SPASSED" : "S_SFAILED", {});
}

using Args = std::vector<std::string>;

inline std::string on_console(const char* key, const Args& args) {
    return shown(key, args);
}
inline std::string in_log(const char* key, const Args& args) {
    return logged(key, args);
}

class PrereqDriverTest : public LaunchFixture {
  protected:
    PrereqDriverTest() {
        make_directory("scratch");
        scratch = room.file("scratch");
        open_log();
    }

    void open_log() const {
        openLog(scratch, room.file("none"), "STAMP", "/log");
    }
    static std::string log() {
        return bytes_of(sLogLoc);
    }

    void write_file(const std::string& text) {
        file = room.write("talparam.ini", text);
    }

    int run_phase() {
        PrereqPhase phase{file,   scratch,   silent, ignore,  required,
                          buffer, optBuffer, texts,  generic, genericBuffer};
        int result = 99;
        said = said_by([&] { result = CheckPrerequisitesForInstall(phase); });
        EXPECT_EQ(said.err, "");
        return result;
    }

    int generic_phase(const std::string& lines) {
        write_file("[Generic Prereqs]\n" + lines);
        generic = true;
        required = true;
        return run_phase();
    }

    // The required phase of a file that certifies the running release.
    int required_phase(const std::string& lines, const std::string& certified_lines = "") {
        write_file("[Certified Versions]\nSolaris=" + release() + "\n" + certified_lines +
                   "[Solaris-" + release() + "-required]\n" + lines);
        generic = false;
        required = true;
        return run_phase();
    }

    std::string file;
    std::string scratch;
    bool silent = false;
    bool ignore = false;
    bool required = true;
    bool generic = true;
    std::string buffer;
    std::string optBuffer;
    std::string genericBuffer;
    std::string texts;
    Said said;
};

const std::string kFailingProcessor = "PROCESSOR=sun4u,sun4v\n";

inline std::string failing_processor_on_console() {
    return processor_check(on_console, "sun4u or sun4v", false);
}
inline std::string failing_processor_in_log() {
    return processor_check(in_log, "sun4u or sun4v", false);
}

inline std::string certified_on_console() {
    return shown("S_CHECKING_REQ_PREREQ") + shown("S_CHECKING_FOR_OS_VERSION") + release() +
           shown("S_ACTUAL", {release()}) + shown("S_SPASSED_ON_NEWLINE");
}
