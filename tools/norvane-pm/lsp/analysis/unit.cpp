#include "unit.h"

#include "analyse.h"

namespace norvane::driver::lsp {
namespace {

// What an editor shows of one file; more make it slow.
constexpr unsigned most_errors = 500;

constexpr unsigned long long most_nodes = 200'000'000;

// A source that no modeller writes; its check would take minutes.
constexpr std::size_t largest_model = std::size_t{16} << 20;

Finding finding_about(const std::string& file, Severity severity, std::string message,
                      std::string hint = {}) {
    Finding finding;
    finding.severity = severity;
    finding.message = std::move(message);
    finding.place.file = file;
    finding.hint = std::move(hint);
    return finding;
}

} // namespace

Unit::Input Unit::read_input(const Documents& documents) const {
    Input input;
    if (!settings_.model.empty())
        input.sources =
            sources_of(settings_.model, settings_.directories, documents, &input.missing);
    if (is_calculation())
        if (auto bytes = documents.bytes(calculation_))
            input.sources[calculation_] = *std::move(bytes);
    return input;
}

bool Unit::settle(const Documents& documents) {
    is_changed_ = false;
    Input input = read_input(documents);
    if (input == input_ && !has_given_up_) return true;
    has_given_up_ = false;
    input_ = std::move(input);
    needs_run_ = true;
    worker_.reset();
    overlay_.reset();
    return false;
}

bool Unit::is_too_large() const {
    std::size_t size = 0;
    for (const auto& [path, bytes] : input_.sources)
        size += bytes.size();
    return size > largest_model;
}

Job Unit::job() const {
    Job job;
    Options& options = job.options;
    options.format = Format::json;
    options.color = Color::never;
    options.max_errors = most_errors;
    options.max_nodes = most_nodes;
    for (const std::string& word : settings_.warnings)
        options.warnings.take(word);
    if (settings_.model.empty()) {
        options.file = overlay_->path(calculation_);
        job.command = parse_calculation;
        return job;
    }
    options.file = overlay_->path(settings_.model);
    options.from = ModelForm::source;
    options.cpp_args = overlay_->include_options(settings_.directories);
    options.cpp_args.insert(options.cpp_args.end(), settings_.macros.begin(),
                            settings_.macros.end());
    job.preprocess = options.file;
    job.command = is_calculation() ? analyse_calculation : analyse_model;
    if (!is_calculation()) return job;
    options.calculation = overlay_->path(calculation_);
    options.calc_from = CalcForm::source;
    return job;
}

void Unit::start(const Documents& documents, const std::string& directory) {
    needs_run_ = false;
    if (is_too_large()) {
        Result nothing;
        nothing.findings = {finding_about(file(), Severity::note,
                                          "the model is too large to be checked while it is edited",
                                          "norvane-pm check " + file())};
        return finish(std::move(nothing));
    }
    static unsigned count = 0;
    overlay_ = std::make_unique<Overlay>(directory + "/run" + std::to_string(++count));
    overlay_->add(input_.sources, documents);
    Job what = job();
    what.directory = overlay_->root();
    worker_ = std::make_unique<Worker>(what);
}

bool Unit::read_worker() {
    if (!worker_->read()) return false;
    Result result = result_of(worker_->output(), overlay_->root(), file());
    worker_.reset();
    overlay_.reset();
    finish(std::move(result));
    return true;
}

void Unit::give_up(const std::string& why) {
    worker_.reset();
    overlay_.reset();
    Result nothing;
    nothing.findings = {finding_about(file(), Severity::warning, why)};
    finish(std::move(nothing));
    has_given_up_ = true;
}

void Unit::read_model(NameIndex& index) const {
    const auto model = input_.sources.find(settings_.model);
    if (model == input_.sources.end()) return;
    SourceFiles files;
    for (const auto& [path, bytes] : input_.sources)
        files.set(path, bytes);
    // Where the preprocessor has failed, the main file alone is better than nothing.
    auto source = std::make_unique<SourceText>(result_.has_text ? result_.text : model->second,
                                               settings_.model, files);
    auto words = std::make_unique<Words>(*source, files);
    read_model_names(index, *words);
    index.hold(std::move(source));
    index.hold(std::move(words));
    read_macros(index);
}

// All definitions come before the uses.
void Unit::read_macros(NameIndex& index) const {
    for (const std::string& option : settings_.macros)
        if (option.starts_with("-D")) add_macro(index, option.substr(2));
    for (const auto& [path, bytes] : input_.sources)
        if (path != calculation_) read_macro_definitions(index, path, bytes, result_.definitions);
    for (const auto& [path, bytes] : input_.sources)
        if (path != calculation_) read_macro_uses(index, path, bytes, result_.definitions);
}

void Unit::read_calculation(NameIndex& index) const {
    const auto own = input_.sources.find(calculation_);
    if (own == input_.sources.end()) return;
    auto words = std::make_unique<Words>(calculation_, own->second);
    read_calculation_names(index, *words);
    index.hold(std::move(words));
}

const NameIndex& Unit::names() const {
    if (names_) return *names_;
    auto index = std::make_unique<NameIndex>();
    read_model(*index);
    read_calculation(*index);
    index->sort();
    names_ = std::move(index);
    return *names_;
}

void Unit::finish(Result result) {
    result_ = std::move(result);
    names_.reset();
    if (is_calculation() && settings_.model.empty())
        result_.findings.push_back(finding_about(
            calculation_, Severity::note,
            "the model of this calculation is not known, so only its syntax is checked",
            "name it in a workspace or in .norvane.json"));
}

} // namespace norvane::driver::lsp
