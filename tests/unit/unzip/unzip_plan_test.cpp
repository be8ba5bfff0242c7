#include "unzip/plan.h"

#include "unzip/status.h"

#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

namespace {

constexpr unsigned kMadeOnDos = 0U << 8U;
constexpr unsigned kMadeOnUnix = 3U << 8U;
constexpr mode_t kMask = 022;

constexpr const char* kFileBefore = "the archive has a file of that name before it";
constexpr const char* kDirectoryBefore = "the archive has a directory of that name before it";
constexpr const char* kThroughFile = "its way leads through a file of the archive";
constexpr const char* kThroughLink = "its way leads through a symbolic link of the archive";

void add(ZipArchive& archive, const std::string& name, mode_t mode = S_IFREG | 0644) {
    ZipEntry entry;
    entry.name_at = archive.names.size();
    entry.name_length = static_cast<std::uint16_t>(name.size());
    entry.made_by = kMadeOnUnix;
    entry.external = static_cast<std::uint32_t>(mode) << 16U;
    archive.names += name;
    archive.entries.push_back(entry);
}

// An archive of these entries in this order; "name@" is a symbolic link, "name/" a directory.
ZipArchive archive_of(const std::vector<std::string>& names) {
    ZipArchive archive;
    for (const std::string& name : names) {
        if (name.ends_with('@'))
            add(archive, name.substr(0, name.size() - 1), S_IFLNK | 0777);
        else
            add(archive, name);
    }
    return archive;
}

// What the plan says of an entry, in a line.
std::string told_of(const Plan& plan, std::size_t i) {
    const PlannedEntry& entry = plan.entries[i];
    std::string told(planned_name(plan, i));
    told += entry.kind == EntryKind::kDirectory ? "/" : entry.kind == EntryKind::kLink ? "@" : "";
    if (entry.is_replaced)
        told += ", replaced";
    if (entry.replaces_link)
        told += ", over a link";
    if (entry.reason != nullptr)
        told += std::string(": ") + entry.reason;
    if (entry.status != (entry.reason == nullptr ? kUnzipFine : kUnzipBroken))
        told += " (status " + std::to_string(entry.status) + ")";
    return told;
}

using Lines = std::vector<std::string>;

Lines told_of(const Plan& plan) {
    Lines lines;
    for (std::size_t i = 0; i < plan.entries.size(); ++i)
        lines.push_back(told_of(plan, i));
    return lines;
}

Lines planned(const std::vector<std::string>& names) {
    return told_of(plan_of(archive_of(names), kMask));
}

TEST(UnzipPlan, KeepsTheEntriesInTheArchivesOrder) {
    EXPECT_EQ(planned({"z", "d/", "a", "d/x@", "d/a"}), (Lines{"z", "d/", "a", "d/x@", "d/a"}));
}

TEST(UnzipPlan, OfNoEntriesIsEmpty) {
    EXPECT_EQ(planned({}), Lines{});
}

TEST(UnzipPlan, TakesAwayWhatSaysNothingInAName) {
    EXPECT_EQ(planned({"./a//b", "d/./", "x/./y@"}), (Lines{"a/b", "d/", "x/y@"}));
}

TEST(UnzipPlan, LetsTheDirectoryToUnpackIntoBeNamed) {
    EXPECT_EQ(planned({"./", "a", ".//./"}), (Lines{"/", "a", "/"}));
}

TEST(UnzipPlan, RefusesAFileOrLinkWhoseNameIsThatOfTheDirectoryToUnpackInto) {
    EXPECT_EQ(planned({".", "./.@", "a"}), (Lines{": its name is that of a directory",
                                                  "@: its name is that of a directory", "a"}));
}

TEST(UnzipPlan, RefusesAnUnsafeNameAndSaysWhy) {
    EXPECT_EQ(planned({"../a", "/b", "c\\d", "e\nf", "", "C:g"}),
              (Lines{"../a: its name leads upwards", "b: its name begins at the root directory",
                     "c\\d: its name has a backslash in it",
                     "e\nf: its name has a control character in it", ": its name is empty",
                     "C:g: its name begins with a drive letter"}));
}

TEST(UnzipPlan, KeepsStatusAndReasonThatAnEntryBrings) {
    ZipArchive archive = archive_of({"../a"});
    archive.entries[0].status = kUnzipEncrypted;
    archive.entries[0].reason = "it is encrypted";
    EXPECT_EQ(told_of(plan_of(archive, kMask)), (Lines{"../a: it is encrypted (status 82)"}));
}

TEST(UnzipPlan, LetsARefusedEntryStandInNobodysWay) {
    ZipArchive archive = archive_of({"a", "a/", "a/b", "c/d", "c", "e", "e"});
    for (const std::size_t i : {std::size_t{0}, std::size_t{3}, std::size_t{6}}) {
        archive.entries[i].status = kUnzipUnknownMethod;
        archive.entries[i].reason = "no";
    }
    EXPECT_EQ(told_of(plan_of(archive, kMask)),
              (Lines{"a: no (status 81)", "a/", "a/b", "c/d: no (status 81)", "c", "e",
                     "e: no (status 81)"}));
}

TEST(UnzipPlan, TellsADirectoryByTheSlashAndALinkByItsMode) {
    ZipArchive archive;
    add(archive, "no-slash", S_IFDIR | 0755);
    add(archive, "slash/", S_IFLNK | 0777);
    add(archive, "pipe", S_IFIFO | 0644);
    add(archive, "link-on-dos", S_IFLNK | 0777);
    archive.entries.back().made_by = kMadeOnDos;
    add(archive, "link", S_IFLNK);
    EXPECT_EQ(told_of(plan_of(archive, kMask)),
              (Lines{"no-slash", "slash/", "pipe", "link-on-dos", "link@"}));
}

TEST(UnzipPlan, LetsTheLastOfAFilesNameStand) {
    EXPECT_EQ(planned({"a", "b", "./a", "a"}), (Lines{"a, replaced", "b", "a, replaced", "a"}));
}

TEST(UnzipPlan, LetsADirectoryBeNamedTwice) {
    EXPECT_EQ(planned({"a/", "a/b", "a//"}), (Lines{"a/", "a/b", "a/"}));
}

TEST(UnzipPlan, TellsOfAFileThatComesAfterALinkOfItsNameAndOfNoLink) {
    EXPECT_EQ(planned({"a@", "a", "a@", "a@", "a"}),
              (Lines{"a@, replaced", "a, replaced, over a link", "a@, replaced", "a@, replaced",
                     "a, over a link"}));
    EXPECT_EQ(planned({"a", "a@"}), (Lines{"a, replaced", "a@"}));
}

TEST(UnzipPlan, LetsTheFirstOfAFileAndADirectoryOfOneNameStand) {
    EXPECT_EQ(planned({"a", "a/"}), (Lines{"a", std::string("a/: ") + kFileBefore}));
    EXPECT_EQ(planned({"a@", "a/"}), (Lines{"a@", std::string("a/: ") + kFileBefore}));
    EXPECT_EQ(planned({"a/", "a"}), (Lines{"a/", std::string("a: ") + kDirectoryBefore}));
    EXPECT_EQ(planned({"a/", "a@"}), (Lines{"a/", std::string("a@: ") + kDirectoryBefore}));
}

TEST(UnzipPlan, LetsTheFirstOfAFileAndAnEntryBelowItStand) {
    EXPECT_EQ(planned({"a", "a/b"}), (Lines{"a", std::string("a/b: ") + kThroughFile}));
    EXPECT_EQ(planned({"a@", "a/b/c/"}), (Lines{"a@", std::string("a/b/c/: ") + kThroughLink}));
    EXPECT_EQ(planned({"a/b/c", "a"}), (Lines{"a/b/c", std::string("a: ") + kDirectoryBefore}));
    EXPECT_EQ(planned({"a/b/", "a@"}), (Lines{"a/b/", std::string("a@: ") + kDirectoryBefore}));
}

TEST(UnzipPlan, LeadsAWayThroughWhatStandsAtTheTime) {
    EXPECT_EQ(
        planned({"a@", "a", "a/b", "a@", "a/c"}),
        (Lines{"a@, replaced", "a, replaced, over a link", std::string("a/b: ") + kThroughFile,
               "a@", std::string("a/c: ") + kThroughLink}));
}

TEST(UnzipPlan, LetsAFileReplaceOneThatRefusedAnEntryBelowIt) {
    EXPECT_EQ(planned({"a", "a/b", "a"}),
              (Lines{"a, replaced", std::string("a/b: ") + kThroughFile, "a"}));
}

TEST(UnzipPlan, LetsADirectoryBeNamedAfterARefusedFileOfItsName) {
    EXPECT_EQ(planned({"a/b", "a", "a/"}),
              (Lines{"a/b", std::string("a: ") + kDirectoryBefore, "a/"}));
}

TEST(UnzipPlan, TakesNoNameForOneBelowAnotherThatOnlyBeginsLikeIt) {
    EXPECT_EQ(planned({"a", "a-b/c", "ab", "a.b/", "a!"}),
              (Lines{"a", "a-b/c", "ab", "a.b/", "a!"}));
}

TEST(UnzipPlan, FindsWhatLiesBelowAFileBehindNamesThatOnlyBeginLikeIt) {
    EXPECT_EQ(
        planned({"a", "a!", "a!/x", "a-", "a/b", "b", "a/\xff", "\xff", "\xff/y"}),
        (Lines{"a", "a!", std::string("a!/x: ") + kThroughFile, "a-",
               std::string("a/b: ") + kThroughFile, "b", std::string("a/\xff: ") + kThroughFile,
               "\xff", std::string("\xff/y: ") + kThroughFile}));
}

// One entry after the other, by what stands at each name.
Lines one_after_the_other(const std::vector<std::string>& names) {
    struct Standing {
        char kind;
        std::size_t line;
        bool had_link;
    };
    std::map<std::string, Standing> standing;
    Lines lines;
    for (const std::string& given : names) {
        const char kind = given.ends_with('/') || given.ends_with('@') ? given.back() : 'f';
        const std::string name = kind == 'f' ? given : given.substr(0, given.size() - 1);
        std::string wrong;
        std::vector<std::string> above;
        for (std::size_t at = name.find('/'); at != std::string::npos; at = name.find('/', at + 1))
            above.push_back(name.substr(0, at));
        for (const std::string& directory : above) {
            const auto found = standing.find(directory);
            if (found != standing.end() && found->second.kind != '/')
                wrong = found->second.kind == '@' ? kThroughLink : kThroughFile;
        }
        const auto before = standing.find(name);
        const bool is_there = before != standing.end();
        if (wrong.empty() && is_there && (before->second.kind == '/') != (kind == '/'))
            wrong = kind == '/' ? kFileBefore : kDirectoryBefore;
        lines.push_back(given);
        if (!wrong.empty()) {
            lines.back() += ": " + wrong;
            continue;
        }
        for (const std::string& directory : above)
            standing.insert({directory, {'/', 0, false}});
        const bool had_link = is_there && before->second.had_link;
        if (is_there && kind != '/') {
            std::string& replaced = lines[before->second.line];
            replaced.insert(replaced.find(',') == std::string::npos ? replaced.size()
                                                                    : replaced.find(','),
                            ", replaced");
        }
        if (kind == 'f' && had_link)
            lines.back() += ", over a link";
        standing[name] = {kind, lines.size() - 1, had_link || kind == '@'};
    }
    return lines;
}

TEST(UnzipPlan, IsWhatWouldComeOfOneEntryAfterTheOther) {
    const Lines all = {"a", "a/", "a@", "a/b", "a/b/", "a/b@", "a/b/c", "a/b/c/d/"};
    constexpr unsigned kEntries = 5;
    unsigned combinations = 1;
    for (unsigned i = 0; i < kEntries; ++i)
        combinations *= static_cast<unsigned>(all.size());
    for (unsigned combination = 0; combination < combinations; ++combination) {
        std::vector<std::string> names;
        for (std::size_t rest = combination; names.size() < kEntries; rest /= all.size())
            names.push_back(all[rest % all.size()]);
        ASSERT_EQ(planned(names), one_after_the_other(names));
    }
}

// With time that grows as the square of the entries this takes minutes.
TEST(UnzipPlan, SettlesAnyNumberOfEntriesOfOneNameSoon) {
    constexpr std::size_t kEntries = 300000;
    ZipArchive archive;
    for (std::size_t i = 0; i < kEntries; ++i)
        add(archive, "a");
    const Plan plan = plan_of(archive, kMask);
    for (std::size_t i = 0; i + 1 < kEntries; ++i)
        ASSERT_EQ(told_of(plan, i), "a, replaced");
    EXPECT_EQ(told_of(plan, kEntries - 1), "a");
}

TEST(UnzipPlan, CountsTheLastBlockOfAFileWhole) {
    EXPECT_EQ(in_blocks(0, 4096), 0U);
    EXPECT_EQ(in_blocks(1, 4096), 4096U);
    EXPECT_EQ(in_blocks(4096, 4096), 4096U);
    EXPECT_EQ(in_blocks(4097, 4096), 8192U);
    EXPECT_EQ(in_blocks(4097, 1), 4097U);
}

} // namespace
