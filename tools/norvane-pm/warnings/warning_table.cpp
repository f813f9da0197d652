#include "warning_table.h"

#include <algorithm>
#include <cstddef>

namespace norvane::driver {
namespace {

constexpr WarningRow rows[] = {
    {Warning::captured_name, "captured-name", Level::meaning,
     "A name means another thing in the finite form",
     "The check looks a name up where the rule or type is written. The flat rules look it up when "
     "the whole\n"
     "record is known, and a field that is declared later then hides the constant, variable or "
     "outer field\n"
     "that the check found. Rename the field or the other one."},
    {Warning::type_hides_field, "type-hides-field", Level::meaning,
     "A type has the name of a field of an earlier type",
     "Once a type is declared, its name stands for the type everywhere. The finite form of an "
     "earlier type\n"
     "then takes its field of that name for the type. Rename the type or the field."},
    {Warning::not_a_number, "not-a-number", Level::meaning,
     "A variable is compared with a value that is not a number",
     "A division such as 0.0 / 0.0 gives no number. No float is below, above or equal to it, but "
     "the finite\n"
     "form gives it a position among the values. Correct the calculation."},
    {Warning::optional_equality, "optional-equality", Level::meaning,
     "An equation of optionals loses what they hold",
     "In the finite form an optional is 0 or 1, so that two optionals are equal when both are "
     "there, whatever\n"
     "they hold. The same holds for records and arrays with optionals in them. Compare the parts "
     "one by one:\n"
     "    (x = SOME) = (y = SOME) and (x = SOME and y = SOME -> x.SOME = y.SOME)"},
    {Warning::joined_variables, "joined-variables", Level::meaning,
     "An equation of unbounded variables compares classes of values",
     "The finite form of an unbounded variable is the class of its value, and different values may "
     "be in one\n"
     "class. Two variables that are set equal then need only be in the same class. Use one "
     "variable for\n"
     "both, or a range such as [0..1000] as their type."},
    {Warning::order_of_unbounded, "order-of-unbounded", Level::meaning,
     "order() of a value that is not a label",
     "order() is the position of a label. Of an integer, float or string variable it gives the "
     "number of the\n"
     "class that the value is in, which depends on all rules. Compare the variable itself with a "
     "value."},
    {Warning::optional_rule, "optional-rule", Level::meaning,
     "A rule of an optional record restricts what is outside of it",
     "The rules of an optional record hold also while the record is absent, for some values of its "
     "fields. So a\n"
     "rule is meant for every product where the rest may have values for which no values of the "
     "fields satisfy\n"
     "the rules; and where they contradict each other, there is no product. What takes long to "
     "decide is not\n"
     "warned of, and it stays a warning where other rules about the record may rule these values "
     "out. Write the\n"
     "rule outside of the record, after a question:\n"
     "    trailer = SOME -> size >= 7;"},
    {Warning::text_in_loop, "text-in-loop", Level::meaning,
     "Each turn of a loop looks at the last element of an array of texts",
     "Where a loop compares the elements of an array of strings, all of its turns compare the "
     "element of the\n"
     "last turn. Write the comparisons one by one, without a loop."},
    {Warning::text_index, "text-index", Level::meaning,
     "The index of a text stays as it is written",
     "The flat rules name each element of an array by a number, but an index of a string that is "
     "compared\n"
     "stays an expression, whose names the flat rules do not explain. Write the number."},
    {Warning::unsupported, "unsupported", Level::on, "A form that has no finite form",
     "The model passes its check, but its flat rules or its finite form cannot be made. The "
     "warning says which\n"
     "form is meant and what to write instead. For the command that makes them it is an error."},
    {Warning::constant_comparison, "constant-comparison", Level::on,
     "A comparison is always true or always false",
     "The range of the variable decides the comparison whatever value it has, such as ram = 65 for "
     "a range\n"
     "[0..64]. Correct the value or the range."},
    {Warning::duplicate_arm, "duplicate-arm", Level::on, "A case has two arms for one value",
     "The first of them is taken, and the other one never. Remove one of them."},
    {Warning::constant_rule, "constant-rule", Level::all, "A rule names no variable",
     "Such a rule holds for every product or for none. Remove it, or correct the names in it."},
    {Warning::utf8_source, "utf8-source", Level::on, "A file is in UTF-8",
     "Models are read in code page 1252, where each letter of UTF-8 outside ASCII is two or more "
     "others. Convert\n"
     "the file:\n"
     "    iconv -f UTF-8 -t CP1252 model.pm"},
    {Warning::macro_redefined, "macro-redefined", Level::on,
     "A macro is defined again, with another text",
     "The lines before the second definition have the first text, those after it the second. "
     "Rename "
     "one of the\n"
     "macros, or write #undef before the second definition if that is meant."},
    {Warning::warning_directive, "warning-directive", Level::on, "A line #warning was reached",
     "The author of the file wants its users to read the line."},
    {Warning::preprocessor, "preprocessor", Level::on, "The preprocessor warns",
     "A directive has more words than it takes, for example after #endif or #undef, or says what "
     "the "
     "preprocessor\n"
     "does not follow. Correct the line."},
    {Warning::undefined_macro, "undefined-macro", Level::all,
     "An #if asks for a macro that is not defined",
     "The preprocessor takes the name for 0, so that a misspelt one is not seen. Correct it, or "
     "ask "
     "by\n"
     "defined(NAME) first."},
    {Warning::unasked_optional, "unasked-optional", Level::all,
     "The value of an optional is used without asking for it",
     "While an optional is absent, its value is any value, so that a rule about it may forbid a "
     "product for no\n"
     "visible reason. Ask first: fog = SOME -> fog.SOME.watts >= 10."},
    {Warning::unused_name, "unused-name", Level::all,
     "A constant, a type or a loop variable is used nowhere", "Remove the declaration, or use it."},
    {Warning::unused_private, "unused-private", Level::all, "A private variable is in no rule",
     "A private variable is not visible outside the model, so one that no rule names has no "
     "effect. Remove it, or make "
     "it public."},
    {Warning::single_label, "single-label", Level::all, "An enumeration has one label",
     "A variable of this type has no choice. Add the other labels, or use a boolean or an "
     "optional."},
};

} // namespace

std::span<const WarningRow> warning_rows() {
    return rows;
}

const WarningRow& row_of(Warning warning) {
    return rows[static_cast<std::size_t>(warning)];
}

const WarningRow* find_warning(std::string_view name) {
    const auto* found =
        std::ranges::find_if(rows, [name](const WarningRow& row) { return name == row.name; });
    return found == std::end(rows) ? nullptr : found;
}

const char* level_text(Level level) {
    switch (level) {
    case Level::meaning: return "on, an error for rules and simplify";
    case Level::on: return "on";
    case Level::all: return "with -Wall";
    }
    return "";
}

} // namespace norvane::driver
