#include "unzip/attributes.h"

#include "unit_surroundings.h"

namespace {

using namespace std::string_literals;

constexpr std::uint32_t kDosTime = 0x2b5f1234; // 31 October 2001, 02:17:40

std::string field(unsigned number, const std::string& bytes) {
    std::string made;
    for (const std::size_t two : {std::size_t{number}, bytes.size()}) {
        made += static_cast<char>(two & 0xffU);
        made += static_cast<char>(two >> 8U);
    }
    return made + bytes;
}

std::string four(std::uint32_t number) {
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i)
        bytes += static_cast<char>(number >> (8U * i) & 0xffU);
    return bytes;
}

std::string extended(unsigned bits, const std::string& times) {
    return field(0x5455, std::string(1, static_cast<char>(bits)) + times);
}

std::string times_of(const std::string& extra) {
    const EntryTimes times = entry_times(kDosTime, extra);
    return std::to_string(times.modified) + " " + std::to_string(times.accessed);
}

class UnzipAttributes : public testing::Test {
  protected:
    TimeZone zone{"UTC0"};
    const std::string dos = "1004494660 1004494660";
};

TEST_F(UnzipAttributes, ReadTheClockOfDosInTwoSeconds) {
    EXPECT_EQ(time_of_dos(0x00210000), 315532800); // 1 January 1980
    EXPECT_EQ(time_of_dos(0x0021083d), 315536518); // 01:01:58
    EXPECT_EQ(time_of_dos(kDosTime), 1004494660);
    EXPECT_EQ(time_of_dos(kDosTime), 1004494660);   // the one that is kept
    EXPECT_EQ(time_of_dos(0xff9fbf7d), 4354819198); // the last: 31 December 2107, 23:59:58
}

TEST_F(UnzipAttributes, TakeAMonthThatIsNoneForTheFirst) {
    EXPECT_EQ(time_of_dos(0x00010000), 315532800);
}

TEST(UnzipAttributesAbroad, ReadTheClockOfDosAsLocalTimeWithSummerTime) {
    const TimeZone zone("EST5EDT,M4.1.0,M10.5.0");
    EXPECT_EQ(time_of_dos(0x2a210000), 978325200); // 1 January 2001
    EXPECT_EQ(time_of_dos(0x2ae10000), 993960000); // 1 July 2001
}

TEST_F(UnzipAttributes, TakeTheTimeOfDosWhereThereIsNoOther) {
    EXPECT_EQ(times_of(""), dos);
    EXPECT_EQ(times_of(field(0x7075, four(1) + four(2))), dos);
}

TEST_F(UnzipAttributes, TakeTheExtendedTimes) {
    EXPECT_EQ(times_of(extended(1, four(1000))), "1000 1000");
    EXPECT_EQ(times_of(extended(3, four(1000) + four(2000))), "1000 2000");
    EXPECT_EQ(times_of(extended(7, four(1000) + four(2000) + four(3000))), "1000 2000");
    EXPECT_EQ(times_of(extended(5, four(1000) + four(3000))), "1000 1000");
}

TEST_F(UnzipAttributes, TakeOfTheExtendedTimesThoseThatAreThere) {
    EXPECT_EQ(times_of(extended(3, four(1000))), "1000 1000");
    EXPECT_EQ(times_of(extended(3, four(1000) + "abc")), "1000 1000");
    EXPECT_EQ(times_of(extended(1, "abc")), dos);
    EXPECT_EQ(times_of(extended(2, four(2000))), dos);
    EXPECT_EQ(times_of(field(0x5455, "")), dos);
}

TEST_F(UnzipAttributes, TakeAnExtendedTimeBefore1970ForABrokenOne) {
    EXPECT_EQ(times_of(extended(1, four(0x80000000))), dos);
    EXPECT_EQ(times_of(extended(1, four(0x7fffffff))), "2147483647 2147483647");
    EXPECT_EQ(times_of(extended(1, four(0))), "0 0");
}

TEST_F(UnzipAttributes, TakeTheTimesOfOldArchivers) {
    for (const unsigned number : {0x5855U, 0x000dU}) {
        EXPECT_EQ(times_of(field(number, four(2000) + four(1000))), "1000 2000");
        EXPECT_EQ(times_of(field(number, four(2000) + four(1000) + "uid")), "1000 2000");
        EXPECT_EQ(times_of(field(number, four(2000) + "abc")), dos);
        EXPECT_EQ(times_of(field(number, four(0xffffffff) + four(0xfffffffe))), "-2 -1");
    }
}

TEST_F(UnzipAttributes, PreferTheExtendedTimesInWhateverOrder) {
    const std::string old = field(0x5855, four(2000) + four(1000));
    EXPECT_EQ(times_of(old + extended(1, four(5000))), "5000 5000");
    EXPECT_EQ(times_of(extended(1, four(5000)) + old), "5000 5000");
}

// The sum of "name" is 5e237e06.
TEST_F(UnzipAttributes, HaveTheNameInUnicodeThatStandsForTheNameGiven) {
    const std::string sum = four(0x5e237e06);
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + sum + "n\xc3\xa4me"), "name"), "n\xc3\xa4me");
    EXPECT_EQ(unicode_name(field(1, "x") + field(0x7075, "\x01" + sum + "a"), "name"), "a");
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + four(0) + "x"), ""), "x");
}

TEST_F(UnzipAttributes, HaveNoNameInUnicodeOfAnotherNameOrForm) {
    const std::string sum = four(0x5e237e06);
    EXPECT_EQ(unicode_name("", "name"), "");
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + sum + "x"), "Name"), "");
    EXPECT_EQ(unicode_name(field(0x7075, "\x02" + sum + "x"), "name"), "");
    EXPECT_EQ(unicode_name(field(0x7076, "\x01" + sum + "x"), "name"), "");
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + sum), "name"), "");
    EXPECT_EQ(unicode_name(field(0x7075, ""), "name"), "");
}

TEST_F(UnzipAttributes, HaveASecondNameInUnicodeWhereTheFirstIsOfAnotherOrEmpty) {
    const std::string sum = four(0x5e237e06);
    const std::string second = field(0x7075, "\x01" + sum + "y");
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + four(1) + "x") + second, "name"), "y");
    EXPECT_EQ(unicode_name(field(0x7075, "\x01" + sum) + second, "name"), "y");
}

constexpr unsigned kDos = 0U << 8U | 20U;
constexpr unsigned kUnix = 3U << 8U | 20U;
constexpr unsigned kOther = 10U << 8U | 20U;

std::uint32_t external(mode_t mode, unsigned attributes = 0) {
    return static_cast<std::uint32_t>(mode) << 16U | attributes;
}

TEST_F(UnzipAttributes, GiveTheTypeAndPermissionsOfUnixAndNoBitsBeyond) {
    EXPECT_EQ(entry_mode(kUnix, external(S_IFREG | 0640), false, 022), S_IFREG | 0640U);
    EXPECT_EQ(entry_mode(kUnix, external(S_IFLNK | 0777), false, 022), S_IFLNK | 0777U);
    EXPECT_EQ(entry_mode(kUnix, external(S_IFREG | 07755, 1), false, 077), S_IFREG | 0755U);
    EXPECT_EQ(entry_mode(kUnix, external(0), true, 022), 0U);
}

TEST_F(UnzipAttributes, GiveWhatTheMaskLeavesWhereThereAreNoPermissions) {
    EXPECT_EQ(entry_mode(kDos, 0, false, 022), 0644U);
    EXPECT_EQ(entry_mode(kDos, 0, false, 0), 0666U);
    EXPECT_EQ(entry_mode(kDos, 0, true, 027), 0750U);
    EXPECT_EQ(entry_mode(kDos, 0x10, false, 022), 0755U);
    EXPECT_EQ(entry_mode(kDos, 0x01, false, 022), 0444U);
    EXPECT_EQ(entry_mode(kDos, 0x01, true, 022), 0555U);
    EXPECT_EQ(entry_mode(kDos, 0x20, false, 022), 0644U);
}

TEST_F(UnzipAttributes, BelieveDosThePermissionsThatDoNotContradictIt) {
    EXPECT_EQ(entry_mode(kDos, external(S_IFREG | 0600), false, 022), 0600U);
    EXPECT_EQ(entry_mode(kDos, external(0777, 0x10), true, 022), 0777U);
    EXPECT_EQ(entry_mode(kDos, external(07440, 0x01), false, 022), 0440U);
    EXPECT_EQ(entry_mode(kDos, external(0400), false, 022), 0644U);
    EXPECT_EQ(entry_mode(kDos, external(0600, 0x01), false, 022), 0444U);
    EXPECT_EQ(entry_mode(kDos, external(0700), false, 022), 0644U);
}

TEST_F(UnzipAttributes, BelieveNoOtherSystemsPermissions) {
    EXPECT_EQ(entry_mode(kOther, external(0600), false, 022), 0644U);
    EXPECT_EQ(entry_mode(kOther, external(0777), true, 022), 0755U);
}

} // namespace
