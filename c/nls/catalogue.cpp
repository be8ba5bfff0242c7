#include "nls/catalogue.h"

#include "base/obstacle.h"
#include "nls/format.h"
#include "utils.h"

#include <array>
#include <clocale>
#include <cstdlib>
#include <iconv.h>
#include <langinfo.h>
#include <strings.h>

namespace {

symtab_t* msg_tab = nullptr;
symtab_t* msg_tab_english = nullptr;
int needToConv = 0;
const char* encoding = nullptr;
std::string user_locale;
std::string resource_directory;

// The character set of the catalogue files.
constexpr std::string_view kCatalogueCharset = "UTF-8";
constexpr unsigned char kLastAscii = 0x7f;
constexpr std::size_t kPiece = 16384; // bytes read from a catalogue at a time

iconv_t invalid_converter() noexcept {
    // NOLINTNEXTLINE(*-reinterpret-cast, performance-no-int-to-ptr): what iconv_open itself returns
    return reinterpret_cast<iconv_t>(-1);
}

iconv_t convDes = invalid_converter();
bool ascii_stays = false; // the converter leaves ASCII texts as they are

// iconv takes the input as char** on some systems and as const char** on others.
struct InputPointer {
    char** pointer;
    operator char**() const {
        return pointer;
    }
    operator const char**() const {
        // NOLINTNEXTLINE(*-const-cast): adds a const, and iconv writes to no input
        return const_cast<const char**>(pointer);
    }
};

// One conversion call over the whole text; what it made before it stopped is the result.
std::string convert(std::string_view text) {
    if (convDes == invalid_converter())
        return "";
    std::array<char, kMaxCatalogueRecord + 1> converted{};
    std::string input(text);
    char* in = input.data();
    std::size_t in_left = input.size();
    char* out = converted.data();
    std::size_t out_left = kMaxCatalogueRecord;
    iconv(convDes, nullptr, nullptr, nullptr, nullptr);
    iconv(convDes, InputPointer{&in}, &in_left, &out, &out_left);
    return {converted.data(), static_cast<std::size_t>(out - converted.data())};
}

bool is_ascii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits <= kLastAscii;
}

// Whether a text of ASCII characters is converted to itself, so that its conversion can be spared.
bool leaves_ascii_as_it_is() {
    std::string characters;
    for (unsigned char c = 1; c <= kLastAscii; ++c)
        characters += static_cast<char>(c);
    return convert(characters) == characters;
}

// A copy for a table; null when memory is short.
char* table_text(std::string_view text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr)
        return nullptr;
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

void add_record(symtab_t* table, std::string_view record) {
    const std::size_t equals = record.find('=');
    if (equals == std::string_view::npos) {
        std::fputs("WARNING: Ignoring malformed message \"", stderr);
        std::fputs(std::string(record).c_str(), stderr);
        std::fputs("\" in catalogue!\n", stderr);
        return;
    }
    const std::string_view text = record.substr(equals + 1);
    char* key = table_text(record.substr(0, equals));
    if (symtab_lookup(table, key) != nullptr) {
        std::free(key); // the first record of a key wins
        return;
    }
    const bool as_it_is = needToConv == 0 || (ascii_stays && is_ascii(text));
    char* shown = table_text(as_it_is ? text : std::string_view(convert(text)));
    if (key == nullptr || shown == nullptr) {
        // A message less is better than a launch less.
        std::free(key);
        std::free(shown);
        return;
    }
    symtab_add(table, key, shown);
} // NOLINT(clang-analyzer-unix.Malloc): the table has taken over both copies

void load(symtab_t* table, std::FILE* fp) {
    if (fp == nullptr || table == nullptr)
        return;
    std::array<char, kPiece> piece{};
    std::string record;
    for (std::size_t got = piece.size(); got == piece.size();) {
        got = std::fread(piece.data(), 1, piece.size(), fp);
        std::string_view rest(piece.data(), got);
        while (!rest.empty()) {
            // A record ends at its NUL, or where it is full.
            const std::string_view reach = rest.substr(0, kMaxCatalogueRecord - record.size());
            const std::size_t nul = reach.find('\0');
            record.append(reach.substr(0, nul));
            rest.remove_prefix(nul == std::string_view::npos ? reach.size() : nul + 1);
            if (nul == std::string_view::npos && record.size() < kMaxCatalogueRecord)
                continue; // it goes on in the next piece
            add_record(table, record);
            record.clear();
        }
    }
}

bool load_file(const std::string& name, void (*loader)(std::FILE*)) {
    const std::string path = resource_directory + "/" + name;
    std::FILE* fp = std::fopen(path.c_str(), "rb");
    if (fp == nullptr)
        return false;
    loader(fp);
    std::fclose(fp);
    return true;
}

void open_converter() {
    needToConv = 1;
    convDes = iconv_open(encoding, kCatalogueCharset.data());
    if (convDes != invalid_converter())
        return;
    // Some systems say ISO8859-15 where their converters say 8859-15. Of a short name such as "646"
    // nothing is left, which is some converters' word for the character set of the locale.
    const std::string rest = std::string(encoding).erase(0, 3);
    convDes = iconv_open(rest.c_str(), kCatalogueCharset.data());
    if (convDes != invalid_converter())
        return;
    std::fputs("\nERROR: Unable to convert from \"UTF-8\" to \"", stderr);
    std::fputs(encoding, stderr);
    std::fputs("\" for NLS!\n", stderr);
}

// The directory stands beside the path that the launcher was called by, whatever file that is.
void say_where_catalogues_lie() {
    std::fputs("It was looked for in the directory ", stderr);
    std::fputs(whole_path(resource_directory).c_str(), stderr);
    std::fputs(". A launcher that is found through the search path or started through a link looks "
               "there, not beside its own file: start it by its full path.\n",
               stderr);
}

} // namespace

const char* nls_resdir(const char* cmd) {
    resource_directory = cmd == nullptr ? "" : cmd;
    const std::size_t slash = resource_directory.rfind('/');
    if (slash == std::string::npos)
        resource_directory = "./";
    else
        resource_directory.resize(slash + 1);
    resource_directory += "resource";
    return resource_directory.c_str();
}

const char* nls_locale() {
    std::setlocale(LC_ALL, "");
    const char* messages = std::setlocale(LC_MESSAGES, nullptr);
    user_locale = std::string(messages == nullptr ? "" : messages).substr(0, kMaxLocaleName);
    std::size_t cut = user_locale.rfind('.');
    if (cut == std::string::npos)
        cut = user_locale.rfind('@');
    if (cut != std::string::npos)
        user_locale.resize(cut);
    return user_locale.c_str();
}

void nls_loadcat(std::FILE* fp) {
    load(msg_tab, fp);
}

void nls_loadcat_english(std::FILE* fp) {
    load(msg_tab_english, fp);
}

int nls_open(const char* cmd) {
    msg_tab = symtab_create();
    msg_tab_english = symtab_create();
    if (msg_tab == nullptr || msg_tab_english == nullptr) {
        std::fputs("\nERROR: Could not allocate memory for the NLS messages map!\n", stderr);
        return 1;
    }
    nls_resdir(cmd);
    std::string locale = nls_locale();
    if (locale == "zh")
        locale = "zh_CN"; // the one bare language name that stands for a country's texts
    encoding = nl_langinfo(CODESET);
    needToConv = 0;
    if (encoding != nullptr &&
        strncasecmp(encoding, kCatalogueCharset.data(), kCatalogueCharset.size()) != 0)
        open_converter();
    ascii_stays = leaves_ascii_as_it_is();

    bool any = load_file("cons_" + locale + ".nls", nls_loadcat);
    const std::size_t underscore = locale.rfind('_');
    if (underscore != std::string::npos)
        any = load_file("cons_" + locale.substr(0, underscore) + ".nls", nls_loadcat) || any;
    any = load_file("cons.nls", nls_loadcat) || any;
    load_file("cons.nls", nls_loadcat_english);

    if (convDes != invalid_converter()) {
        iconv_close(convDes);
        convDes = invalid_converter();
        ascii_stays = false;
    }
    if (!any) {
        std::fputs("\nERROR: Could not read any NLS message catalogue!\n", stderr);
        say_where_catalogues_lie();
        return 1;
    }
    return 0;
}

const char* nls_mesg(const char* key) {
    return symtab_lookup(msg_tab, key);
}

const char* nls_mesg_english(const char* key) {
    return symtab_lookup(msg_tab_english, key);
}

void nls_out(const char* mesg) {
    if (mesg == nullptr)
        return;
    const std::string text = format_text(mesg);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void nls_out(const std::string& mesg) {
    nls_out(mesg.c_str());
}

void nls_close() {
    symtab_destroy(msg_tab);
    symtab_destroy(msg_tab_english);
    // Lookups after this would read released memory; they find nothing instead.
    msg_tab = nullptr;
    msg_tab_english = nullptr;
}
