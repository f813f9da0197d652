// Numbers that the finite form has: those of labels, and of the classes of unbounded variables.
#include "classes.h"
#include "places.h"
#include "requests.h"
#include "unit.h"

namespace norvane::driver::lsp {
namespace {

class Hints {
  public:
    explicit Hints(const Context& context)
        : context_(context), names_(context.unit.names()),
          wanted_(range_of(member(context.params, "range"))) {}

    Json find() {
        number_labels();
        count_classes();
        return std::move(hints_);
    }

  private:
    void number_labels() {
        for (const TypeNode& type : names_.types) {
            if (type.kind != TypeNode::Kind::enumeration) continue;
            for (std::size_t i = 0; i < type.fields.size(); ++i)
                add(names_.symbols[type.fields[i]].spot, "= " + std::to_string(i));
        }
    }

    void count_classes() {
        for (std::size_t i = 0; i < names_.symbols.size(); ++i) {
            const std::vector<std::string> cuts = cuts_of(context_, i);
            if (cuts.empty()) continue;
            add(names_.symbols[i].spot, std::to_string(classes_of(cuts).size()) + " classes");
        }
    }

    // Adds a hint at the end of the spot, if the client asked for that position.
    void add(const Spot& spot, const std::string& text) {
        if (!spot.is_known() || *spot.file != context_.document.path) return;
        const Position end = range_of(spot, context_.documents).end;
        if (end < wanted_.start || wanted_.end < end) return;
        hints_.push_back({{"position", to_json(end)}, {"label", text}, {"paddingLeft", true}});
    }

    const Context& context_;
    const NameIndex& names_;
    Range wanted_;
    Json hints_ = Json::array();
};

} // namespace

Json inlay_hints(const Context& context) {
    return Hints(context).find();
}

} // namespace norvane::driver::lsp
