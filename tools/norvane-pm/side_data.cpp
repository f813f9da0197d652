#include "side_data.h"

#include <cstdio>
#include <string>

#include "norvane/base/items.hpp"
#include "norvane/proj.h"

#include "codepage.h"
#include "diagnostics_sink.h"
#include "models.h"
#include "output.h"
#include "variable_names.h"

namespace norvane::pm {
namespace {

using NorvaneCpp::String;
using NorvaneCpp::UTF8;

// Names and keys, which are held in code page 1252 as the model's texts are, and the command line.
std::string shown(const char* text) {
    return for_terminal(UTF8::ToUnicode(text).GetStr());
}

String held(const std::string& argument) {
    return UTF8::ToCodepage(argument.c_str(), 1252, false);
}

PolyHash* import_presentation(Work& work, const std::string& file) {
    const char* name = input_name(file);
    begin_step(work, Step::load, name);
    return pres_import(name);
}

bool load_presentation(Work& work) {
    work.presentation = import_presentation(work, work.options->file);
    return work.presentation != nullptr;
}

bool load_order(Work& work) {
    const char* name = input_name(work.options->var_order);
    begin_step(work, Step::load, name);
    work.order = var_order_import(name);
    return work.order != nullptr;
}

void list_layer(const char* name, const PolyHash* layer) {
    const std::string before = shown(name) + "\t";
    PolyHashIter iter;
    void* key;
    phash_iter_init(&iter, layer);
    while (phash_iter_next(&iter, &key, nullptr) && !results_refused())
        std::printf("%s%s\n", before.c_str(), shown(static_cast<char*>(key)).c_str());
}

} // namespace

bool list_presentation(Work& work) {
    if (!load_presentation(work)) return false;
    PolyHashIter iter;
    void* name;
    void* layer;
    phash_iter_init(&iter, work.presentation);
    while (phash_iter_next(&iter, &name, &layer))
        list_layer(static_cast<char*>(name), static_cast<PolyHash*>(layer));
    return true;
}

bool get_from_presentation(Work& work) {
    if (!load_presentation(work)) return false;
    const Options& options = *work.options;
    const String layer = held(options.layer);
    if (!pres_get_layer(work.presentation, layer.GetStr())) {
        report_error(ERR_PRES_WRONG_NAME(options.layer.c_str()));
        return false;
    }
    String value;
    if (!pres_get_value_utf8(work.presentation, value, layer.GetStr(),
                             held(options.key).GetStr())) {
        work.diagnostics->say(std::string(work.subject) + ": the layer '" + options.layer +
                              "' has no key '" + options.key + "'");
        return false;
    }
    std::printf("%s\n", value.GetStr());
    return true;
}

bool merge_presentations(Work& work) {
    work.presentation = pres_new();
    for (const std::string& file : work.options->presentations) {
        work.addition = import_presentation(work, file);
        if (!work.addition) return false;
        pres_merge(work.presentation, work.addition);
        pres_delete(work.addition);
        work.addition = nullptr;
    }
    if (!open_output(work)) return false;
    pres_export_fileptr(work.presentation, work.output.stream());
    work.output.refused();
    return close_output(work);
}

bool list_var_order(Work& work) {
    if (!load_order(work)) return false;
    for (const char* name : items<char>(work.order)) {
        std::printf("%s\n", shown(name).c_str());
        if (results_refused()) break;
    }
    return true;
}

bool check_var_order(Work& work) {
    if (!load_model(work) || !check_model(work) || !load_order(work)) return false;
    begin_step(work, Step::check, work.subject);
    bool all_known = true;
    for (const char* name : items<char>(work.order)) {
        if (is_variable(work.project, work.table, name)) continue;
        report_error(ERR_ID_UNDECLARED("", name));
        all_known = false;
    }
    return all_known;
}

} // namespace norvane::pm
