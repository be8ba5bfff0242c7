#include "base/obstacle.h"

#include "unit_surroundings.h"

#include <cerrno>
#include <climits>

namespace {

using Found = std::pair<std::string, int>;

Found obstacle(const std::string& path) {
    const Obstacle found = obstacle_on_way_to(path);
    return {found.path, found.error};
}

void make_directory(const std::string& path, unsigned mode = 0755) {
    std::filesystem::create_directories(path);
    std::filesystem::permissions(path, std::filesystem::perms(mode));
}

} // namespace

TEST(ObstacleOnTheWay, ThereIsNoneToWhatIsThere) {
    const TemporaryDirectory here;
    const std::string file = here.write("file", "");
    const WorkingDirectory in(here.path());
    for (const std::string& path : {file, here.path(), std::string("/"), std::string("file"),
                                    std::string("."), std::string("./file")})
        EXPECT_EQ(obstacle(path), Found(path, 0));
}

TEST(ObstacleOnTheWay, IsTheFirstPartThatIsNotThereOrNoDirectory) {
    const TemporaryDirectory here;
    const std::string file = here.write("file", "");
    std::filesystem::create_symlink("nowhere", here.file("link"));
    const WorkingDirectory in(here.path());
    EXPECT_EQ(obstacle(here.file("one/two/three")), Found(here.file("one"), ENOENT));
    EXPECT_EQ(obstacle("one/two"), Found("one", ENOENT));
    EXPECT_EQ(obstacle("x/y/z"), Found("x", ENOENT));
    EXPECT_EQ(obstacle("/no_such_directory/y/z"), Found("/no_such_directory", ENOENT));
    EXPECT_EQ(obstacle(file + "/below/it"), Found(file, ENOTDIR));
    EXPECT_EQ(obstacle("file/below"), Found("file", ENOTDIR));
    EXPECT_EQ(obstacle(here.file("link/below")), Found(here.file("link"), ENOENT));
    EXPECT_EQ(obstacle(""), Found("", ENOENT));
}

TEST(ObstacleOnTheWay, IsTheDirectoryThatMayNotBeSearched) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        make_directory(here.file("open/closed/inner"));
        make_directory(here.file("open/closed"), 0600);
        std::filesystem::create_symlink(here.file("open/closed/inner"), here.file("link"));
        EXPECT_EQ(obstacle(here.file("open/closed/inner/file")),
                  Found(here.file("open/closed"), EACCES));
        // What the link leads to is beyond a directory that is not on the path itself.
        EXPECT_EQ(obstacle(here.file("link/file")), Found(here.file("link"), EACCES));
        const WorkingDirectory in(here.file("open"));
        EXPECT_EQ(obstacle("closed/inner"), Found("closed", EACCES));
        make_directory(here.file("open/closed"));
    });
}

TEST(ObstacleOnTheWay, IsTheCurrentDirectoryWhereThatMayNotBeSearched) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        make_directory(here.file("closed/inner"));
        EXPECT_EQ(chdir(here.file("closed").c_str()), 0);
        make_directory(here.file("closed"), 0600);
        EXPECT_EQ(obstacle("inner/file"), Found(".", EACCES));
        make_directory(here.file("closed"));
    });
}

TEST(ObstacleOnTheWay, IsANameThatIsTooLong) {
    const std::string name(NAME_MAX + 1, 'x');
    EXPECT_EQ(obstacle("/" + name + "/below"), Found("/" + name, ENAMETOOLONG));
}

TEST(WholePath, BeginsAtTheRootAndKeepsALinkAtItsEnd) {
    const TemporaryDirectory here;
    make_directory(here.file("one/two"));
    std::filesystem::create_symlink("one", here.file("link"));
    std::filesystem::create_symlink("file", here.file("one/last"));
    const WorkingDirectory in(here.file("one/two"));
    EXPECT_EQ(whole_path("../file"), here.file("one/file"));
    EXPECT_EQ(whole_path("../../link/file"), here.file("one/file"));
    EXPECT_EQ(whole_path("../last"), here.file("one/last"));
    EXPECT_EQ(whole_path("file"), here.file("one/two/file"));
    EXPECT_EQ(whole_path(here.file("link/two")), here.file("one/two"));
    EXPECT_EQ(whole_path("/file"), "/file");
}

TEST(WholePath, OfWhatCannotBeResolvedIsThePathBehindTheCurrentDirectory) {
    const TemporaryDirectory here;
    const WorkingDirectory in(here.path());
    EXPECT_EQ(whole_path("no/such/file"), here.file("no/such/file"));
    EXPECT_EQ(whole_path("/no/such/file"), "/no/such/file");
}

TEST(WholePath, FromADirectoryThatIsGoneIsThePathAsItWasGiven) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        make_directory(here.file("gone"));
        EXPECT_EQ(chdir(here.file("gone").c_str()), 0);
        std::filesystem::remove(here.file("gone"));
        EXPECT_EQ(whole_path("no/such/file"), "no/such/file");
        EXPECT_EQ(whole_path("file"), "file");
    });
}

TEST(ExistingPart, IsTheLongestThatIsThere) {
    const TemporaryDirectory here;
    const WorkingDirectory in(here.path());
    EXPECT_EQ(existing_part(here.path()), here.path());
    EXPECT_EQ(existing_part(here.file("one/two")), here.path());
    EXPECT_EQ(existing_part("/no/such"), "/");
    EXPECT_EQ(existing_part("no/such"), ".");
    EXPECT_EQ(existing_part(""), ".");
}
