#include "utils.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::uint32_t kHashFactor = 61;

void release(const char* text) {
    // NOLINTNEXTLINE(*-const-cast): the table owns its texts
    std::free(const_cast<char*>(text));
}

} // namespace

std::uint32_t symtab_hashcode(const char* key) {
    std::uint32_t accumulator = 0;
    if (key != nullptr) {
        for (; *key != '\0'; ++key) {
            // Bytes count as signed whatever char is here: the buckets of accented keys depend on
            // it.
            // NOLINTNEXTLINE(bugprone-signed-char-misuse): meant
            const auto byte = static_cast<std::int32_t>(static_cast<signed char>(*key));
            accumulator = accumulator * kHashFactor + static_cast<std::uint32_t>(byte);
        }
    }
    return accumulator % static_cast<std::uint32_t>(kSymtabBuckets);
}

symtab_t* symtab_create() {
    auto* table = static_cast<symtab_t*>(std::malloc(sizeof(symtab_t)));
    if (table == nullptr)
        return nullptr;
    for (symtab_node*& head : table->hash_tab)
        head = nullptr;
    return table;
}

void symtab_add(symtab_t* s, const char* key, const char* value) {
    if (s == nullptr || key == nullptr)
        return;
    symtab_node*& head = s->hash_tab[symtab_hashcode(key)];
    for (symtab_node* node = head; node != nullptr; node = node->next) {
        if (std::strcmp(node->key, key) == 0) {
            node->value = value;
            return;
        }
    }
    auto* node = static_cast<symtab_node*>(std::malloc(sizeof(symtab_node)));
    if (node == nullptr) {
        release(key);
        release(value);
        return;
    }
    *node = symtab_node{key, value, head};
    head = node;
}

const char* symtab_lookup(const symtab_t* s, const char* key) {
    if (s == nullptr || key == nullptr)
        return nullptr;
    for (const symtab_node* node = s->hash_tab[symtab_hashcode(key)]; node != nullptr;
         node = node->next) {
        if (std::strcmp(node->key, key) == 0)
            return node->value;
    }
    return nullptr;
}

const char* symtab_remove(symtab_t* s, const char* key) {
    if (s == nullptr || key == nullptr)
        return nullptr;
    symtab_node*& head = s->hash_tab[symtab_hashcode(key)];
    symtab_node* previous = nullptr;
    symtab_node* node = head;
    while (node != nullptr && std::strcmp(node->key, key) != 0) {
        previous = node;
        node = node->next;
    }
    if (node == nullptr)
        return nullptr;
    const char* value = node->value;
    if (previous != nullptr)
        previous->next = node->next;
    else
        head = nullptr;
    *node = symtab_node{nullptr, nullptr, nullptr};
    std::free(node);
    return value;
}

void symtab_destroy(symtab_t* s) {
    if (s == nullptr)
        return;
    for (symtab_node*& head : s->hash_tab) {
        symtab_node* node = head;
        while (node != nullptr) {
            symtab_node* next = node->next;
            release(node->key);
            release(node->value);
            std::free(node);
            node = next;
        }
        head = nullptr;
    }
    std::free(s);
}
