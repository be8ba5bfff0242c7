// The mount table reader of Solaris on a stand-in of the system's own call.
#include "platform/mount_table.h"

#include "unit_support.h"

#include <array>
#include <deque>

#include "../portability/include/sys/mnttab.h"

namespace {

struct Answer {
    int status;
    std::array<const char*, 5> fields; // a null pointer for a field that is only "-"
};

std::deque<Answer> answers;
std::FILE* asked_table = nullptr;

// The fields lie in one buffer, which every call overwrites.
std::array<std::string, 5> buffer;

} // namespace

extern "C" int getmntent(FILE* table, struct mnttab* entry) {
    asked_table = table;
    const Answer answer = answers.front();
    answers.pop_front();
    const std::array<char**, 5> fields = {&entry->mnt_special, &entry->mnt_mountp,
                                          &entry->mnt_fstype, &entry->mnt_mntopts,
                                          &entry->mnt_time};
    for (std::size_t at = 0; at < fields.size(); ++at) {
        buffer[at].assign(buffer[at].size(), '#');
        if (answer.status == 0 && answer.fields[at] != nullptr)
            buffer[at] = answer.fields[at];
        *fields[at] = answer.fields[at] == nullptr ? nullptr : buffer[at].data();
    }
    return answer.status;
}

namespace {

class SolarisMountTable : public testing::Test {
  protected:
    SolarisMountTable() {
        answers.clear();
        asked_table = nullptr;
    }
    int next() {
        return next_mount_entry(stdin, entry_);
    }
    std::string fields() const {
        return entry_.special + "|" + entry_.mount_point + "|" + entry_.type + "|" +
               entry_.options + "|" + entry_.time;
    }

    MountEntry entry_;
};

TEST_F(SolarisMountTable, TheOpenTableIsHandedOnAndTheFieldsArriveInTheirOrder) {
    answers = {{0, {"swap", "/tmp", "tmpfs", "xattr,dev=8c80002", "1383668431"}}};
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(asked_table, stdin);
    EXPECT_EQ(fields(), "swap|/tmp|tmpfs|xattr,dev=8c80002|1383668431");
}

TEST_F(SolarisMountTable, AFieldThatTheSystemLeavesOutIsEmpty) {
    answers = {{0, {nullptr, "/", nullptr, nullptr, nullptr}},
               {0, {nullptr, nullptr, nullptr, nullptr, nullptr}}};
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(fields(), "|/|||");
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(fields(), "||||");
}

TEST_F(SolarisMountTable, AnEntryOutlivesTheBufferOfTheSystem) {
    answers = {{0, {"/dev/dsk/c0", "/", "zfs", "rw", "1"}}, {-1, {}}};
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(next(), kMountTableEnd);
    EXPECT_EQ(fields(), "/dev/dsk/c0|/|zfs|rw|1");
}

TEST_F(SolarisMountTable, ALineThatIsNoEntryKeepsItsNumberAndTheReadingGoesOn) {
    answers = {{MNT_TOOLONG, {"x", "x", "x", "x", "x"}},
               {MNT_TOOMANY, {"x", "x", "x", "x", "x"}},
               {MNT_TOOFEW, {"x", nullptr, nullptr, nullptr, nullptr}},
               {0, {"swap", "/run", "tmpfs", "rw", "2"}},
               {-1, {}}};
    EXPECT_EQ(next(), kMountLineTooLong);
    EXPECT_EQ(next(), kMountTooManyFields);
    EXPECT_EQ(next(), kMountTooFewFields);
    EXPECT_EQ(fields(), "||||");
    EXPECT_EQ(next(), kMountEntryRead);
    EXPECT_EQ(fields(), "swap|/run|tmpfs|rw|2");
    EXPECT_EQ(next(), kMountTableEnd);
}

} // namespace
