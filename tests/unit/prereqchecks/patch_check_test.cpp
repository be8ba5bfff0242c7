#include "prereqchecks/patch_check.h"

#include "unit_support.h"

namespace {

struct Search {
    const char* patch;
    const char* list;
    bool found;
    const char* last_seen;
};

void expect_searches(std::initializer_list<Search> searches) {
    for (const Search& search : searches) {
        std::string last_seen = "before";
        EXPECT_EQ(isHigherPatchInstalled(search.patch, search.list, last_seen), search.found)
            << search.patch << " in \"" << search.list << "\"";
        EXPECT_EQ(last_seen, search.last_seen) << search.patch << " in \"" << search.list << "\"";
    }
}

TEST(IsHigherPatchInstalled, ALaterOrEqualRevisionWillDo) {
    expect_searches({
        {"112233-05", "112233-07 ", true, "112233-07"},
        {"112233-05", "112233-05 ", true, "112233-05"},
        {"112233-05", "112233-5 ", true, "112233-5"},
        {"112233-05", "112233-05", true, "112233-05"},
        {"112233-05", "100000-01 112233-06 200000-02 ", true, "112233-06"},
        {"112233-9", "112233-10 ", true, "112233-10"},
    });
}

TEST(IsHigherPatchInstalled, ALowerRevisionIsNamedButWillNotDo) {
    expect_searches({
        {"112233-05", "112233-03 ", false, "112233-03"},
        {"112233-05", "112233-03 112233-04 ", false, "112233-04"},
        {"112233-05", "112233-04 112233-03 ", false, "112233-03"},
    });
}

TEST(IsHigherPatchInstalled, TheSearchGoesOnBehindALowerRevision) {
    expect_searches({{"112233-05", "112233-03 112233-07 112233-04 ", true, "112233-07"}});
}

TEST(IsHigherPatchInstalled, AnotherNumberIsNotFound) {
    expect_searches({
        {"112233-05", "", false, ""},
        {"112233-05", "112234-07 ", false, ""},
        {"112233-05", "11223-07 3-09 ", false, ""},
    });
}

TEST(IsHigherPatchInstalled, TheNumberIsFoundInsideALongerOne) {
    expect_searches({
        {"112233-05", "9112233-07 ", true, "112233-07"},
        {"112233-05", "1122334-07 ", true, "112233-07"},
    });
}

TEST(IsHigherPatchInstalled, ARevisionIsPositiveToCount) {
    expect_searches({
        {"112233-00", "112233-00 ", false, ""},
        {"112233-00", "112233-xy 112233-01 ", true, "112233-01"},
        {"112233", "112233-01 ", true, "112233-01"},
        {"112233-", "112233-01 ", true, "112233-01"},
        {"112233-xy", "112233-01 ", true, "112233-01"},
    });
}

TEST(IsHigherPatchInstalled, ABlankSeparatesLikeAHyphen) {
    expect_searches({
        {"112233 05", "112233-07 ", true, "112233-07"},
        {"112233-05", "112233 07 ", true, "112233-07"},
    });
}

TEST(IsHigherPatchInstalled, ANegativeRequiredRevisionIsRefused) {
    expect_searches({{"112233--5", "112233-07 ", false, ""}});
}

TEST(IsHigherPatchInstalled, ANumberHasFewerThan20Characters) {
    expect_searches({
        {"1234567890123456789-01", "1234567890123456789-01 ", true, "1234567890123456789-01"},
        {"12345678901234567890-01", "12345678901234567890-01 ", false, ""},
    });
}

TEST(IsHigherPatchInstalled, ARevisionHasFewerThan10Characters) {
    expect_searches({
        {"112233-05", "112233-000000006 ", true, "112233-000000006"},
        {"112233-05", "112233-0000000006 112233-07 ", false, ""},
    });
}

TEST(IsHigherPatchInstalled, AnIncompletePatchIdAtTheEndIsNotFound) {
    expect_searches({
        {"112233-05", "112233", false, ""},
        {"112233-05", "112233-", false, ""},
        {"112233-05", "112233-07112233", true, "112233-07112233"},
    });
}

TEST(IsHigherPatchInstalled, WithoutAListOrANumberNothingIsFound) {
    std::string last_seen = "before";
    EXPECT_FALSE(isHigherPatchInstalled("112233-05", nullptr, last_seen));
    EXPECT_EQ(last_seen, "");
    expect_searches({{"", "112233-07 ", false, ""}, {"-05", "112233-07 ", false, ""}});
}

struct Output {
    const char* text;
    const char* installed;
    const char* obsoleted;
};

void expect_lists(std::initializer_list<Output> outputs) {
    for (const Output& output : outputs) {
        const PatchLists lists = parse_patch_lists(output.text);
        EXPECT_EQ(lists.installed, output.installed) << output.text;
        EXPECT_EQ(lists.obsoleted, output.obsoleted) << output.text;
    }
}

TEST(ParsePatchLists, ListsInstalledAndObsoletedPatches) {
    expect_lists({
        {"Patch: 112875-01 Obsoletes:  Requires:  Incompatibles:  Packages: SUNWrcmds\n",
         "112875-01 ", ""},
        {"Patch: 112875-01 Obsoletes: 100000-01, 100001-02 Requires: 5-5 Incompatibles:  "
         "Packages: SUNWrcmds, SUNWx\n"
         "Patch: 112876-03 Obsoletes: 100002-03 Requires:  Incompatibles:  Packages: SUNWy\n"
         "Patch: 112877-04 Obsoletes:  Requires:  Incompatibles:  Packages: SUNWz\n",
         "112875-01 112876-03 112877-04 ", "100000-01 100001-02 100002-03 "},
    });
}

TEST(ParsePatchLists, CommasAndBlanksSeparateObsoletedPatchesAlike) {
    expect_lists({{"Patch: 1-1 Obsoletes: 2-2,3-3 , 4-4 Requires: ", "1-1 ", "2-2 3-3 4-4 "}});
}

TEST(ParsePatchLists, StartsAtTheFirstPatch) {
    expect_lists({
        {"noise 9-9 Obsoletes: 8-8\nPatch: 1-1 Obsoletes:  Requires: ", "1-1 ", ""},
        {"Patch:\t1-1 Obsoletes: 8-8\nPatch: 2-2 Obsoletes:  Requires: ", "2-2 ", ""},
    });
}

TEST(ParsePatchLists, TheTokenBehindThePatchIsSkippedWhateverItIs) {
    expect_lists({{"Patch: 1-1 2-2 3-3 Requires: ", "1-1 ", "3-3 "}});
}

TEST(ParsePatchLists, RequiredPatchesAreNoneOfBoth) {
    expect_lists({{"Patch: 1-1 Obsoletes:  Requires: 2-2, 3-3 Incompatibles: 4-4 Packages: P\n"
                   "Patch: 5-5 Obsoletes:  Requires: ",
                   "1-1 5-5 ", ""}});
}

TEST(ParsePatchLists, ALabelCountsWhereverItStandsInAToken) {
    expect_lists({{"Patch: 1-1 Obsoletes: 2-2 xRequires:y Packages: P\nPatch: 3-3 Obsoletes: "
                   " Requires: ",
                   "1-1 3-3 ", "2-2 "}});
}

TEST(ParsePatchLists, AnOutputThatEndsEarlyGivesWhatItHas) {
    expect_lists({
        {"", "", ""},
        {"sh: 1: /usr/bin/showrev: not found\n", "", ""},
        {"Patch: ", "", ""},
        {"Patch: 1-1", "1-1 ", ""},
        {"Patch: 1-1 Obsoletes:", "1-1 ", ""},
        {"Patch: 1-1 Obsoletes: 2-2", "1-1 ", "2-2 "},
        {"Patch: 1-1 Obsoletes: 2-2 Requires: 3-3", "1-1 ", "2-2 "},
        {"Patch: 1-1 Obsoletes:  Requires:  Packages: P\nPatch: ", "1-1 ", ""},
    });
}

TEST(ParsePatchLists, AMegabyteIsReadToItsEnd) {
    std::string output;
    std::string installed;
    for (int number = 100000; output.size() < 1024 * 1024; ++number) {
        const std::string id = std::to_string(number) + "-01";
        output += "Patch: " + id + " Obsoletes:  Requires:  Incompatibles:  Packages: SUNWx\n";
        installed += id + " ";
    }
    const PatchLists lists = parse_patch_lists(output);
    EXPECT_EQ(lists.installed, installed);
    EXPECT_EQ(lists.obsoleted, "");
}

} // namespace
