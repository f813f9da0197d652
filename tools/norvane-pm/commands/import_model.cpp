#include "import_model.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "import.h"
#include "load_model.h"
#include "output.h"
#include "text.h"

namespace norvane::driver {
namespace {

// The layer of the presentation: what the language that the model comes from calls things.
constexpr const char* layer = "names";
// A person reads no more of them.
constexpr std::size_t most_told = 50;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string read_text(Session& session) {
    const std::string name = input_name(session.options.file);
    check_standard_input(session);
    if (!session.options.cpp_args.empty())
        throw WrongUsage{"-I, -D and -U apply only to models in source: " + name};
    session.begin_load(name);
    const File file(std::fopen(name.c_str(), "rbe"));
    std::string text;
    char block[1 << 16];
    for (std::size_t length; file && (length = std::fread(block, 1, sizeof block, file.get())) > 0;)
        text.append(block, length);
    if (file && !std::ferror(file.get())) return text;
    session.report([&name] { return ERR_FILE_OPEN(name.c_str()); });
    throw InputAtFault();
}

void report(Session& session, Severity severity, const std::string& message, unsigned line,
            unsigned column, const std::string& hint = {}) {
    Finding finding;
    finding.severity = severity;
    finding.message = message;
    finding.place = {session.subject, line, column, line, column > 0 ? column + 1 : 0};
    finding.hint = hint;
    session.diagnostics.report(finding);
}

Imported import(Session& session, ModelForm from) {
    const std::string text = read_text(session);
    try {
        return from == ModelForm::dimacs ? import_dimacs(text) : import_uvl(text);
    } catch (const ImportFault& fault) {
        report(session, Severity::error, fault.text, fault.line, fault.column);
        throw InputAtFault();
    }
}

void tell_left_out(Session& session, const Imported& imported) {
    const std::size_t count = imported.left_out.size();
    for (std::size_t i = 0; i < std::min(count, most_told); ++i)
        report(session, Severity::warning, imported.left_out[i].text, imported.left_out[i].line, 0);
    if (count > most_told)
        report(session, Severity::warning,
               std::to_string(count - most_told) + " more warnings like these", 0, 0);
    const std::size_t names = imported.texts.size();
    if (names > 0 && session.options.texts.empty())
        report(
            session, Severity::note,
            std::to_string(names) +
                (names == 1 ? " name that PM cannot hold was" : " names that PM cannot hold were") +
                " changed, such as '" + to_utf8(imported.texts[0].second) + "' into '" +
                imported.texts[0].first + "'",
            0, 0, "--texts FILE writes them to a presentation");
}

void write_texts(Session& session, const Imported& imported) {
    const std::string& name = session.options.texts;
    if (name.empty()) return;
    Presentation presentation;
    for (const auto& [key, text] : imported.texts)
        call([&presentation, name_of_layer = layer, from = key.c_str(), to = to_utf8(text)] {
            pres_add_key_value_utf8(presentation.get(), name_of_layer, from, to.c_str());
        });
    session.write_result(name, [&presentation](std::FILE* stream) { presentation.write(stream); });
}

Imported import_and_tell(Session& session, ModelForm from) {
    Imported imported = import(session, from);
    tell_left_out(session, imported);
    write_texts(session, imported);
    return imported;
}

} // namespace

Model& import_model(Session& session, ModelForm from) {
    Imported imported = import_and_tell(session, from);
    std::string& source = imported.source;
    session.begin(Step::load, input_name(session.options.file));
    const File file(fmemopen(source.data(), source.size(), "r"));
    if (!file) throw std::bad_alloc();
    const DroppedOutput no_results_yet;
    return session.take(detail::made<Model>(
        session.on_report, [stream = file.get(), name = session.subject.c_str()] {
            return lpm_load_file(stream, const_cast<char*>(name));
        }));
}

void import_as_source(Session& session, ModelForm from) {
    const Imported imported = import_and_tell(session, from);
    session.write_output([&source = imported.source](std::FILE* stream) {
        std::fwrite(source.data(), 1, source.size(), stream);
    });
}

} // namespace norvane::driver
