// Times writing and reading a calculation as XML (xml_bench.h).
#include "xml_bench.h"

namespace {

// One function with every construct of a calculation, in compact XML.
std::string function(unsigned number) {
    return xml_bench::numbered(R"(
<function name="price_@" type="float" filename="bench.cl" line_no="@7">
<def_value><expr line_no="@7"><float_const value="-1.0"/></expr></def_value>
<arg name="count" type="int" line_no="@7"/><arg name="label" type="string" line_no="@7"/>
<vardef name="total" type="float" line_no="@8"><expr line_no="@8"><float_const value="0.25"/></expr></vardef>
<vardef name="i" type="int" line_no="@9"><expr line_no="@9"><int_const value="0"/></expr></vardef>
<stmt line_no="@10"><for_stmt>
<opt_expr><expr line_no="@10"><bop opr="assign"><expr line_no="@10"><lvar name="i"/></expr><expr line_no="@10"><int_const value="0"/></expr></bop></expr></opt_expr>
<opt_expr><expr line_no="@10"><bop opr="lt"><expr line_no="@10"><lvar name="i"/></expr><expr line_no="@10"><lvar name="count"/></expr></bop></expr></opt_expr>
<opt_expr><expr line_no="@10"><bop opr="assign"><expr line_no="@10"><lvar name="i"/></expr><expr line_no="@10"><bop opr="plus"><expr line_no="@10"><lvar name="i"/></expr><expr line_no="@10"><int_const value="1"/></expr></bop></expr></bop></expr></opt_expr>
<stmt line_no="@11"><block_stmt>
<stmt line_no="@12"><ite_stmt><expr line_no="@12"><bop opr="and"><expr line_no="@12"><pmvar name="boxes_@"><expr line_no="@12"><lvar name="i"/></expr><pmvar name="has_lid"/></pmvar></expr><expr line_no="@12"><uop opr="not"><expr line_no="@12"><pmvar name="is_sealed_@"/></expr></uop></expr></bop></expr>
<stmt line_no="@13"><expr_stmt><expr line_no="@13"><bop opr="assign"><expr line_no="@13"><lvar name="total"/></expr><expr line_no="@13"><bop opr="plus"><expr line_no="@13"><lvar name="total"/></expr><expr line_no="@13"><call namespace="Pricing" fname="getPrice"><expr line_no="@13"><string_const value="lid of box @"/></expr><expr line_no="@13"><lvar name="i"/></expr></call></expr></bop></expr></bop></expr></expr_stmt></stmt>
<stmt line_no="@14"><break_stmt/></stmt></ite_stmt></stmt>
</block_stmt></stmt></for_stmt></stmt>
<stmt line_no="@15"><switch_stmt><expr line_no="@15"><pmvar name="color_@"/></expr>
<case_label><expr line_no="@16"><string_const value="red_@"/></expr><stmt line_no="@16"><return_stmt><expr line_no="@16"><bop opr="mult"><expr line_no="@16"><lvar name="total"/></expr><expr line_no="@16"><float_const value="1.1"/></expr></bop></expr></return_stmt></stmt></case_label>
<default_label><stmt line_no="@17"><return_stmt><expr line_no="@17"><ite_expr><expr line_no="@17"><true/></expr><expr line_no="@17"><lvar name="total"/></expr><expr line_no="@17"><float_const value="0.0"/></expr></ite_expr></expr></return_stmt></stmt></default_label></switch_stmt></stmt>
</function>)",
                               number);
}

PolyHash* read_calc(const std::string& path) {
    PolyHash* calc = calc_import_from_xmlfile(path.c_str());
    if (!calc) xml_bench::fail("the calculation cannot be read");
    return calc;
}

void write_calc(PolyHash* calc, const std::string& path) {
    if (calc_export_to_file(path.c_str(), calc, 1) != 0)
        xml_bench::fail("the calculation cannot be written");
}

PolyHash* calc_of(unsigned functions) {
    char* path = util_temp_filename(".clx");
    FILE* file = path ? std::fopen(path, "w") : nullptr;
    if (!file) xml_bench::fail("no temporary file");
    std::fputs("<calculation><namespace name=\"Prices\">", file);
    for (unsigned i = 0; i < functions; ++i)
        std::fputs(function(i).c_str(), file);
    std::fputs("</namespace></calculation>", file);
    std::fclose(file);
    PolyHash* calc = read_calc(path);
    os_delete_file(path);
    str_delete(path);
    return calc;
}

} // namespace

int main(int argc, char** argv) {
    return xml_bench::run<PolyHash>({calc_of, read_calc, write_calc, calc_delete}, argc, argv);
}
