// Which converters the catalogue asks for, with stand-ins for the system's answers: no locale of
// this system has such short names for its character set.
#include "nls/catalogue.h"

#include "unit_support.h"

#include <cerrno>
#include <iconv.h>
#include <langinfo.h>
#include <vector>

namespace {

std::string codeset;
std::vector<std::string> asked;

iconv_t no_converter() {
    return reinterpret_cast<iconv_t>(-1);
}

// The target names that are tried for a codeset to which nothing converts.
std::vector<std::string> tried_for(const std::string& name) {
    const TemporaryDirectory here;
    std::filesystem::create_directory(here.file("resource"));
    here.write("resource/cons.nls", std::string("S_X=text\0", 9));
    codeset = name;
    asked.clear();
    const std::string complaint =
        complained_by([&] { EXPECT_EQ(nls_open(here.file("setupLauncher").c_str()), 0); });
    EXPECT_EQ(complaint,
              "\nERROR: Unable to convert from \"UTF-8\" to \"" + name + "\" for NLS!\n");
    EXPECT_STREQ(nls_mesg("S_X"), "");
    nls_close();
    return asked;
}

using Names = std::vector<std::string>;

} // namespace

// These stand before the library's own.
extern "C" char* nl_langinfo(nl_item item) noexcept {
    EXPECT_EQ(item, CODESET);
    return codeset.data();
}

extern "C" iconv_t iconv_open(const char* to, const char* from) {
    EXPECT_STREQ(from, "UTF-8");
    asked.emplace_back(to);
    errno = EINVAL;
    return no_converter();
}

TEST(Codeset, IsTriedAgainWithoutItsFirstThreeCharacters) {
    EXPECT_EQ(tried_for("ISO8859-15"), (Names{"ISO8859-15", "8859-15"}));
    EXPECT_EQ(tried_for("5601"), (Names{"5601", "1"}));
}

TEST(Codeset, OfThreeCharactersIsTriedAgainWithoutAName) {
    EXPECT_EQ(tried_for("646"), (Names{"646", ""}));
    EXPECT_EQ(tried_for("PCK"), (Names{"PCK", ""}));
}

TEST(Codeset, OfFewerCharactersIsTriedAgainWithoutAName) {
    EXPECT_EQ(tried_for("X"), (Names{"X", ""}));
    EXPECT_EQ(tried_for(""), (Names{"", ""}));
}
