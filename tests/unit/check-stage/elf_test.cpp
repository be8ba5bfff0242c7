#include "elf.h"

#include "unit_support.h"

#include <gtest/gtest.h>

namespace {

// The head of a program file.
std::string head(unsigned char machine, unsigned char wide, unsigned char abi) {
    std::string bytes("\x7f"
                      "ELF");
    bytes += static_cast<char>(wide);
    bytes += '\x01';
    bytes += '\x01';
    bytes += static_cast<char>(abi);
    bytes.resize(wide == 2 ? 64 : 52);
    bytes[18] = static_cast<char>(machine);
    return bytes;
}

TEST(ReadElf, OfThisVeryProgramTellsMachineSystemAndLibraries) {
    const ElfFile file = read_elf(bytes_of("/proc/self/exe"));
    EXPECT_TRUE(file.is_elf);
    EXPECT_FALSE(file.broken);
    EXPECT_EQ(described(file), "64-bit x86-64 for Linux");
    EXPECT_NE(std::find(file.needed.begin(), file.needed.end(), "libc.so.6"), file.needed.end());
}

TEST(ReadElf, TakesTheSystemFromTheHeadWhereItStandsThere) {
    EXPECT_EQ(described(read_elf(head(62, 2, 6))), "64-bit x86-64 for Solaris");
    EXPECT_EQ(described(read_elf(head(3, 1, 3))), "32-bit x86 for Linux");
    EXPECT_EQ(described(read_elf(head(77, 1, 0))), "32-bit machine 77");
}

TEST(ReadElf, TellsScriptsAndOtherFiles) {
    EXPECT_TRUE(read_elf("#!/bin/sh\n").is_script);
    EXPECT_FALSE(read_elf("hello").is_elf);
    EXPECT_FALSE(read_elf("").is_elf);
}

TEST(ReadElf, OfEveryBeginningOfAFileEnds) {
    const std::string whole = bytes_of("/proc/self/exe").substr(0, 4096);
    for (std::size_t length = 0; length < whole.size(); ++length)
        read_elf(std::string_view(whole).substr(0, length));
    EXPECT_TRUE(read_elf(head(62, 2, 0).substr(0, 20)).broken);
}

TEST(FitTogether, AreProgramsOfOneFamilyAndSystem) {
    const ElfFile linux64 = read_elf(head(62, 2, 3));
    EXPECT_TRUE(fit_together(linux64, read_elf(head(3, 1, 3))));
    EXPECT_TRUE(fit_together(linux64, read_elf(head(62, 2, 0))));
    EXPECT_FALSE(fit_together(linux64, read_elf(head(62, 2, 6))));
    EXPECT_FALSE(fit_together(linux64, read_elf(head(43, 2, 3))));
}

} // namespace
