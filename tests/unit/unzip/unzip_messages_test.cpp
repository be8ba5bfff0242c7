#include "unzip/messages.h"

#include "unit_surroundings.h"

namespace {

TEST(UnzipMessages, NameTheProgramThePlaceAndTheReason) {
    EXPECT_EQ(complained_by([] { complain_of("a.zip", "it is broken"); }),
              "unzip: a.zip: it is broken\n");
}

TEST(UnzipMessages, OfAnEntryNameTheArchiveToo) {
    EXPECT_EQ(complained_by([] { complain_of_entry("a.zip", "d/e", "it is broken"); }),
              "unzip: a.zip: d/e: it is broken\n");
}

TEST(UnzipMessages, AreALineEachWhateverIsInThem) {
    EXPECT_EQ(complained_by([] { complain_of_entry("a\n.zip", "\x1b[2J", "no\r %s"); }),
              "unzip: a^J.zip: ^[[2J: no^M %s\n");
}

TEST(UnzipMessages, ComeBehindWhatWasListedBefore) {
    as_ordinary_user([] {
        const TemporaryDirectory inside;
        ASSERT_NE(std::freopen(inside.file("both").c_str(), "w", stdout), nullptr);
        ASSERT_EQ(dup2(fileno(stdout), fileno(stderr)), fileno(stderr));
        std::fputs("listed\n", stdout);
        complain_of("a.zip", "it is broken");
        std::fputs("more\n", stdout);
        std::fflush(stdout);
        EXPECT_EQ(bytes_of(inside.file("both")), "listed\nunzip: a.zip: it is broken\nmore\n");
    });
}

} // namespace
