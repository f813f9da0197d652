// Feature models as they are written in UVL: features in a tree, and constraints across it.
#ifndef NORVANE_PM_UVL_H
#define NORVANE_PM_UVL_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import.h"

namespace norvane::driver {

using UvlIndex = std::uint32_t;
constexpr UvlIndex uvl_none = UINT32_MAX;

enum class UvlToken {
    name,
    number,
    text,   // 'of an attribute'
    symbol, // such as "=>"
    line_end,
    indent,
    dedent,
    end
};

struct UvlWord {
    UvlToken kind = UvlToken::end;
    bool is_quoted = false; // "a name", without its quotes
    std::string_view text;
    unsigned line = 1;
    unsigned column = 1;
};

// Throws an ImportFault.
std::vector<UvlWord> uvl_words(std::string_view text);

// An expression: a word with its operands. A call has "(" and the function, a reference "." and its
// parts, which are names.
struct UvlTerm {
    UvlWord word;
    UvlIndex left = uvl_none; // of one operand, too
    UvlIndex right = uvl_none;
};

struct UvlAttribute {
    UvlWord name;
    UvlWord value; // "true" where there is none
    bool is_negative = false;
};

enum class UvlGroupKind { mandatory, optional, any, alternative, cardinality };

struct UvlGroup {
    UvlGroupKind kind = UvlGroupKind::optional;
    unsigned line = 0;
    std::uint64_t least = 0;
    std::uint64_t most = 0;
    std::vector<UvlIndex> features;
};

struct UvlFeature {
    UvlWord name;
    std::string_view type; // empty for none
    UvlIndex parent = uvl_none;
    UvlIndex end = 0; // the features below come before this one
    std::vector<UvlAttribute> attributes;
    std::vector<UvlGroup> groups;
};

struct UvlModel {
    std::vector<UvlFeature> features; // each before those below; the first is the root
    std::unordered_map<std::string, UvlIndex> by_name;
    std::vector<UvlTerm> terms;
    std::vector<UvlIndex> constraints;
    std::vector<LeftOut> left_out;
    void leave_out(unsigned line, const std::string& text) {
        left_out.push_back({line, "not carried over: " + text});
    }
};

// Throws an ImportFault.
UvlModel uvl_model(std::string_view text);

} // namespace norvane::driver

#endif
