// Any two texts as versions.
#include "bootstrap/version.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = lines_of(as_text(data, size));
    const std::string a = lines[0];
    const std::string b = lines.size() > 1 ? lines[1] : "";
    for (int fields = 0; fields <= 6; ++fields) {
        const bool less = kstxvl(a.c_str(), b.c_str(), fields);
        const bool greater = kstxvl(b.c_str(), a.c_str(), fields);
        require(!(less && greater), "of two versions not both are lower");
        require(!kstxvl(a.c_str(), a.c_str(), fields), "no version is lower than itself");
    }
    require(a == lines[0], "a comparison changes nothing");
    require(IsVersionLessThan(a.c_str(), b.c_str()) == kstxvl(a.c_str(), b.c_str(), 5),
            "the plain comparison looks at five fields");
    int number = -7;
    if (kstxpe(a, number))
        require(number >= 0, "a field is not negative");
    else
        require(number == -7, "a refused field changes nothing");
    return 0;
}
