// A symbol's JSON shape, defined once: its field names in the order they are written
// (sorted, as every key of this system's files is) and one template that writes a symbol
// through any writer. The graph's document form, its streaming writer, the cache's record
// writer and the record readers (the fixed-literal one and the general one) all take the
// names and the order from here, so a change of the shape is a change of this file.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "core/model/ProjectIR.h"

namespace vantrel::symboljson {

inline constexpr std::string_view kId = "id";
inline constexpr std::string_view kKind = "kind";
inline constexpr std::string_view kRange = "range";
inline constexpr std::string_view kRefsIn = "refsIn";
inline constexpr std::string_view kRefsOut = "refsOut";
// A symbol's fields in written order.
inline constexpr std::array<std::string_view, 5> kFields{kId, kKind, kRange, kRefsIn, kRefsOut};

inline constexpr std::string_view kEndCol = "endCol";
inline constexpr std::string_view kEndLine = "endLine";
inline constexpr std::string_view kStartCol = "startCol";
inline constexpr std::string_view kStartLine = "startLine";
// A range's fields in written order.
inline constexpr std::array<std::string_view, 4> kRangeFields{kEndCol, kEndLine, kStartCol, kStartLine};

static_assert(std::is_sorted(kFields.begin(), kFields.end()) &&
                  std::is_sorted(kRangeFields.begin(), kRangeFields.end()),
              "keys are written sorted");

// A range's values in the order of kRangeFields, to read or to write.
inline std::array<std::int64_t, 4> rangeValues(const TextRange& r) {
    return {r.endCol, r.endLine, r.startCol, r.startLine};
}
inline std::array<std::int64_t*, 4> rangeTargets(TextRange& r) {
    return {&r.endCol, &r.endLine, &r.startCol, &r.startLine};
}

// Writes `symbol` through a writer with the calls of JsonTextWriter (beginObject,
// endObject, beginArray, endArray, key, element, string, integer).
template <typename Writer>
void writeIds(Writer& w, const IdSet& ids) {
    w.beginArray(ids.empty());
    for (const auto& id : ids) {
        w.element();
        w.string(id);
    }
    w.endArray();
}

template <typename Writer>
void writeSymbol(Writer& w, const Symbol& symbol) {
    w.beginObject();
    w.key(kId);
    w.string(symbol.id);
    w.key(kKind);
    w.string(rawValue(symbol.kind));
    w.key(kRange);
    w.beginObject();
    const auto values = rangeValues(symbol.range);
    for (std::size_t i = 0; i < kRangeFields.size(); ++i) {
        w.key(kRangeFields[i]);
        w.integer(values[i]);
    }
    w.endObject();
    w.key(kRefsIn);
    writeIds(w, symbol.refsIn);
    w.key(kRefsOut);
    writeIds(w, symbol.refsOut);
    w.endObject();
}

// Text joined at compile time, for readers that take a written form by fixed literals:
// `joined({"{\"", kId, "\":"})` is `{"id":`.
struct FixedText {
    char chars[64]{};
    std::size_t size = 0;
    constexpr std::string_view view() const { return {chars, size}; }
};
consteval FixedText joined(std::initializer_list<std::string_view> parts) {
    FixedText text;
    for (std::string_view part : parts)
        for (char c : part) text.chars[text.size++] = c;
    return text;
}

// The written form of a symbol without references, piece by piece between its values:
// `{"id":` ID `,"kind":` KIND `,"range":{"endCol":` N `,"endLine":` N `,"startCol":` N
// `,"startLine":` N `},"refsIn":[],"refsOut":[]}`. A cache record's symbols have this form.
inline constexpr FixedText kBeforeId = joined({"{\"", kId, "\":"});
inline constexpr FixedText kBeforeKind = joined({",\"", kKind, "\":"});
inline constexpr FixedText kBeforeRange = joined({",\"", kRange, "\":{\"", kRangeFields[0], "\":"});
inline constexpr std::array<FixedText, 3> kBetweenRangeValues{joined({",\"", kRangeFields[1], "\":"}),
                                                              joined({",\"", kRangeFields[2], "\":"}),
                                                              joined({",\"", kRangeFields[3], "\":"})};
inline constexpr FixedText kAfterRangeNoRefs = joined({"},\"", kRefsIn, "\":[],\"", kRefsOut, "\":[]}"});

}  // namespace vantrel::symboljson
