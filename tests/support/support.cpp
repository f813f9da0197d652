#include "support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pthread.h>
#include <sstream>
#include <stdexcept>

#include "norvane/base/items.hpp"

// Of the leak checker, where there is one.
extern "C" __attribute__((weak)) void __lsan_disable(void);
extern "C" __attribute__((weak)) void __lsan_enable(void);

namespace norvane::test {

Reports::Reports() {
    msg_set_error_sink(&Reports::receive, this);
}

Reports::~Reports() {
    msg_set_error_sink(nullptr, nullptr);
}

void Reports::receive(ErrorType type, ErrorInfo* error, void* user) {
    static_cast<Reports*>(user)->reports_.push_back({type, error->name, error->message});
    err_delete(error);
}

std::string Reports::text() const {
    std::string text;
    for (const Report& r : reports_) {
        if (r.type == ERROR_TYPE_WARNING) text += "warning ";
        text += r.name + ": " + r.title + "\n";
    }
    return text;
}

std::string Reports::names() const {
    std::string text;
    for (const Report& r : reports_)
        text += (text.empty() ? "" : " ") + r.name;
    return text;
}

namespace {

// What a throw or an exception jumps over is lost, and that is no leak.
class AllowedLeaks {
  public:
    AllowedLeaks() {
        if (__lsan_disable != nullptr) __lsan_disable();
    }
    ~AllowedLeaks() {
        if (__lsan_enable != nullptr) __lsan_enable();
    }
    AllowedLeaks(const AllowedLeaks&) = delete;
    AllowedLeaks& operator=(const AllowedLeaks&) = delete;
};

} // namespace

std::string thrown(const std::function<void()>& body) {
    static ExceptionState state;
    const auto run = [](void* user) { (*static_cast<const std::function<void()>*>(user))(); };
    const AllowedLeaks allowed;
    if (!except_catch(run, const_cast<std::function<void()>*>(&body), &state)) return "";
    return std::to_string(state.kind) + ": " + state.message;
}

std::string unwound(const std::function<void()>& body) {
    const AllowedLeaks allowed;
    try {
        body();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return "";
}

ProjectPtr parse(const std::string& source) {
    std::string text = source;
    std::string name = "model.pm";
    // fmemopen refuses an empty buffer; a blank says the same.
    if (text.empty()) text = " ";
    FILE* stream = fmemopen(text.data(), text.size(), "r");
    if (!stream) throw std::runtime_error("fmemopen");
    Project* project = lpm_load_file(stream, name.data());
    fclose(stream);
    return ProjectPtr(project);
}

Model check(const std::string& source) {
    Model model;
    model.project = parse(source);
    if (model.project) model.table.reset(proj_static_sem_check(model.project.get()));
    return model;
}

ExprPtr expression(const std::string& text) {
    ProjectPtr project = parse("rule " + text + ";");
    if (!project) return nullptr;
    auto* rule = static_cast<RuleDecl*>(plist_hd(project->ruledecllist));
    return ExprPtr(expr_copy_expr(rule->rule));
}

namespace {

template <typename Printer>
std::string printed(Printer printer) {
    UtilString* string = ustr_new();
    printer(string);
    std::string text(string->text, string->length);
    ustr_delete(string);
    return text;
}

} // namespace

std::string print(Expr* expr) {
    return printed([&](UtilString* s) { ppm_printn_expr_str(expr, s, -1); });
}

std::string print(IdCon* idcon) {
    return printed([&](UtilString* s) { ppm_print_idcon_str(idcon, s); });
}

std::string print(TypeCon* typecon) {
    return printed([&](UtilString* s) { ppm_print_typecon_str(typecon, s); });
}

std::string print(Project* project) {
    return on_stream([&](FILE* stream) { ppm_print_project(stream, project); });
}

std::string on_stream(const std::function<void(FILE*)>& body) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    body(stream);
    if (std::fclose(stream) != 0) throw std::runtime_error("fclose");
    std::string result(text, size);
    std::free(text);
    return result;
}

std::string flat_rules(const Model& model, bool simplify) {
    ListPtr rules(
        proj_get_expanded_rules(model.project.get(), model.table.get(), simplify ? 1 : 0));
    std::string text;
    for (Expr* rule : items<Expr>(rules.get()))
        text += print(rule) + "\n";
    return text;
}

void with_small_stack(const std::function<void()>& body, std::size_t size, void* memory) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if ((memory ? pthread_attr_setstack(&attributes, memory, size)
                : pthread_attr_setstacksize(&attributes, size)) != 0)
        throw std::runtime_error("pthread_attr_setstack");
    pthread_t thread;
    const auto run = [](void* user) -> void* {
        (*static_cast<const std::function<void()>*>(user))();
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)) != 0)
        throw std::runtime_error("pthread_create");
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "norvane-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("mkdtemp");
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, const std::string& content) const {
    const std::filesystem::path path = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
}

std::vector<std::string> TemporaryDirectory::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    result.reserve(text.size() * times);
    for (; times > 0; --times)
        result += text;
    return result;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string read_file(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string test_data(const std::string& path) {
#ifdef GOLDEN_DIR
    const std::string tests = GOLDEN_DIR "/..";
#else
    const std::string tests = "tests"; // built by hand, run in the root of the source tree
#endif
    const std::string text = read_file(tests + "/" + path);
    if (text.empty()) throw std::runtime_error("no such data: " + path);
    return text;
}

std::string test_data_rerun(const std::string& path,
                            const std::function<std::string(const std::string&)>& run) {
    std::istringstream lines(test_data(path));
    std::string text;
    for (std::string line; std::getline(lines, line); text += "\n") {
        const std::size_t arrow = line.find(" =>");
        text += line.substr(0, arrow);
        if (line.starts_with("#") || arrow == std::string::npos) continue;
        std::string output = " " + run(line.substr(0, arrow));
        std::replace(output.begin(), output.end(), '\n', ' ');
        output.erase(output.find_last_not_of(' ') + 1);
        text += " =>" + output;
    }
    return text;
}

} // namespace norvane::test
