// Numbers in a locale whose decimal point is a comma.
#include "base/text.h"
#include "nls/format.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

struct DecimalPoint : testing::Test {
    DecimalPoint() {
        setenv("LOCPATH", TEST_LOCALES, 1);
        std::setlocale(LC_ALL, "de_DE.UTF-8");
    }
    ~DecimalPoint() override {
        std::setlocale(LC_ALL, "C");
    }
};

TEST_F(DecimalPoint, OfTheLocaleIsAComma) {
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
}

TEST_F(DecimalPoint, IsAPointInWhatIsRead) {
    EXPECT_EQ(leading_decimal_number("1.5"), 1.5);
    EXPECT_EQ(leading_decimal_number("-1.5MB"), -1.5);
    EXPECT_EQ(leading_decimal_number("1.2.3"), 1.2);
    EXPECT_EQ(leading_decimal_number("1,5"), 1.0);
    EXPECT_EQ(leading_decimal_number("1,5.5"), 1.0);
}

TEST_F(DecimalPoint, IsAPointInWhatIsWritten) {
    EXPECT_EQ(format_text("%f", {1.5}), "1.500000");
    EXPECT_EQ(format_text("%.2f %.0f %#.0f", {-0.25, 7.0, 7.0}), "-0.25 7 7.");
    EXPECT_EQ(format_text("%.0f", {1e300}).size(), 301U);
}

} // namespace
