// Lists, chunks, sets and hash tables, held against those of the C++ library: order, ownership, and
// time that grows with the number of elements only.
#include "hash_core.h"
#include "norvane/proj.hpp"
#include "test.h"

// One case exhausts the memory.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

using norvane::containers::int_of;
using norvane::containers::key_of;
using norvane::test::thrown;

// How many strings the containers own.
int owned = 0;

void* copy_counted(void* element) {
    ++owned;
    return poly_copy_string(element);
}

void delete_counted(void* element) {
    --owned;
    poly_delete_string(element);
}

char* text(const std::string& s) {
    return const_cast<char*>(s.c_str());
}

// The texts of a list of strings, as its links, its length and its last node tell them.
std::string joined(const PolyList* list) {
    std::string all;
    const PolyListNode* last = nullptr;
    unsigned count = 0;
    for (const PolyListNode* n = list->first; n; n = n->next, ++count) {
        all += static_cast<const char*>(n->element);
        last = n;
    }
    EXPECT_EQ(last, list->last);
    EXPECT_EQ(count, plist_length(list));
    return all;
}

PolyList* list_of(const std::string& letters) {
    PolyList* list = plist_new(poly_compare_string, copy_counted, delete_counted);
    for (const char letter : letters)
        plist_append(list, text(std::string(1, letter)));
    return list;
}

TEST(PolyList, IsAStringOfItsElementsThroughAnyHistory) {
    std::mt19937 random(3);
    PolyList* list = list_of("");
    std::string model;
    for (int step = 0; step < 20'000; ++step) {
        const std::string letter(1, static_cast<char>('a' + random() % 26));
        const auto at = static_cast<unsigned>(random() % (model.size() + 2));
        const auto kind = random() % 16;
        if (kind == 0 && model.size() < 20) {
            plist_concat(list, list);
            model += model;
        } else if (kind == 1) {
            PolyList* copy = plist_copy(list);
            plist_empty(list);
            plist_concat(list, copy);
            plist_delete(copy);
        } else if (kind < 5) {
            plist_append(list, text(letter));
            model += letter;
        } else if (kind < 8) {
            plist_prepend(list, text(letter));
            model = letter + model;
        } else {
            const unsigned n = kind == 8 ? UINT_MAX : at;
            plist_delete_nth(list, n);
            if (n < model.size()) model.erase(n, 1);
        }
        ASSERT_EQ(model, joined(list));
        ASSERT_EQ(model.size(), static_cast<size_t>(owned));
        const void* nth = plist_nth(list, at);
        ASSERT_EQ(model.substr(std::min<size_t>(at, model.size()), 1),
                  nth ? static_cast<const char*>(nth) : "");
    }
    // A list that borrows, and a copy of it that owns.
    PolyList* borrowing = plist_new(poly_compare_string, nullptr, nullptr);
    plist_concat(borrowing, list);
    EXPECT_EQ(plist_hd(list), plist_hd(borrowing));
    borrowing->delete_element = delete_counted;
    PolyList* owning = plist_copy_with_copycon(borrowing, copy_counted);
    borrowing->delete_element = nullptr;
    for (PolyList* each : {borrowing, owning, list})
        plist_delete(each);
    EXPECT_EQ(0, owned);
}

TEST(PolyList, PrintsSeparatorsBetweenAndTheTerminatorAlways) {
    for (const auto& [letters, expected] : {std::pair{"abc", "a, b, c;"}, {"a", "a;"}, {"", ";"}}) {
        PolyList* list = list_of(letters);
        EXPECT_EQ(expected, norvane::test::on_stream([&](FILE* stream) {
                      plist_print(stream, list, ", ", ";", [](FILE* to, void* element) {
                          fputs(static_cast<char*>(element), to);
                      });
                  }));
        plist_delete(list);
    }
}

TEST(Sorts, KeepTheOrderOfEqualElements) {
    // Numbers that are ordered by their tens alone, so that an unstable sort shows.
    const PolyCompare compare = [](const void* a, const void* b) {
        return **static_cast<int* const*>(a) / 10 - **static_cast<int* const*>(b) / 10;
    };
    std::mt19937 random(7);
    for (const unsigned count : {0u, 1u, 2u, 8u, 9u, 16u, 17u, 100u, 4097u}) {
        std::vector<int> expected(count);
        for (int& number : expected)
            number = static_cast<int>(random() % 200);
        std::vector<int> numbers = expected;
        PolyList* list = plist_new(compare, nullptr, nullptr);
        for (int& number : numbers)
            plist_append(list, &number);
        PolyChunk* chunk = plist_to_polychunk(list);
        pchunk_sort(chunk);
        plist_sort(list);
        std::stable_sort(expected.begin(), expected.end(),
                         [](int a, int b) { return a / 10 < b / 10; });
        unsigned at = 0;
        for (const int* number : norvane::items<int>(list)) {
            ASSERT_EQ(expected[at], *number) << at << " of " << count;
            ASSERT_EQ(number, chunk->elements[at++]);
        }
        ASSERT_EQ(count, at);
        int last = 0;
        plist_append(list, &last);
        EXPECT_EQ(&last, plist_nth(list, count));
        pchunk_delete(chunk);
        plist_delete(list);
    }
}

TEST(Sorts, LeaveTheListWholeWhenTheComparisonThrows) {
    PolyList* list = list_of("qwertyuiopasdf");
    list->compare = [](const void* a, const void* b) {
        if (**static_cast<char* const*>(b) == 'd') NORVANE_FAIL("no order");
        return poly_compare_string(a, b);
    };
    EXPECT_EQ("1: no order", thrown([&] { plist_sort(list); }));
    EXPECT_EQ("qwertyuiopasdf", joined(list));
    list->compare = nullptr;
    EXPECT_EQ("1: list->compare", thrown([&] { plist_sort(list); }));
    plist_delete(list);
}

// A table against a plain vector of pairs: with so few and so many keys that it is scanned,
// indexed, closed up and made smaller.
TEST(PolyHash, IteratesInOrderOfInsertionThroughAnyHistory) {
    using Pairs = std::vector<std::pair<std::string, std::string>>;
    const auto pairs_of = [](const PolyHash* hash) {
        const auto all = norvane::pairs<char, char>(hash);
        return Pairs(all.begin(), all.end());
    };
    for (const unsigned keys : {5u, 12u, 60u, 400u}) {
        PolyHash* hash = phash_new(10, poly_compare_string, copy_counted, copy_counted,
                                   poly_hash_string, delete_counted, delete_counted);
        PolyHash* empty =
            phash_new(1, poly_compare_string, nullptr, nullptr, poly_hash_string, nullptr, nullptr);
        PolyList* tables = plist_new(nullptr, nullptr, nullptr);
        plist_append(tables, empty);
        plist_append(tables, hash);
        Pairs model;
        std::mt19937 random(keys);
        for (unsigned step = 0; step < 40 * keys + 2000; ++step) {
            const std::string key = "key" + std::to_string(random() % keys);
            const std::string next = std::to_string(step);
            const auto place = std::find_if(model.begin(), model.end(),
                                            [&](const auto& pair) { return pair.first == key; });
            const bool present = place != model.end();
            const unsigned key_hash = phash_hash_of(hash, key.c_str());
            phash_prefetch_slot(hash, key_hash);
            const void* likely = phash_prefetch_key(phash_prefetch_entry(hash, key_hash));
            void* value = nullptr;
            ASSERT_EQ(present ? 0 : -1, phash_peek_hashed(hash, key.c_str(), key_hash, &value));
            ASSERT_TRUE(!present || place->second == static_cast<char*>(value));
            ASSERT_EQ(present ? 0 : -1, phash_peek_first(empty, tables, key.c_str(), &value));
            ASSERT_TRUE(!present || place->second == static_cast<char*>(value));
            // These few keys have hashes of their own.
            ASSERT_TRUE(likely == value || (!likely && phash_size(hash) <= 8));
            // Long stretches that fill the table and long ones that drain it.
            if (random() % 8 >= ((step / (4 * keys)) % 2 == 0 ? 6u : 1u)) {
                ASSERT_EQ(present ? 0 : -1, phash_remove(hash, key.c_str()));
                if (present) model.erase(place);
            } else {
                phash_insert(hash, text(key), text(next));
                if (present)
                    place->second = next;
                else
                    model.emplace_back(key, next);
            }
            ASSERT_EQ(model.size(), phash_size(hash));
            ASSERT_EQ(2 * model.size(), static_cast<size_t>(owned));
            if (step % 64 == 0) {
                ASSERT_EQ(model, pairs_of(hash));
            }
        }
        phash_insert(hash, text("key1"), text("1"));
        phash_empty(hash);
        EXPECT_EQ(0, owned);
        EXPECT_EQ(-1, phash_peek(hash, "key1", nullptr));
        phash_insert(hash, text("key1"), text("2"));
        EXPECT_EQ((Pairs{{"key1", "2"}}), pairs_of(hash));
        plist_delete(tables);
        phash_delete(empty);
        phash_delete(hash);
        EXPECT_EQ(0, owned);
    }
}

TEST(PolyHash, KeepsTheFirstKeyObjectAndReplacesTheValue) {
    const std::string first = "key";
    const std::string second = "key";
    PolyHash* hash = phash_new(16, poly_compare_string, nullptr, nullptr, poly_hash_string, nullptr,
                               delete_counted);
    void* value = copy_counted(text("old"));
    phash_insert(hash, text(first), value);
    phash_insert(hash, text(second), value);
    EXPECT_EQ(1, owned) << "the stored value inserted again is not deleted";
    phash_insert(hash, text(second), copy_counted(text("new")));
    EXPECT_EQ(1, owned);
    PolyHashIter iter;
    void* key = nullptr;
    phash_iter_init(&iter, hash);
    EXPECT_TRUE(phash_iter_next(&iter, &key, &value));
    EXPECT_EQ(first.c_str(), key);
    EXPECT_STREQ("new", static_cast<char*>(value));
    hash->delete_value = nullptr;
    phash_delete(hash);
    EXPECT_EQ(1, owned) << "values are taken over by clearing the delete callback";
    delete_counted(value);
}

TEST(PolySet, GivesBackTheEqualElementThatItHas) {
    PolySet* set = pset_new(10, poly_compare_string, nullptr, poly_hash_string, delete_counted);
    void* const b = copy_counted(text("b"));
    void* const a = copy_counted(text("a"));
    const std::string other = "b";
    EXPECT_EQ(b, pset_insert(set, b));
    EXPECT_EQ(b, pset_insert(set, text(other)));
    EXPECT_EQ(a, pset_insert(set, a));
    PolyChunk* chunk = pset_to_polychunk(set);
    EXPECT_EQ((std::vector{b, a}), std::vector(chunk->elements, chunk->elements + chunk->count));
    pchunk_sort(chunk);
    EXPECT_EQ(a, chunk->elements[0]);
    pchunk_delete(chunk);

    pset_remove(set, "c");
    pset_remove(set, b);
    EXPECT_NE(0, pset_peek(set, "b", nullptr));
    EXPECT_EQ(0, pset_peek(set, "a", nullptr));
    EXPECT_TRUE(set->size == 1 && owned == 1);
    pset_delete(set);
    EXPECT_EQ(0, owned);
}

TEST(PolySet, HoldsNanAndZeroOnce) {
    PolySet* set = pset_new(10, poly_compare_poly_value, poly_copy_poly_value, poly_hash_poly_value,
                            poly_delete_poly_value);
    for (const double number : {1.5, 0.0, -0.0, std::nan(""), -std::nan("1"), -HUGE_VAL, 1.5}) {
        PolyValue value = {number};
        pset_insert(set, &value);
    }
    PolyChunk* chunk = pset_to_polychunk(set);
    pchunk_sort(chunk);
    std::string sorted;
    for (int i = 0; i < chunk->count; ++i)
        (sorted += util_double_to_str(static_cast<PolyValue*>(chunk->elements[i])->number)) += ' ';
    EXPECT_EQ("nan -inf 0.0 1.5 ", sorted);
    pchunk_delete(chunk);
    pset_delete(set);
}

TEST(IntContainers, HoldAllIntegersInOrderOfInsertion) {
    const std::vector<int> values = {3, -1, INT_MIN, 0, INT_MAX, 4096, -4096, 17, 18, 19, 20, 2};
    IntSet* set = iset_new(10, ichunk_hash_int);
    IntHash* hash = ihash_new(10, poly_compare_int, nullptr, poly_hash_int, nullptr);
    for (const int value : values) {
        EXPECT_FALSE(iset_has(set, value));
        for (const int number : {1, value / 2}) {
            iset_insert(set, value);
            ihash_insert(hash, key_of(value), number);
        }
        EXPECT_TRUE(iset_has(set, value));
    }
    IntChunk* chunk = iset_to_intchunk(set);
    EXPECT_EQ(values, std::vector<int>(chunk->elements, chunk->elements + chunk->count));
    ichunk_sort(chunk);
    EXPECT_TRUE(std::is_sorted(chunk->elements, chunk->elements + chunk->count));
    ichunk_delete(chunk);
    iset_delete(set);

    IntHashIter iter;
    void* key = nullptr;
    int number = 0;
    ihash_iter_init(&iter, hash);
    for (const int value : values) {
        ASSERT_TRUE(ihash_iter_next(&iter, &key, &number));
        EXPECT_EQ(value, int_of(key));
        EXPECT_EQ(value / 2, number);
    }
    EXPECT_FALSE(ihash_iter_next(&iter, &key, &number));
    // Callers carry an int or an unsigned: the high half of a key does not count.
    EXPECT_EQ(0, ihash_peek(hash, reinterpret_cast<void*>(std::uintptr_t{0xFFFFFFFFu}), &number));
    ihash_delete(hash);
}

// How far entries lie from their place in the index, on average.
double displacement(const HashCore* core) {
    const std::uint32_t mask = 2 * core->capacity - 1;
    double sum = 0;
    for (std::uint32_t at = 0; at <= mask; ++at)
        if (core->slots[at].position != 0) sum += (at - core->slots[at].hash) & mask;
    return sum / core->live;
}

TEST(HashQuality, KeepsAlikeKeysApart) {
    constexpr int count = 200000;
    for (const int step : {1, 64, 4096, -4096}) {
        IntSet* set = iset_new(10, ichunk_hash_int);
        for (int i = 0; i < count; ++i)
            iset_insert(set, i * step);
        EXPECT_LT(displacement(set->core), 1.5) << "integers in steps of " << step;
        iset_delete(set);
    }
    for (const char* prefix : {"", "instance.of.a.record[", "seven77"}) {
        PolySet* set = pset_new(10, poly_compare_string, poly_copy_string, poly_hash_string,
                                poly_delete_string);
        for (int i = 0; i < count; ++i)
            pset_insert(set, text(prefix + std::to_string(i)));
        EXPECT_LT(displacement(set->core), 1.5) << "strings that begin with " << prefix;
        pset_delete(set);
    }
}

TEST(HashQuality, StaysSmallAsAQueueAndAfterMassRemoval) {
    constexpr int count = 200000;
    PolySet* set = pset_new(10, poly_compare_int, nullptr, poly_hash_int, nullptr);
    for (int i = 1; i <= count; ++i) {
        pset_insert(set, key_of(i));
        if (i <= 10) continue;
        PolySetIter iter;
        void* oldest = nullptr;
        pset_iter_init(&iter, set);
        ASSERT_TRUE(pset_iter_next(&iter, &oldest));
        ASSERT_EQ(key_of(i - 10), oldest);
        pset_remove(set, oldest);
        ASSERT_TRUE(set->core->entries[set->core->first].live) << "the next one is at hand";
    }
    EXPECT_LE(set->core->capacity, 32u);
    for (int i = 1; i <= count; ++i)
        pset_insert(set, key_of(i));
    for (int i = 2; i < count; ++i)
        pset_remove(set, key_of(i));
    EXPECT_EQ(2u, pset_size(set));
    EXPECT_LE(set->core->capacity, 32u);
    pset_delete(set);
}

TEST(Memory, IsNeverNullAndItsLackIsThrown) {
    free(util_malloc_throw(0));
    free(util_calloc_throw(0));
    void* memory = util_realloc_throw(util_realloc_throw(nullptr, 10), 0);
    EXPECT_TRUE(memory);
    EXPECT_EQ("1: Out of memory", thrown([] { util_malloc_throw(SIZE_MAX / 2); }));
    EXPECT_EQ("1: Out of memory", thrown([] { util_calloc_throw(SIZE_MAX / 2); }));
    EXPECT_EQ("1: Out of memory", thrown([&] { util_realloc_throw(memory, SIZE_MAX / 2); }));
    free(memory);
}

} // namespace
