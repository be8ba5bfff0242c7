#include "setupLauncher/given_scratch.h"

#include <string_view>

namespace {

// Whether a path of its own can begin at `at`: at the start, or behind what separates paths.
bool begins_a_path(const std::string& text, std::size_t at) {
    return at == 0 || std::string_view("=: \"").find(text[at - 1]) != std::string_view::npos;
}

// Whether a path that ends before `end` ends there as a whole, or goes on below itself.
bool ends_a_name(const std::string& text, std::size_t end) {
    return end == text.size() || text[end] == '/' || text[end] == ':';
}

} // namespace

GivenScratch use_given_scratch(std::string& scratchLoc, const std::string& given,
                               const std::string& curDir, bool have_current) {
    scratchLoc = given;
    if (given.empty() || given.starts_with('/') || !have_current)
        return {};
    scratchLoc = curDir + "/" + given;
    return {given, scratchLoc};
}

std::string with_given_scratch(const GivenScratch& scratch, std::string text) {
    const std::string& place = scratch.place;
    if (place.empty())
        return text;
    for (std::size_t at = text.find(place); at != std::string::npos; at = text.find(place, at)) {
        const std::size_t end = at + place.size();
        if (begins_a_path(text, at) && ends_a_name(text, end)) {
            text.replace(at, place.size(), scratch.text);
            at += scratch.text.size();
        } else {
            at = end;
        }
    }
    return text;
}

void hand_on_given_scratch(const GivenScratch& scratch, std::vector<std::string>& args,
                           std::size_t typed) {
    for (std::size_t i = 1; i + typed < args.size(); ++i)
        args[i] = with_given_scratch(scratch, args[i]);
}
