// The flat model: every value that flat rules can name, in the order of declaration. A part of
// norvane/proj.hpp, which includes it.
//
//     const norvane::FlatModel flat(*checked);
//     flat.for_each([](const norvane::FlatVariable& variable) { ...; return true; });
//
// A model may have millions of such variables, so they are not listed but laid out: each type has a
// shape, which tells how many variables a value of it has and where each part begins. The number of
// a variable is its place in the layout; its path and its type are found on the way there.
#ifndef NORVANE_FLAT_MODEL_HPP
#define NORVANE_FLAT_MODEL_HPP

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <deque>
#include <functional>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "norvane/base/deep.hpp"
#include "norvane/proj.hpp"

namespace norvane {

// What the numbers of a variable stand for.
enum class ScalarKind {
    boolean,     // false, true
    range,       // themselves
    enumeration, // labels
    integer,     // classes of numbers
    real,        // classes of numbers
    text,        // any text that no rule mentions, and the texts
    optional     // NONE, SOME
};

// The name of a kind in the language, as in "enumeration".
inline const char* kind_text(ScalarKind kind) {
    switch (kind) {
    case ScalarKind::boolean: return "boolean";
    case ScalarKind::range: return "range";
    case ScalarKind::enumeration: return "enumeration";
    case ScalarKind::integer: return "integer";
    case ScalarKind::real: return "float";
    case ScalarKind::text: return "string";
    case ScalarKind::optional: return "optional";
    }
    return "";
}

struct Shape;

// A variable of the model, or a field of a record.
struct Part {
    std::string name; // as a path spells it: in quotes unless it is a plain name
    const VarDecl* decl;
    const Shape* shape;
    std::size_t first; // of its variables, counted from the first one of the record
};

// A type, with all names of types resolved.
//
// A scalar is one variable with the values 0 to `upper`. An optional is one, whose value 1 stands
// for SOME, and after it those of what it may hold, which exist even while the optional is absent.
struct Shape {
    enum class Form { scalar, record, array, optional };
    Form form = Form::scalar;
    ScalarKind kind = ScalarKind::boolean; // of a scalar, and of an optional's own variable
    unsigned upper = 1;
    std::size_t size = 1; // number of variables; the highest number where they cannot be counted
    // The labels of an enumeration, and the classes of an unbounded type, merged types included;
    // in the model's code page, borrowed from it.
    std::vector<const char*> labels;
    const Shape* element = nullptr;                            // of an array or an optional
    unsigned count = 0;                                        // of an array's elements
    std::vector<Part> parts;                                   // of a record
    std::unordered_map<std::string_view, std::size_t> by_name; // of a record with many parts
};

// A part of the model that a path leads to: several variables unless it is a scalar.
struct FlatPlace {
    const Shape* shape = nullptr; // null where the path leads nowhere
    std::size_t first = 0;
};

// A variable of flat rules; borrowed for the length of a visit.
struct FlatVariable {
    std::size_t number;
    const std::string& path; // such as "shelves[0].slots[1].card.SOME.watts"
    const Shape& shape;
    bool is_public;      // as are all records around it
    const VarDecl* decl; // the innermost one on the path
};

// Calls visit(a, b, shape) with the numbers of each pair of variables that are equal if the two
// parts are: records field by field, by their names, arrays element by element, and optionals by
// whether they are there.
inline void for_each_pair(const FlatPlace& a, const FlatPlace& b,
                          const std::function<void(std::size_t, std::size_t, const Shape&)>& visit);

// The variables of a checked model. Where a type has none of the forms that a checked model can
// have, std::logic_error is thrown.
class FlatModel {
  public:
    // Borrows the model, and gives each unbounded type the list of its classes.
    explicit FlatModel(const CheckedModel& model);
    explicit FlatModel(CheckedModel&& model) = delete; // which would not live as long
    FlatModel(const FlatModel&) = delete;              // parts of it point to others
    FlatModel& operator=(const FlatModel&) = delete;

    std::size_t size() const { return root_.size; }
    // Calls visit(variable) for each one in order, until it returns false.
    void for_each(const std::function<bool(const FlatVariable&)>& visit) const;
    // Calls visit with the variable of a number, which is less than size().
    void with(std::size_t number, const std::function<void(const FlatVariable&)>& visit) const;
    // What an identifier of a flat rule names. Its path is put into `path`, where that is given.
    FlatPlace find(const IdCon* idcon, std::string* path = nullptr) const;
    // The value of an index.
    unsigned index_of(const Expr* index) const;

    const CheckedModel& model() const { return model_; }

  private:
    struct Walk;
    const Shape* shape_of(TypeCon* type);
    Shape make_shape(TypeCon* type);
    void add_part(Shape& record, const VarDecl* decl);
    void close_record(Shape& record);
    bool enter(const IdCon* step, FlatPlace& place, std::string& path) const;
    bool enter_elements(const IdCon* step, FlatPlace& place, std::string& path) const;
    void walk(Walk& at, const Shape& shape, bool is_public, const VarDecl* decl) const;
    void walk_record(Walk& at, const Shape& record, bool is_public) const;
    void walk_inside(Walk& at, const std::string& step, const Shape& shape, bool is_public,
                     const VarDecl* decl) const;

    const CheckedModel& model_;
    std::deque<Shape> shapes_;
    std::unordered_map<const TypeCon*, const Shape*> by_type_;
    Shape root_; // the model as a record
};

// The text of a value: of an enumeration its label, of an unbounded type its class, NONE or SOME,
// false or true, or the number; in the model's code page.
inline std::string value_text(const Shape& shape, unsigned value);

// The same as it stands in a rule; nothing for a class that is not a single value, such as "[2;4]".
inline std::string value_in_source(const Shape& shape, unsigned value);

// Where something is declared: a file and a line, or what a #line directive says instead.
struct DeclaredAt {
    std::string file;  // empty where that is not known
    unsigned line = 0; // from 1; 0 where that is not known
    std::string text;  // as messages begin: "bicycle.pm (3)"
};

// Where a record of the model with this `linenumber` is declared; UNDEF_LINENO is nowhere.
inline DeclaredAt where_declared(const Model& model, unsigned linenumber);
// The same of a checked model.
inline DeclaredAt where_declared(const CheckedModel& model, unsigned linenumber);

// How it is done ---------------------------------------------------------------------------------

namespace detail {

inline constexpr std::size_t uncountable = std::numeric_limits<std::size_t>::max();
// A record with fewer parts is searched faster than hashed.
inline constexpr std::size_t few_parts = 8;

inline std::size_t sum(std::size_t a, std::size_t b) {
    return a > uncountable - b ? uncountable : a + b;
}

inline std::size_t product(std::size_t a, std::size_t b) {
    return b != 0 && a > uncountable / b ? uncountable : a * b;
}

inline std::string spelled(const char* name) {
    char* quoted = call([name] { return ppm_quoted_id(const_cast<char*>(name)); });
    std::string text = quoted;
    call([quoted] { str_delete(quoted); });
    return text;
}

inline std::vector<const char*> texts_of(const PolyList* list) {
    std::vector<const char*> texts;
    texts.reserve(list->len);
    for (const char* text : items<char>(list))
        texts.push_back(text);
    return texts;
}

inline Shape scalar(ScalarKind kind, unsigned upper) {
    Shape shape;
    shape.kind = kind;
    shape.upper = upper;
    return shape;
}

inline Shape of_labels(ScalarKind kind, const PolyList* labels) {
    Shape shape = scalar(kind, labels->len > 0 ? labels->len - 1 : 0);
    shape.labels = texts_of(labels);
    return shape;
}

inline const Part* find_part(const Shape& record, std::string_view name) {
    if (!record.by_name.empty()) {
        const auto found = record.by_name.find(name);
        return found == record.by_name.end() ? nullptr : &record.parts[found->second];
    }
    for (const Part& part : record.parts)
        if (name == part.decl->name) return &part;
    return nullptr;
}

inline void add_index(std::string& path, unsigned index) {
    char text[16] = "[";
    char* end = std::to_chars(text + 1, text + sizeof text - 1, index).ptr;
    *end++ = ']';
    path.append(text, end);
}

// The part of a record that holds its variable of this number.
inline const Part& part_with(const Shape& record, std::size_t number) {
    const auto after =
        std::upper_bound(record.parts.begin(), record.parts.end(), number,
                         [](std::size_t wanted, const Part& part) { return wanted < part.first; });
    return *std::prev(after);
}

// A text as a literal of the language.
inline std::string literal_of(std::string_view text) {
    constexpr std::string_view escaped = "\n\r\t\"\\", escapes = "nrt\"\\";
    std::string literal = "\"";
    for (const char c : text) {
        const std::size_t at = escaped.find(c);
        if (at != escaped.npos) literal += '\\';
        literal += at == escaped.npos ? c : escapes[at];
    }
    return literal + '"';
}

} // namespace detail

inline FlatModel::FlatModel(const CheckedModel& model) : model_(model) {
    root_.form = Shape::Form::record;
    root_.size = 0;
    for (const VarDecl* decl : model.model().variables())
        add_part(root_, decl);
    close_record(root_);
}

inline void FlatModel::add_part(Shape& record, const VarDecl* decl) {
    const Shape* shape = shape_of(decl->typecon);
    record.parts.push_back({detail::spelled(decl->name), decl, shape, record.size});
    record.size = detail::sum(record.size, shape->size);
}

inline void FlatModel::close_record(Shape& record) {
    if (record.parts.size() <= detail::few_parts) return;
    for (std::size_t i = 0; i < record.parts.size(); ++i)
        record.by_name.emplace(record.parts[i].decl->name, i);
}

inline const Shape* FlatModel::shape_of(TypeCon* type) {
    if (stack_is_low()) return on_fresh_stack([&] { return shape_of(type); });
    TypeCon* real = call([this, type] {
        TypeCon* resolved = nullptr;
        symtbl_lookup_typecon(model_.get()->line_info, model_.table(), type, &resolved,
                              UNDEF_LINENO);
        return resolved;
    });
    const auto known = by_type_.find(real);
    if (known != by_type_.end()) return known->second;
    Shape shape = make_shape(real);
    const Shape* kept = &shapes_.emplace_back(std::move(shape));
    by_type_.emplace(real, kept);
    return kept;
}

inline Shape FlatModel::make_shape(TypeCon* type) {
    const auto root_of = [type] { return call([type] { return tc_find_set(type); }); };
    Shape shape;
    switch (kind_of(type)) {
    case TC_BOOL: return detail::scalar(ScalarKind::boolean, 1);
    case TC_INT: return detail::scalar(ScalarKind::range, index_of(type->values.upper));
    case TC_SUM: return detail::of_labels(ScalarKind::enumeration, type->values.labels);
    case TC_UBOUND_INTEGER: {
        TypeCon* root = root_of();
        call([root] { tc_create_integer_intervals(root); });
        return detail::of_labels(ScalarKind::integer, root->values.enum_int.labellist);
    }
    case TC_UBOUND_FLOAT: {
        TypeCon* root = root_of();
        call([root] { tc_create_float_intervals(root); });
        return detail::of_labels(ScalarKind::real, root->values.enum_float.labellist);
    }
    case TC_STRING: {
        TypeCon* root = root_of();
        call([root] { tc_create_string_hash(root); });
        return detail::of_labels(ScalarKind::text, root->values.enum_string.labellist);
    }
    case TC_PROD:
        shape.form = Shape::Form::record;
        shape.size = 0;
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            add_part(shape, field);
        close_record(shape);
        return shape;
    case TC_ARRAY:
        shape.form = Shape::Form::array;
        shape.count = index_of(type->values.array.size);
        shape.element = shape_of(type->values.array.element);
        shape.size = detail::product(shape.count, shape.element->size);
        return shape;
    case TC_OPTIONAL:
        shape.form = Shape::Form::optional;
        shape.kind = ScalarKind::optional;
        shape.element = shape_of(type->values.base);
        shape.size = detail::sum(1, shape.element->size);
        return shape;
    case TC_NAMED: break; // named types have been replaced by what they stand for
    }
    throw std::logic_error("a type without a shape");
}

inline unsigned FlatModel::index_of(const Expr* index) const {
    if (index->structure == EXPR_INT_CONST)
        return static_cast<unsigned>(index->args.intconst.value);
    return static_cast<unsigned>(call([this, index] {
        return ssem_static_evaluate_intexpr(model_.get(), model_.table(), const_cast<Expr*>(index));
    }));
}

inline FlatPlace FlatModel::find(const IdCon* idcon, std::string* path) const {
    FlatPlace place{&root_, 0};
    std::string found;
    for (; idcon->contype == IDCON_COMPOSIT; idcon = idcon->args.compositid.nested)
        if (!enter(idcon->args.compositid.hier, place, found)) return {};
    if (!enter(idcon, place, found)) return {};
    if (path) *path = std::move(found);
    return place;
}

// Goes on to what a step of a path leads to; false if there is no such part.
inline bool FlatModel::enter(const IdCon* step, FlatPlace& place, std::string& path) const {
    const char* name = step->args.id.idname;
    if (place.shape->form == Shape::Form::optional && std::strcmp(name, "SOME") == 0) {
        place = {place.shape->element, place.first + 1};
        path += ".SOME";
    } else {
        const Part* part = detail::find_part(*place.shape, name);
        if (!part) return false;
        place = {part->shape, place.first + part->first};
        if (!path.empty()) path += '.';
        path += part->name;
    }
    return step->contype != IDCON_ARRAY || enter_elements(step, place, path);
}

inline bool FlatModel::enter_elements(const IdCon* step, FlatPlace& place,
                                      std::string& path) const {
    for (const Expr* index : items<Expr>(step->args.array.exprlist)) {
        const unsigned at = index_of(index);
        if (place.shape->form != Shape::Form::array || at >= place.shape->count) return false;
        place = {place.shape->element, place.first + at * place.shape->element->size};
        detail::add_index(path, at);
    }
    return true;
}

inline void
for_each_pair(const FlatPlace& a, const FlatPlace& b,
              const std::function<void(std::size_t, std::size_t, const Shape&)>& visit) {
    if (stack_is_low()) return on_fresh_stack([&] { for_each_pair(a, b, visit); });
    switch (a.shape->form) {
    case Shape::Form::scalar:
    case Shape::Form::optional: visit(a.first, b.first, *a.shape); return;
    case Shape::Form::record:
        for (const Part& part : a.shape->parts) {
            const Part* other = detail::find_part(*b.shape, part.decl->name);
            for_each_pair({part.shape, a.first + part.first},
                          {other->shape, b.first + other->first}, visit);
        }
        return;
    case Shape::Form::array:
        for (unsigned i = 0; i < a.shape->count; ++i) {
            const Shape* left = a.shape->element;
            const Shape* right = b.shape->element;
            for_each_pair({left, a.first + i * left->size}, {right, b.first + i * right->size},
                          visit);
        }
        return;
    }
}

// A walk over variables. The path is that of the part that the walk is at.
struct FlatModel::Walk {
    const std::function<bool(const FlatVariable&)>& visit;
    std::string path;
    std::size_t number = 0;
    bool has_ended = false;
};

inline void FlatModel::walk(Walk& at, const Shape& shape, bool is_public,
                            const VarDecl* decl) const {
    if (stack_is_low()) return on_fresh_stack([&] { walk(at, shape, is_public, decl); });
    switch (shape.form) {
    case Shape::Form::optional:
    case Shape::Form::scalar:
        at.has_ended = !at.visit({at.number++, at.path, shape, is_public, decl});
        if (shape.form == Shape::Form::optional && !at.has_ended)
            walk_inside(at, ".SOME", *shape.element, is_public, decl);
        return;
    case Shape::Form::record: return walk_record(at, shape, is_public);
    case Shape::Form::array:
        for (unsigned i = 0; i < shape.count && !at.has_ended; ++i)
            walk_inside(at, "[" + std::to_string(i) + "]", *shape.element, is_public, decl);
        return;
    }
}

inline void FlatModel::walk_record(Walk& at, const Shape& record, bool is_public) const {
    for (const Part& part : record.parts) {
        if (at.has_ended) return;
        const bool part_public = is_public && part.decl->vartype == VARTYPE_PUBLIC;
        const std::string step = (at.path.empty() ? "" : ".") + part.name;
        walk_inside(at, step, *part.shape, part_public, part.decl);
    }
}

inline void FlatModel::walk_inside(Walk& at, const std::string& step, const Shape& shape,
                                   bool is_public, const VarDecl* decl) const {
    const std::size_t length = at.path.size();
    at.path += step;
    walk(at, shape, is_public, decl);
    at.path.resize(length);
}

inline void FlatModel::for_each(const std::function<bool(const FlatVariable&)>& visit) const {
    Walk at{visit, {}};
    walk(at, root_, true, nullptr);
}

inline void FlatModel::with(std::size_t number,
                            const std::function<void(const FlatVariable&)>& visit) const {
    std::string path;
    const Shape* shape = &root_;
    bool is_public = true;
    const VarDecl* decl = nullptr;
    for (std::size_t rest = number;;) {
        switch (shape->form) {
        case Shape::Form::record: {
            const Part& part = detail::part_with(*shape, rest);
            path += (path.empty() ? "" : ".") + part.name;
            is_public = is_public && part.decl->vartype == VARTYPE_PUBLIC;
            decl = part.decl;
            rest -= part.first;
            shape = part.shape;
            continue;
        }
        case Shape::Form::array:
            path += "[" + std::to_string(rest / shape->element->size) + "]";
            rest %= shape->element->size;
            shape = shape->element;
            continue;
        case Shape::Form::optional:
            if (rest == 0) break;
            path += ".SOME";
            --rest;
            shape = shape->element;
            continue;
        case Shape::Form::scalar: break;
        }
        return visit({number, path, *shape, is_public, decl});
    }
}

inline std::string value_text(const Shape& shape, unsigned value) {
    if (value < shape.labels.size()) return shape.labels[value];
    switch (shape.kind) {
    case ScalarKind::boolean: return value == 0 ? "false" : "true";
    case ScalarKind::optional: return value == 0 ? "NONE" : "SOME";
    default: return std::to_string(value);
    }
}

inline std::string value_in_source(const Shape& shape, unsigned value) {
    switch (shape.kind) {
    case ScalarKind::boolean:
    case ScalarKind::optional:
    case ScalarKind::range: return value_text(shape, value);
    default: break;
    }
    if (value >= shape.labels.size()) return {};
    const char* label = shape.labels[value];
    if (shape.kind == ScalarKind::enumeration) return detail::spelled(label);
    if (shape.kind == ScalarKind::text)
        return value == 0 ? "" : detail::literal_of(label); // 0: any other
    return *label == '[' || *label == ']' ? "" : label;
}

inline DeclaredAt where_declared(const Model& model, unsigned linenumber) {
    DeclaredAt declared;
    std::string text = model.position(linenumber);
    const std::size_t end = text.find_last_not_of(" :");
    text.resize(end == std::string::npos ? 0 : end + 1);
    declared.text = text;
    const std::size_t open = text.rfind(" (");
    if (open == std::string::npos || text.back() != ')') return declared;
    const char* last = text.data() + text.size() - 1;
    unsigned line = 0;
    const auto [after, error] = std::from_chars(text.data() + open + 2, last, line);
    if (error != std::errc() || after != last) return declared;
    declared.file = text.substr(0, open);
    declared.line = line;
    return declared;
}

inline DeclaredAt where_declared(const CheckedModel& model, unsigned linenumber) {
    return where_declared(model.model(), linenumber);
}

} // namespace norvane

#endif
