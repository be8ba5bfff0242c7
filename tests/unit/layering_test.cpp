// The order of the rooms, read off the sources: who may include whom, who may know the operating
// system, and how a header begins.
#include "unit_support.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <vector>

namespace {

// The folders, from the ground up: each is a floor that includes only itself and those above it in
// this list. A room outside every folder is a floor of its own.
const std::vector<std::string> kFloors = {"utils",     "base",         "platform",
                                          "nls",       "log",          "jreloc",
                                          "bootstrap", "prereqchecks", "setupLauncher"};

// The rooms, from the ground up. A room includes rooms of its own line and of those above it.
const std::vector<std::vector<std::string>> kLayers = {
    {"utils"},
    {"base/status", "base/text"},
    {"base/launcher_state", "base/directory", "base/profile", "base/paths"},
    {"base/obstacle"},
    {"platform/mount_table", "platform/mount_table_portable", "platform/mount_table_solaris",
     "platform/system_names", "platform/signals", "platform/program_file", "platform/volume_room"},
    {"platform/console_input", "platform/child_process", "platform/program_start"},
    {"nls/format", "nls/catalogue"},
    {"log/install_log"},
    {"log/reasons"},
    {"jreloc"},
    {"bootstrap/version", "bootstrap/tree_walk", "bootstrap/inventory"},
    {"bootstrap/tree", "bootstrap/report", "bootstrap/stage_layout", "bootstrap/needs"},
    {"bootstrap/bootstrap"},
    {"prereqchecks/command_output"},
    {"prereqchecks/system_checks", "prereqchecks/patch_check"},
    {"prereqchecks/prereq_driver"},
    {"setupLauncher/argument_listing", "setupLauncher/locations", "setupLauncher/scratch",
     "setupLauncher/environment", "setupLauncher/java_home", "setupLauncher/start_failure",
     "setupLauncher/given_scratch"},
    {"setupLauncher/settings", "setupLauncher/spawn"},
    {"setupLauncher/options"},
    {"setupLauncher/installer_command", "setupLauncher/decisions"},
    {"setupLauncher/launch"},
};

// Main stands beside the folders, above them all.
const std::string kMain = "setupLauncher";

using Complaints = std::vector<std::string>;
// The sources of a tree: their bytes by their path below it.
using Sources = std::map<std::string, std::string>;

Sources sources_of(const std::string& root) {
    Sources sources;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file())
            sources[entry.path().lexically_relative(root).string()] = bytes_of(entry.path());
    }
    return sources;
}

const Sources& launcher() {
    static const Sources sources = sources_of(SOURCE_ROOT "/c");
    return sources;
}

std::string room_of(const std::string& file) {
    return file.substr(0, file.rfind('.'));
}

// The place of a room's layer in the table, or -1; main's is above all.
int layer_of(const std::string& room) {
    if (room == kMain)
        return static_cast<int>(kLayers.size());
    for (std::size_t layer = 0; layer < kLayers.size(); ++layer) {
        if (std::count(kLayers[layer].begin(), kLayers[layer].end(), room) != 0)
            return static_cast<int>(layer);
    }
    return -1;
}

// The place of a room's floor, or -1; main's is above all.
int floor_of(const std::string& room) {
    if (room == kMain)
        return static_cast<int>(kFloors.size());
    const auto floor = std::find(kFloors.begin(), kFloors.end(), room.substr(0, room.find('/')));
    return floor == kFloors.end() ? -1 : static_cast<int>(floor - kFloors.begin());
}

std::vector<std::string> lines_of(const std::string& bytes) {
    std::vector<std::string> lines;
    std::istringstream in(bytes);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The files that `bytes` includes by a name in quotes.
std::vector<std::string> includes_of(const std::string& bytes) {
    std::vector<std::string> names;
    for (std::string line : lines_of(bytes)) {
        line.erase(
            std::remove_if(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t'; }),
            line.end());
        const std::string directive = "#include\"";
        if (line.starts_with(directive))
            names.push_back(
                line.substr(directive.size(), line.find('"', directive.size()) - directive.size()));
    }
    return names;
}

Complaints files_outside_the_table(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        if (layer_of(room_of(file)) == -1 || floor_of(room_of(file)) == -1)
            complaints.push_back(file);
    }
    return complaints;
}

Complaints rooms_without_a_file(const Sources& sources) {
    std::set<std::string> rooms;
    for (const auto& [file, bytes] : sources)
        rooms.insert(room_of(file));
    Complaints complaints;
    for (const auto& layer : kLayers) {
        for (const std::string& room : layer) {
            if (!rooms.contains(room))
                complaints.push_back(room);
        }
    }
    return complaints;
}

Complaints includes_that_lead_upwards(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        for (const std::string& name : includes_of(bytes)) {
            if (layer_of(room_of(name)) > layer_of(room_of(file)))
                complaints.push_back(file + " includes " + name);
        }
    }
    return complaints;
}

Complaints includes_of_a_higher_folder(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        for (const std::string& name : includes_of(bytes)) {
            if (floor_of(room_of(name)) > floor_of(room_of(file)))
                complaints.push_back(file + " includes " + name);
        }
    }
    return complaints;
}

Complaints includes_of_no_file(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        for (const std::string& name : includes_of(bytes)) {
            if (!sources.contains(name))
                complaints.push_back(file + " includes " + name);
        }
    }
    return complaints;
}

// Rooms that stand on themselves, by a way through others.
Complaints rooms_in_a_circle(const Sources& sources) {
    std::map<std::string, std::set<std::string>> below;
    for (const auto& [file, bytes] : sources) {
        for (const std::string& name : includes_of(bytes)) {
            if (room_of(name) != room_of(file))
                below[room_of(file)].insert(room_of(name));
        }
    }
    for (bool grown = true; grown;) {
        grown = false;
        for (auto& [room, rooms] : below) {
            for (const std::string& next : std::set<std::string>(rooms)) {
                const auto found = below.find(next);
                if (found == below.end())
                    continue;
                const std::size_t before = rooms.size();
                rooms.insert(found->second.begin(), found->second.end());
                grown = grown || rooms.size() > before;
            }
        }
    }
    Complaints complaints;
    for (const auto& [room, rooms] : below) {
        if (rooms.contains(room))
            complaints.push_back(room);
    }
    return complaints;
}

Complaints knowledge_of_the_system_outside_its_corner(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        if (file.starts_with("platform/"))
            continue;
        for (const char* word : {"__sun", "__svr4__", "__SVR4", "__linux", "__GLIBC__", "__APPLE__",
                                 "_WIN32", "sys/mnttab.h", "mntent.h"}) {
            if (bytes.find(word) != std::string::npos)
                complaints.push_back(file + " has " + word);
        }
    }
    return complaints;
}

// A header is a comment from its first line on, then "#pragma once" before anything else.
bool begins_like_a_header(const std::string& bytes) {
    const std::vector<std::string> lines = lines_of(bytes);
    std::size_t at = 0;
    while (at < lines.size() && lines[at].starts_with("//"))
        ++at;
    const std::size_t comment_lines = at;
    while (at < lines.size() && lines[at].empty())
        ++at;
    return comment_lines > 0 && at < lines.size() && lines[at] == "#pragma once";
}

Complaints headers_that_begin_otherwise(const Sources& sources) {
    Complaints complaints;
    for (const auto& [file, bytes] : sources) {
        if (file.ends_with(".h") && !begins_like_a_header(bytes))
            complaints.push_back(file);
    }
    return complaints;
}

// The sources with one file added or replaced.
Sources with(const std::string& file, const std::string& bytes) {
    Sources sources = launcher();
    sources[file] = bytes;
    return sources;
}

// What holds for the launcher.

TEST(Layers, EveryFileOfTheLauncherStandsInTheTable) {
    EXPECT_GT(launcher().size(), 50U);
    EXPECT_EQ(files_outside_the_table(launcher()), Complaints{});
}

TEST(Layers, EveryRoomOfTheTableHasAFile) {
    EXPECT_EQ(rooms_without_a_file(launcher()), Complaints{});
}

TEST(Layers, NoRoomStandsInTheTableTwice) {
    std::set<std::string> rooms;
    for (const auto& layer : kLayers) {
        for (const std::string& room : layer)
            EXPECT_TRUE(rooms.insert(room).second) << room;
    }
}

TEST(Layers, EveryIncludedFileIsOneOfTheLaunchersByItsFullName) {
    EXPECT_EQ(includes_of_no_file(launcher()), Complaints{});
}

TEST(Layers, NothingIncludesARoomOfAHigherLayer) {
    EXPECT_EQ(includes_that_lead_upwards(launcher()), Complaints{});
}

TEST(Layers, AFolderIncludesOnlyFoldersBelowIt) {
    EXPECT_EQ(includes_of_a_higher_folder(launcher()), Complaints{});
}

TEST(Layers, TheRoomsOfAFolderStandTogetherAndInTheFoldersOrder) {
    int floor = 0;
    for (const auto& layer : kLayers) {
        for (const std::string& room : layer) {
            EXPECT_GE(floor_of(room), floor) << room;
            floor = floor_of(room);
        }
    }
}

TEST(Layers, NoRoomIncludesItselfThroughOthers) {
    EXPECT_EQ(rooms_in_a_circle(launcher()), Complaints{});
}

TEST(Layers, OnlyMainIncludesTheLaunch) {
    Complaints users;
    for (const auto& [file, bytes] : launcher()) {
        const auto names = includes_of(bytes);
        if (std::count(names.begin(), names.end(), "setupLauncher/launch.h") != 0)
            users.push_back(file);
    }
    EXPECT_EQ(users, (Complaints{"setupLauncher.cpp", "setupLauncher/launch.cpp"}));
}

TEST(Layers, OnlyThePlatformCornerKnowsTheOperatingSystem) {
    EXPECT_EQ(knowledge_of_the_system_outside_its_corner(launcher()), Complaints{});
}

TEST(Layers, EveryHeaderBeginsWithACommentAndPragmaOnce) {
    EXPECT_EQ(headers_that_begin_otherwise(launcher()), Complaints{});
}

// What the checks above are able to see.

TEST(LayersCheck, AFileThatTheTableLacksIsReported) {
    EXPECT_EQ(files_outside_the_table(with("setupLauncher/extra.h", "")),
              Complaints{"setupLauncher/extra.h"});
}

TEST(LayersCheck, ARoomWhoseFilesAreGoneIsReported) {
    Sources sources = launcher();
    sources.erase("jreloc.h");
    EXPECT_EQ(rooms_without_a_file(sources), Complaints{});
    sources.erase("jreloc.cpp");
    EXPECT_EQ(rooms_without_a_file(sources), Complaints{"jreloc"});
}

TEST(LayersCheck, AnIncludeThatLeadsUpwardsIsReported) {
    EXPECT_EQ(includes_that_lead_upwards(
                  with("utils.cpp", "#include \"utils.h\"\n#include \"nls/format.h\"\n")),
              Complaints{"utils.cpp includes nls/format.h"});
    EXPECT_EQ(includes_that_lead_upwards(
                  with("jreloc.h", "  #  include  \"setupLauncher/launch.h\" // why\n")),
              Complaints{"jreloc.h includes setupLauncher/launch.h"});
}

TEST(LayersCheck, AnIncludeOfAHigherFolderIsReported) {
    EXPECT_EQ(includes_of_a_higher_folder(
                  with("base/paths.cpp", "#include \"base/paths.h\"\n#include \"nls/format.h\"\n")),
              Complaints{"base/paths.cpp includes nls/format.h"});
    EXPECT_EQ(includes_of_a_higher_folder(
                  with("prereqchecks/extra.cpp", "#include \"setupLauncher/java_home.h\"\n")),
              Complaints{"prereqchecks/extra.cpp includes setupLauncher/java_home.h"});
    EXPECT_EQ(includes_of_a_higher_folder(
                  with("setupLauncher/extra.cpp", "#include \"bootstrap/tree.h\"\n")),
              Complaints{});
}

TEST(LayersCheck, AFileInAFolderOfNoFloorIsReported) {
    EXPECT_EQ(files_outside_the_table(with("extra/room.h", "")), Complaints{"extra/room.h"});
}

TEST(LayersCheck, AnIncludeOfNoFileIsReported) {
    EXPECT_EQ(includes_of_no_file(with("utils.cpp", "#include \"symtab.h\"\n")),
              Complaints{"utils.cpp includes symtab.h"});
}

TEST(LayersCheck, ACircleInsideALayerIsReported) {
    EXPECT_EQ(rooms_in_a_circle(with("nls/format.cpp", "#include \"nls/catalogue.h\"\n")),
              (Complaints{"nls/catalogue", "nls/format"}));
}

TEST(LayersCheck, KnowledgeOfTheSystemIsReported) {
    EXPECT_EQ(knowledge_of_the_system_outside_its_corner(with("utils.cpp", "#ifdef __linux__\n")),
              Complaints{"utils.cpp has __linux"});
    EXPECT_EQ(knowledge_of_the_system_outside_its_corner(
                  with("setupLauncher/locations.cpp", "#include <sys/mnttab.h>\n")),
              Complaints{"setupLauncher/locations.cpp has sys/mnttab.h"});
    EXPECT_EQ(knowledge_of_the_system_outside_its_corner(
                  with("setupLauncher/locations.cpp", "#include <mntent.h>\n#if __sun\n")),
              (Complaints{"setupLauncher/locations.cpp has __sun",
                          "setupLauncher/locations.cpp has mntent.h"}));
}

TEST(LayersCheck, AHeaderThatBeginsOtherwiseIsReported) {
    EXPECT_EQ(headers_that_begin_otherwise(with("utils.h", "// Text.\n#pragma once\n")),
              Complaints{});
    for (const char* bytes :
         {"", "#pragma once\n// Text.\n", "// Text.\n", "\n// Text.\n#pragma once\n",
          "// Text.\n#include <string>\n#pragma once\n"})
        EXPECT_EQ(headers_that_begin_otherwise(with("utils.h", bytes)), Complaints{"utils.h"})
            << bytes;
}

} // namespace
