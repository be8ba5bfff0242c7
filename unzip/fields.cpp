#include "unzip/fields.h"

std::uint64_t number_at(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i)
        number = number << 8U | static_cast<unsigned char>(bytes[at + i - 1]);
    return number;
}

bool next_field(unsigned& number, std::string_view& field, std::string_view& extra) {
    if (extra.size() < 4)
        return false;
    number = static_cast<unsigned>(number_at(extra, 0, 2));
    const std::size_t size = number_at(extra, 2, 2);
    if (size > extra.size() - 4)
        return false;
    field = extra.substr(4, size);
    extra.remove_prefix(4 + size);
    return true;
}
