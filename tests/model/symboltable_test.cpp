// The symbol table: where paths lead, and guards of its stack.
#include "context.h"
#include "test.h"

namespace {

using namespace norvane;
using namespace norvane::test;

TEST(SymbolTable, TakesTheVeryEnvironmentOutThatItsGuardHasPushed) {
    const TablePtr table(symtbl_new_symbol_table());
    PolyHash* left_behind = symtbl_new_symbol_table_env(1);
    {
        check::ScopedEnv scope(table.get(), symtbl_new_symbol_table_env(1));
        scope.own();
        const check::ScopedEnv none(table.get(), nullptr);
        EXPECT_EQ(plist_length(table->local_table), 2u);
        symtbl_push_env(table.get(), left_behind);
    }
    EXPECT_EQ(plist_length(table->local_table), 2u);
    EXPECT_EQ(plist_hd(table->local_table), left_behind);
    symtbl_pop_env(table.get());
    symtbl_delete_symbol_table_env(left_behind);
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

// The type as text (named types by name), or "-1" and the report, or the text that was thrown.
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
    EXPECT_EQ(environment("grid"), environment("Leaf"));
    EXPECT_EQ(environment("row"), nullptr);

    const Reports reports;
    const TypePtr named(tc_new_named_tc(str_copy("row"), 1));
    TypeCon* typecon = nullptr;
    EXPECT_EQ(symtbl_lookup_typecon(model.project->line_info, model.table.get(), named.get(),
                                    &typecon, 7),
              STATUS_FAILURE);
    EXPECT_EQ(reports.text(), "ERR_TYPE_UNDEF: model.pm (7): Undefined type 'row'\n");
}

} // namespace
