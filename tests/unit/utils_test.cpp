// The string table: buckets, chains, and who owns what.
#include "utils.h"

#include "unit_support.h"

#include <cstring>
#include <malloc.h>
#include <vector>

namespace {

// The bucket heads are part of what others may look at.
static_assert(kSymtabBuckets == 199);
static_assert(sizeof(symtab_t) == 199 * sizeof(symtab_node*));
static_assert(offsetof(symtab_node, key) < offsetof(symtab_node, value));
static_assert(offsetof(symtab_node, value) < offsetof(symtab_node, next));

const char* heap_copy(const std::string& text) {
    return strdup(text.c_str());
}

void release(const char* text) {
    std::free(const_cast<char*>(text));
}

// `count` different keys that share one bucket.
std::vector<std::string> keys_of_one_bucket(std::size_t count) {
    std::vector<std::string> keys{"S_FIRST"};
    const std::uint32_t bucket = symtab_hashcode("S_FIRST");
    for (int number = 0; keys.size() < count; ++number) {
        const std::string key = "S_" + std::to_string(number);
        if (symtab_hashcode(key.c_str()) == bucket)
            keys.push_back(key);
    }
    return keys;
}

class SymbolTable : public testing::Test {
  protected:
    ~SymbolTable() override {
        symtab_destroy(table_);
    }
    void add(const std::string& key, const std::string& value) {
        symtab_add(table_, heap_copy(key), heap_copy(value));
    }
    std::string value_of(const std::string& key) const {
        const char* value = symtab_lookup(table_, key.c_str());
        return value == nullptr ? "(none)" : value;
    }
    std::vector<std::string> chain_of(const std::string& key) const {
        std::vector<std::string> keys;
        const symtab_node* node = table_->hash_tab[symtab_hashcode(key.c_str())];
        for (; node != nullptr; node = node->next)
            keys.emplace_back(node->key);
        return keys;
    }

    symtab_t* table_ = symtab_create();
};

TEST(SymbolTableHash, PlainKeysLandInTheirKnownBuckets) {
    EXPECT_EQ(symtab_hashcode(""), 0U);
    EXPECT_EQ(symtab_hashcode(nullptr), 0U);
    EXPECT_EQ(symtab_hashcode("A"), 65U);
    EXPECT_EQ(symtab_hashcode("AB"), 51U);
    EXPECT_EQ(symtab_hashcode("S_ERPERDSP"), 88U);
    EXPECT_EQ(symtab_hashcode("S_SPECIFY_JRE_LOCATION"), 147U);
}

TEST(SymbolTableHash, BytesFrom128OnCountAsNegativeNumbers) {
    EXPECT_EQ(symtab_hashcode("\xE9"), 23U);
    EXPECT_EQ(symtab_hashcode("\xC3\xA9"), 19U);
    EXPECT_EQ(symtab_hashcode("\x7F"), 127U);
    EXPECT_EQ(symtab_hashcode("\x80"), static_cast<std::uint32_t>(4294967296ULL - 128U) % 199U);
    EXPECT_EQ(symtab_hashcode("\xFF"), 4294967295U % 199U);
}

TEST(SymbolTableHash, TheAccumulatorWrapsAt32Bits) {
    std::uint64_t exact = 0;
    const std::string key(40, 'z');
    for (const char c : key)
        exact = (exact * 61U + static_cast<std::uint64_t>(c)) % 4294967296ULL;
    EXPECT_EQ(symtab_hashcode(key.c_str()), exact % 199U);
}

TEST(SymbolTableHash, EveryBucketIsBelow199) {
    for (int number = 0; number < 5000; ++number)
        EXPECT_LT(symtab_hashcode(("key" + std::to_string(number)).c_str()), 199U);
}

TEST_F(SymbolTable, ANewTableHas199EmptyBuckets) {
    ASSERT_NE(table_, nullptr);
    EXPECT_EQ(std::size(table_->hash_tab), 199U);
    for (const symtab_node* head : table_->hash_tab)
        EXPECT_EQ(head, nullptr);
}

TEST_F(SymbolTable, AnAddedKeyIsFoundWithItsValue) {
    add("S_KEY", "text");
    EXPECT_EQ(value_of("S_KEY"), "text");
}

TEST_F(SymbolTable, TheTableKeepsThePointersItIsGiven) {
    const char* key = heap_copy("S_KEY");
    const char* value = heap_copy("text");
    symtab_add(table_, key, value);
    const symtab_node* node = table_->hash_tab[symtab_hashcode("S_KEY")];
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->key, key);
    EXPECT_EQ(node->value, value);
    EXPECT_EQ(node->next, nullptr);
    EXPECT_EQ(symtab_lookup(table_, "S_KEY"), value);
}

TEST_F(SymbolTable, TheEmptyKeyIsAValidKeyInBucketZero) {
    add("", "text of the empty key");
    ASSERT_NE(table_->hash_tab[0], nullptr);
    EXPECT_STREQ(table_->hash_tab[0]->key, "");
    EXPECT_EQ(value_of(""), "text of the empty key");
}

TEST_F(SymbolTable, AKeyOfByteE9LivesInBucket23) {
    add("\xE9", "accented");
    ASSERT_NE(table_->hash_tab[23], nullptr);
    EXPECT_STREQ(table_->hash_tab[23]->key, "\xE9");
    EXPECT_EQ(value_of("\xE9"), "accented");
}

TEST_F(SymbolTable, AnUnknownKeyHasNoValue) {
    EXPECT_EQ(symtab_lookup(table_, "S_KEY"), nullptr);
    add("S_KEY", "text");
    EXPECT_EQ(symtab_lookup(table_, "S_KE"), nullptr);
    EXPECT_EQ(symtab_lookup(table_, "S_KEYS"), nullptr);
}

TEST_F(SymbolTable, AnotherKeyOfTheSameBucketIsNotTakenForTheKey) {
    const auto keys = keys_of_one_bucket(2);
    add(keys[0], "text");
    EXPECT_EQ(symtab_lookup(table_, keys[1].c_str()), nullptr);
}

TEST_F(SymbolTable, CaseMattersInKeys) {
    add("S_Key", "mixed");
    add("S_KEY", "upper");
    EXPECT_EQ(value_of("S_Key"), "mixed");
    EXPECT_EQ(value_of("S_KEY"), "upper");
    EXPECT_EQ(value_of("s_key"), "(none)");
}

TEST_F(SymbolTable, TwoKeysOfOneBucketAreBothFoundAndTheLastAddedStandsFirst) {
    const auto keys = keys_of_one_bucket(2);
    add(keys[0], "first");
    add(keys[1], "second");
    EXPECT_EQ(value_of(keys[0]), "first");
    EXPECT_EQ(value_of(keys[1]), "second");
    EXPECT_EQ(chain_of(keys[0]), (std::vector<std::string>{keys[1], keys[0]}));
}

TEST_F(SymbolTable, AChainListsItsKeysFromTheNewestToTheOldest) {
    const auto keys = keys_of_one_bucket(5);
    for (const std::string& key : keys)
        add(key, "text");
    EXPECT_EQ(chain_of(keys[0]), std::vector<std::string>(keys.rbegin(), keys.rend()));
}

TEST_F(SymbolTable, AddingAKeyAgainKeepsOneNodeTheFirstKeyPointerAndTheNewestValue) {
    const char* first_key = heap_copy("S_KEY");
    const char* first_value = heap_copy("old");
    const char* second_key = heap_copy("S_KEY");
    const char* second_value = heap_copy("new");
    symtab_add(table_, first_key, first_value);
    symtab_add(table_, second_key, second_value);
    const symtab_node* node = table_->hash_tab[symtab_hashcode("S_KEY")];
    EXPECT_EQ(node->key, first_key);
    EXPECT_EQ(node->value, second_value);
    EXPECT_EQ(node->next, nullptr);
    EXPECT_EQ(symtab_lookup(table_, "S_KEY"), second_value);
    // The old value and the second key stayed with the caller, unchanged.
    EXPECT_STREQ(first_value, "old");
    EXPECT_STREQ(second_key, "S_KEY");
    release(first_value);
    release(second_key);
}

TEST_F(SymbolTable, AddingAKeyAgainDeepInAChainKeepsTheOrderOfTheChain) {
    const auto keys = keys_of_one_bucket(3);
    for (const std::string& key : keys)
        add(key, "text");
    const char* passed_key = heap_copy(keys[0]);
    const char* old_value = symtab_lookup(table_, keys[0].c_str());
    symtab_add(table_, passed_key, heap_copy("newest"));
    EXPECT_EQ(chain_of(keys[0]), (std::vector<std::string>{keys[2], keys[1], keys[0]}));
    EXPECT_EQ(value_of(keys[0]), "newest");
    EXPECT_EQ(value_of(keys[1]), "text");
    release(passed_key);
    release(old_value);
}

TEST_F(SymbolTable, ANullValueLooksLikeAMissingKey) {
    symtab_add(table_, heap_copy("S_KEY"), nullptr);
    EXPECT_EQ(chain_of("S_KEY"), std::vector<std::string>{"S_KEY"});
    EXPECT_EQ(symtab_lookup(table_, "S_KEY"), nullptr);
}

TEST_F(SymbolTable, RemovingTheOnlyKeyOfABucketEmptiesItAndHandsTheValueOver) {
    const char* key = heap_copy("S_KEY");
    const char* value = heap_copy("text");
    symtab_add(table_, key, value);
    EXPECT_EQ(symtab_remove(table_, "S_KEY"), value);
    EXPECT_EQ(table_->hash_tab[symtab_hashcode("S_KEY")], nullptr);
    EXPECT_EQ(symtab_lookup(table_, "S_KEY"), nullptr);
    // Neither was released: both are the caller's now.
    EXPECT_STREQ(key, "S_KEY");
    EXPECT_STREQ(value, "text");
    release(key);
    release(value);
}

TEST_F(SymbolTable, RemovingTheHeadOfAChainMakesTheKeysBehindItUnfindable) {
    const auto keys = keys_of_one_bucket(3);
    for (const std::string& key : keys)
        add(key, "text of " + key);
    symtab_node* head = table_->hash_tab[symtab_hashcode(keys[2].c_str())];
    const char* head_key = head->key;
    symtab_node* second = head->next;
    const char* value = symtab_remove(table_, keys[2].c_str());
    EXPECT_EQ(value, "text of " + keys[2]);
    for (const std::string& key : keys)
        EXPECT_EQ(symtab_lookup(table_, key.c_str()), nullptr) << key;
    EXPECT_EQ(table_->hash_tab[symtab_hashcode(keys[2].c_str())], nullptr);
    // The nodes that dropped out were not released.
    EXPECT_EQ(second->key, keys[1]);
    EXPECT_EQ(second->next->key, keys[0]);
    release(head_key);
    release(value);
    for (symtab_node* node = second; node != nullptr;) {
        symtab_node* next = node->next;
        release(node->key);
        release(node->value);
        std::free(node);
        node = next;
    }
}

TEST_F(SymbolTable, RemovingAKeyBehindTheHeadLeavesTheRestOfTheChainIntact) {
    const auto keys = keys_of_one_bucket(4);
    for (const std::string& key : keys)
        add(key, "text of " + key);
    const symtab_node* head = table_->hash_tab[symtab_hashcode(keys[0].c_str())];
    const char* removed_key = head->next->key;
    ASSERT_EQ(removed_key, keys[2]);
    const char* value = symtab_remove(table_, keys[2].c_str());
    EXPECT_EQ(value, "text of " + keys[2]);
    EXPECT_EQ(chain_of(keys[0]), (std::vector<std::string>{keys[3], keys[1], keys[0]}));
    EXPECT_EQ(value_of(keys[0]), "text of " + keys[0]);
    EXPECT_EQ(value_of(keys[2]), "(none)");
    release(removed_key);
    release(value);
}

TEST_F(SymbolTable, RemovingTheLastKeyOfAChainLeavesTheKeysBeforeIt) {
    const auto keys = keys_of_one_bucket(2);
    const char* last_key = heap_copy(keys[0]);
    symtab_add(table_, last_key, heap_copy("text"));
    add(keys[1], "text");
    release(symtab_remove(table_, keys[0].c_str()));
    EXPECT_EQ(chain_of(keys[1]), std::vector<std::string>{keys[1]});
    release(last_key);
}

TEST_F(SymbolTable, RemovingAnUnknownKeyChangesNothing) {
    const auto keys = keys_of_one_bucket(3);
    add(keys[0], "text");
    add(keys[1], "text");
    EXPECT_EQ(symtab_remove(table_, keys[2].c_str()), nullptr);
    EXPECT_EQ(symtab_remove(table_, "S_ELSEWHERE"), nullptr);
    EXPECT_EQ(chain_of(keys[0]), (std::vector<std::string>{keys[1], keys[0]}));
}

TEST_F(SymbolTable, WithoutATableNothingHappens) {
    const char* key = heap_copy("S_KEY");
    const char* value = heap_copy("text");
    symtab_add(nullptr, key, value);
    EXPECT_STREQ(key, "S_KEY");
    EXPECT_STREQ(value, "text");
    release(key);
    release(value);
    EXPECT_EQ(symtab_lookup(nullptr, "S_KEY"), nullptr);
    EXPECT_EQ(symtab_remove(nullptr, "S_KEY"), nullptr);
    symtab_destroy(nullptr);
}

TEST_F(SymbolTable, WithoutAKeyNothingHappens) {
    const char* value = heap_copy("text");
    symtab_add(table_, nullptr, value);
    for (const symtab_node* head : table_->hash_tab)
        EXPECT_EQ(head, nullptr);
    EXPECT_STREQ(value, "text");
    release(value);
    EXPECT_EQ(symtab_lookup(table_, nullptr), nullptr);
    EXPECT_EQ(symtab_remove(table_, nullptr), nullptr);
}

TEST_F(SymbolTable, SeveralThousandKeysAreAllFound) {
    for (int number = 0; number < 3000; ++number)
        add("S_" + std::to_string(number), "text " + std::to_string(number));
    for (int number = 0; number < 3000; ++number)
        EXPECT_EQ(value_of("S_" + std::to_string(number)), "text " + std::to_string(number));
}

TEST(SymbolTableMemory, DestroyingATableReleasesEveryKeyAndValueInIt) {
    // What the heap holds: the count shows a forgotten block, the sanitizers one released twice.
    const auto blocks_in_use = [] { return mallinfo2().uordblks; };
    const std::string large(4096, 'x');
    const auto before = blocks_in_use();
    symtab_t* table = symtab_create();
    const auto keys = keys_of_one_bucket(20);
    for (const std::string& key : keys)
        symtab_add(table, heap_copy(key), heap_copy(large));
    symtab_add(table, heap_copy(large), heap_copy("text"));
    symtab_add(table, heap_copy("S_WITHOUT_VALUE"), nullptr);
    symtab_destroy(table);
    const auto after = blocks_in_use();
    EXPECT_LT(after < before ? 0 : after - before, large.size());
}

} // namespace
