// Ordering by texts through numbers made of their bytes: the result must be exactly a
// stable sort by text and tie-break, for texts that share long prefixes, end inside
// or exactly at a block of eight bytes, are prefixes of one another, repeat, or hold
// bytes above 0x7F.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "core/util/TextOrder.h"

namespace vantrel {
namespace {

struct Item {
    std::string text;
    int rank;  // the tie-break
};

std::vector<std::uint32_t> stableReference(const std::vector<Item>& items) {
    std::vector<std::uint32_t> order(items.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        if (items[a].text != items[b].text) return items[a].text < items[b].text;
        return items[a].rank < items[b].rank;
    });
    return order;
}

std::vector<std::uint32_t> ordered(const std::vector<Item>& items) {
    return orderByText(
        items, [](const Item& item) -> std::string_view { return item.text; },
        [](const Item& a, const Item& b) { return a.rank < b.rank; });
}

TEST(TextOrder, EqualsAStableSortByTextThenTieBreak) {
    std::mt19937 random(7);
    const std::string prefixes[] = {"", "src/", "src/components/widgets/very/deep/"};
    const std::string alphabet = "ab/.-:\xC3\xA9\xFF";
    for (int round = 0; round < 200; ++round) {
        std::vector<Item> items;
        const std::string& prefix = prefixes[round % 3];
        std::size_t count = 1 + random() % 300;
        for (std::size_t i = 0; i < count; ++i) {
            std::string text = prefix;
            // Lengths around the blocks of eight bytes; few letters, so many texts repeat
            // or extend one another.
            std::size_t length = random() % 26;
            for (std::size_t k = 0; k < length; ++k)
                text.push_back(alphabet[random() % (round % 2 ? 2 : alphabet.size())]);
            items.push_back(Item{text, static_cast<int>(random() % 4)});
        }
        ASSERT_EQ(ordered(items), stableReference(items)) << "round " << round;
    }
}

TEST(TextOrder, EdgeCases) {
    EXPECT_TRUE(ordered({}).empty());
    EXPECT_EQ(ordered({{"only", 0}}), (std::vector<std::uint32_t>{0}));
    // All equal: the tie-break, then the original positions.
    EXPECT_EQ(ordered({{"same", 1}, {"same", 0}, {"same", 1}, {"same", 0}}), (std::vector<std::uint32_t>{1, 3, 0, 2}));
    // An empty text, and texts ending exactly at the eighth and sixteenth byte.
    std::vector<Item> items{{"abcdefgh", 0}, {"", 0}, {"abcdefghabcdefgh", 0}, {"abcdefg", 0}, {"abcdefgha", 0}};
    EXPECT_EQ(ordered(items), stableReference(items));
    EXPECT_EQ(sharedPrefixLength(items, [](const Item& i) -> std::string_view { return i.text; }), 0u);
}

}  // namespace
}  // namespace vantrel
