// What the text of a message may say, so that the launcher shows it as it is meant.
//
// Owns: the placeholders that a text may have, that a translation has those of the English text,
// literal percent signs, and the size of a record. Leaves to others: where texts come from.
#pragma once

#include <string>
#include <string_view>

// Each function gives what is wrong in words, or an empty text.

std::string check_text(std::string_view text);

// Both texts have passed check_text.
std::string check_translation(std::string_view english, std::string_view translated);

std::string check_record_size(std::string_view key, std::string_view text);
