# Writes a source file that holds a catalogue's bytes and the names of the languages.
#   cmake -DCATALOGUE=FILE -DLANGUAGES="de es" -DOUTPUT=FILE -P embed_catalogue.cmake
file(READ ${CATALOGUE} bytes HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
string(REGEX REPLACE "([^ ]+)" "\"\\1\"," languages "${LANGUAGES}")
file(WRITE ${OUTPUT} "#include \"catalogues.h\"

namespace {
constexpr char bytes[] = {${bytes}};
} // namespace

std::string_view reference_catalogue() {
    return {bytes, sizeof bytes};
}

const std::vector<std::string_view>& reference_languages() {
    static const std::vector<std::string_view> languages = {${languages}};
    return languages;
}
")
