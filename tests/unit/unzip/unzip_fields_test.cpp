#include "unzip/fields.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

using Fields = std::vector<std::pair<unsigned, std::string>>;

// The fields of `extra`, and behind them what is left of it.
std::pair<Fields, std::string> fields_of(std::string_view extra) {
    Fields fields;
    unsigned number = 0;
    for (std::string_view field; next_field(number, field, extra);)
        fields.emplace_back(number, field);
    return {fields, std::string(extra)};
}

TEST(UnzipFields, ReadNumbersLowestByteFirst) {
    EXPECT_EQ(number_at("\x12\x34", 0, 2), 0x3412U);
    EXPECT_EQ(number_at("\x01\x02\x03\x04\x05\x06\x07\x08", 0, 8), 0x0807060504030201U);
}

TEST(UnzipFields, ReadNumbersOfTheBytesAskedForOnly) {
    EXPECT_EQ(number_at("\x01\x02\x03\x04\x05", 1, 3), 0x040302U);
    EXPECT_EQ(number_at("\x01\x02", 1, 1), 2U);
    EXPECT_EQ(number_at("\x01\x02", 1, 0), 0U);
    EXPECT_EQ(number_at("", 0, 0), 0U);
}

TEST(UnzipFields, TakeHighBytesForPositive) {
    EXPECT_EQ(number_at("\xff\xfe\xfd\xfc", 0, 4), 0xfcfdfeffU);
    EXPECT_EQ(number_at("\x80", 0, 1), 0x80U);
    EXPECT_EQ(number_at("\xff\xff\xff\xff\xff\xff\xff\xff", 0, 8), UINT64_MAX);
}

TEST(UnzipFields, ComeOneAfterTheOtherWithNumberAndBytes) {
    EXPECT_EQ(fields_of("\x55\x54\x03\x00"
                        "abc"
                        "\x01\x02\x01\x00"
                        "d"s),
              (std::pair<Fields, std::string>{{{0x5455, "abc"}, {0x0201, "d"}}, ""}));
}

TEST(UnzipFields, MayBeEmpty) {
    EXPECT_EQ(fields_of("\x01\x00\x00\x00\x02\x00\x00\x00"s),
              (std::pair<Fields, std::string>{{{1, ""}, {2, ""}}, ""}));
}

TEST(UnzipFields, HaveSizesOfTwoBytes) {
    const std::string bytes(0x0102, 'x');
    EXPECT_EQ(fields_of("\x01\x00\x02\x01"s + bytes),
              (std::pair<Fields, std::string>{{{1, bytes}}, ""}));
}

TEST(UnzipFields, EndWhereNoWholeHeadIsLeft) {
    EXPECT_EQ(fields_of(""), (std::pair<Fields, std::string>{{}, ""}));
    EXPECT_EQ(fields_of("\x01\x00\x00"s), (std::pair<Fields, std::string>{{}, "\x01\x00\x00"s}));
    EXPECT_EQ(fields_of("\x01\x00\x01\x00q\x02"s),
              (std::pair<Fields, std::string>{{{1, "q"}}, "\x02"}));
}

TEST(UnzipFields, EndAtOneThatIsLongerThanWhatIsLeft) {
    EXPECT_EQ(fields_of("\x01\x00\x02\x00q"s),
              (std::pair<Fields, std::string>{{}, "\x01\x00\x02\x00q"s}));
    EXPECT_EQ(fields_of("\x01\x00\xff\xff"s),
              (std::pair<Fields, std::string>{{}, "\x01\x00\xff\xff"s}));
}

} // namespace
