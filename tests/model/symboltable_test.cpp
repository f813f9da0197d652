// The symbol table: what clashes with what, in which order names are found, and where paths lead.
#include <deque>
#include <sstream>

#include <gtest/gtest.h>

#include "context.h"
#include "support.h"

namespace {

using namespace norvane;
using namespace norvane::test;

// A table that is filled by a script of "KIND NAME", "push" and "pop"; each declaration stands on a
// line of its own.
class Names {
  public:
    ~Names() {
        table.reset();
        for (PolyHash* environment : environments_)
            symtbl_delete_symbol_table_env(environment);
    }

    void run(const std::string& script) {
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            if (word == "push") {
                push();
            } else if (word == "pop") {
                symtbl_pop_env(table.get());
            } else {
                words >> names_.emplace_back();
                declare(word, names_.back());
            }
        }
    }

    PolyHash* push() {
        symtbl_push_env(table.get(), environments_.emplace_back(symtbl_new_symbol_table_env(1)));
        return environments_.back();
    }

    // The kind and the line of the name that is found, or "none".
    std::string find(std::string name, bool scoped) const {
        NameData* namedata = nullptr;
        if (symtbl_lookup(table.get(), name.data(), scoped, &namedata) != STATUS_SUCCESS)
            return "none";
        const int line = namedata->ndtype == ND_LABEL ? namedata->label_index : namedata->is_public;
        return symtbl_namedata_to_string(namedata) + std::string(" ") + std::to_string(line);
    }

    ProjectPtr project{proj_new_project(str_copy("p"), nullptr, str_copy("model.pm"))};
    TablePtr table{symtbl_new_symbol_table()};

  private:
    void declare(const std::string& kind, std::string& name) {
        NameDataType ndtype = ND_INT;
        if (kind == "label") ndtype = ND_LABEL;
        if (kind == "type") ndtype = ND_TYPE;
        if (kind == "variable") ndtype = ND_VARIABLE;
        ++line_;
        NameData* namedata =
            symtbl_new_namedata(ndtype, ndtype == ND_INT ? nullptr : boolean_.get(), nullptr, 0,
                                0.0, nullptr, static_cast<int>(line_));
        if (ndtype == ND_LABEL) namedata->label_index = static_cast<int>(line_);
        if (symtbl_insert(project->line_info, table.get(), name.data(), namedata, line_) !=
            STATUS_SUCCESS) {
            symtbl_delete_namedata(namedata);
        }
    }

    TypePtr boolean_{tc_new_bool_tc(1)};
    std::deque<std::string> names_; // the table borrows them
    std::vector<PolyHash*> environments_;
    unsigned line_ = 0;
};

TEST(SymbolTable, ReportsEachKindOfClash) {
    const auto run = [](const std::string& script) {
        Reports reports;
        Names names;
        names.run(script);
        return reports.text();
    };
    EXPECT_EQ(test_data_rerun("model/data/symboltable/clashes.txt", run),
              test_data("model/data/symboltable/clashes.txt"));
}

TEST(SymbolTable, LooksUpGlobalNamesFirstAndThenFromTheInnermostEnvironmentOut) {
    Reports reports;
    Names names;
    names.run("variable outer variable both push variable both variable inner");
    EXPECT_EQ(names.find("outer", false), "variable 1");
    EXPECT_EQ(names.find("outer", true), "none");
    EXPECT_EQ(names.find("both", false), "variable 3");
    EXPECT_EQ(names.find("inner", true), "variable 4");
    names.run("pop");
    EXPECT_EQ(names.find("both", true), "variable 2");

    // A label declared while a record's environment was away hides the record's field.
    PolyHash* record = names.push();
    names.run("variable l pop label l");
    symtbl_push_env(names.table.get(), record);
    EXPECT_EQ(names.find("l", false), "label 6");
    EXPECT_EQ(names.find("l", true), "variable 5");
    EXPECT_EQ(reports.text(), "");
}

TEST(SymbolTable, TakesTheVeryEnvironmentOutThatItsGuardHasPushed) {
    Names names;
    const PolyHash* base = static_cast<PolyHash*>(plist_hd(names.table->local_table));
    const PolyHash* left_behind;
    {
        check::ScopedEnv scope(names.table.get(), symtbl_new_symbol_table_env(1));
        scope.own();
        const check::ScopedEnv none(names.table.get(), nullptr);
        EXPECT_EQ(plist_length(names.table->local_table), 2u);
        left_behind = names.push();
    }
    EXPECT_EQ(plist_length(names.table->local_table), 2u);
    EXPECT_EQ(plist_hd(names.table->local_table), left_behind);
    EXPECT_EQ(names.table->local_table->last->element, base);
    names.run("variable x pop");
    EXPECT_EQ(names.find("x", false), "none");
}

constexpr const char* paths_model = R"(
constant N : 3;
type Leaf : { a : boolean; b : array 2 of array 3 of [0..3]; };
     Alias : Leaf;
     Row : array 2 of boolean;
     Color : [red, green];
variable leaf : Leaf;
         grid : array 2 of Alias;
         row : Row;
         count : integer;
         nest : { deep : Alias; color : Color; maybe : optional Leaf; };
rule nest.maybe.SOME.a or leaf.a;
)";

// "TYPE", with named types by their names, "-1" and the report, or what was thrown.
std::string type_at(const Model& model, IdCon* path, decltype(symtbl_typecon_for_idcon)* function) {
    Reports reports;
    std::string result;
    const std::string failure = thrown([&] {
        TypeCon* typecon = nullptr;
        const int status = function(model.project->line_info, model.table.get(), path, 0, &typecon,
                                    path->linenumber);
        result = std::to_string(status);
        if (status == 0) {
            result =
                typecon->contype == TC_NAMED ? typecon->values.name : tc_type_to_string(typecon);
        }
        EXPECT_EQ(plist_length(model.table->local_table), 1u);
    });
    while (plist_length(model.table->local_table) > 1)
        symtbl_pop_env(model.table.get());
    return failure + result + " " + reports.text();
}

TEST(SymbolTable, FollowsPathsToTheirTypes) {
    const Model model = norvane::test::check(paths_model);
    ASSERT_TRUE(model.table);
    const auto run = [&](const std::string& text) {
        const ExprPtr path = expression(text);
        return type_at(model, path->args.idcon, symtbl_typecon_for_idcon) + "| " +
               type_at(model, path->args.idcon, symtbl_deftypecon_for_idcon);
    };
    EXPECT_EQ(test_data_rerun("model/data/symboltable/paths.txt", run),
              test_data("model/data/symboltable/paths.txt"));

    LineInfo* line_info = model.project->line_info;
    const auto record_at = [&](const char* path) {
        const ExprPtr expr = expression(path);
        return symtbl_namedata_for_idcon(line_info, model.table.get(), expr->args.idcon, 0, 1);
    };
    EXPECT_EQ(record_at("nest.deep.a"), record_at("grid[1].a"));
    EXPECT_EQ(record_at("nest.deep.a")->ndtype, ND_VARIABLE);
    EXPECT_EQ(record_at("green")->label_index, 1);
    EXPECT_EQ(record_at("nest.missing"), nullptr);
}

TEST(SymbolTable, FindsTheEnvironmentOfATypeThroughItsNames) {
    const Model model = norvane::test::check(paths_model);
    ASSERT_TRUE(model.table);
    const auto environment = [&](std::string name) {
        PolyHash* result = nullptr;
        EXPECT_EQ(symtbl_lookup_env(model.project->line_info, model.table.get(), name.data(), 0,
                                    &result, 1),
                  STATUS_SUCCESS);
        return result;
    };
    ASSERT_NE(environment("Leaf"), nullptr);
    EXPECT_EQ(phash_size(environment("Leaf")), 2u);
    EXPECT_EQ(environment("leaf"), environment("Leaf"));
    EXPECT_EQ(environment("grid"), environment("Leaf"));
    EXPECT_EQ(environment("row"), nullptr);
    EXPECT_EQ(environment("count"), nullptr);

    Reports reports;
    TypePtr named(tc_new_named_tc(str_copy("row"), 1));
    TypeCon* typecon = nullptr;
    EXPECT_EQ(symtbl_lookup_typecon(model.project->line_info, model.table.get(), named.get(),
                                    &typecon, 7),
              STATUS_FAILURE);
    EXPECT_EQ(reports.text(), "ERR_TYPE_UNDEF: model.pm (7): Undefined type 'row'\n");
}

} // namespace
