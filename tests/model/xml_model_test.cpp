// Models as XML: what is written, whole and valid by its document type; what is read, with its
// leniencies, its lines and its refusals; round trips; and files that are hostile by their shape.
#include <regex>

#include "shape.h"
#include "xml_files.h"

namespace norvane::test {
namespace {

// The lines of all types below one, and of what they hold.
std::string lines(TypeCon* type) {
    std::string text = at(type->linenumber);
    if (type->contype == TC_INT) text += nodes(type->values.upper);
    if (type->contype == TC_ARRAY) text += nodes(type->values.array.size);
    if (type->contype == TC_PROD) {
        for (const VarDecl* field : items<VarDecl>(type->values.prod.fields))
            text += " " + at(field->linenumber);
        for (const RuleDecl* rule : items<RuleDecl>(type->values.prod.rules))
            text += " rule" + at(rule->linenumber) + nodes(rule->rule);
    }
    model::for_each_child(
        type, [&](TypeCon* inner) { text += " " + lines(inner); }, "type %d");
    return text;
}

// The source, and the lines of all records.
std::string tree(Project* project) {
    const std::string source = print(project);
    std::string text = source.substr(source.find("*/") + 2) + "|";
    for (const auto* c : items<ConstantDecl>(project->constantdecllist))
        text += " " + (c->name + at(c->linenumber)) + nodes(c->value);
    for (const auto* t : items<TypeDecl>(project->typedecllist))
        text += " " + (t->name + at(t->linenumber)) + " " + lines(t->typecon);
    for (const auto* v : items<VarDecl>(project->vardecllist))
        text += " " + (v->name + at(v->linenumber)) + " " + lines(v->typecon);
    for (const auto* r : items<RuleDecl>(project->ruledecllist))
        text += " rule" + at(r->linenumber) + nodes(r->rule);
    return std::regex_replace(text, std::regex("\\s+"), " ");
}

// A directory with one file, written and read.
class XmlFile {
  public:
    std::string path() const { return directory_.path() + "/model.xml"; }
    std::string written(Project* project) const {
        EXPECT_EQ(proj_export_to_xmlfile(project, path().c_str()), 0);
        return read_file(path());
    }
    ProjectPtr read() const { return ProjectPtr(proj_import_from_xmlfile(path().c_str())); }
    void put(const std::string& xml) const { directory_.write("model.xml", xml); }

  private:
    TemporaryDirectory directory_;
};

// Everything that the reading of a document tells: the reports, then the tree, if there is one.
std::string outcome(const XmlFile& file, std::string xml) {
    std::replace(xml.begin(), xml.end(), '^', '\n');
    file.put(xml);
    const Reports reports;
    const ProjectPtr project = file.read();
    std::string text = reports.text() + (project ? tree(project.get()) : "");
    const std::size_t name = text.find(file.path());
    return name == std::string::npos ? text : text.replace(name, file.path().size(), "FILE");
}

void expect_outcomes(const std::string& name) {
    const XmlFile file;
    EXPECT_EQ(test_data_rerun("model/data/" + std::string(name),
                              [&](const std::string& xml) { return outcome(file, xml); }),
              test_data("model/data/" + std::string(name)));
}

TEST(ModelXml, EveryConstructIsWrittenAsItStandsInTheFormat) {
    const XmlFile file;
    const ProjectPtr project = parse(test_data("model/data/xml/every_construct.pm"));
    EXPECT_EQ(joined(file.written(project.get())), test_data("model/data/xml/every_construct.xml"));
    EXPECT_EQ(validity(file.path()), "");
}

TEST(ModelXml, WhatIsReadIsTheTreeWithTheLinesOfTheElements) {
    expect_outcomes("xml/reads.txt");
}

TEST(ModelXml, WhatIsRefusedIsReportedOnceAndLeavesNothing) {
    expect_outcomes("xml/refusals.txt");
}

TEST(ModelXml, TheProjectHasTheNameOfItsFile) {
    const XmlFile file;
    file.put("<model/>");
    const ProjectPtr project = file.read();
    ASSERT_TRUE(project);
    EXPECT_EQ(project->name, file.path());
    EXPECT_EQ(project->filename, file.path());
}

TEST(ModelXml, FloatsAndTextsSurviveExactly) {
    const XmlFile file;
    const ProjectPtr project = parse("variable x : boolean;");
    const double numbers[] = {0.1, 1.0, -2.25, 1e300, 5e-324, 123456789.123456789, HUGE_VAL, -0.0};
    for (const double number : numbers)
        proj_add_ruledecl(project.get(),
                          decl_new_ruledecl(expr_new_floatconst(number, 1), nullptr, 1));
    std::string text = " \t\n\r\n <&>\"'";
    for (int c = 0x7F; c < 0x100; ++c)
        text += static_cast<char>(c);
    Expr* constant = expr_new_stringconst(text.c_str(), 1);
    proj_add_constantdecl(project.get(),
                          decl_new_constantdecl(str_copy(text.c_str()), constant, 1));
    file.written(project.get());
    const ProjectPtr back = file.read();
    const auto* name = static_cast<ConstantDecl*>(plist_hd(back->constantdecllist));
    EXPECT_EQ(name->name, text);
    EXPECT_EQ(name->value->args.str, text);
    const double* number = numbers;
    for (const RuleDecl* rule : items<RuleDecl>(back->ruledecllist)) {
        EXPECT_EQ(rule->rule->args.floatconst.value, *number);
        EXPECT_EQ(std::signbit(rule->rule->args.floatconst.value), std::signbit(*number++));
    }
}

TEST(ModelXml, WhatTheFormatCannotHoldStopsTheWriterBeforeTheFileIsTouched) {
    const XmlFile file;
    const std::pair<const char*, std::function<void(Expr*)>> rows[] = {
        {"Invalid binary operator", [](Expr* expr) { expr->opr = OPR_SHL; }},
        {"Invalid expression", [](Expr* expr) { expr->structure = 42; }},
        {"Invalid constant expression",
         [](Expr* expr) { expr->args.binargs.rightarg->opr = OPR_FLOATCONST; }},
        {"Invalid id constructor",
         [](Expr* expr) { expr->args.binargs.leftarg->args.idcon->contype = 42; }},
    };
    for (const auto& [message, change] : rows) {
        const ProjectPtr project = parse("rule a + 1;");
        Expr* expr = static_cast<RuleDecl*>(plist_hd(project->ruledecllist))->rule;
        const Expr before = *expr;
        change(expr);
        file.put("<untouched/>");
        EXPECT_EQ(thrown([&] { proj_export_to_xmlfile(project.get(), file.path().c_str()); }),
                  "1: " + std::string(message));
        EXPECT_EQ(read_file(file.path()), "<untouched/>");
        *expr = before;
        expr->args.binargs.leftarg->args.idcon->contype = IDCON_SIMPLE;
    }
    const ProjectPtr project = parse("");
    const Reports reports;
    EXPECT_EQ(proj_export_to_xmlfile(project.get(), "/nowhere/at.xml"), -1);
    EXPECT_EQ(reports.names(), "ERR_FILE_OPEN_WRITE");
}

} // namespace
} // namespace norvane::test
