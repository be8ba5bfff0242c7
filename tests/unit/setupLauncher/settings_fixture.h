// A start directory, a current directory and settings that are read from there.
#pragma once

#include "setupLauncher/settings.h"

#include "launch_fixture.h"

class SettingsTest : public LaunchFixture {
  protected:
    SettingsTest() {
        make_directory("start/bin");
        make_directory("elsewhere");
        make_directory("given");
        make_directory("tmp");
        std::filesystem::current_path(room.file("elsewhere"));
        state::scratchPath = room.file("tmp");
        settings.startupLoc = room.file("start/bin");
    }

    int get_params(bool bootstrap_only = false, bool has_scratch = false, bool ship_home = false,
                   bool auto_updates = false) {
        int result = 0;
        said = said_by([&] {
            result =
                GetParamOptions(settings, bootstrap_only, has_scratch, ship_home, auto_updates);
        });
        return result;
    }

    // Reads a parameter file that consists of `lines` in the launcher's section.
    void read_lines(const std::string& lines) {
        settings.paramFileLocation = make_file("given/talparam.ini", "[Talvex]\n" + lines + "\n");
        EXPECT_EQ(get_params(), 0);
    }

    static std::string log() {
        return bytes_of(sLogLoc);
    }

    Settings settings;
    Said said;
};
