// What the names of a model stand for at a place in it: as the check takes them, which sees of each
// record around only the fields that are declared before, and as the finite form takes them, which
// sees all fields.
#ifndef NORVANE_PM_NAMES_H
#define NORVANE_PM_NAMES_H

#include <exception>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "norvane/proj.hpp"

namespace norvane::driver {

struct Field {
    const VarDecl* decl;
    unsigned index;
};

// A record around the place, outermost first.
struct Frame {
    const TypeCon* record;
    unsigned visible; // how many of its fields the check sees
};

// A loop around the place, outermost first.
struct Loop {
    const Expr* range;
    bool is_used = false;
};

class Names {
  public:
    Names(Project* project, SymbolTable* table) : project_(project), table_(table) {}

    Project* project() const { return project_; }

    // What was spent on the rules of optional records, of which a model may have many. (absent.cpp)
    unsigned steps_for_optionals = 0;

    // What the check takes a name for. At most one member says it.
    struct Meaning {
        Loop* loop = nullptr;
        const Field* field = nullptr;
        const NameData* global = nullptr; // a constant, a label, a type or a variable
        std::size_t frame = 0;            // of a field: which record, counted from 1; else 0
    };
    Meaning meaning_of(const char* name);
    // The innermost field of this name in the finite form, or null, and its record.
    const Field* finite_field(const char* name, std::size_t* frame);

    // A constant, label, type or variable outside of all records, or null.
    const NameData* global(const char* name) const;
    const Field* field(const TypeCon* record, const char* name);
    // The type that a named type stands for; null where there is none.
    TypeCon* real(TypeCon* typecon) const;
    // The type of a path or a name; null where that is not known.
    TypeCon* type_of(const IdCon* idcon);

    std::vector<Frame> frames;
    std::vector<Loop> loops;

  private:
    using Fields = std::unordered_map<std::string_view, Field>;
    const Fields& fields_of(const TypeCon* record);
    TypeCon* type_of_head(const char* name);
    // element(): the type of the indexed element. member(): the type of a field of a record, or of
    // SOME of an optional.
    TypeCon* element(TypeCon* typecon, const IdCon* step) const;
    TypeCon* member(const TypeCon* typecon, const char* name);

    Project* project_;
    SymbolTable* table_;
    std::unordered_map<const TypeCon*, Fields> fields_; // of the records that were asked for
};

// Runs the body, whose walks over trees may need further stack, in a frame of the library.
// Temporary values in it are lost if the system refuses the stack.
template <typename Body>
void in_frame(Body body) {
    std::exception_ptr thrown;
    call([&body, &thrown] {
        try {
            body();
        } catch (...) { // no exception may pass through the frame
            thrown = std::current_exception();
        }
    });
    if (thrown) std::rethrow_exception(thrown);
}

// The first name of a path, and its step.
const IdCon* head_of(const IdCon* idcon);
inline const char* base_name(const IdCon* idcon) {
    return head_of(idcon)->args.id.idname;
}

// "SOME" or "NONE" as a value.
bool is_optional_word(const IdCon* idcon);

inline bool is_name(const Expr* expr) {
    return expr->structure == EXPR_IDCONSTRUCTOR;
}

// Whether a type is one that has a value for every number or text.
inline bool is_unbounded(unsigned char type) {
    return type == ETYPE_ENUM_FLOAT || type == ETYPE_ENUM_INTEGER || type == ETYPE_STRING;
}

} // namespace norvane::driver

#endif
