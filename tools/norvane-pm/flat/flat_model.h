// The flat model: every value that flat rules can name, in the order of declaration.
//
// A model may have millions of such variables, so they are not listed but laid out: each type has a
// shape, which tells how many variables a value of it has and where each part begins. The number of
// a variable is its place in the layout; its path and its type are found on the way there.
#ifndef NORVANE_PM_FLAT_MODEL_H
#define NORVANE_PM_FLAT_MODEL_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

enum class ScalarKind { boolean, range, enumeration, integer, real, text, optional };

// As in "enumeration".
const char* kind_text(ScalarKind kind);

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
// for SOME, and after it those of what it may hold, which exist whether or not it is there.
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
void for_each_pair(const FlatPlace& a, const FlatPlace& b,
                   const std::function<void(std::size_t, std::size_t, const Shape&)>& visit);

class FlatModel {
  public:
    // Borrows the model, and gives each unbounded type the list of its classes.
    explicit FlatModel(const CheckedModel& model);

    std::size_t size() const { return root_.size; }
    // Calls visit(variable) for each one in order, until it returns false.
    void for_each(const std::function<bool(const FlatVariable&)>& visit) const;
    // Calls visit with the variable of a number.
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
    void descend(Walk& at, const Shape& shape, bool is_public, const VarDecl* decl,
                 std::size_t rest) const;

    const CheckedModel& model_;
    std::deque<Shape> shapes_;
    std::unordered_map<const TypeCon*, const Shape*> by_type_;
    Shape root_; // the model as a record
};

// The text of a value: of an enumeration its label, of an unbounded type its class, NONE or SOME,
// false or true, or the number; in the model's code page.
std::string value_text(const Shape& shape, unsigned value);

// The same as it stands in a rule; nothing for a class that is not a single value, such as "[2;4]".
std::string value_in_source(const Shape& shape, unsigned value);

// Where something is declared: a file and a line, or what a #line directive says instead.
struct DeclaredAt {
    std::string file;
    unsigned line = 0;
    std::string text; // as messages begin: "bicycle.pm (3)"
};
DeclaredAt where_declared(const CheckedModel& model, unsigned linenumber);

} // namespace norvane::driver

#endif
