// The bytes of an archive's records: numbers and extra fields.
//
// Owns: the order of bytes in a number and the list of extra fields. Leaves to others: what they
// mean (archive, attributes).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The number in the `size` bytes from `at` on, which have to be there, the lowest first.
std::uint64_t number_at(std::string_view bytes, std::size_t at, std::size_t size);

// Takes the first field off `extra`, its number and its bytes; false when there is none left or a
// broken one.
bool next_field(unsigned& number, std::string_view& field, std::string_view& extra);
