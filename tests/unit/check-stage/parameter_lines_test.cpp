#include "parameter_lines.h"

#include "base/profile.h"
#include "unit_support.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* kUntouched = "untouched";

std::string looked_up(const std::string& section, const std::string& key,
                      const std::string& bytes) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("file.ini", bytes);
    std::string value = kUntouched;
    GenericGetPrivateProfileString(section.c_str(), key.c_str(), "default", value, 1024,
                                   path.c_str());
    return value;
}

// What the lines say that a look-up gives.
std::string told(const std::string& section, const std::string& key, const std::string& bytes) {
    const ParameterLines file = cut_into_lines(bytes);
    bool there = false;
    for (const ParameterLine& line : file.lines)
        there = there || (line.kind == ParameterLine::Kind::header && line.section == section);
    if (!there)
        return kUntouched;
    const ParameterLine* line = deciding_line(file, section, key);
    return line == nullptr || !line->has_value ? "default" : line->value;
}

TEST(ParameterLines, TellOfEveryFileWhatTheLaunchersReaderGives) {
    const char* files[] = {
        "[S]\nK=v\n",
        "[S]\nK =v\n",
        "[S]\n\"K\"=v\n",
        "[S]\n=x\nK=v\n",
        "[S]\nK=a=b\n",
        "[S]\nK=\"a=b\"c\n",
        "[S]\nK=\"a\n",
        "[S]\nK=\nK=v\n",
        "  [S]\nK=v\n",
        "  \n[S]\nK=v\n",
        "[S] x\nK=v\n",
        "[ S ]\nK=v\n",
        "[S]\n\n\nK=v",
        "[S]\nK",
        "[S]",
        "K=v\n",
        "[S]\nA=1\n[T]\nK=v\n",
        "[S]\n[S]\nK=v\n",
        "[S]\nA=1\n\xffK=v\n",
        "[S]\r\nK = v\r\n",
        "[S]\nK v\n",
        "[S]\n\"x\nK=v\n",
        "[S\nK=v\n",
        "",
    };
    for (const char* bytes : files)
        EXPECT_EQ(told("S", "K", bytes), looked_up("S", "K", bytes)) << bytes;
    const std::string with_nul("[S]\nA\0=1\nK=v\0w\n", 15);
    EXPECT_EQ(told("S", "K", with_nul), looked_up("S", "K", with_nul));
}

TEST(ParameterLines, HaveTheNumberOfTheLineThatTheirFirstCharacterStandsOn) {
    const ParameterLines file = cut_into_lines("\n  \n[S]\n\nK=v\n");
    ASSERT_EQ(file.lines.size(), 2U);
    EXPECT_EQ(file.lines[0].number, 3U);
    EXPECT_EQ(file.lines[0].section, "");
    EXPECT_EQ(file.lines[1].number, 5U);
}

TEST(ParameterLines, EndAtTheByte255) {
    const ParameterLines file = cut_into_lines("[S]\nK=v\xff\nL=w\n");
    EXPECT_EQ(file.ended_by_byte, 2U);
    ASSERT_EQ(file.lines.size(), 2U);
    EXPECT_EQ(file.lines[1].value, "v");
}

TEST(ParameterLines, NameTheLinesThatANulCuts) {
    EXPECT_EQ(cut_into_lines(std::string_view("[S]\nK=v\0w\n", 10)).with_nul,
              std::vector<std::size_t>{2});
}

} // namespace
