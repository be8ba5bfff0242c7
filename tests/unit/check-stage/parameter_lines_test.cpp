#include "parameter_lines.h"

#include "parameter_look_up.h"
#include "unit_support.h"

#include <gtest/gtest.h>

namespace {

void expect_told_as_looked_up(const std::string& bytes) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("file.ini", bytes);
    EXPECT_EQ(told(cut_into_lines(bytes), "S", "K"), looked_up(path, "S", "K")) << bytes;
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
        expect_told_as_looked_up(bytes);
    expect_told_as_looked_up(std::string("[S]\nA\0=1\nK=v\0w\n", 15));
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
