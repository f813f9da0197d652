// Times writing and reading a model as XML (xml_bench.h).
#include "xml_bench.h"

namespace {

// One part of a product with every construct of a model.
std::string part(unsigned number) {
    return xml_bench::numbered(R"(
constant LIMIT_@ : 4 + 3;
type Color_@ : [red_@, green_@, blue_@, "dark grey @"];
     Box_@ : { width : [0..99]; private depth : [0..LIMIT_@]; rule width > depth; };
variable
  public color_@ : Color_@;
  boxes_@ : array 4 of Box_@;
  weight_@ : integer; price_@ : float; label_@ : string; spare_@ : optional [0..7];
  has_lid_@ : boolean; has_lock_@ : boolean; is_sealed_@ : boolean;
rule
  has_lock_@ -> has_lid_@ and not is_sealed_@;
  has_lid_@ or has_lock_@ or is_sealed_@ or color_@ = red_@ or color_@ = blue_@;
  forall i in [0..3] : (boxes_@[i].width + 2 * boxes_@[i].depth <= 120 and boxes_@[i].depth > 1);
  sum j in [0..3] : (boxes_@[j].width) < 300;
  case color_@ of red_@ then weight_@ > 10 | green_@ then weight_@ > 20 | default has_lid_@ esac;
  if price_@ > 99.5 then label_@ <> "cheap" else label_@ = "cheap";
  (weight_@ >= 0 and weight_@ <= 5000) <-> (boxes_@[0].width <> boxes_@[1].width - 1);
)",
                               number);
}

Project* model_of(unsigned parts) {
    std::string text;
    for (unsigned i = 0; i < parts; ++i)
        text += part(i);
    std::string name = "bench.pm";
    FILE* stream = fmemopen(text.data(), text.size(), "r");
    Project* project = stream ? lpm_load_file(stream, name.data()) : nullptr;
    if (!project) xml_bench::fail("the model cannot be parsed");
    std::fclose(stream);
    return project;
}

Project* read_model(const std::string& path) {
    Project* project = proj_import_from_xmlfile(path.c_str());
    if (!project) xml_bench::fail("the model cannot be read");
    return project;
}

void write_model(Project* project, const std::string& path) {
    if (proj_export_to_xmlfile(project, path.c_str()) != 0)
        xml_bench::fail("the model cannot be written");
}

} // namespace

int main(int argc, char** argv) {
    return xml_bench::run<Project>({model_of, read_model, write_model, proj_delete}, argc, argv);
}
