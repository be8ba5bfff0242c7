// Any bytes at all as a catalogue: loading, conversion, lookup and output.
#include "fuzz_support.h"
#include "nls/catalogue.h"

// The first byte chooses the locale, so that texts are taken as they are or converted.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    discard_standard_output();
    setenv("LC_ALL", (data[0] & 1U) != 0 ? "C" : "C.UTF-8", 1);
    const std::string_view bytes = as_text(data + 1, size - 1);
    static const std::string resource = fuzz_directory() + "/resource";
    static const bool made = mkdir(resource.c_str(), 0777) == 0;
    require(made, "the resource directory can be made");
    write_file(resource + "/cons.nls", bytes);

    require(nls_open((fuzz_directory() + "/setupLauncher").c_str()) == 0,
            "a catalogue that can be opened is enough, whatever is in it");
    std::size_t start = 0;
    while (start < bytes.size()) {
        std::size_t end = bytes.find('\0', start);
        if (end == std::string_view::npos)
            break;
        const std::string_view record = bytes.substr(start, end - start);
        start = end + 1;
        const std::size_t equals = record.find('=');
        if (record.size() >= kMaxCatalogueRecord || equals == std::string_view::npos)
            continue;
        const std::string key(record.substr(0, equals));
        const char* text = nls_mesg(key.c_str());
        const char* english = nls_mesg_english(key.c_str());
        require(text != nullptr && english != nullptr, "every whole record is found");
        require(std::string_view(text).size() <= kMaxCatalogueRecord,
                "no text grows over a record");
        require(std::string_view(text) == english, "one file gives one text to both tables");
        nls_out(text);
    }
    nls_close();
    require(nls_mesg("S_ERPERDSP") == nullptr, "a closed catalogue knows nothing");
    return 0;
}
