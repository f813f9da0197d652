// The printed form of models, as source and in messages: identifiers, expressions with their depth
// and their line breaks, types, declarations, whole projects, and that all of it reads back.
#include "rows.h"
#include "test.h"

using namespace norvane::test;
using namespace std::string_literals;

namespace {

std::string taken(char* text) {
    std::string result = text;
    str_delete(text);
    return result;
}

// A rule as its declaration prints it: with line breaks.
std::string wrapped(const std::string& source) {
    const ProjectPtr project = parse("rule " + source + ";");
    auto* rule = static_cast<RuleDecl*>(plist_hd(project->ruledecllist));
    return on_stream([&](FILE* stream) { ppm_print_ruledecl(stream, rule); });
}

void expect_identifier(std::string id, const std::string& quoted, const std::string& clean) {
    unsigned quoted_length = 0, clean_length = 0;
    EXPECT_EQ(on_stream([&](FILE* f) { quoted_length = ppm_print_id(f, id.data()); }), quoted);
    EXPECT_EQ(on_stream([&](FILE* f) { clean_length = ppm_print_clean_id(f, id.data()); }), clean);
    EXPECT_EQ(quoted_length, quoted.size()) << id;
    EXPECT_EQ(clean_length, clean.size()) << id;
    EXPECT_EQ(taken(ppm_quoted_id(id.data())), quoted);
    EXPECT_EQ(taken(ppm_clean_id(id.data())), clean);
}

} // namespace

TEST(PrintedIdentifiers, AreQuotedOrCleanedWhereTheyAreNotPlain) {
    for (const char* plain : {"color", "_a1", "Type", "integer", "SOME", "orders"})
        expect_identifier(plain, plain, plain);
    for (const auto& row : rows(R"(
2nd => "2nd" => A050nd
a b => "a b" => aA032b
a"b\ => "a\"b\\" => aA034bA092
a^ => "a\n" => aA010
 => "" => A000
)"))
        expect_identifier(row[0], row[1], row[2]);
    expect_identifier("\xC8x", "\"\xC8x\"", "A200x");
    expect_identifier("x\xE6", "\"x\xE6\"", "xA230");
    std::istringstream reserved(
        "and array boolean case constant default else esac exist false float forall if in not of "
        "optional order or private product public rule string sum then true type variable xor");
    for (std::string word; reserved >> word;)
        expect_identifier(word, "\"" + word + "\"", word + "_");
}

TEST(PrintedExpressions, ShowTextsFloatsAndCasesAsTheyAre) {
    for (const auto& row : rows(R"(
f = 2.50 or f = 1.0 => ((f = 2.5) or (f = 1.0))
s = "a \"b\" \\ \n" => (s = "a \"b\" \\ \n")
case a.b of 1 then x | 2 then y | default z esac => case a.b of^1 then x^| 2 then y^| default z^esac
)")) {
        const ExprPtr expr = expression(row[0]);
        ASSERT_TRUE(expr) << row[0];
        EXPECT_EQ(print(expr.get()), row[1]);
    }
    testing::internal::CaptureStderr();
    const ExprPtr expr = expression("a.b[1]");
    ppm_print_expr_stderr(expr.get());
    ppm_print_idcon_stderr(expr->args.idcon);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a.b[1]\na.b[1]\n");
}

TEST(PrintedExpressions, ThatNoSourceHasPrintOrStop) {
    const auto with = [](int opr) {
        ExprPtr expr = expression("a and b");
        expr->opr = static_cast<unsigned char>(opr);
        return expr;
    };
    EXPECT_EQ(print(with(OPR_SHL).get()), "(a << b)");
    EXPECT_EQ(print(with(OPR_SHR).get()), "(a >> b)");
    EXPECT_EQ(print(with(OPR_UBOUND_EQ).get()), "(a = b)");
    EXPECT_EQ(print(with(OPR_INTCONST).get()), "(ab)");
    const ExprPtr uneven = expression("case x of 1 then a | 2 then b | default c esac");
    plist_delete_nth(uneven->args.caseexpr.exprlist_evaluation, 1);
    EXPECT_EQ(print(uneven.get()), "case x of\n1 then a\n| default c\nesac");

    Expr odd{};
    odd.structure = 42;
    const ExprPtr no_operator = with(OPR_NONE);
    const std::pair<const char*, Expr*> stops[] = {
        {"1: Invalid operator '27'", no_operator.get()},
        {"1: Invalid expression structure '42'", &odd},
        {"1: expr", nullptr},
    };
    for (const auto& [failure, expr] : stops)
        on_stream([&, text = failure, tree = expr](FILE* f) {
            EXPECT_EQ(thrown([&] { ppm_print_expr(f, tree); }), text);
        });
}

TEST(PrintedExpressions, StopAtADepth) {
    UtilString* string = ustr_new();
    for (const auto& row : rows(R"(
0 => a => ...
1 => a => a
1 => a and b => (... and ...)
3 => ((a and b) or c) xor d[e + f] => (((... and ...) or c) xor d[(e + f)])
1 => if a then b else c => (if ... then ... else ...)
1 => case x of 1 then a | default b esac => case x of^... then ...^| default ...^esac
-7 => not not not a => (not (not (not a)))
)")) {
        ustr_append_string(string, "is replaced");
        ppm_printn_expr_str(expression(row[1]).get(), string, std::stoi(row[0]));
        EXPECT_EQ(string->text, row[2]);
    }
    ustr_delete(string);
}

// The columns that each expression takes, begun in column 10.
TEST(PrintedExpressions, CountColumnsByTheirOwnRules) {
    for (const auto& row : rows(R"(
abc => 3
a.b.c => 0
ab[1][i + 1] => 12
-123 => 4
false => 5
"a\n" => 5
a <-> b => 9
order(a) => 10
if a then b else c => 20
forall ij in [0..3] : (x) => 25
case abc of 1 then a | default b esac => -6
)")) {
        unsigned column = 0;
        const ExprPtr expr = expression(row[0]);
        on_stream([&](FILE* f) { column = ppm_printn_expr(f, expr.get(), -1, 10, 0); });
        EXPECT_EQ(static_cast<int>(column), 10 + std::stoi(row[1])) << row[0];
    }
}

TEST(PrintedRules, BreakAfterTheOperandThatPassesColumn70) {
    const std::string a60(60, 'a'), a70(70, 'a'), a71(71, 'a');
    EXPECT_EQ(wrapped(a70), a70 + ";");
    EXPECT_EQ(wrapped(a71), a71 + "\n;");
    EXPECT_EQ(wrapped("x and " + a60 + " and y"), "((x and " + a60 + ") and y\n);");
    EXPECT_EQ(wrapped(a70 + " and y"), "(" + a70 + "\n and y);");
    EXPECT_EQ(wrapped("a." + a70 + " and b." + a70), "(a." + a70 + " and b." + a70 + ");")
        << "paths count as nothing";
    EXPECT_EQ(wrapped("case x of " + a70 + " then " + a70 + " | " + a71 + " then b | default " +
                      a60 + " esac"),
              "case x of\n" + a70 + " then " + a70 + "\n\n| " + a71 + "\n then b\n| default " +
                  a60 + "\n\nesac;");
    EXPECT_EQ(print(expression(a71 + " and y").get()), "(" + a71 + " and y)")
        << "only rules are broken";
    EXPECT_EQ(on_stream([](FILE* f) {
                  EXPECT_EQ(ppm_printn_expr(f, expression("a").get(), 0, 80, 1), 83u);
              }),
              "...")
        << "nor is an ellipsis";
}

namespace {

const char* const model =
    "constant N : 3; NAMES : \"a\\nb\";\n"
    "type color : [red, \"dark red\", \"type\"]; size : [0..N];\n"
    "variable c : color; private s : array N of array 2 of size; x : integer; f : float; b : "
    "boolean;\n"
    "o : optional { a, b : string; }; r : { p : { q : t; rule q; not q; }; rule p.q; };\n"
    "rule c = red -> s[0] > 1; forall i in [0..N] : (s[i] < x);\n"
    "case c of red then f < -1.5 | default b esac;\n";

const std::string printed_head =
    "/* Project     : model.pm\n   Description : \n*/\n\n"
    "constant\n\n N : 3;\n NAMES : \"a\\nb\";\n\n"
    "type\n\n color : [red\n, \"dark red\"\n, \"type\"\n];\n size : [0..N];\n\n"
    "variable\n\n  public  c : color;\n  private s : array N of array 2 of size;\n"
    "  public  x : integer;\n  public  f : float;\n  public  b : boolean;\n"
    "  public  o :  optional {\n  public  a : string;\n  public  b : string;\n};\n"
    "  public  r : {\n  public  p : {\n  public  q : t;\nrule\nq;\n(not q);\n};\n"
    "rule\np.q;\n};\n\n"
    "rule\n\n((c = red) -> (s[0] > 1));\nforall i in [0..N] : ((s[i] < x));\n"
    "case c of\nred then (f < -1.5)\n| default b\nesac;\n";
const std::string printed_model = printed_head + "#line 1 \"#row 7\"\n/* why */\n(x = 2);\n\n";

ProjectPtr whole_model() {
    ProjectPtr project = parse(model);
    Expr* rule = expression("x = 2").release();
    proj_add_ruledecl(project.get(),
                      decl_new_ruledecl_source_info(rule, str_copy("why"), str_copy("row 7")));
    return project;
}

} // namespace

TEST(PrintedProjects, HaveTheirSectionsInOrderAndReadBack) {
    EXPECT_EQ(print(whole_model().get()), printed_model);
    const ProjectPtr again = parse(printed_model);
    ASSERT_TRUE(again);
    const auto* last = static_cast<RuleDecl*>(again->ruledecllist->last->element);
    char place[MESSAGE_BUFFER_SIZE];
    proj_line_information(again->line_info, last->linenumber, place);
    EXPECT_STREQ(place, "row 7 ") << "a rule tells where it came from";
    EXPECT_EQ(print(again.get()), printed_head + "(x = 2);\n\n");
    const ProjectPtr empty(proj_new_project(str_copy("p"), str_copy("d %s"), nullptr));
    EXPECT_EQ(print(empty.get()), "/* Project     : p\n   Description : d %s\n*/\n\n");
}

// Short texts go straight into the stream's buffer if it has room for them.
TEST(PrintedProjects, AreTheSameWhateverTheBufferOfTheStream) {
    const ProjectPtr project = whole_model();
    for (const auto& [mode, size] :
         {std::pair{_IONBF, 0u}, {_IOLBF, 64u}, {_IOFBF, 1u}, {_IOFBF, 7u}, {_IOFBF, 40u}}) {
        std::vector<char> buffer(size + 1), printed(printed_model.size() + 9);
        FILE* file = std::tmpfile();
        std::setvbuf(file, buffer.data(), mode, size);
        ppm_print_project(file, project.get());
        std::rewind(file);
        const std::size_t length = std::fread(printed.data(), 1, printed.size(), file);
        EXPECT_EQ(std::string(printed.data(), length), printed_model) << mode << ' ' << size;
        std::fclose(file);
    }
}
