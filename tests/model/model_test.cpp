// The model tree: constructors, copies, the order of expressions, rewrites, unbounded types and
// their labels, places in the source, and trees of great depth.
#include "poly_adaptors.h"
#include "rows.h"
#include "test.h"

using norvane::items;
using namespace norvane::test;
using namespace std::string_literals;

namespace {

using IdConPtr = Owned<IdCon, expr_delete_idcon>;

IdConPtr identifier(const std::string& path) {
    return IdConPtr(expr_copy_idcon(expression(path)->args.idcon));
}

int order(const ExprPtr& a, const ExprPtr& b) {
    Expr* left = a.get();
    Expr* right = b.get();
    const int result = expr_compare_expr(&left, &right);
    return (result > 0) - (result < 0);
}

// Every kind of declaration and type; records in all places where they can stand.
const char* const declarations =
    "constant c : 1;\n"
    "type t : [red, green]; u : array 2 of optional { private a : [0..c]; rule a > 0; };\n"
    "r : { private s : { private d : t; rule d = red; }; b : array 2 of { e : u; rule e; }; rule "
    "e; };"
    "\nvariable private v : optional { x : float; rule x; }; private i : integer; s : string;\n"
    "private w : { private y : boolean; rule y; };\n"
    "rule w; i > 3;\n";

} // namespace

TEST(Constructors, FoldAMinusIntoANumberAndCopyOnlyAString) {
    const auto minus = [](Expr* arg) { return ExprPtr(expr_new_unary(OPR_MINUS, arg, 99)); };
    EXPECT_EQ(print(minus(expr_new_intconst(OPR_INTCONST, 5, 1)).get()), "-5");
    EXPECT_EQ(print(minus(expr_new_intconst(OPR_INTCONST, INT_MIN, 1)).get()), "-2147483648");
    EXPECT_EQ(print(minus(expr_new_floatconst(2.25, 1)).get()), "-2.25");
    EXPECT_EQ(print(minus(expression("x").release()).get()), "( - x)");
    const ExprPtr truth = minus(expr_new_intconst(OPR_BOOLCONST, 1, 7));
    EXPECT_EQ(truth->args.intconst.value, -1);
    EXPECT_EQ(truth->opr, OPR_BOOLCONST);
    EXPECT_EQ(truth->linenumber, 7u) << "the constant keeps its own line";
    char text[] = "abc";
    const ExprPtr constant(expr_new_stringconst(text, 1));
    text[0] = 'X';
    EXPECT_EQ(print(constant.get()), "\"abc\"") << "the text stays the caller's";
}

TEST(Copies, OfDeclarationsKeepAllAndShareNothing) {
    ProjectPtr original = parse(declarations);
    ASSERT_TRUE(original);
    proj_add_ruledecl(original.get(),
                      decl_new_ruledecl_source_info(expression("a").release(), str_copy("comment"),
                                                    str_copy("a sheet")));
    const ProjectPtr copy(proj_new_project(str_copy("model.pm"), nullptr, nullptr));
    for (ConstantDecl* decl : items<ConstantDecl>(original->constantdecllist))
        proj_add_constantdecl(copy.get(), decl_copy_constantdecl(decl));
    for (TypeDecl* decl : items<TypeDecl>(original->typedecllist))
        proj_add_typedecl(copy.get(), decl_copy_typedecl(decl));
    for (VarDecl* decl : items<VarDecl>(original->vardecllist))
        proj_add_vardecl(copy.get(), decl_copy_vardecl(decl));
    for (RuleDecl* decl : items<RuleDecl>(original->ruledecllist))
        proj_add_ruledecl(copy.get(), decl_copy_ruledecl(decl));
    const std::string text = print(original.get());
    original.reset();
    EXPECT_EQ(print(copy.get()), text);
    const auto* var = static_cast<VarDecl*>(plist_hd(copy->vardecllist));
    EXPECT_EQ(var->linenumber & 0xFFFF, 3u);
    EXPECT_EQ(var->typecon->linenumber & 0xFFFF, 3u);
}

TEST(Order, IsByStructureThenOperatorThenOperandsAndCopiesAreEqual) {
    std::vector<std::string> ascending;
    for (const auto& row : rows(R"(
a and b => a and c => b and a => a or b => not a => not b => -a
A => a => ab => b => a[b] => a[1] => a[1][2] => a[2] => b[1] => a.b => a.c => a.b.c => a[1].b
false => true => -3 => 0 => 2 => "" => "a" => "a)"
                                "\xE6"
                                R"(" => 1.5
if a then b else c => if a then b else d => if a then c else a => if b then a else a
forall i in [0..1] : (a) => forall i in [0..1] : (b) => forall i in [0..2] : (a)
forall i in [1..1] : (a) => forall j in [0..1] : (a) => sum i in [0..1] : (a)
case x of default a esac => case x of 1 then a | default a esac
case x of 1 then a | default b esac => case x of 1 then b | default a esac
case x of 1 then a | 2 then b | default a esac => case x of 2 then a | default a esac
case y of default a esac
)"))
        ascending.insert(ascending.end(), row.begin(), row.end());
    std::vector<ExprPtr> first, second;
    for (const std::string& source : ascending) {
        first.push_back(expression(source));
        ASSERT_TRUE(first.back()) << source;
        first.back()->type = ETYPE_PROD;
        second.emplace_back(expr_copy_expr(first.back().get()));
        EXPECT_EQ(second.back()->type, ETYPE_PROD) << source;
        EXPECT_EQ(second.back()->linenumber, first.back()->linenumber) << source;
        second.back()->linenumber = 77;
        second.back()->type = ETYPE_ARRAY;
    }
    for (std::size_t i = 0; i < first.size(); ++i) {
        for (std::size_t j = 0; j < second.size(); ++j) {
            if (i == j && first[i]->structure == EXPR_FLOAT_CONST) continue;
            EXPECT_EQ(order(first[i], second[j]), i < j ? -1 : i > j)
                << ascending[i] << " to " << ascending[j];
        }
    }
}

TEST(FreeIdentifiers, AreThoseThatNoLoopBinds) {
    for (const auto& row : rows(R"(
a + b * a => a b
not (if a then b.c else d[i]) => a b.c d[i]
1 = 2 and "x" = "y" and 1.5 < 2.5 =>
forall i in [0..n] : (x[i] and i > 2) => n x[i]
forall i in [i..n] : (y) => n y
i = 1 and forall i in [0..n] : (y) => n y
case x of a then b | c then d | default e esac => x a c b d e
)")) {
        PolySet* found = expr_get_free_idconstructors(expression(row[0]).get());
        std::string names;
        PolySetIter iter;
        void* idcon;
        pset_iter_init(&iter, found);
        while (pset_iter_next(&iter, &idcon))
            names += (names.empty() ? "" : " ") + print(static_cast<IdCon*>(idcon));
        EXPECT_EQ(names, row[1]) << row[0];
        pset_delete(found);
    }
}

TEST(Rewrites, AppendToAPathAndTakeOffItsEnd) {
    for (const auto& row : rows(R"(
a => b => a.b
a.b => c[1] => a.b.c[1]
a.b[(i + 1)][2] => c => a.b[(i + 1)][2].c
)")) {
        const IdConPtr path = identifier(row[0]);
        expr_expand_composit_idcon(path.get(), identifier(row[1]).get());
        EXPECT_EQ(print(path.get()), row[2]);
        for (const char* step = row[1].c_str(); step; step = std::strchr(step + 1, '.'))
            expr_collaps_composit_idcon(path.get());
        EXPECT_EQ(print(path.get()), row[0]);
    }
}

TEST(Rewrites, PutAnExpressionInThePlaceOfAnIdentifier) {
    for (const auto& row : rows(R"(
x + y * x => x => a + 1 => ((a + 1) + (y * (a + 1)))
a.x + a[x] + x => x => 7 => ((a.x + a[x]) + 7)
-x => x => 3 => -3
case x of 1 then x | default x esac => x => y => case x of^1 then y^| default y^esac
forall x in [x..2] : (x > 1) => x => 0 => forall x in [0..2] : ((0 > 1))
)")) {
        const ExprPtr source = expression(row[0]), replacement = expression(row[2]);
        const ExprPtr result(expr_replace_idcon_with_expr(source.get(), identifier(row[1]).get(),
                                                          replacement.get()));
        EXPECT_EQ(print(result.get()), row[3]);
    }
}

TEST(Copies, OfUnboundedTypesKeepTheNumbersButNotTheStrings) {
    TypePtr integers(tc_new_integer_tc(1)), floats(tc_new_float_tc(1)),
        strings(tc_new_string_tc(1));
    iset_insert(integers->values.enum_int.int_set, 4);
    pset_insert(floats->values.enum_float.float_set, pchunk_new_poly_double(1.5));
    pset_insert(strings->values.enum_string.string_set, const_cast<char*>("a"));
    integers.reset(tc_copy_typecon(integers.get()));
    floats.reset(tc_copy_typecon(floats.get()));
    strings.reset(tc_copy_typecon(strings.get()));
    EXPECT_TRUE(iset_has(integers->values.enum_int.int_set, 4));
    EXPECT_EQ(pset_size(floats->values.enum_float.float_set), 1u);
    EXPECT_EQ(pset_size(strings->values.enum_string.string_set), 0u);
    EXPECT_EQ(tc_find_set(strings.get()), strings.get());
}

TEST(MergedTypes, HaveOneRootAndStraightPathsToIt) {
    std::vector<TypePtr> types;
    for (int i = 0; i < 1000; ++i)
        types.emplace_back(tc_new_integer_tc(1));
    for (std::size_t step = 1; step < types.size(); step *= 2)
        for (std::size_t i = 0; i + step < types.size(); i += 2 * step)
            tc_union(types[i].get(), types[i + step].get());
    TypeCon* root = tc_find_set(types[0].get());
    for (const TypePtr& type : types) {
        EXPECT_EQ(tc_find_set(type.get()), root);
        EXPECT_EQ(type->p, root);
    }
    const TypePtr a(tc_new_integer_tc(1)), b(tc_new_integer_tc(1));
    tc_union(a.get(), b.get());
    EXPECT_EQ(a->p, b.get()) << "of equals the second stays on top";
    const unsigned rank = root->rank;
    tc_union(types[7].get(), a.get());
    EXPECT_EQ(b->p, root) << "the higher rank stays on top";
    EXPECT_EQ(root->rank, rank);
}

TEST(Project, TellsPlacesInTheSource) {
    const std::string long_name(5000, 'x');
    const struct {
        std::vector<const char*> files;
        const char* filename;
        unsigned linenumber;
        std::string text;
    } cases[] = {
        {{}, nullptr, 12, " (12): "},
        {{}, "m.pm", UNDEF_LINENO, ""},
        {{"a.pm", "b.pm"}, "m.pm", 0x10003, "b.pm (3): "},
        {{"a.pm", "#from the sheet"}, "m.pm", 0x10003, "from the sheet "},
        {{"a.pm"}, "m.pm", 0x5FFFF, "m.pm (65535): "},
        {{}, "%s%n", 1, "%s%n (1): "},
        {{}, long_name.c_str(), 1, long_name.substr(0, MESSAGE_BUFFER_SIZE - 1)},
    };
    for (const auto& c : cases) {
        const ProjectPtr project(
            proj_new_project(str_copy("p"), nullptr, str_null_copy(c.filename)));
        for (const char* file : c.files)
            plist_append(project->line_info->files, str_copy(file));
        char buffer[MESSAGE_BUFFER_SIZE] = "old";
        proj_line_information(project->line_info, c.linenumber, buffer);
        EXPECT_EQ(buffer, c.text);
    }
}

TEST(Project, MakesEveryVariablePublic) {
    const ProjectPtr project = parse(declarations);
    std::string expected = print(project.get());
    for (std::size_t at; (at = expected.find("private ")) != std::string::npos;)
        expected.replace(at, 8, "public  ");
    proj_make_all_vars_public(project.get());
    EXPECT_EQ(print(project.get()), expected);
}

TEST(Project, RemovesItsRulesAndThoseOfDeclaredRecords) {
    std::string left = declarations;
    for (const std::string part : {"rule d = red; }", "rule e; };\nvariable", "rule w; i > 3;\n"}) {
        const std::size_t at = left.find(part);
        ASSERT_NE(at, std::string::npos) << part;
        left.erase(at, part.find(';') + 1);
    }
    left.erase(left.find(" i > 3;"));
    const ProjectPtr project = parse(declarations), expected = parse(left);
    ASSERT_TRUE(expected);
    proj_remove_rules(project.get());
    EXPECT_EQ(print(project.get()), print(expected.get()))
        << "records in arrays, optionals and variables keep theirs";
}

namespace {

Expr* one_and(Expr* left) {
    return expr_new_binary(OPR_AND, left, expr_new_intconst(OPR_BOOLCONST, 1, 1), 1);
}

Expr* one_index(Expr* arg) {
    PolyList* indices =
        plist_new(nullptr, nullptr, [](void* e) { expr_delete(static_cast<Expr*>(e)); });
    plist_append(indices, arg);
    return expr_new_idcon(expr_new_arrayid(str_copy("a"), indices, 1), 1);
}

// Runs every operation over a tree of the given depth; a level prints as `width` characters.
void exercise(Expr* (*level)(Expr*), int depth, std::size_t width) {
    Expr* root = expression("x0").release();
    for (int i = 0; i < depth; ++i)
        root = level(root);
    const ExprPtr tree(root), copy(expr_copy_expr(root)), y = expression("yyy");
    EXPECT_EQ(order(tree, copy), 0);
    const std::size_t size = width * static_cast<std::size_t>(depth) + 2;
    EXPECT_EQ(print(root).size(), size);
    PolySet* found = expr_get_free_idconstructors(root);
    EXPECT_EQ(found->size, 1u);
    pset_delete(found);
    const IdConPtr x0 = identifier("x0");
    const ExprPtr replaced(expr_replace_idcon_with_expr(root, x0.get(), y.get()));
    EXPECT_EQ(print(replaced.get()).size(), level == one_index ? size : size + 1);
    const ExprPtr expanded(expr_expand_expr_with_idcon(root, x0.get()));
    EXPECT_EQ(print(expanded.get()).size(), size + 3);
}

} // namespace

TEST(DeepTrees, OfExpressionsPassEveryOperation) {
    with_small_stack([] {
        exercise(one_and, 1'000'000, 11);
        exercise(one_index, 60'000, 3);
    });
}
