#include "side_data.h"

#include <cstdio>
#include <string>

#include "load_model.h"
#include "output.h"
#include "text.h"
#include "variable_names.h"

namespace norvane::driver {
namespace {

// Names and keys are held in code page 1252, as the model's texts are.
std::string shown(const char* text) {
    return for_terminal(codepage_to_utf8(text));
}

Presentation& load_presentation(Session& session, const std::string& file) {
    const std::string name = input_name(file);
    session.begin_load(name);
    return session.take(Presentation::load(name, session.on_report));
}

VarOrder& load_order(Session& session) {
    const std::string name = input_name(session.options.var_order);
    session.begin_load(name);
    return session.take(VarOrder::load(name, session.on_report));
}

void list_layer(const char* name, const PolyHash* layer) {
    const std::string before = shown(name) + "\t";
    for (const auto [key, text] : Presentation::texts(layer)) {
        std::printf("%s%s\n", before.c_str(), shown(key).c_str());
        if (results_refused()) return;
    }
}

} // namespace

void list_presentation(Session& session) {
    const Presentation& presentation = load_presentation(session, session.options.file);
    for (const auto [name, layer] : presentation.layers())
        list_layer(name, layer);
}

void get_from_presentation(Session& session) {
    const Options& options = session.options;
    const Presentation& presentation = load_presentation(session, options.file);
    const std::string layer = utf8_to_codepage(options.layer);
    if (!presentation.layer(layer)) {
        session.report([&options] { return ERR_PRES_WRONG_NAME(options.layer.c_str()); });
        throw InputAtFault();
    }
    const auto text = presentation.text(layer, utf8_to_codepage(options.key));
    if (!text) {
        session.diagnostics.say(session.subject + ": the layer '" + options.layer +
                                "' has no key '" + options.key + "'");
        throw InputAtFault();
    }
    std::printf("%s\n", text->c_str());
}

void merge_presentations(Session& session) {
    check_standard_input(session);
    Presentation merged;
    for (const std::string& file : session.options.presentations)
        merged.merge(load_presentation(session, file));
    session.write_output([&merged](std::FILE* stream) { merged.write(stream); });
}

void list_var_order(Session& session) {
    for (const char* name : load_order(session).names()) {
        std::printf("%s\n", shown(name).c_str());
        if (results_refused()) break;
    }
}

void check_var_order(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    const VarOrder& order = load_order(session);
    session.begin(Step::check, session.subject);
    bool all_known = true;
    for (const char* name : order.names()) {
        if (is_variable(model, name)) continue;
        session.report([name] { return ERR_ID_UNDECLARED("", name); });
        all_known = false;
    }
    if (!all_known) throw InputAtFault();
}

} // namespace norvane::driver
