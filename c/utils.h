// The string table under the message catalogue.
//
// Owns: a chained hash table of 199 buckets that maps NUL-terminated keys to NUL-terminated values,
// and every key and value that was added to it. Leaves to others: where keys and texts come from.
//
// Keys and values are blocks from malloc: the table takes them over and releases them with free.
#pragma once

#include <cstddef>
#include <cstdint>

// One entry of a bucket's chain.
struct symtab_node {
    const char* key;
    const char* value;
    symtab_node* next;
};

// A prime, so that keys which differ in one character spread over all buckets.
inline constexpr std::size_t kSymtabBuckets = 199;

struct symbtab_t_tag {
    symtab_node* hash_tab[kSymtabBuckets];
};
using symtab_t = symbtab_t_tag;

// The bucket of `key`, 0 to 198; an absent key counts as the empty one.
std::uint32_t symtab_hashcode(const char* key);

// A new empty table, or null when memory is short.
symtab_t* symtab_create();

// Takes over `key` and `value`. A key that is already there gets the new value; its old value and
// the key passed in stay with the caller. Nothing happens without table or key. When memory for the
// entry is short, key and value are released and the table stays as it was.
void symtab_add(symtab_t* s, const char* key, const char* value);

// The value of `key`, owned by the table, or null.
const char* symtab_lookup(const symtab_t* s, const char* key);

// Takes `key` out and hands its value to the caller, or null. The key itself is not released.
// Taking out the head of a chain drops the rest of that chain from the table as well.
const char* symtab_remove(symtab_t* s, const char* key);

// Releases the table with every key and value in it; null is allowed.
void symtab_destroy(symtab_t* s);
