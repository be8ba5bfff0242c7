// The message catalogue: which files are read, how their records are read, and what comes out.
//
// The locales that the tests need are made in a directory of their own, so that no test depends on
// what is installed: copies of the system's C.UTF-8, and single-byte ones compiled by localedef.
#include "nls/catalogue.h"

#include "nls/format.h"
#include "unit_support.h"

#include <clocale>
#include <langinfo.h>

namespace {

constexpr const char* kLongLocale = "abcdefghijklmnopqrstuvwxyzabcdefghij.UTF-8";

// A single-byte character set whose bytes are the first 256 characters, under the name `code_set`.
std::string single_byte_charmap(const std::string& code_set) {
    std::string text =
        "<code_set_name> " + code_set +
        "\n<comment_char> %\n<escape_char> /\n<mb_cur_min> 1\n<mb_cur_max> 1\nCHARMAP\n";
    for (int code = 0; code < 256; ++code)
        text += format_text("<U%04X> /x%02x\n", {code, code});
    return text + "END CHARMAP\n";
}

class Locales : public testing::Environment {
  public:
    void SetUp() override {
        for (const char* name :
             {"de_DE.UTF-8", "zh", "pt_BR_north.UTF-8", "fr_FR.UTF-8@euro", "sr_RS@latin",
              "xx_AA.UTF-8@a.b", "xx_AA.UTF-8@abcdefghijklmnopqrs.tuv", kLongLocale})
            std::filesystem::copy("/usr/lib/locale/C.utf8", directory_.file(name),
                                  std::filesystem::copy_options::recursive);
        compile("POSIX", "UTF-16LE_is_none", "no_converter");
        compile("POSIX", "XYZISO-8859-1", "prefixed_name");
        compile("POSIX", "GB18030", "growing");
        compile("POSIX", "ISO-2022-JP", "with_shifts");
        compile("POSIX", "IBM037", "other_letters");
        compile("POSIX", "JOHAB", "no_backslash");
        compile("POSIX", "IBM943", "other_control");
        compile("de_DE", "ISO-8859-1", "de_DE.ISO-8859-1");
        setenv("LOCPATH", directory_.path().c_str(), 1);
    }

  private:
    void compile(const std::string& source, const std::string& code_set, const std::string& name) {
        const std::string charmap = directory_.write("charmap", single_byte_charmap(code_set));
        const std::string command = "localedef -c -i " + source + " -f " + charmap + " " +
                                    directory_.file(name) + " >/dev/null 2>&1";
        // Warnings about categories that no test looks at make the status 1.
        EXPECT_LE(WEXITSTATUS(std::system(command.c_str())), 1) << command;
        EXPECT_TRUE(std::filesystem::exists(directory_.file(name) + "/LC_CTYPE")) << name;
    }

    TemporaryDirectory directory_;
};

[[maybe_unused]] const testing::Environment* const locales =
    testing::AddGlobalTestEnvironment(new Locales);

// A record with its NUL.
std::string record(const std::string& text) {
    return text + '\0';
}

class Catalogue : public testing::Test {
  protected:
    Catalogue() {
        for (const char* name : {"LC_CTYPE", "LC_MESSAGES", "LANG", "LANGUAGE"})
            unsetenv(name);
        set_locale("C");
        std::filesystem::create_directory(directory_.file("resource"));
    }
    ~Catalogue() override {
        nls_close();
        std::setlocale(LC_ALL, "C");
    }
    static void set_locale(const char* name) {
        setenv("LC_ALL", name, 1);
    }
    // Writes a catalogue file of `bytes`: "cons.nls", "cons_de.nls" and so on.
    void write(const std::string& name, const std::string& bytes) {
        directory_.write("resource/" + name, bytes);
    }
    int open() {
        return nls_open(directory_.file("setupLauncher").c_str());
    }
    // Opens a catalogue whose only file is the default one, and says what was complained.
    std::string open_default(const std::string& bytes) {
        write("cons.nls", bytes);
        return complained_by([&] { EXPECT_EQ(open(), 0); });
    }
    static std::string localised(const char* key) {
        const char* text = nls_mesg(key);
        return text == nullptr ? "(none)" : text;
    }
    static std::string english(const char* key) {
        const char* text = nls_mesg_english(key);
        return text == nullptr ? "(none)" : text;
    }
    static std::string malformed(const std::string& text) {
        return "WARNING: Ignoring malformed message \"" + text + "\" in catalogue!\n";
    }
    // Which of the catalogue files that are there was read first for the localised texts.
    std::string winner(const char* locale) {
        set_locale(locale);
        EXPECT_EQ(complained_by([&] { EXPECT_EQ(open(), 0); }), "");
        const std::string text = localised("S_KEY");
        nls_close();
        return text;
    }
    void write_naming_itself(const std::string& name) {
        write(name, record("S_KEY=" + name));
    }

    TemporaryDirectory directory_;
};

// The resource directory.

TEST_F(Catalogue, TheResourceDirectoryLiesBesideTheProgram) {
    EXPECT_STREQ(nls_resdir("/cdrom/disk1/setupLauncher"), "/cdrom/disk1/resource");
    EXPECT_STREQ(nls_resdir("./setupLauncher"), "./resource");
    EXPECT_STREQ(nls_resdir("install/../setupLauncher"), "install/../resource");
    EXPECT_STREQ(nls_resdir("/setupLauncher"), "/resource");
    EXPECT_STREQ(nls_resdir("/stage/"), "/stage/resource");
}

TEST_F(Catalogue, ForABareNameTheResourceDirectoryLiesInTheCurrentDirectory) {
    EXPECT_STREQ(nls_resdir("setupLauncher"), "./resource");
    EXPECT_STREQ(nls_resdir(""), "./resource");
    EXPECT_STREQ(nls_resdir(nullptr), "./resource");
}

TEST_F(Catalogue, AResourceDirectoryMayHaveAPathOfAnyLength) {
    const std::string large(5000, 'x');
    EXPECT_EQ(nls_resdir(("/" + large + "/setupLauncher").c_str()), "/" + large + "/resource");
}

TEST_F(Catalogue, ABareNameReadsTheCatalogueBelowTheCurrentDirectory) {
    write("cons.nls", record("S_KEY=found"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    EXPECT_EQ(nls_open("setupLauncher"), 0);
    EXPECT_EQ(localised("S_KEY"), "found");
    nls_close();
    std::filesystem::remove_all(directory_.file("resource"));
    EXPECT_EQ(complained_by([] { EXPECT_EQ(nls_open("setupLauncher"), 1); }),
              no_catalogue_in(directory_.file("resource")));
    std::filesystem::current_path(before);
}

// The locale's name.

TEST_F(Catalogue, TheLocaleLosesItsCodeset) {
    set_locale("de_DE.UTF-8");
    EXPECT_STREQ(nls_locale(), "de_DE");
    set_locale("de_DE.ISO-8859-1");
    EXPECT_STREQ(nls_locale(), "de_DE");
}

TEST_F(Catalogue, TheLocaleLosesItsModifier) {
    set_locale("sr_RS@latin");
    EXPECT_STREQ(nls_locale(), "sr_RS");
    set_locale("fr_FR.UTF-8@euro");
    EXPECT_STREQ(nls_locale(), "fr_FR");
}

TEST_F(Catalogue, TheLocaleCStaysAsItIs) {
    EXPECT_STREQ(nls_locale(), "C");
}

TEST_F(Catalogue, ALocaleThatTheSystemLacksIsC) {
    set_locale("xx_YY.UTF-8");
    EXPECT_STREQ(nls_locale(), "C");
}

TEST_F(Catalogue, TheLocaleIsCutAtItsLastPoint) {
    set_locale("xx_AA.UTF-8@a.b");
    EXPECT_STREQ(nls_locale(), "xx_AA.UTF-8@a");
}

TEST_F(Catalogue, ALocaleIsCutTo31CharactersBeforeItsCodesetIsRemoved) {
    EXPECT_EQ(kMaxLocaleName, 31U);
    set_locale(kLongLocale);
    EXPECT_STREQ(nls_locale(), "abcdefghijklmnopqrstuvwxyzabcde");
    // Its last point lies behind the cut, so the one before it counts.
    set_locale("xx_AA.UTF-8@abcdefghijklmnopqrs.tuv");
    EXPECT_STREQ(nls_locale(), "xx_AA");
}

TEST_F(Catalogue, TheLocaleOfTheMessagesIsTheOneThatNamesTheFiles) {
    unsetenv("LC_ALL");
    setenv("LANG", "C", 1);
    setenv("LC_MESSAGES", "de_DE.UTF-8", 1);
    EXPECT_STREQ(nls_locale(), "de_DE");
    unsetenv("LC_MESSAGES");
    setenv("LC_CTYPE", "de_DE.UTF-8", 1);
    EXPECT_STREQ(nls_locale(), "C");
}

TEST_F(Catalogue, TheLocaleOfTheEnvironmentStaysInForceForTheProcess) {
    set_locale("de_DE.UTF-8");
    open_default(record("S_KEY=text"));
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
    nls_close();
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
}

// Which files are read.

TEST_F(Catalogue, TheFileOfTheLocaleGoesBeforeTheLanguagesAndThatBeforeTheDefault) {
    set_locale("de_DE.UTF-8");
    write("cons_de_DE.nls", record("S_ALL=country"));
    write("cons_de.nls", record("S_ALL=language") + record("S_TWO=language"));
    write("cons.nls", record("S_ALL=default") + record("S_TWO=default") +
                          record("S_ONE=default \xC3\xBC \xFF"));
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(open(), 0); }), "");
    EXPECT_EQ(localised("S_ALL"), "country");
    EXPECT_EQ(localised("S_TWO"), "language");
    // Nothing is converted for UTF-8: what the file has, right or wrong, is the text.
    EXPECT_EQ(localised("S_ONE"), "default \xC3\xBC \xFF");
}

TEST_F(Catalogue, TheEnglishTextsComeFromTheDefaultFileOnly) {
    set_locale("de_DE.UTF-8");
    write("cons_de_DE.nls", record("S_KEY=country") + record("S_COUNTRY=only"));
    write("cons_de.nls", record("S_LANGUAGE=only"));
    write("cons.nls", record("S_KEY=default"));
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(english("S_KEY"), "default");
    EXPECT_EQ(english("S_COUNTRY"), "(none)");
    EXPECT_EQ(english("S_LANGUAGE"), "(none)");
    EXPECT_EQ(localised("S_COUNTRY"), "only");
    EXPECT_EQ(localised("S_LANGUAGE"), "only");
}

TEST_F(Catalogue, AFileThatIsMissingIsPassedWithoutAMessage) {
    write_naming_itself("cons.nls");
    EXPECT_EQ(winner("de_DE.UTF-8"), "cons.nls");
    write_naming_itself("cons_de.nls");
    EXPECT_EQ(winner("de_DE.UTF-8"), "cons_de.nls");
    write_naming_itself("cons_de_DE.nls");
    EXPECT_EQ(winner("de_DE.UTF-8"), "cons_de_DE.nls");
}

TEST_F(Catalogue, TheLocaleZhReadsZhCnThenZhThenTheDefault) {
    write_naming_itself("cons.nls");
    EXPECT_EQ(winner("zh"), "cons.nls");
    write_naming_itself("cons_zh.nls");
    EXPECT_EQ(winner("zh"), "cons_zh.nls");
    write_naming_itself("cons_zh_CN.nls");
    EXPECT_EQ(winner("zh"), "cons_zh_CN.nls");
}

TEST_F(Catalogue, TheLocaleCReadsItsOwnFileAndTheDefaultOnly) {
    write_naming_itself("cons.nls");
    write_naming_itself("cons_.nls");
    EXPECT_EQ(winner("C"), "cons.nls");
    write_naming_itself("cons_C.nls");
    EXPECT_EQ(winner("C"), "cons_C.nls");
}

TEST_F(Catalogue, TheLanguageIsTheLocaleUpToItsLastUnderscore) {
    write_naming_itself("cons_pt.nls");
    write_naming_itself("cons.nls");
    EXPECT_EQ(winner("pt_BR_north.UTF-8"), "cons.nls");
    write_naming_itself("cons_pt_BR.nls");
    EXPECT_EQ(winner("pt_BR_north.UTF-8"), "cons_pt_BR.nls");
}

TEST_F(Catalogue, TheFileOfALongLocaleIsNamedByItsFirst31Characters) {
    write_naming_itself("cons.nls");
    write_naming_itself("cons_abcdefghijklmnopqrstuvwxyzabcdefghij.nls");
    EXPECT_EQ(winner(kLongLocale), "cons.nls");
    write_naming_itself("cons_abcdefghijklmnopqrstuvwxyzabcde.nls");
    EXPECT_EQ(winner(kLongLocale), "cons_abcdefghijklmnopqrstuvwxyzabcde.nls");
}

TEST_F(Catalogue, WithoutAnyFileOpeningFailsWithAMessage) {
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(open(), 1); }),
              no_catalogue_in(directory_.file("resource")));
    EXPECT_EQ(localised("S_KEY"), "(none)");
    EXPECT_EQ(english("S_KEY"), "(none)");
}

TEST_F(Catalogue, AFileOfAnotherLanguageDoesNotCount) {
    write_naming_itself("cons_fr.nls");
    set_locale("de_DE.UTF-8");
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(open(), 1); }),
              no_catalogue_in(directory_.file("resource")));
}

TEST_F(Catalogue, AnEmptyFileCountsAsACatalogue) {
    EXPECT_EQ(open_default(""), "");
    EXPECT_EQ(localised("S_KEY"), "(none)");
}

TEST_F(Catalogue, AFileOfTheLanguageAloneIsEnough) {
    set_locale("de_DE.UTF-8");
    write("cons_de.nls", record("S_KEY=Text"));
    EXPECT_EQ(complained_by([&] { EXPECT_EQ(open(), 0); }), "");
    EXPECT_EQ(localised("S_KEY"), "Text");
    EXPECT_EQ(english("S_KEY"), "(none)");
}

TEST_F(Catalogue, NothingIsShownOnTheConsoleWhileOpening) {
    write("cons.nls", record("S_KEY=text") + record("malformed"));
    EXPECT_EQ(shown_by([&] { complained_by([&] { EXPECT_EQ(open(), 0); }); }), "");
}

// Records.

TEST_F(Catalogue, ARecordIsAKeyAndATextEndedByANul) {
    EXPECT_EQ(open_default(record("S_ONE=first") + record("S_TWO=second")), "");
    EXPECT_EQ(localised("S_ONE"), "first");
    EXPECT_EQ(localised("S_TWO"), "second");
    EXPECT_EQ(english("S_ONE"), "first");
    EXPECT_EQ(english("S_TWO"), "second");
}

TEST_F(Catalogue, OnlyTheFirstEqualSignSeparates) {
    EXPECT_EQ(open_default(record("S_X=a=b") + record("S_Y==")), "");
    EXPECT_EQ(localised("S_X"), "a=b");
    EXPECT_EQ(localised("S_Y"), "=");
}

TEST_F(Catalogue, ATextMayBeEmpty) {
    EXPECT_EQ(open_default(record("S_X=")), "");
    EXPECT_EQ(localised("S_X"), "");
}

TEST_F(Catalogue, AKeyMayBeEmpty) {
    EXPECT_EQ(open_default(record("=text")), "");
    EXPECT_EQ(localised(""), "text");
}

TEST_F(Catalogue, NothingIsTrimmedAndLineEndsAreOrdinaryBytes) {
    EXPECT_EQ(open_default(record(" S_X =\t a\r\nb \n") + record("\nS_Y=c")), "");
    EXPECT_EQ(localised(" S_X "), "\t a\r\nb \n");
    EXPECT_EQ(localised("\nS_Y"), "c");
    EXPECT_EQ(localised("S_Y"), "(none)");
}

TEST_F(Catalogue, ThereAreNoCommentsQuotesOrEscapes) {
    EXPECT_EQ(open_default(record("#S_X=\"a\\n\"")), "");
    EXPECT_EQ(localised("#S_X"), "\"a\\n\"");
}

TEST_F(Catalogue, KeysAreComparedWithCase) {
    open_default(record("S_X=upper") + record("s_x=lower"));
    EXPECT_EQ(localised("S_X"), "upper");
    EXPECT_EQ(localised("s_x"), "lower");
    EXPECT_EQ(localised("S_x"), "(none)");
}

TEST_F(Catalogue, TheSecondDefinitionOfAKeyIsIgnoredWithoutAMessage) {
    EXPECT_EQ(open_default(record("S_X=first") + record("S_X=second")), "");
    EXPECT_EQ(localised("S_X"), "first");
    EXPECT_EQ(english("S_X"), "first");
}

TEST_F(Catalogue, AnEmptyFirstTextWinsToo) {
    EXPECT_EQ(open_default(record("S_X=") + record("S_X=second")), "");
    EXPECT_EQ(localised("S_X"), "");
}

TEST_F(Catalogue, ALastRecordWithoutNulIsDroppedWithoutAMessage) {
    EXPECT_EQ(open_default(record("S_X=whole") + "S_Y=cut off"), "");
    EXPECT_EQ(localised("S_X"), "whole");
    EXPECT_EQ(localised("S_Y"), "(none)");
    EXPECT_EQ(english("S_Y"), "(none)");
}

TEST_F(Catalogue, ARecordWithoutEqualSignIsSkippedWithAWarning) {
    // Twice, since the default file is read for both tables.
    const std::string warning = malformed("no 100% text");
    EXPECT_EQ(open_default(record("S_X=a") + record("no 100% text") + record("S_Y=b")),
              warning + warning);
    EXPECT_EQ(localised("S_X"), "a");
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, AnEmptyRecordIsWarnedAboutToo) {
    EXPECT_EQ(open_default(record("S_X=a") + record("") + record("S_Y=b")),
              malformed("") + malformed(""));
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, AFileWithLineFeedsInPlaceOfNulsHasNoRecord) {
    EXPECT_EQ(open_default("S_X=a\nS_Y=b\n"), "");
    EXPECT_EQ(localised("S_X"), "(none)");
    EXPECT_EQ(localised("S_Y"), "(none)");
}

TEST_F(Catalogue, ALargeFileWithoutNulsIsReadInPiecesOf1023Bytes) {
    std::string bytes;
    while (bytes.size() < 3000)
        bytes += "S_" + std::to_string(bytes.size()) + "=text\n";
    EXPECT_EQ(open_default(bytes), "");
    // The first piece is a record of the first key; no other key starts a piece.
    EXPECT_EQ(localised("S_0"), bytes.substr(4, 1019));
    EXPECT_EQ(localised("S_9"), "(none)");
}

TEST_F(Catalogue, ARecordOf1022BytesAndItsNulIsWhole) {
    const std::string text(1022 - 4, 'x');
    EXPECT_EQ(open_default(record("S_X=" + text) + record("S_Y=b")), "");
    EXPECT_EQ(localised("S_X"), text);
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, AfterARecordOf1023BytesItsNulIsAnEmptyRecord) {
    EXPECT_EQ(kMaxCatalogueRecord, 1023U);
    const std::string text(1023 - 4, 'x');
    EXPECT_EQ(open_default(record("S_X=" + text) + record("S_Y=b")), malformed("") + malformed(""));
    EXPECT_EQ(localised("S_X"), text);
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, ATextOf1500BytesIsSplitAfter1023BytesAndTheRestIsMalformed) {
    const std::string whole = "S_X=" + std::string(1500, 'x');
    const std::string rest = whole.substr(1023);
    EXPECT_EQ(open_default(record(whole) + record("S_Y=b")), malformed(rest) + malformed(rest));
    EXPECT_EQ(localised("S_X"), whole.substr(4, 1019));
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, TheRestOfALongRecordIsARecordOfItsOwnWhenItHasAnEqualSign) {
    const std::string first = "S_X=" + std::string(1019, 'x');
    EXPECT_EQ(open_default(record(first + "S_Y=b")), "");
    EXPECT_EQ(localised("S_X"), std::string(1019, 'x'));
    EXPECT_EQ(localised("S_Y"), "b");
}

TEST_F(Catalogue, SeveralThousandMessagesAreAllFound) {
    std::string bytes;
    for (int number = 0; number < 3000; ++number)
        bytes += record("S_" + std::to_string(number) + "=text " + std::to_string(number));
    EXPECT_EQ(open_default(bytes), "");
    for (int number = 0; number < 3000; ++number)
        EXPECT_EQ(localised(("S_" + std::to_string(number)).c_str()),
                  "text " + std::to_string(number));
}

// Conversion.

TEST_F(Catalogue, TextsAreConvertedToTheLocalesCharacterSet) {
    set_locale("de_DE.ISO-8859-1");
    EXPECT_EQ(open_default(record("S_X=Pr\xC3\xBC"
                                  "fung l\xC3\xA4uft")),
              "");
    EXPECT_EQ(localised("S_X"), "Pr\xFC"
                                "fung l\xE4uft");
    EXPECT_EQ(english("S_X"), "Pr\xFC"
                              "fung l\xE4uft");
}

TEST_F(Catalogue, KeysAreNotConverted) {
    set_locale("de_DE.ISO-8859-1");
    open_default(record("S_\xC3\xBC=text"));
    EXPECT_EQ(localised("S_\xC3\xBC"), "text");
    EXPECT_EQ(localised("S_\xFC"), "(none)");
}

TEST_F(Catalogue, ATextEndsBeforeABrokenSequenceAndTheNextOneIsWhole) {
    set_locale("de_DE.ISO-8859-1");
    EXPECT_EQ(open_default(record("S_X=Pr\xFC"
                                  "fung") +
                           record("S_Y=cut off\xC3") +
                           record("S_Z=\xC3\xBC"
                                  "ber")),
              "");
    EXPECT_EQ(localised("S_X"), "Pr");
    EXPECT_EQ(localised("S_Y"), "cut off");
    EXPECT_EQ(localised("S_Z"), "\xFC"
                                "ber");
}

TEST_F(Catalogue, ATextIsConvertedUpToACharacterThatTheTargetLacks) {
    set_locale("C");
    EXPECT_EQ(open_default(record("S_X=plain") + record("S_Y=Gr\xC3\xBC\xC3\x9F"
                                                        "e")),
              "");
    EXPECT_EQ(localised("S_X"), "plain");
    EXPECT_EQ(localised("S_Y"), "Gr");
}

TEST_F(Catalogue, AConvertedTextEndsWhere1023BytesAreFull) {
    set_locale("growing");
    std::string text;
    for (int number = 0; number < 500; ++number)
        text += "\xC3\xA6"; // two bytes here, four in the target
    EXPECT_EQ(open_default(record("S_X=" + text) + record("S_Y=plain")), "");
    const std::string converted = localised("S_X");
    EXPECT_EQ(converted.size(), 1020U);
    EXPECT_EQ(converted.substr(0, 8), converted.substr(1012));
    EXPECT_EQ(localised("S_Y"), "plain");
}

TEST_F(Catalogue, EveryTextIsConvertedFromTheStartingStateOfItsCharacterSet) {
    set_locale("with_shifts");
    // The first text ends shifted to Japanese: a conversion is one call, and nothing shifts back.
    EXPECT_EQ(open_default(record("S_X=\xE6\x97\xA5") + record("S_Y=plain")), "");
    EXPECT_EQ(localised("S_X"), "\x1B$BF|");
    EXPECT_EQ(localised("S_Y"), "plain");
}

TEST_F(Catalogue, PlainTextsAreConvertedToo) {
    set_locale("other_letters");
    EXPECT_EQ(open_default(record("S_X=AB 1") + record("S_Y=A\xC3\xBC")), "");
    EXPECT_EQ(localised("S_X"), "\xC1\xC2\x40\xF1");
    EXPECT_EQ(localised("S_Y"), "\xC1\xDC");
    EXPECT_EQ(english("S_X"), "\xC1\xC2\x40\xF1");
}

TEST_F(Catalogue, PlainTextsAreConvertedAlsoWhereOneSignAloneIsAnother) {
    set_locale("no_backslash");
    EXPECT_EQ(open_default(record("S_X=a\\b") + record("S_Y=ab")), "");
    EXPECT_EQ(localised("S_X"), "a");
    EXPECT_EQ(localised("S_Y"), "ab");
    nls_close();
    set_locale("other_control");
    EXPECT_EQ(open_default(record("S_X=a\x1C\\b")), "");
    EXPECT_EQ(localised("S_X"), "a\x1A\\b");
}

TEST_F(Catalogue, AnUnknownCodesetIsTriedAgainWithoutItsFirstThreeCharacters) {
    set_locale("prefixed_name");
    EXPECT_EQ(open_default(record("S_X=\xC3\xBC"
                                  "ber")),
              "");
    EXPECT_STREQ(nl_langinfo(CODESET), "XYZISO-8859-1");
    EXPECT_EQ(localised("S_X"), "\xFC"
                                "ber");
}

TEST_F(Catalogue, WithoutConverterTheTextsAreEmptyAndAMessageNamesTheCodeset) {
    set_locale("no_converter");
    EXPECT_EQ(open_default(record("S_X=text") + record("S_Y=")),
              "\nERROR: Unable to convert from \"UTF-8\" to \"UTF-16LE_is_none\" for NLS!\n");
    EXPECT_EQ(localised("S_X"), "");
    EXPECT_EQ(english("S_X"), "");
    EXPECT_EQ(localised("S_Z"), "(none)");
}

TEST_F(Catalogue, TheConverterIsGoneWhenTheCatalogueIsOpen) {
    set_locale("de_DE.ISO-8859-1");
    open_default(record("S_X=text"));
    std::FILE* late = std::fopen(directory_.write("late", record("S_LATE=text")).c_str(), "rb");
    nls_loadcat(late);
    std::fclose(late);
    EXPECT_EQ(localised("S_LATE"), "");
}

TEST_F(Catalogue, ACatalogueOpenedForUtf8AfterAnotherIsNotConverted) {
    set_locale("no_converter");
    open_default(record("S_X=\xC3\xBC"));
    nls_close();
    set_locale("de_DE.UTF-8");
    EXPECT_EQ(open_default(record("S_X=\xC3\xBC")), "");
    EXPECT_EQ(localised("S_X"), "\xC3\xBC");
}

// The loaders.

TEST_F(Catalogue, EachLoaderAddsToItsOwnTable) {
    set_locale("de_DE.UTF-8");
    open_default(record("S_X=default"));
    const std::string path = directory_.write("more", record("S_X=other") + record("S_MORE=added"));
    std::FILE* more = std::fopen(path.c_str(), "rb");
    nls_loadcat(more);
    EXPECT_EQ(localised("S_MORE"), "added");
    EXPECT_EQ(localised("S_X"), "default");
    EXPECT_EQ(english("S_MORE"), "(none)");
    std::rewind(more);
    nls_loadcat_english(more);
    EXPECT_EQ(english("S_MORE"), "added");
    EXPECT_EQ(english("S_X"), "default");
    std::fclose(more);
}

TEST_F(Catalogue, WithoutAFileTheLoadersDoNothing) {
    EXPECT_EQ(open_default(record("S_X=text")), "");
    EXPECT_EQ(complained_by([] {
                  nls_loadcat(nullptr);
                  nls_loadcat_english(nullptr);
              }),
              "");
    EXPECT_EQ(localised("S_X"), "text");
}

TEST_F(Catalogue, BeforeItIsOpenTheLoadersDoNothing) {
    const std::string path = directory_.write("more", record("S_X=text"));
    std::FILE* more = std::fopen(path.c_str(), "rb");
    nls_loadcat(more);
    nls_loadcat_english(more);
    EXPECT_EQ(std::ftell(more), 0);
    std::fclose(more);
    EXPECT_EQ(nls_mesg("S_X"), nullptr);
    EXPECT_EQ(nls_mesg_english("S_X"), nullptr);
}

// Lookup, closing and output.

TEST_F(Catalogue, BeforeItIsOpenNothingIsFound) {
    EXPECT_EQ(nls_mesg("S_X"), nullptr);
    EXPECT_EQ(nls_mesg_english("S_X"), nullptr);
}

TEST_F(Catalogue, AnUnknownOrAbsentKeyHasNoText) {
    open_default(record("S_X=text"));
    EXPECT_EQ(nls_mesg("S_Y"), nullptr);
    EXPECT_EQ(nls_mesg_english("S_Y"), nullptr);
    EXPECT_EQ(nls_mesg(nullptr), nullptr);
    EXPECT_EQ(nls_mesg_english(nullptr), nullptr);
}

TEST_F(Catalogue, ItMayBeClosedWithoutHavingBeenOpenedAndTwice) {
    nls_close();
    open_default(record("S_X=text"));
    nls_close();
    nls_close();
    EXPECT_EQ(nls_mesg("S_X"), nullptr);
}

TEST_F(Catalogue, OutputAddsNothingToTheText) {
    EXPECT_EQ(shown_by([] { nls_out("text\nmore"); }), "text\nmore");
    EXPECT_EQ(shown_by([] { nls_out(std::string("text")); }), "text");
    EXPECT_EQ(shown_by([] { nls_out(""); }), "");
}

TEST_F(Catalogue, OutputOfNoTextIsNothing) {
    const char* absent = nullptr;
    EXPECT_EQ(shown_by([&] { nls_out(absent); }), "");
}

TEST_F(Catalogue, OutputTurnsTwoPercentSignsIntoOne) {
    EXPECT_EQ(shown_by([] { nls_out("100%% done"); }), "100% done");
}

TEST_F(Catalogue, OutputProcessesTheDirectivesOfATextWithoutAnyArgument) {
    EXPECT_EQ(shown_by([] { nls_out("<%d> <%s> <%1$s> <%n> <%5.3f>"); }), "<> <> <> <> <>");
}

TEST_F(Catalogue, ATextThatACallerHasFilledIsProcessedOnceMore) {
    const std::string filled = format_text("%s%%%% of %s", {"50", "%%s"});
    EXPECT_EQ(filled, "50%% of %%s");
    EXPECT_EQ(shown_by([&] { nls_out(filled); }), "50% of %s");
}

TEST_F(Catalogue, OutputIsNotFlushed) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    nls_out("text");
    const off_t written = lseek(STDOUT_FILENO, 0, SEEK_CUR);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "text");
    EXPECT_EQ(written, 0);
}

TEST_F(Catalogue, ADecimalPointStaysAPointWhereTheLocaleHasAComma) {
    set_locale("de_DE.ISO-8859-1");
    open_default(record("S_X=text"));
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(format_text("%.2f", {1.5}), "1.50");
}

} // namespace
