#include "bootstrap/needs.h"

#include "tree_fixture.h"

namespace {

std::string number(unsigned long long value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i, value >>= 8)
        bytes += static_cast<char>(value & 0xff);
    return bytes;
}

struct Entry {
    std::string name;
    unsigned long size;
};

// An archive as far as its table of contents tells of it, with `before` in the place of the files.
std::string archive(const std::vector<Entry>& entries, const std::string& comment = "",
                    const std::string& before = "the files") {
    std::string table;
    for (const Entry& entry : entries)
        table += "PK\1\2" + std::string(20, '\0') + number(entry.size, 4) +
                 number(entry.name.size(), 2) + number(3, 2) + number(5, 2) +
                 std::string(12, '\0') + entry.name + "abc" + "PK\1\2x";
    return before + table + "PK\5\6" + std::string(4, '\0') + number(entries.size(), 2) +
           number(entries.size(), 2) + number(table.size(), 4) + number(before.size(), 4) +
           number(comment.size(), 2) + comment;
}

class Needs : public Tree {
  protected:
    void expect(const Need& need, unsigned long bytes, unsigned long files) const {
        EXPECT_EQ(need.bytes, bytes);
        EXPECT_EQ(need.files, files);
    }
    Need of_archives(const std::string& bytes) const {
        make_file("jars/a.jar", bytes);
        return need_of_archives(here.file("jars"), 512);
    }
};

} // namespace

TEST_F(Needs, OfArchivesAreTheSizesOfTheirFilesInWholeBlocks) {
    make_file("jars/a.jar", archive({{"dir/", 0}, {"dir/one", 1}, {"dir/two", 512}}));
    make_file("jars/b.jar", archive({{"three", 513}}));
    make_file("jars/c.zip", archive({{"four", 4000}}));
    make_file("jars/deep/d.jar", archive({{"five", 5000}}));
    make_file("jars/e.jar.old", archive({{"six", 6000}}));
    expect(need_of_archives(here.file("jars"), 512), 512 + 512 + 1024, 4);
    expect(need_of_archives(here.file("jars"), 1), 1 + 512 + 513, 4);
}

TEST_F(Needs, AreFoundWithoutADescriptorLeftOpen) {
    make_file("jars/a.jar", archive({{"one", 1}}));
    make_file("jars/b.jar", "no archive");
    const int before = lowest_free_descriptor();
    expect(need_of_archives(here.file("jars"), 512), 512, 1);
    expect(need_of_tree(here.file("jars"), 4096), 2 * 4096, 3);
    EXPECT_EQ(lowest_free_descriptor(), before);
}

TEST_F(Needs, OfAnArchiveAreFoundBeforeItsComment) {
    expect(of_archives(archive({{"file", 10}}, "a comment")), 512, 1);
    expect(of_archives(archive({{"file", 10}}, std::string(65535, 'x'))), 512, 1);
    expect(of_archives(archive({})), 0, 0);
}

TEST_F(Needs, OfAnArchiveAreThoseOfItsOwnTableNotOfAnArchiveInIt) {
    const std::string inner = archive({{"inner", 5000}});
    expect(of_archives(archive({{"file", 10}}, "", inner)), 512, 1);
}

TEST_F(Needs, OfALargeArchiveAreReadFromWholeNumbers) {
    expect(of_archives(archive({{"file", 0xfedcba98}})), 0xfedcbc00, 1);
    expect(of_archives(archive({{"file", 10}}, "", std::string(0x12345, 'x'))), 512, 1);
    expect(of_archives(archive({{std::string(0x1234, 'n'), 10}, {"two", 20}})), 1024, 2);
    const std::vector<Entry> many(3000, {"a name of some length", 10});
    expect(of_archives(archive(many)), 3000 * 512, 3000);
}

TEST_F(Needs, OfAnEntryWithoutATextBehindItAreCounted) {
    const std::string entry =
        "PK\1\2" + std::string(20, '\0') + number(10, 4) + std::string(18, '\0');
    const std::string table = entry + entry;
    expect(of_archives(table + "PK\5\6" + std::string(8, '\0') + number(table.size(), 4) +
                       number(0, 4) + number(0, 2)),
           1024, 2);
}

TEST_F(Needs, OfWhatIsNoArchiveAreNothing) {
    const std::string whole = archive({{"one", 10}, {"two", 20}});
    expect(of_archives(""), 0, 0);
    expect(of_archives("PK\5\6"), 0, 0);
    expect(of_archives(std::string(100000, 'x')), 0, 0);
    for (std::size_t length = 0; length < whole.size(); ++length)
        expect(of_archives(whole.substr(0, length)), 0, 0);
    expect(need_of_archives(here.file("missing"), 512), 0, 0);
    std::filesystem::remove(here.file("jars/a.jar"));
    std::filesystem::create_directory(here.file("jars/directory.jar"));
    mkfifo(here.file("jars/pipe.jar").c_str(), 0600);
    expect(need_of_archives(here.file("jars"), 512), 0, 0);
}

TEST_F(Needs, OfATableThatDoesNotLieInTheFileAreNothing) {
    const std::string end = "PK\5\6" + std::string(8, '\0');
    for (const unsigned long length : {1UL, 46UL, 0x7fffffffUL, 0xffffffffUL})
        for (const unsigned long start : {1UL, 0xffffffffUL})
            expect(of_archives(end + number(length, 4) + number(start, 4) + number(0, 2)), 0, 0);
}

TEST_F(Needs, OfATableThatRunsBeyondTheFileAreNothing) {
    std::string bytes = archive({{"one", 10}});
    const std::size_t length_at = bytes.rfind("PK\5\6") + 12;
    const std::size_t begins_at = std::string("the files").size();
    bytes.replace(length_at, 4, number(bytes.size() - begins_at, 4));
    expect(of_archives(bytes), 512, 1);
    bytes.replace(length_at, 4, number(bytes.size() - begins_at + 1, 4));
    expect(of_archives(bytes), 0, 0);
}

TEST_F(Needs, OfATableThatIsLongerThanAnyJarHasAreNothing) {
    const std::string entry = archive({{"one", 10}});
    for (const auto& [length, files] : {std::pair(64UL << 20, 1UL), {(64UL << 20) + 1, 0UL}}) {
        make_file("jars/a.jar", entry);
        const std::string path = here.file("jars/a.jar");
        std::filesystem::resize_file(path, length + 100);
        std::ofstream(path, std::ios::app)
            << "PK\5\6" + std::string(8, '\0') + number(length, 4) + number(9, 4) + number(0, 2);
        expect(need_of_archives(here.file("jars"), 512), files * 512, files);
    }
}

TEST_F(Needs, OfATableWithOtherRecordsEndThere) {
    std::string bytes = archive({{"one", 10}, {"two", 20}});
    bytes[bytes.rfind("PK\1\2" + std::string(20, '\0'))] = 'X';
    expect(of_archives(bytes), 512, 1);
    // A name that is longer than the table.
    bytes = archive({{"one", 10}});
    bytes.replace(bytes.find("PK\1\2") + 28, 2, number(0xffff, 2));
    expect(of_archives(bytes), 512, 1);
}

TEST_F(Needs, OfATreeAreThoseOfItsFilesAndDirectories) {
    make_file("tree/one", "1");
    make_file("tree/dir/two", std::string(513, '2'));
    make_link("tree/link", "one");
    mkfifo(here.file("tree/pipe").c_str(), 0600);
    expect(need_of_tree(here.file("tree"), 512), 512 + 1024 + 512, 5);
    expect(need_of_tree(here.file("missing"), 512), 0, 0);
}
