// The mount table reader on copies of the table.
#include "platform/mount_table.h"

#include "unit_support.h"

#include <vector>

namespace {

class MountTable : public testing::Test {
  protected:
    ~MountTable() override {
        if (stream_ != nullptr)
            std::fclose(stream_);
    }
    void open(const std::string& bytes) {
        stream_ = std::fopen(directory_.write("mnttab", bytes).c_str(), "r");
        ASSERT_NE(stream_, nullptr);
    }
    int next() {
        return next_mount_entry(stream_, entry_);
    }
    // The fields in their order, with a bar between them.
    std::string fields() const {
        return entry_.special + "|" + entry_.mount_point + "|" + entry_.type + "|" +
               entry_.options + "|" + entry_.time;
    }
    void expect_entry(const std::string& expected) {
        EXPECT_EQ(next(), 0);
        EXPECT_EQ(fields(), expected);
    }
    void expect_end() {
        EXPECT_EQ(next(), -1);
    }

    TemporaryDirectory directory_;
    std::FILE* stream_ = nullptr;
    MountEntry entry_;
};

TEST_F(MountTable, TheResultsHaveTheNumbersOfTheSystemsOwnCall) {
    EXPECT_EQ(kMountEntryRead, 0);
    EXPECT_EQ(kMountTableEnd, -1);
    EXPECT_EQ(kMountLineTooLong, 1);
    EXPECT_EQ(kMountTooManyFields, 2);
    EXPECT_EQ(kMountTooFewFields, 3);
}

TEST_F(MountTable, AnEntryHasFiveFields) {
    open("swap\t/tmp\ttmpfs\txattr,dev=8c80002\t1383668431\n");
    expect_entry("swap|/tmp|tmpfs|xattr,dev=8c80002|1383668431");
    expect_end();
}

TEST_F(MountTable, EntriesComeInTheOrderOfTheTable) {
    open("/dev/dsk/c0\t/\tzfs\trw\t1\n"
         "swap\t/tmp\ttmpfs\trw\t2\n"
         "/vol/dev/cd\t/cdrom/disk1\thsfs\tro\t3\n");
    expect_entry("/dev/dsk/c0|/|zfs|rw|1");
    expect_entry("swap|/tmp|tmpfs|rw|2");
    expect_entry("/vol/dev/cd|/cdrom/disk1|hsfs|ro|3");
    expect_end();
    expect_end();
}

TEST_F(MountTable, BlanksAndTabsSeparateFieldsAndARunOfThemCountsAsOne) {
    open("  swap /tmp\t \ttmpfs  rw\t1 \n");
    expect_entry("swap|/tmp|tmpfs|rw|1");
}

TEST_F(MountTable, AFieldOfOnlyAHyphenIsEmpty) {
    open("-\t-\t-\t-\t-\n-x\t/-\t--\t-\t1\n");
    expect_entry("||||");
    expect_entry("-x|/-|--||1");
}

TEST_F(MountTable, EmptyLinesAreSkipped) {
    open("\n\nswap /tmp tmpfs rw 1\n   \n\t\nswap /run tmpfs rw 2\n\n");
    expect_entry("swap|/tmp|tmpfs|rw|1");
    expect_entry("swap|/run|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, LinesWhoseFirstNonBlankIsANumberSignAreSkipped) {
    open("# special mount type options time\n \t# indented\nswap /tmp tmpfs #rw 1\n");
    expect_entry("swap|/tmp|tmpfs|#rw|1");
    expect_end();
}

TEST_F(MountTable, ALineWithFewerThanFiveFieldsIsTooFewAndTheReadingGoesOn) {
    open("swap /tmp tmpfs rw\nswap\nswap /run tmpfs rw 2\n");
    EXPECT_EQ(next(), kMountTooFewFields);
    EXPECT_EQ(next(), kMountTooFewFields);
    expect_entry("swap|/run|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, ALineWithMoreThanFiveFieldsIsTooManyAndTheReadingGoesOn) {
    open("swap /tmp/a b tmpfs rw 1\nswap /run tmpfs rw 2\n");
    EXPECT_EQ(next(), kMountTooManyFields);
    expect_entry("swap|/run|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, ABlankInAMountPointShiftsTheFieldsOfAShortLine) {
    open("swap /a b tmpfs rw\n");
    expect_entry("swap|/a|b|tmpfs|rw");
}

TEST_F(MountTable, ALineOf1022CharactersIsAnEntry) {
    const std::string tail = " /m tmpfs rw 1";
    const std::string special(1022 - tail.size(), 'x');
    open(special + tail + "\nswap /tmp tmpfs rw 2\n");
    expect_entry(special + "|/m|tmpfs|rw|1");
    expect_entry("swap|/tmp|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, ALineOf1023CharactersIsTooLong) {
    const std::string tail = " /m tmpfs rw 1";
    open(std::string(1023 - tail.size(), 'x') + tail + "\n");
    EXPECT_EQ(next(), kMountLineTooLong);
}

TEST_F(MountTable, TheRestOfALineThatIsTooLongIsReadAsTheNextLine) {
    open(std::string(1100, 'x') + " /m tmpfs rw 1\nswap /tmp tmpfs rw 2\n");
    EXPECT_EQ(next(), kMountLineTooLong);
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(entry_.mount_point, "/m");
    EXPECT_EQ(entry_.time, "1");
    expect_entry("swap|/tmp|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, ALineOfAMegabyteIsReadInPiecesToItsEnd) {
    open(std::string(1024 * 1024, 'x') + "\nswap /tmp tmpfs rw 2\n");
    int pieces = 0;
    int status = next();
    for (; status == kMountLineTooLong && pieces < 2000; status = next())
        ++pieces;
    EXPECT_GT(pieces, 1000);
    EXPECT_LT(pieces, 1100);
    EXPECT_EQ(status, kMountTooFewFields);
    expect_entry("swap|/tmp|tmpfs|rw|2");
    expect_end();
}

TEST_F(MountTable, TheLastLineNeedsNoLineFeed) {
    open("swap /tmp tmpfs rw 1");
    expect_entry("swap|/tmp|tmpfs|rw|1");
    expect_end();
}

TEST_F(MountTable, AnEmptyTableHasNoEntry) {
    open("");
    expect_end();
}

TEST_F(MountTable, ATableOfCommentsAndBlankLinesHasNoEntry) {
    open("#\n\n   \n# end");
    expect_end();
}

} // namespace
