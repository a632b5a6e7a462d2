// Sorting many items by texts that lie scattered in memory. Comparing the texts at every
// step reads each of them from memory many times over; instead each item gets a number
// made of the eight bytes that follow the prefix all the texts share, and the items are
// sorted by those numbers, then by the next eight bytes where they tie, and so on. The
// order is exactly the order of the texts. In effect a most-significant-digit-first string
// sort with eight-byte digits, each level a comparison sort of 64-bit keys, not buckets.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel {

// The eight bytes of `text` from `from` on as a number that orders as they do, zeros
// past its end: a text that ends sorts before one that goes on, as among strings, since
// no text compared here holds a zero byte.
inline std::uint64_t orderKey(std::string_view text, std::size_t from) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        unsigned char byte = from + i < text.size() ? static_cast<unsigned char>(text[from + i]) : 0;
        key = (key << 8) | byte;
    }
    return key;
}

// Length of the prefix that the texts of all items share; 0 for no items.
template <typename Items, typename TextOf>
std::size_t sharedPrefixLength(const Items& items, TextOf textOf) {
    auto it = std::begin(items);
    if (it == std::end(items)) return 0;
    std::string_view first = textOf(*it);
    std::size_t shared = first.size();
    for (; it != std::end(items) && shared > 0; ++it) {
        std::string_view text = textOf(*it);
        std::size_t n = 0;
        while (n < shared && n < text.size() && text[n] == first[n]) ++n;
        shared = n;
    }
    return shared;
}

// The positions of `items` in the order of `textOf`, then `tieLess` (a strict weak order
// on items), then position: a total order, so the result is what a stable sort by text
// and `tieLess` gives. Items whose numbers tie get new numbers from their next eight
// bytes, and so on until their texts end: a text is read a few bytes at a time, once
// for each eight bytes it shares with another.
template <typename Items, typename TextOf, typename TieLess>
std::vector<std::uint32_t> orderByText(const Items& items, TextOf textOf, TieLess tieLess) {
    struct Keyed {
        std::uint64_t key;
        std::uint32_t index;
    };
    using Iterator = typename std::vector<Keyed>::iterator;
    auto byKey = [](const Keyed& a, const Keyed& b) { return a.key < b.key; };
    auto sortFrom = [&](auto& self, Iterator begin, Iterator end, std::size_t offset) -> void {
        std::sort(begin, end, byKey);
        for (Iterator run = begin; run != end;) {
            Iterator runEnd = std::find_if(run, end, [&](const Keyed& k) { return k.key != run->key; });
            if (runEnd - run > 1) {
                if ((run->key & 0xFF) == 0) {
                    // Their texts all ended within these bytes: they are equal.
                    std::sort(run, runEnd, [&](const Keyed& a, const Keyed& b) {
                        if (tieLess(items[a.index], items[b.index])) return true;
                        if (tieLess(items[b.index], items[a.index])) return false;
                        return a.index < b.index;
                    });
                } else {
                    for (Iterator k = run; k != runEnd; ++k) k->key = orderKey(textOf(items[k->index]), offset + 8);
                    self(self, run, runEnd, offset + 8);
                }
            }
            run = runEnd;
        }
    };
    const std::size_t shared = sharedPrefixLength(items, textOf);
    std::vector<Keyed> keyed;
    keyed.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        keyed.push_back(Keyed{orderKey(textOf(items[i]), shared), static_cast<std::uint32_t>(i)});
    sortFrom(sortFrom, keyed.begin(), keyed.end(), shared);
    std::vector<std::uint32_t> order;
    order.reserve(keyed.size());
    for (const Keyed& k : keyed) order.push_back(k.index);
    return order;
}

}  // namespace vantrel
