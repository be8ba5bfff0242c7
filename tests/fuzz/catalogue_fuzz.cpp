// Any bytes at all as a catalogue: loading, conversion, lookup and output.
#include "fuzz_support.h"
#include "nls/catalogue.h"

#include <clocale>
#include <langinfo.h>
#include <map>

namespace {

struct Surroundings {
    const char* locale;
    bool own; // lies in the fuzzer's directory, not among the system's
    const char* codeset;
    unsigned last; // the last character of a converted text's character set; 0: as it is
};

constexpr Surroundings kSurroundings[] = {
    {"C.UTF-8", false, "UTF-8", 0},
    {"C", false, "ANSI_X3.4-1968", 0x7f},
    {"de_DE", true, "ISO-8859-1", 0xff},
};

// Puts the next look at the environment into `wanted`.
void surround_with(const Surroundings& wanted) {
    setenv("LC_ALL", wanted.locale, 1);
    if (wanted.own)
        setenv("LOCPATH", fuzz_directory().c_str(), 1);
    else
        unsetenv("LOCPATH");
}

// The records of `catalogue`, the first of every key. A long run of bytes is cut into records too.
std::map<std::string, std::string> records_of(std::string_view catalogue) {
    std::map<std::string, std::string> records;
    std::string record;
    for (const char byte : catalogue) {
        if (byte != '\0')
            record += byte;
        if (byte != '\0' && record.size() < kMaxCatalogueRecord)
            continue;
        const std::size_t equals = record.find('=');
        if (equals != std::string::npos)
            records.emplace(record.substr(0, equals), record.substr(equals + 1));
        record.clear();
    }
    return records;
}

// `text` in a character set of the characters up to `last`, as far as it can be had there. All of
// them have one byte or two in UTF-8.
std::string converted(std::string_view text, unsigned last) {
    std::string result;
    while (!text.empty()) {
        const auto byte = [text](std::size_t at) {
            return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
        };
        const bool continued = (byte(1) & 0xc0U) == 0x80;
        std::size_t length = 1;
        unsigned character = byte(0);
        if (byte(0) == 0xf3 && byte(1) == 0xa0 && (byte(2) & 0xfeU) == 0x80 &&
            (byte(3) & 0xc0U) == 0x80) {
            text.remove_prefix(4); // a language tag: every conversion leaves them out
            continue;
        }
        if ((byte(0) == 0xc2 || byte(0) == 0xc3) && continued) {
            length = 2;
            character = ((byte(0) & 0x1fU) << 6U) | (byte(1) & 0x3fU);
        } else if (byte(0) > 0x7f) {
            break;
        }
        if (character > last)
            break;
        result += static_cast<char>(character);
        text.remove_prefix(length);
    }
    return result;
}

} // namespace

// A locale of a single-byte character set, which a machine need not have.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // It ends with a status of 1 where it only warned.
    const std::string command = "localedef --no-archive -c -i de_DE -f ISO-8859-1 " +
                                fuzz_directory() + "/de_DE >/dev/null 2>&1";
    // NOLINTNEXTLINE(cert-env33-c): the command is made up here
    require(std::system(command.c_str()) != -1, "a locale can be made");
    for (const Surroundings& wanted : kSurroundings) {
        surround_with(wanted);
        require(std::setlocale(LC_ALL, "") != nullptr &&
                    std::strcmp(nl_langinfo(CODESET), wanted.codeset) == 0,
                "the locale has the character set that its texts are held against");
    }
    return 0;
}

// The first byte chooses the locale: "0" takes texts as they are, "1" and "2" convert them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    discard_standard_output();
    const Surroundings& chosen = kSurroundings[data[0] % std::size(kSurroundings)];
    surround_with(chosen);
    const std::string_view bytes = as_text(data + 1, size - 1);
    static const std::string resource = fuzz_directory() + "/resource";
    static const bool made = mkdir(resource.c_str(), 0777) == 0;
    require(made, "the resource directory can be made");
    write_file(resource + "/cons.nls", bytes);

    require(nls_open((fuzz_directory() + "/setupLauncher").c_str()) == 0,
            "a catalogue that can be opened is enough, whatever is in it");
    const std::map<std::string, std::string> records = records_of(bytes);
    for (const auto& [key, text] : records) {
        const char* found = nls_mesg(key.c_str());
        const char* english = nls_mesg_english(key.c_str());
        require(found != nullptr && english != nullptr, "every whole record is found");
        require(std::string_view(found) == english, "one file gives one text to both tables");
        require(found == (chosen.last == 0 ? text : converted(text, chosen.last)),
                "a text comes as far as its characters are known, and no further");
        nls_out(found);
    }
    const std::string tail(bytes.substr(bytes.rfind('\0') + 1));
    const std::string tail_key = tail.substr(0, tail.find('='));
    if (tail.size() < kMaxCatalogueRecord && !records.contains(tail_key))
        require(nls_mesg(tail_key.c_str()) == nullptr, "a record without an end is dropped");
    nls_close();
    require(nls_mesg("S_ERPERDSP") == nullptr, "a closed catalogue knows nothing");
    return 0;
}
