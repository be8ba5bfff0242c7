// Any two texts as versions.
#include "bootstrap/version.h"
#include "fuzz_support.h"

namespace {

// A text in memory that anyone may write to, as callers have it.
std::vector<char> writable(const std::string& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = lines_of(as_text(data, size));
    std::vector<char> first = writable(lines[0]);
    std::vector<char> second = writable(lines.size() > 1 ? lines[1] : "");
    const std::vector<char> first_before = first;
    const std::vector<char> second_before = second;
    const char* a = first.data();
    const char* b = second.data();
    for (int fields = 0; fields <= 6; ++fields) {
        const bool less = kstxvl(a, b, fields);
        const bool greater = kstxvl(b, a, fields);
        require(!(less && greater), "of two versions not both are lower");
        require(!kstxvl(a, a, fields), "no version is lower than itself");
        require(kstxvl(a, b, fields) == less, "the same two versions compare the same");
    }
    require(IsVersionLessThan(a, b) == kstxvl(a, b, 5),
            "the plain comparison looks at five fields");
    require(!kstxvl(nullptr, b, 5) && !kstxvl(a, nullptr, 5),
            "nothing is neither lower nor higher");
    require(kstxvl("", b, 5) == (*b != '\0'), "the empty version is lower than any other");
    int number = -7;
    if (kstxpe(a, number))
        require(number >= 0, "a field is not negative");
    else
        require(number == -7, "a refused field changes nothing");
    require(first == first_before && second == second_before, "a comparison changes neither text");
    return 0;
}
