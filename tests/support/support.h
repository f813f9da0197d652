// What the tests of all areas share: a sink that keeps the reports, throws as values, models and
// expressions from text, and printed forms to compare.
#ifndef NORVANE_TESTS_SUPPORT_H
#define NORVANE_TESTS_SUPPORT_H

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "norvane/proj.h"

namespace norvane::test {

struct Report {
    ErrorType type;
    std::string name;
    std::string title;
    bool operator==(const Report&) const = default;
};

// Keeps every report that is made during its life, in order; then puts the default sink back.
class Reports {
  public:
    Reports();
    ~Reports();
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    const std::vector<Report>& all() const { return reports_; }
    // One line a report: "NAME: title", warnings as "warning NAME: title".
    std::string text() const;
    // The names alone, joined by a blank.
    std::string names() const;
    void clear() { reports_.clear(); }

  private:
    static void receive(ErrorType type, ErrorInfo* error, void* user);
    std::vector<Report> reports_;
};

// Runs the body in a frame; the text of what it threw as "kind: message", or "" if it returned.
std::string thrown(const std::function<void()>& body);

// Runs the body; the text of the C++ exception that left it, or "" if it returned.
std::string unwound(const std::function<void()>& body);

// Deletes by the function of the library.
template <auto delete_function>
struct Deleter {
    template <typename T>
    void operator()(T* p) const {
        delete_function(p);
    }
};
template <typename T, auto delete_function>
using Owned = std::unique_ptr<T, Deleter<delete_function>>;
using ProjectPtr = Owned<Project, proj_delete>;
using TablePtr = Owned<SymbolTable, symtbl_delete_symbol_table>;
using ExprPtr = Owned<Expr, expr_delete>;
using TypePtr = Owned<TypeCon, tc_delete_typecon>;
using ListPtr = Owned<PolyList, plist_delete>;
using CalcPtr = Owned<PolyHash, calc_delete>;

// Parses preprocessed source under the file name "model.pm"; null after reports.
ProjectPtr parse(const std::string& source);

// A model, parsed and checked; the table goes before the project. `table` is null after reports.
struct Model {
    ProjectPtr project;
    TablePtr table;
};
Model check(const std::string& source);

// The one rule of "rule TEXT;", parsed and not checked.
ExprPtr expression(const std::string& text);

// Printed forms.
std::string print(Expr* expr);
std::string print(IdCon* idcon);
std::string print(TypeCon* typecon);
std::string print(Project* project);

// What the body writes to a stream.
std::string on_stream(const std::function<void(FILE*)>& body);

// The flat rules, one a line.
std::string flat_rules(const Model& model, bool simplify = true);

// Runs the body on a thread with a stack of 8 MiB, whatever the process was started with; or with
// one of another size, at a place of the caller's.
void with_small_stack(const std::function<void()>& body, std::size_t size = 8u << 20,
                      void* memory = nullptr);

// A directory of its own for a test, removed with all that is in it.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const std::string& path() const { return path_; }
    // Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const;
    // The names in the directory, sorted.
    std::vector<std::string> names() const;

  private:
    std::string path_;
};

// The text, so many times in a row.
std::string repeated(const std::string& text, std::size_t times);

// The text with every `from` replaced.
std::string replaced(std::string text, const std::string& from, const std::string& to);

std::string read_file(const std::string& path);

// The content of a data file, by its path below tests, such as "model/data/check.txt".
std::string test_data(const std::string& path);

// A data file of lines "INPUT => OUTPUT" with each OUTPUT made anew by `run`, line feeds in it
// shown as blanks, to be compared with the file. Empty lines and comments ("#") stay.
std::string test_data_rerun(const std::string& path,
                            const std::function<std::string(const std::string& input)>& run);

} // namespace norvane::test

#endif
