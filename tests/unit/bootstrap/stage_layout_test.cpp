#include "bootstrap/stage_layout.h"

#include "unit_surroundings.h"

namespace {

TEST(StageRoot, IsBesideTheStartDirectoryOrElseOneLevelFurtherUp) {
    const TemporaryDirectory top;
    std::filesystem::create_directories(top.file("a/b"));
    const WorkingDirectory there(top.file("a/b"));
    EXPECT_STREQ(stage_root(), "../../stage/Components");
    std::filesystem::create_directories(top.file("a/stage/Components"));
    EXPECT_STREQ(stage_root(), "../stage/Components");
}

TEST(ComponentOf, SplitsAnEntryAtItsColon) {
    EXPECT_EQ(component_of("talvex.swd.zul").name, "talvex.swd.zul");
    EXPECT_EQ(component_of("talvex.swd.zul").version, "");
    EXPECT_EQ(component_of("a:1.2").name, "a");
    EXPECT_EQ(component_of("a:1.2:3").version, "1.2");
    EXPECT_EQ(component_of(":").name, "");
    EXPECT_EQ(component_of("").name, "");
    EXPECT_EQ(component_of("").version, "");
}

TEST(PayloadOf, AVersionIsBelowItsComponent) {
    EXPECT_EQ(payload_of("root", "a", "1.2"), "root/a/1.2/1/DataFiles");
}

TEST(HighestPayloadOf, TakesTheHighestVersionThatIsThere) {
    const TemporaryDirectory top;
    EXPECT_EQ(highest_payload_of(top.path(), "a"), top.file("a/0.0.0.0.0/1/DataFiles"));
    std::filesystem::create_directories(top.file("a/1.9"));
    std::filesystem::create_directories(top.file("a/1.10"));
    EXPECT_EQ(highest_payload_of(top.path(), "a"), top.file("a/1.10/1/DataFiles"));
}

} // namespace
