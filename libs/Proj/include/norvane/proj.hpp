// The project library for C++17 and later: values that own what they hold, ranges over the lists,
// faults of the input as results, internal failures as exceptions.
//
//     auto model = norvane::Model::from_source("bicycle.pm");
//     if (!model) return show(model.reports());
//
// Everything here is inline and calls exported functions alone. The records of the library stay
// within reach, by get() and by the ranges, for what has no wrapper; call() and gather() then do
// for a function of the library what the wrappers do.
//
// A throw of the library is a longjmp, which runs no destructors (norvane/base/except.h). So each
// call runs in a frame, whose body holds plain pointers only, and what is thrown goes on as an
// InternalFailure. The limits of the library hold here too: one call at a time in a process.
//
// Texts are as the library has them: those of models in code page 1252, file names as they were
// given. Paths and names are borrowed for the length of a call.
#ifndef NORVANE_PROJ_HPP
#define NORVANE_PROJ_HPP

#if __cplusplus < 201703L
#error "norvane/proj.hpp needs C++17 or later"
#endif

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include "norvane/base/items.hpp"
#include "norvane/base/packages.hpp"
#include "norvane/proj.h"

namespace norvane {

// Failures ---------------------------------------------------------------------------------------

// What the library threw: a broken invariant, memory that is exhausted, a watch that stopped the
// run. Memory that the call was using is leaked; the values that took part in it stay valid.
class InternalFailure : public std::exception {
  public:
    explicit InternalFailure(const ExceptionState& thrown) noexcept : thrown_(thrown) {}
    const char* what() const noexcept override { return thrown_.message; }
    int kind() const noexcept { return thrown_.kind; }         // an EXCEPT_ constant
    const char* file() const noexcept { return thrown_.file; } // the module that threw
    int line() const noexcept { return thrown_.line; }
    bool is_out_of_memory() const noexcept { return std::strcmp(what(), "Out of memory") == 0; }

  private:
    ExceptionState thrown_;
};

namespace detail {

template <typename Body>
void call_body(void* user) {
    (*static_cast<Body*>(user))();
}

// Runs the body in a frame; false if it threw.
template <typename Body>
bool is_caught(Body& body, ExceptionState& thrown) {
    return except_catch(call_body<Body>, &body, &thrown) != 0;
}

// Releases a record in a frame: a deep tree needs further stack to be released, and where the
// system refuses it, the tree is leaked.
template <auto function>
struct Release {
    template <typename Record>
    void operator()(Record* owned) const noexcept {
        auto body = [owned] { function(owned); };
        ExceptionState ignored;
        is_caught(body, ignored);
    }
};
template <typename Record, auto function>
using Owner = std::unique_ptr<Record, Release<function>>;
using ListOwner = Owner<PolyList, plist_delete>;

} // namespace detail

// Calls `body`, which calls functions of the library, and returns what it returns: a number, a
// pointer, or nothing. No destructor that matters may run in it. Throws an InternalFailure for what
// the library throws.
template <typename Body>
auto call(Body body) -> decltype(body()) {
    using Value = decltype(body());
    ExceptionState thrown;
    if constexpr (std::is_void_v<Value>) {
        if (detail::is_caught(body, thrown)) throw InternalFailure(thrown);
    } else {
        static_assert(std::is_trivially_destructible_v<Value>);
        Value value{};
        auto keep = [&body, &value] { value = body(); };
        if (detail::is_caught(keep, thrown)) throw InternalFailure(thrown);
        return value;
    }
}

// Reports ----------------------------------------------------------------------------------------

// A run of a paragraph: text, code, or a reference into a manual (ErrorDescRun).
struct ReportRun {
    ErrorRunKind kind;
    std::string text;
    std::string document;
    std::string anchor;
};

// A paragraph of a report's description.
struct ReportParagraph {
    ErrorPAlign align;
    std::vector<ReportRun> runs;
};

// A report of what is wrong with the input. Its title begins with the place in the user's file, as
// in "bicycle.pm (3): Undeclared identifier 'colour'", where the place is known.
struct Report {
    ErrorType severity = ERROR_TYPE_ERROR;
    std::string name;    // the identity of the error, such as "ERR_ID_UNDECLARED"
    std::string title;   // all of it
    std::string file;    // the title taken apart: empty where no file is named,
    unsigned line = 0;   // 0 where no line is,
    std::string message; // and what is wrong there
    std::vector<ReportParagraph> paragraphs;
    bool is_error() const { return severity == ERROR_TYPE_ERROR; }

    // Sets the title and its parts.
    void set_title(std::string text) {
        title = std::move(text);
        file.clear();
        line = 0;
        message = title;
        const std::string_view whole = title;
        for (std::size_t open = whole.find(" ("); open != std::string_view::npos;
             open = whole.find(" (", open + 1)) {
            const char* end = whole.data() + whole.size();
            unsigned number = 0;
            const auto [after, error] = std::from_chars(whole.data() + open + 2, end, number);
            const std::string_view rest(after, static_cast<std::size_t>(end - after));
            if (error != std::errc() || rest.substr(0, 3) != "): ") continue;
            file = whole.substr(0, open);
            line = number;
            message = rest.substr(3);
            return;
        }
    }
};

// Takes each report as it comes, before the call ends. It must not call the library. What it throws
// is thrown on when the call has ended, unless that ends in an InternalFailure, which comes
// instead.
using OnReport = std::function<void(const Report&)>;

namespace detail {

inline std::string text_or_empty(const char* text) {
    return text ? text : "";
}

inline Report to_report(ErrorType severity, const ErrorInfo& error) {
    Report report;
    report.severity = severity;
    report.name = error.name;
    report.set_title(error.message);
    for (const auto* paragraph : items<ErrorDescParagraph>(error.paragraphs)) {
        report.paragraphs.push_back({paragraph->align, {}});
        for (const auto* run : items<ErrorDescRun>(paragraph->runs))
            report.paragraphs.back().runs.push_back({run->kind, text_or_empty(run->text),
                                                     text_or_empty(run->document),
                                                     text_or_empty(run->anchor)});
    }
    return report;
}

// Gathers all reports while it lives. The sink that was installed before is put back afterwards.
class Gathering {
  public:
    explicit Gathering(const OnReport& on_report) : on_report_(on_report) {
        before_ = msg_get_error_sink(&user_before_);
        msg_set_error_sink(receive, this);
    }
    ~Gathering() { msg_set_error_sink(before_, user_before_); }
    Gathering(const Gathering&) = delete;
    Gathering& operator=(const Gathering&) = delete;

    std::vector<Report> take_reports() {
        if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
        return std::move(reports_);
    }

  private:
    // No exception may pass through the library, which called this.
    static void receive(ErrorType severity, ErrorInfo* error, void* user) {
        auto& gathering = *static_cast<Gathering*>(user);
        try {
            gathering.reports_.push_back(to_report(severity, *error));
            if (gathering.on_report_ && !gathering.thrown_)
                gathering.on_report_(gathering.reports_.back());
        } catch (...) {
            if (!gathering.thrown_) gathering.thrown_ = std::current_exception();
        }
        err_delete(error);
    }

    const OnReport& on_report_;
    MsgErrorSink before_;
    void* user_before_ = nullptr;
    std::vector<Report> reports_;
    std::exception_ptr thrown_;
};

inline bool has_errors(const std::vector<Report>& reports) {
    for (const Report& report : reports)
        if (report.is_error()) return true;
    return false;
}

} // namespace detail

// What gather() returns: the value, if there is one, and all that was reported.
template <typename Value>
struct Gathered {
    Value value;
    std::vector<Report> reports;
};
// The same of a body that returns nothing.
template <>
struct Gathered<void> {
    std::vector<Report> reports;
};

// call(), with all that is reported meanwhile. If the body makes something that has to be released,
// gather<Owner>(body) makes the Owner of it that is the value, also if on_report throws.
template <typename Owner = void, typename Body>
auto gather(Body body, const OnReport& on_report = {}) {
    using Value = std::conditional_t<std::is_void_v<Owner>, decltype(body()), Owner>;
    detail::Gathering gathering(on_report);
    if constexpr (std::is_void_v<Value>) {
        call(std::move(body));
        return Gathered<void>{gathering.take_reports()};
    } else {
        Value value(call(std::move(body)));
        std::vector<Report> reports = gathering.take_reports();
        return Gathered<Value>{std::move(value), std::move(reports)};
    }
}

// What a call gives that depends on the input: a value, or nothing if the input is at fault. The
// reports tell why, and hold the warnings in either case.
template <typename T>
class Result {
  public:
    Result(std::optional<T> value, std::vector<Report> reports)
        : value_(std::move(value)), reports_(std::move(reports)) {}
    explicit operator bool() const { return value_.has_value(); }
    // The value, where there is one.
    T& operator*() & { return *value_; }
    const T& operator*() const& { return *value_; }
    T&& operator*() && { return std::move(*value_); }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }
    // In the order in which they came.
    const std::vector<Report>& reports() const { return reports_; }
    // True if an error is among them; a reader that goes on after one may still give a value.
    bool has_errors() const { return detail::has_errors(reports_); }

  private:
    std::optional<T> value_;
    std::vector<Report> reports_;
};

// The same of a call that gives nothing but success.
template <>
class Result<void> {
  public:
    Result(bool succeeded, std::vector<Report> reports)
        : succeeded_(succeeded), reports_(std::move(reports)) {}
    explicit operator bool() const { return succeeded_; }
    const std::vector<Report>& reports() const { return reports_; }
    bool has_errors() const { return detail::has_errors(reports_); }

  private:
    bool succeeded_;
    std::vector<Report> reports_;
};

namespace detail {

// An owning T of the record that `make` returns; without a value where that is null.
template <typename T, typename Make>
Result<T> made(const OnReport& on_report, Make make) {
    Gathering gathering(on_report);
    std::optional<T> value;
    if (auto* record = call(make)) value.emplace(record);
    return {std::move(value), gathering.take_reports()};
}

// A call that returns one of the library's statuses, 0 for success.
template <typename Body>
Result<void> done(const OnReport& on_report, Body body) {
    Gathering gathering(on_report);
    const bool succeeded = call(body) == 0;
    return {succeeded, gathering.take_reports()};
}

// A list that borrows the texts.
inline ListOwner list_of(const std::vector<std::string>& texts) {
    ListOwner list(call([] { return plist_new(nullptr, nullptr, nullptr); }));
    for (const std::string& text : texts) {
        call([to = list.get(), bytes = text.c_str()] {
            plist_append(to, const_cast<char*>(bytes));
        });
    }
    return list;
}

inline const char* null_if_empty(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

// Reads texts that end a comment or a string until `complete` is read as it stands: `reads` loads a
// text, and tells whether it has found the declaration of `complete`.
template <typename Reads>
void end_open_token(Reads reads, const char* complete) {
    for (const char* end : {"/* */", "\"", "a\"", "\n"}) {
        if (reads(complete)) return;
        reads(end);
    }
}

} // namespace detail

// Tags -------------------------------------------------------------------------------------------

// The tags of a model's records, which are bytes, as the enumerations that they hold. The compiler
// names each switch over one of these, without a `default:`, that a new enumerator is missing in.
inline ExprStructure structure_of(const Expr* expr) {
    return static_cast<ExprStructure>(expr->structure);
}

// The same for types, and for the operators of expressions.
inline ConType kind_of(const TypeCon* typecon) {
    return static_cast<ConType>(typecon->contype);
}
inline OprTypes operator_of(const Expr* expr) {
    return static_cast<OprTypes>(expr->opr);
}

// Returns the type of an array's elements or of an optional's value, or null. Borrowed.
inline TypeCon* held_type(const TypeCon* typecon) {
    switch (kind_of(typecon)) {
    case TC_ARRAY: return typecon->values.array.element;
    case TC_OPTIONAL: return typecon->values.base;
    case TC_BOOL:
    case TC_INT:
    case TC_UBOUND_FLOAT:
    case TC_UBOUND_INTEGER:
    case TC_STRING:
    case TC_PROD:
    case TC_SUM:
    case TC_NAMED: break;
    }
    return nullptr;
}

// What an operator does: `other` is order(), the tags of constants and OPR_NONE.
enum class Operation { logic, arithmetic, shift, comparison, loop, other };

inline Operation operation_of(const Expr* expr) {
    switch (operator_of(expr)) {
    case OPR_AND:
    case OPR_OR:
    case OPR_XOR:
    case OPR_NOT:
    case OPR_IMPLIES:
    case OPR_BIIMPLIES: return Operation::logic;
    case OPR_PLUS:
    case OPR_MINUS:
    case OPR_TIMES:
    case OPR_DIV: return Operation::arithmetic;
    case OPR_SHL:
    case OPR_SHR: return Operation::shift;
    case OPR_LT:
    case OPR_LE:
    case OPR_GT:
    case OPR_GE:
    case OPR_EQ:
    case OPR_NEQ:
    case OPR_UBOUND_EQ: return Operation::comparison;
    case OPR_FORALL:
    case OPR_EXIST:
    case OPR_SUM:
    case OPR_PROD: return Operation::loop;
    case OPR_BOOLCONST:
    case OPR_INTCONST:
    case OPR_FLOATCONST:
    case OPR_ORDER:
    case OPR_NONE: return Operation::other;
    }
    return Operation::other;
}

inline bool is_comparison(const Expr* expr) {
    return operation_of(expr) == Operation::comparison;
}

// Texts and tables -------------------------------------------------------------------------------

// Returns what print(UtilString*) writes. Throws what `print` throws.
template <typename Print>
std::string printed(Print print) {
    const detail::Owner<UtilString, ustr_delete> text(call([] { return ustr_new(); }));
    call([&, to = text.get()] { print(to); });
    return {text->text, text->length};
}

// Converts a text of the library, in code page 1252, to UTF-8.
inline std::string codepage_to_utf8(std::string_view text) {
    NorvaneCpp::String converted;
    call([&converted, text] {
        converted = NorvaneCpp::UTF8::ToUnicode(NorvaneCpp::String(text.data(), text.size()));
    });
    return {converted.GetStr(), converted.Size()};
}

// Converts the other way. A character that code page 1252 does not have becomes "?".
inline std::string utf8_to_codepage(std::string_view text) {
    NorvaneCpp::String converted;
    call([&converted, text] {
        converted =
            NorvaneCpp::UTF8::ToCodepage(NorvaneCpp::String(text.data(), text.size()), 1252, false);
    });
    return {converted.GetStr(), converted.Size()};
}

// A PolyHash seen as a range of pairs of pointers, in its order; made by pairs().
template <typename Key, typename Value>
class Pairs {
  public:
    // Of a pair.
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::pair<Key*, Value*>;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = value_type;

        iterator() = default;
        explicit iterator(const PolyHash* table) {
            phash_iter_init(&place_, table);
            ++*this;
        }
        value_type operator*() const {
            return {static_cast<Key*>(key_), static_cast<Value*>(value_)};
        }
        iterator& operator++() {
            if (!phash_iter_next(&place_, &key_, &value_)) key_ = nullptr;
            return *this;
        }
        iterator operator++(int) {
            iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const iterator& other) const { return key_ == other.key_; }
        bool operator!=(const iterator& other) const { return key_ != other.key_; }

      private:
        PolyHashIter place_ = {};
        void* key_ = nullptr; // null at the end
        void* value_ = nullptr;
    };

    explicit Pairs(const PolyHash* table) : table_(table) {}
    iterator begin() const { return iterator(table_); }
    iterator end() const { return {}; }
    std::size_t size() const { return phash_size(table_); }

  private:
    const PolyHash* table_;
};

// The pairs of a table, which is borrowed, has pointers as keys, and must not be changed meanwhile.
template <typename Key, typename Value>
Pairs<Key, Value> pairs(const PolyHash* table) {
    return Pairs<Key, Value>(table);
}

// Models -----------------------------------------------------------------------------------------

// A product model, as it was read: parsed and not checked.
class Model {
  public:
    // Reads source through the preprocessor, with arguments such as "-Iparts" and "-DSIZE=3". No
    // value and no report: there is no place for temporary files.
    static Result<Model> from_source(const std::string& file,
                                     const std::vector<std::string>& cpp_args = {},
                                     const OnReport& on_report = {}) {
        const detail::ListOwner list = detail::list_of(cpp_args);
        return detail::made<Model>(
            on_report, [name = const_cast<char*>(file.c_str()), arguments = list.get()] {
                return proj_import_from_pmfile(name, arguments);
            });
    }
    static Result<Model> from_xml(const std::string& file, const OnReport& on_report = {}) {
        return detail::made<Model>(
            on_report, [name = file.c_str()] { return proj_import_from_xmlfile(name); });
    }

    // Ends the comment or string that the scanner of models is in. Source that ends inside one
    // leaves the scanner there, and all source that the process loads later would be at fault. A
    // program that loads further models after one was refused calls this before each load.
    static void end_open_token() {
        const auto reads = [](const char* text) {
            const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(
                fmemopen(const_cast<char*>(text), std::strlen(text), "r"), std::fclose);
            if (!stream) return false;
            char name[] = "";
            const auto loaded = gather<Model>(
                [from = stream.get(), file = name] { return lpm_load_file(from, file); });
            const Project* project = loaded.value.get();
            return project && project->vardecllist->len == 1;
        };
        detail::end_open_token(reads, "variable x : boolean;");
    }

    // Takes a project over.
    explicit Model(Project* project) noexcept : project_(project) {}
    Project* get() const { return project_.get(); }
    Project* release() { return project_.release(); }

    const char* file() const { return get()->filename; }
    Items<ConstantDecl> constants() const { return items<ConstantDecl>(get()->constantdecllist); }
    Items<TypeDecl> types() const { return items<TypeDecl>(get()->typedecllist); }
    Items<VarDecl> variables() const { return items<VarDecl>(get()->vardecllist); }
    Items<RuleDecl> rules() const { return items<RuleDecl>(get()->ruledecllist); }

    // What a message about a line of a declaration begins with: "file (line): ".
    std::string position(unsigned linenumber) const {
        char text[MESSAGE_BUFFER_SIZE];
        call([this, linenumber, buffer = text] {
            proj_line_information(get()->line_info, linenumber, buffer);
        });
        return text;
    }

    // Prints the model as one source. Write errors are for the caller to look for (ferror).
    void print(std::FILE* stream) const {
        call([this, stream] { ppm_print_project(stream, get()); });
    }
    // Writes the model to a file, which is opened for that. Write errors are not looked at.
    Result<void> write_source(const std::string& file, const OnReport& on_report = {}) const {
        return detail::done(on_report, [project = get(), name = file.c_str()] {
            return proj_export_to_pmfile(project, name);
        });
    }
    Result<void> write_xml(const std::string& file, const OnReport& on_report = {}) const {
        return detail::done(on_report, [project = get(), name = file.c_str()] {
            return proj_export_to_xmlfile(project, name);
        });
    }

  private:
    detail::Owner<Project, proj_delete> project_;
};

// One flat rule, and the declaration that it comes from, which is null unless it was asked for.
// Both are borrowed.
struct FlatRule {
    Expr* expr;
    const RuleDecl* origin;
};

// The flat rules of a checked model. They do not depend on it, but their origins do.
class FlatRules {
  public:
    // Of a rule.
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = FlatRule;
        using difference_type = std::ptrdiff_t;
        using pointer = const FlatRule*;
        using reference = FlatRule;

        iterator() = default;
        iterator(const PolyListNode* rule, const PolyListNode* origin)
            : rule_(rule), origin_(origin) {}
        FlatRule operator*() const {
            return {static_cast<Expr*>(rule_->element),
                    origin_ ? static_cast<const RuleDecl*>(origin_->element) : nullptr};
        }
        iterator& operator++() {
            rule_ = rule_->next;
            if (origin_) origin_ = origin_->next;
            return *this;
        }
        iterator operator++(int) {
            iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const iterator& other) const { return rule_ == other.rule_; }
        bool operator!=(const iterator& other) const { return rule_ != other.rule_; }

      private:
        const PolyListNode* rule_ = nullptr;
        const PolyListNode* origin_ = nullptr;
    };

    // Takes both lists over: of Expr, and of RuleDecl or null.
    FlatRules(PolyList* rules, PolyList* origins) noexcept : rules_(rules), origins_(origins) {}
    PolyList* get() const { return rules_.get(); }
    PolyList* origins() const { return origins_.get(); }
    std::size_t size() const { return get()->len; }
    iterator begin() const { return {get()->first, origins_ ? origins_->first : nullptr}; }
    iterator end() const { return {}; }

  private:
    detail::ListOwner rules_;
    detail::ListOwner origins_;
};

// Whether flat rules are simplified, or keep loops and names of constants as written.
enum class RuleForm { simplified, as_written };
// Whether the declarations that they come from are kept.
enum class RuleOrigins { dropped, kept };

// A model that passed its check, and the table of all its names.
class CheckedModel {
  public:
    // Checks a model, and takes it over if it passes; otherwise it stays the caller's, who may
    // check it again.
    static Result<CheckedModel> check(Model&& model, const OnReport& on_report = {}) {
        detail::Gathering gathering(on_report);
        detail::Owner<SymbolTable, symtbl_delete_symbol_table> table(
            call([project = model.get()] { return proj_static_sem_check(project); }));
        // First what may throw, so that the model stays the caller's then.
        std::vector<Report> reports = gathering.take_reports();
        std::optional<CheckedModel> checked;
        if (table) checked.emplace(std::move(model), table.release());
        return {std::move(checked), std::move(reports)};
    }

    // Takes both over: a project that was checked, and the table of its check.
    CheckedModel(Model model, SymbolTable* table) noexcept
        : model_(std::move(model)), table_(table) {}
    CheckedModel(CheckedModel&&) noexcept = default;
    CheckedModel& operator=(CheckedModel&& other) noexcept {
        table_ = std::move(other.table_); // the old table goes before its project
        model_ = std::move(other.model_);
        return *this;
    }
    ~CheckedModel() = default;

    const Model& model() const { return model_; }
    Project* get() const { return model_.get(); }
    SymbolTable* table() const { return table_.get(); }

    // The finite form: a model of its own.
    Model simplify() const {
        return Model(
            call([project = get(), names = table()] { return simplify_project(project, names); }));
    }
    FlatRules rules(RuleForm form = RuleForm::simplified,
                    RuleOrigins origins = RuleOrigins::dropped) const {
        detail::ListOwner decls;
        if (origins == RuleOrigins::kept) decls = detail::list_of({});
        PolyList* rules = call([project = get(), names = table(), kept = decls.get(), form] {
            return proj_get_expanded_rules_decls(project, names, form == RuleForm::simplified,
                                                 kept);
        });
        return {rules, decls.release()};
    }

  private:
    Model model_;
    detail::Owner<SymbolTable, symtbl_delete_symbol_table> table_; // gone before its project
};

// Calculations -----------------------------------------------------------------------------------

// A function of a calculation, and the namespace that it is in; borrowed.
struct CalculationFunction {
    const CNameSpace* ns;
    CFunc* func;
};

// The functions that work beside a model. A function that is reported as defined twice is missing:
// a reader reports it and still gives a value (Result::has_errors).
class Calculation {
  public:
    static Result<Calculation> from_source(const std::string& file,
                                           const OnReport& on_report = {}) {
        return detail::made<Calculation>(
            on_report, [name = file.c_str()] { return calc_import_from_clfile(name); });
    }
    static Result<Calculation> from_xml(const std::string& file, const OnReport& on_report = {}) {
        return detail::made<Calculation>(
            on_report, [name = file.c_str()] { return calc_import_from_xmlfile(name); });
    }
    // That of a model, whose name is in code page 1252, in a compiled package.
    static Result<Calculation> from_package(const std::string& file, const std::string& model,
                                            const OnReport& on_report = {}) {
        return detail::made<Calculation>(on_report, [name = file.c_str(), member = model.c_str()] {
            return calc_import_from_mubfile(name, member);
        });
    }

    // The same as Model::end_open_token, for the scanner of calculations.
    static void end_open_token() {
        const auto reads = [](const char* text) {
            const auto loaded =
                gather<Calculation>([text] { return calc_import_from_string(text); });
            return loaded.value.get() != nullptr;
        };
        detail::end_open_token(reads, "namespace a { void b() {} }");
    }

    // Takes a calculation over.
    explicit Calculation(PolyHash* calc) noexcept : calc_(calc) {}
    PolyHash* get() const { return calc_.get(); }

    Pairs<const char, CNameSpace> namespaces() const {
        return pairs<const char, CNameSpace>(get());
    }
    std::vector<CalculationFunction> functions() const {
        std::vector<CalculationFunction> all;
        for (const auto [name, ns] : namespaces())
            for (CFunc* func : items<CFunc>(ns->func_list))
                all.push_back({ns, func});
        return all;
    }

    // Checks all functions against a model.
    Result<void> check(const CheckedModel& model, const OnReport& on_report = {}) const {
        return detail::done(on_report, [calc = get(), names = model.table()] {
            return calc_check_functions(calc, names) == 1 ? 0 : -1;
        });
    }

    // Write to an open stream, as source or as XML. Write errors are for the caller to look for.
    void print(std::FILE* stream) const {
        call([this, stream] { calc_to_file(get(), stream); });
    }
    void write_xml(std::FILE* stream, bool with_lines = true) const {
        call([this, stream, with_lines] { calc_export_to_stream(stream, get(), with_lines); });
    }

  private:
    detail::Owner<PolyHash, calc_delete> calc_;
};

// Calls visit(const CStmt*) for each statement directly below `stmt`, in the order of the source;
// never with null. Throws what `visit` throws.
template <typename Visit>
void for_each_child(const CStmt* stmt, Visit visit) {
    const auto& args = stmt->args;
    const auto visit_one = [&visit](const CStmt* inner) {
        if (inner) visit(inner);
    };
    const auto visit_all = [&visit](const PolyList* statements) {
        for (const CStmt* inner : items<CStmt>(statements))
            visit(inner);
    };
    switch (stmt->structure) {
    case CSTMT_ITE: visit_one(args.ite.then_stmt); return visit_one(args.ite.else_stmt);
    case CSTMT_BLOCK: return visit_all(args.block_stmts);
    case CSTMT_SWITCH:
        for (const CCase* branch : items<CCase>(args.switch_args.cases))
            visit_all(branch->stmts);
        if (const CCase* branch = args.switch_args.default_case) visit_all(branch->stmts);
        return;
    case CSTMT_WHILE: return visit_one(args.while_args.stmt);
    case CSTMT_DO: return visit_one(args.do_args.stmt);
    case CSTMT_FOR: return visit_one(args.for_args.stmt);
    case CSTMT_EXPR:
    case CSTMT_RETURN:
    case CSTMT_BREAK:
    case CSTMT_EXTERNAL: return;
    }
}

// Side data --------------------------------------------------------------------------------------

// The display texts of a product, by layer and key.
class Presentation {
  public:
    static Result<Presentation> load(const std::string& file, const OnReport& on_report = {}) {
        return detail::made<Presentation>(on_report,
                                          [name = file.c_str()] { return pres_import(name); });
    }

    Presentation() : presentation_(call([] { return pres_new(); })) {} // empty
    // Takes a presentation over.
    explicit Presentation(PolyHash* presentation) noexcept : presentation_(presentation) {}
    PolyHash* get() const { return presentation_.get(); }

    // The layers, by name, and the texts of a layer, by key: names and keys in code page 1252,
    // texts in UTF-8.
    Pairs<const char, PolyHash> layers() const { return pairs<const char, PolyHash>(get()); }
    static Pairs<const char, const char> texts(const PolyHash* layer) {
        return pairs<const char, const char>(layer);
    }
    // The layer of a name, borrowed, or null.
    PolyHash* layer(const std::string& name) const {
        return call([this, text = name.c_str()] { return pres_get_layer(get(), text); });
    }
    // A text, in UTF-8, if the layer and the key are there.
    std::optional<std::string> text(const std::string& layer_name, const std::string& key) const {
        void* found = nullptr;
        const PolyHash* table = layer(layer_name);
        if (!table || call([&] { return phash_peek(table, key.c_str(), &found); }) != 0) return {};
        return static_cast<const char*>(found);
    }

    // Adds all entries of `other`. Of two with the same key, the entry of `other` is kept.
    void merge(const Presentation& other) {
        call([this, &other] { pres_merge(get(), other.get()); });
    }
    // Writes to an open stream. Write errors are for the caller to look for.
    void write(std::FILE* stream) const {
        call([this, stream] { pres_export_fileptr(get(), stream); });
    }

  private:
    detail::Owner<PolyHash, pres_delete> presentation_;
};

// The names of a model's variables in a wanted order.
class VarOrder {
  public:
    static Result<VarOrder> load(const std::string& file, const OnReport& on_report = {}) {
        return detail::made<VarOrder>(on_report,
                                      [name = file.c_str()] { return var_order_import(name); });
    }

    // Takes an order over.
    explicit VarOrder(PolyList* order) noexcept : order_(order) {}
    PolyList* get() const { return order_.get(); }
    Items<const char> names() const { return items<const char>(get()); }
    void write(std::FILE* stream) const {
        call([this, stream] { var_order_export_fileptr(get(), stream); });
    }

  private:
    detail::Owner<PolyList, var_order_delete> order_;
};

// Workspaces and packages ------------------------------------------------------------------------

// The command lines of a project's tools, to be run in order. Each is an array of texts that ends
// with a null, or null where a command is nothing but blanks.
class CommandLines {
  public:
    // Takes a list of zeb_workspace_get_cmd over.
    explicit CommandLines(PolyList* list) noexcept : list_(list) {}
    PolyList* get() const { return list_.get(); }
    bool empty() const { return get()->len == 0; }
    Items<char*> lines() const { return items<char*>(get()); }

  private:
    detail::ListOwner list_;
};

// What the tools are asked for, beside their type: as zeb_workspace_get_cmd has it, an empty text
// for null.
struct CommandOptions {
    std::string extra_arg;
    std::string order_type;
    std::string extra_arg2;
    bool statistics = false;
};

// The projects of a modeller. Names are in code page 1252.
class Workspace {
  public:
    static Result<Workspace> load(const std::string& file, const OnReport& on_report = {}) {
        return detail::made<Workspace>(on_report,
                                       [name = file.c_str()] { return zeb_workspace_load(name); });
    }

    // Takes a workspace over, the lists `fileincludes` of its projects with it.
    explicit Workspace(ZEBWorkspace* workspace) noexcept : workspace_(workspace) {}
    ZEBWorkspace* get() const { return workspace_.get(); }
    Items<ZEBProject> projects() const { return items<ZEBProject>(get()->projects); }
    // The project of a name, borrowed, or null.
    ZEBProject* project(const std::string& name) const {
        return call([this, text = name.c_str()] { return zeb_workspace_get_project(get(), text); });
    }

    // The command lines of a project. No value and no report: there is no place for temporary
    // files.
    Result<CommandLines> commands(const std::string& project, ZEBCommandType type,
                                  const CommandOptions& options,
                                  const OnReport& on_report = {}) const {
        using detail::null_if_empty;
        return detail::made<CommandLines>(on_report, [&] {
            return zeb_workspace_get_cmd(get(), project.c_str(), type,
                                         null_if_empty(options.extra_arg),
                                         null_if_empty(options.order_type),
                                         null_if_empty(options.extra_arg2), options.statistics);
        });
    }

  private:
    static void delete_workspace(ZEBWorkspace* workspace) {
        for (const auto* project : items<ZEBProject>(workspace->projects))
            plist_delete(project->fileincludes);
        zeb_workspace_delete(workspace);
    }

    detail::Owner<ZEBWorkspace, delete_workspace> workspace_;
};

// A package of a compiled model, open for reading; and the making of such packages. Member names
// are in code page 1252.
class Package {
  public:
    // Makes the package of a model, or of a project of a workspace: what zeb_make_mub and
    // zeb_project_make_mub do. An empty type is the usual one. False without a report: there is no
    // file with the extension "mu".
    static Result<void> make(const std::string& model, const std::string& build_directory,
                             const std::string& output_directory, const std::string& type = {},
                             bool debug = false, const OnReport& on_report = {}) {
        return detail::done(on_report, [&] {
            return zeb_make_mub(model.c_str(), output_directory.c_str(), build_directory.c_str(),
                                debug, detail::null_if_empty(type));
        });
    }
    static Result<void> make(ZEBProject* project, const std::string& type = {}, bool debug = false,
                             const OnReport& on_report = {}) {
        return detail::done(on_report, [&] {
            return zeb_project_make_mub(project, detail::null_if_empty(type), debug);
        });
    }

    // Opens a package. No value and no report: there is none at that path.
    static Result<Package> open(const std::string& file, const OnReport& on_report = {}) {
        detail::Gathering gathering(on_report);
        std::optional<Package> package(std::in_place);
        if (!call(
                [opened = package->get(), &file] { return opened->openPackage(file.c_str(), ""); }))
            package.reset();
        return {std::move(package), gathering.take_reports()};
    }

    Package() : package_(call([] { return new NorvaneCpp::CFilePackage; })) {} // not open
    NorvaneCpp::CFilePackage* get() const { return package_.get(); }

    std::size_t size() const { return get()->memberCount(); }
    std::string member(std::size_t index) const {
        NorvaneCpp::String name;
        call([this, index, &name] { name = get()->memberName(index); });
        return {name.GetStr(), name.Size()};
    }
    // Whether a member can be read, and why not.
    NorvaneCpp::EMemberState state_of(const std::string& member) const {
        return call([this, &member] { return get()->memberState(member.c_str()); });
    }
    // Reads a member to its end, piece by piece. False if it cannot be read so.
    bool read(const std::string& member,
              const std::function<void(const char*, std::size_t)>& take) const {
        NorvaneCpp::CFilePtr file;
        call([this, &member, &file] {
            file = get()->open(member.c_str(), NorvaneCpp::FILE_OPEN_READ);
        });
        if (!file.isOpen()) return false;
        const auto buffer = std::make_unique<char[]>(buffer_size);
        while (const std::size_t got =
                   call([&] { return file->read(buffer.get(), 1, buffer_size); }))
            take(buffer.get(), got);
        return file->eof();
    }

  private:
    static constexpr std::size_t buffer_size = 1 << 16;
    static void delete_package(NorvaneCpp::CFilePackage* package) { delete package; }

    detail::Owner<NorvaneCpp::CFilePackage, delete_package> package_;
};

} // namespace norvane

#include "norvane/flat_model.hpp"

#endif
