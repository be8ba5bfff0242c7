// Any template with any arguments.
#include "fuzz_support.h"
#include "nls/format.h"

#include <algorithm>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<std::string> texts;
    std::vector<FormatArg> args;
    const int count = input.ConsumeIntegralInRange<int>(0, 6);
    texts.reserve(6);
    for (int i = 0; i < count; ++i) {
        switch (input.ConsumeIntegralInRange<int>(0, 2)) {
        case 0:
            texts.push_back(input.ConsumeRandomLengthString(40));
            args.emplace_back(texts.back());
            break;
        case 1:
            args.emplace_back(input.ConsumeIntegral<long long>());
            break;
        default:
            args.emplace_back(input.ConsumeFloatingPoint<double>());
            break;
        }
    }
    const std::string text = input.ConsumeRemainingBytesAsString();
    const std::string filled = format_text(text, args);
    const auto directives = static_cast<std::size_t>(std::count(text.begin(), text.end(), '%'));
    require(filled.size() <= text.size() + directives * (2 * kMaxFormatWidth + 400),
            "a directive prints no more than its width or its value");
    if (directives == 0)
        require(filled == text, "a text without directives stays as it is");
    require(format_text(text, args) == filled, "the same arguments give the same text");
    const std::string unfilled = format_text(text);
    require(unfilled.size() <= text.size(), "a directive without argument prints nothing");
    return 0;
}
