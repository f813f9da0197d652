#include "side_data.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "display_names.h"
#include "load_model.h"
#include "output.h"
#include "similar.h"
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

// "the layer en", "the layers en, de"
std::string list_of_layers(const std::vector<const char*>& layers) {
    std::string text = layers.size() == 1 ? "the layer " : "the layers ";
    for (const char* layer : layers)
        text += std::string(layer == layers.front() ? "" : ", ") + layer;
    return text;
}

// Names that each unknown key is compared with: more take too long.
constexpr std::size_t most_compared = 5000;

// Holds a presentation against a model.
class PresentationCheck {
  public:
    PresentationCheck(Session& session, const CheckedModel& model, const Presentation& presentation)
        : session_(session), names_(model) {
        for (const auto [layer, texts] : presentation.layers())
            read_layer(layer, texts);
    }

    // False if a key names nothing.
    bool tell() {
        tell_unknown();
        tell_missing();
        return unknown_.empty();
    }

  private:
    void read_layer(const char* layer, const PolyHash* texts) {
        DisplayNames& found = layers_.emplace_back(layer, DisplayNames()).second;
        for (const auto [key, text] : Presentation::texts(texts)) {
            if (names_.find(without_allowed_words(key), found) || is_allowed(key)) continue;
            auto [place, is_new] = unknown_.try_emplace(key);
            if (is_new) in_order_.push_back(place->first);
            place->second.push_back(layer);
        }
    }
    bool is_allowed(std::string_view word) const {
        return std::ranges::count(session_.options.key_words, word) > 0;
    }
    // The name in "help.flow" and "flow.unit"; of a key without these words all of it.
    std::string without_allowed_words(std::string_view key) const {
        const std::size_t first = key.find('.');
        if (first != std::string_view::npos && is_allowed(key.substr(0, first)))
            key.remove_prefix(first + 1);
        const std::size_t last = key.rfind('.');
        if (last != std::string_view::npos && is_allowed(key.substr(last + 1)))
            key.remove_suffix(key.size() - last);
        return std::string(key);
    }
    void tell(Severity severity, const char* name, const std::string& message,
              const std::string& hint = {}) {
        Finding finding;
        finding.severity = severity;
        finding.name = name;
        finding.message = message;
        finding.hint = hint;
        finding.place.file = session_.subject;
        session_.diagnostics.report(finding);
    }
    void tell_unknown() {
        std::vector<std::string_view> all = names_.all();
        for (const NeededText& needed : needed_)
            all.push_back(needed.path);
        if (all.size() > most_compared) all.clear();
        for (const std::string& key : in_order_)
            tell(Severity::error, "ERR_ID_UNDECLARED",
                 "The model has no name '" + key + "', of which " + list_of_layers(unknown_[key]) +
                     (unknown_[key].size() == 1 ? " has a text" : " have texts"),
                 did_you_mean(key, all));
    }
    void tell_missing() {
        for (const NeededText& needed : needed_) {
            std::vector<const char*> without;
            for (const auto& [layer, found] : layers_)
                if (std::ranges::none_of(needed.names, [&names = found](const DisplayName& name) {
                        return names.contains(name);
                    }))
                    without.push_back(layer);
            if (!without.empty())
                tell(Severity::warning, "",
                     "No text for '" + needed.path + "' in " + list_of_layers(without));
        }
    }

    Session& session_;
    const NamesOfModel names_;
    const std::vector<NeededText> needed_ = names_.needed();
    std::vector<std::pair<const char*, DisplayNames>> layers_; // what their keys name
    std::map<std::string, std::vector<const char*>> unknown_;  // keys, and the layers with them
    std::vector<std::string> in_order_;
};

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
    session.write_output([&merged](std::FILE* stream) { merged.write(stream); },
                         Inputs::may_be_replaced);
}

void check_presentation(Session& session) {
    const CheckedModel& model = load_and_check_model(session);
    const Presentation& presentation = load_presentation(session, session.options.presentation);
    session.begin(Step::check, session.subject);
    if (!PresentationCheck(session, model, presentation).tell()) throw InputAtFault();
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
