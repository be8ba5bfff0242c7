#include "unzip/listing.h"

#include "unit_surroundings.h"

namespace {

using namespace std::string_literals;

void add(ZipArchive& archive, const std::string& name, std::uint64_t size, std::int64_t modified) {
    ZipEntry entry;
    entry.name_at = archive.names.size();
    entry.name_length = static_cast<std::uint16_t>(name.size());
    entry.unpacked = size;
    entry.packed = 7;
    entry.times.modified = modified;
    entry.times.accessed = 1;
    archive.names += name;
    archive.entries.push_back(entry);
}

ZipArchive archive_of_two() {
    ZipArchive archive;
    archive.path = "d/two.zip";
    add(archive, "z/", 0, 0);
    add(archive, "a", 12345, 1000000000);
    return archive;
}

std::string listed(const ZipArchive& archive, int quiet) {
    return shown_by([&] { list_archive(archive, quiet); });
}

class UnzipListing : public testing::Test {
  protected:
    TimeZone zone{"UTC0"};
};

TEST_F(UnzipListing, HasTheEntriesInTheArchivesOrderBelowItsName) {
    EXPECT_EQ(listed(archive_of_two(), 0), "Archive:  d/two.zip\n"
                                           "  Length      Date    Time    Name\n"
                                           "---------  ---------- -----   ----\n"
                                           "        0  1970-01-01 00:00   z/\n"
                                           "    12345  2001-09-09 01:46   a\n"
                                           "---------                     -------\n"
                                           "    12345                     2 files\n");
}

TEST_F(UnzipListing, LeavesOutTheArchivesNameWhenQuiet) {
    EXPECT_EQ(listed(archive_of_two(), 1), "  Length      Date    Time    Name\n"
                                           "---------  ---------- -----   ----\n"
                                           "        0  1970-01-01 00:00   z/\n"
                                           "    12345  2001-09-09 01:46   a\n"
                                           "---------                     -------\n"
                                           "    12345                     2 files\n");
}

TEST_F(UnzipListing, LeavesOutTheHeadingsAndTheSumWhenQuieter) {
    const std::string entries = "        0  1970-01-01 00:00   z/\n"
                                "    12345  2001-09-09 01:46   a\n";
    EXPECT_EQ(listed(archive_of_two(), 2), entries);
    EXPECT_EQ(listed(archive_of_two(), 3), entries);
}

TEST_F(UnzipListing, CountsASingleFileAsOne) {
    ZipArchive archive;
    add(archive, "a", 1, 0);
    EXPECT_EQ(listed(archive, 1), "  Length      Date    Time    Name\n"
                                  "---------  ---------- -----   ----\n"
                                  "        1  1970-01-01 00:00   a\n"
                                  "---------                     -------\n"
                                  "        1                     1 file\n");
}

TEST_F(UnzipListing, OfNoEntriesHasASumOfNothing) {
    EXPECT_EQ(listed(ZipArchive{}, 1), "  Length      Date    Time    Name\n"
                                       "---------  ---------- -----   ----\n"
                                       "---------                     -------\n"
                                       "        0                     0 files\n");
    EXPECT_EQ(listed(ZipArchive{}, 2), "");
}

TEST_F(UnzipListing, HasTheSumOfAllSizesHoweverLarge) {
    ZipArchive archive;
    add(archive, "a", 5000000000, 0);
    add(archive, "b", 6000000000, 0);
    EXPECT_EQ(listed(archive, 1), "  Length      Date    Time    Name\n"
                                  "---------  ---------- -----   ----\n"
                                  "5000000000  1970-01-01 00:00   a\n"
                                  "6000000000  1970-01-01 00:00   b\n"
                                  "---------                     -------\n"
                                  "11000000000                     2 files\n");
}

TEST_F(UnzipListing, ShowsNamesAndPathWithControlCharactersAsLetters) {
    ZipArchive archive;
    archive.path = "x\x1b.zip";
    add(archive, "a\n\0b"s, 0, 0);
    EXPECT_TRUE(listed(archive, 0).starts_with("Archive:  x^[.zip\n"));
    EXPECT_EQ(listed(archive, 2), "        0  1970-01-01 00:00   a^J^@b\n");
}

TEST_F(UnzipListing, ShowsLocalTime) {
    const TimeZone east("EAST-5:30");
    EXPECT_EQ(listed(archive_of_two(), 2), "        0  1970-01-01 05:30   z/\n"
                                           "    12345  2001-09-09 07:16   a\n");
}

TEST_F(UnzipListing, ShowsDashesForATimeThatNoCalendarHas) {
    ZipArchive archive;
    add(archive, "a", 0, INT64_MAX);
    EXPECT_EQ(listed(archive, 2), "        0  ---------- --:--   a\n");
}

} // namespace
