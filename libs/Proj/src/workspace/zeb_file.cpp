// The workspace file: written as a tree of XML, and read back element by element.
//
// The writer has one order of elements; the reader takes them in any order and number, since
// workspaces are also written by hand and by other tools.

#include <cstdio>
#include <cstring>

#include "norvane/base/call_guard.hpp"
#include "norvane/base/frames.hpp"
#include "norvane/base/strings.h"
#include "norvane/base/xml.h"
#include "norvane/proj/proj_errors.h"
#include "norvane/proj/zeb.h"
#include "report.h"
#include "xml_reading.h"
#include "xml_writing.h"
#include "zeb_internal.h"

namespace norvane::workspace {

namespace {

enum class Content : unsigned char { uris, uri, defines, targets };

// A child element of a project and, where several elements have the same content, its field.
struct ProjectElement {
    const char* tag;
    Content content;
    PolyList* ZEBProject::*list = nullptr;
    char* ZEBProject::*text = nullptr;
};

// In the order of a written file.
constexpr ProjectElement project_elements[] = {
    {.tag = "product_model", .content = Content::uris, .list = &ZEBProject::pm_files},
    {.tag = "defines", .content = Content::defines},
    {.tag = "includes", .content = Content::uris, .list = &ZEBProject::includes},
    {.tag = "virtual_table", .content = Content::uri, .text = &ZEBProject::virtual_table},
    {.tag = "main", .content = Content::uri, .text = &ZEBProject::main_file},
    {.tag = "presentation", .content = Content::uris, .list = &ZEBProject::pres_files},
    {.tag = "calculation", .content = Content::uris, .list = &ZEBProject::calc_files},
    {.tag = "table", .content = Content::uris, .list = &ZEBProject::table_files},
    {.tag = "var_order", .content = Content::uris, .list = &ZEBProject::var_order_files},
    {.tag = "fileincludes", .content = Content::uris, .list = &ZEBProject::fileincludes},
    {.tag = "targets", .content = Content::targets},
};

int is_known_tag(const char* tag) {
    static constexpr const char* tags[] = {
        "zeb",      "project",      "product_model", "uri",    "defines",      "define",
        "includes", "fileincludes", "virtual_table", "main",   "presentation", "calculation",
        "table",    "var_order",    "targets",       "target", "timeout",      "options",
        "option",   "precmds",      "postcmds",      "cmd"};
    for (const char* known : tags)
        if (std::strcmp(known, tag) == 0) return 1;
    return 0;
}

// Writing.

// A child with a name and, unless it is null, a value.
void add_named_element(XmlNode* parent, const char* tag, const char* name, const char* value) {
    XmlNode* node = add_element(parent, tag, {{"name", name}});
    if (value) set_attribute(node, 1, {"value", value});
}

void add_text_elements(XmlNode* parent, const char* tag, const PolyList* texts) {
    for (const char* text : items<char>(texts))
        add_text_element(parent, tag, text);
}

void write_defines(XmlNode* parent, const PolyHash* defines) {
    PolyHashIter iter;
    void* name;
    void* value;
    phash_iter_init(&iter, defines);
    while (phash_iter_next(&iter, &name, &value)) {
        NORVANE_ASSERT(name);
        NORVANE_ASSERT(value);
        // Compared by address: only a host that puts the shared empty text into a table that does
        // not copy writes a define without a value. Tables made here copy, so a define that was
        // read without a value is written with an empty one; callers rely on that.
        const char* text = value == shared_empty_text() ? nullptr : static_cast<char*>(value);
        add_named_element(parent, "define", static_cast<char*>(name), text);
    }
}

void write_option(XmlNode* parent, const char* key, const PolyList* values) {
    if (values->len == 0) add_named_element(parent, "option", key, nullptr);
    for (const char* value : items<char>(values))
        add_named_element(parent, "option", key, str_is_set(value) ? value : nullptr);
}

void write_options(XmlNode* parent, const PolyHash* options) {
    PolyHashIter iter;
    void* key;
    void* values;
    phash_iter_init(&iter, options);
    while (phash_iter_next(&iter, &key, &values))
        write_option(parent, static_cast<char*>(key), static_cast<PolyList*>(values));
}

void write_target(XmlNode* parent, const ZEBTarget* target) {
    XmlNode* node = add_element(parent, "target", {{"name", target->name}});
    if (target->timeout != -1) add_text_element(node, "timeout", DecimalText(target->timeout).text);
    if (target->options->size > 0) write_options(add_element(node, "options"), target->options);
    add_text_elements(add_element(node, "precmds"), "cmd", target->precmds);
    add_text_elements(add_element(node, "postcmds"), "cmd", target->postcmds);
}

// Elements without content are not written.
void write_element(XmlNode* parent, const ProjectElement& element, const ZEBProject* project) {
    switch (element.content) {
    case Content::uris: {
        const PolyList* uris = project->*element.list;
        if (uris->len > 0) add_text_elements(add_element(parent, element.tag), "uri", uris);
        return;
    }
    case Content::uri: {
        const char* uri = project->*element.text;
        if (uri) add_text_element(add_element(parent, element.tag), "uri", uri);
        return;
    }
    case Content::defines:
        if (project->defines->size > 0)
            write_defines(add_element(parent, element.tag), project->defines);
        return;
    case Content::targets:
        if (project->targets->len == 0) return;
        XmlNode* node = add_element(parent, element.tag);
        for (const ZEBTarget* target : items<ZEBTarget>(project->targets))
            write_target(node, target);
        return;
    }
}

void write_project(XmlNode* parent, const ZEBProject* project) {
    XmlNode* node = add_element(parent, "project", {{"name", project->name}});
    for (const ProjectElement& element : project_elements)
        write_element(node, element, project);
}

// Reading.

struct Reader {
    XmlDocument* document;
    ZEBWorkspace* workspace;
};

// The next child, which must have this tag; null at the end.
XmlNode* next_child(XmlNodeIter* iter, const char* tag) {
    return iter->current ? xml_parse_mustbe(iter, tag) : nullptr;
}

void mustbe_childless(XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    xml_parse_mustbe_empty(&iter);
}

void read_uris(PolyList* uris, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (XmlNode* uri = next_child(&iter, "uri"))
        append(uris, xml_parse_mustbe_text_node(uri));
}

const char* read_uri(XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    const char* text = xml_parse_mustbe_text_node(xml_parse_mustbe(&iter, "uri"));
    xml_parse_mustbe_empty(&iter);
    return text;
}

void read_defines(PolyHash* defines, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (XmlNode* define = next_child(&iter, "define")) {
        mustbe_childless(define);
        const char* name = xml_parse_mustbe_attr_text(define, "name");
        const char* value = xml_node_find_attr(define, "value");
        if (!value) value = shared_empty_text();
        phash_insert(defines, const_cast<char*>(name), const_cast<char*>(value));
    }
}

void read_options(ZEBTarget* target, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (XmlNode* option = next_child(&iter, "option")) {
        mustbe_childless(option);
        const char* name = xml_parse_mustbe_attr_text(option, "name");
        zeb_target_add_option(target, name, xml_node_find_attr(option, "value"));
    }
}

void read_commands(PolyList* commands, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (XmlNode* command = next_child(&iter, "cmd")) {
        const char* text = xml_parse_mustbe_text_node(command);
        if (str_is_set(text)) append(commands, text);
    }
}

// The number that the text begins with, limited to the range of int; -1, which means no timeout, if
// it does not begin with one.
int read_timeout(XmlNode* node) {
    const char* text = xml_parse_mustbe_text_node(node);
    const char* number = text + std::strspn(text, " \t\n\v\f\r");
    if (*number == '-' || *number == '+') ++number;
    const bool is_number = *number >= '0' && *number <= '9';
    return is_number ? str_to_int(text) : -1;
}

void read_target_children(ZEBTarget* target, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (iter.current) {
        if (XmlNode* timeout = xml_parse_have(&iter, "timeout"))
            target->timeout = read_timeout(timeout);
        else if (XmlNode* options = xml_parse_have(&iter, "options"))
            read_options(target, options);
        else if (XmlNode* before = xml_parse_have(&iter, "precmds"))
            read_commands(target->precmds, before);
        else if (XmlNode* after = xml_parse_have(&iter, "postcmds"))
            read_commands(target->postcmds, after);
        else
            xml_parse_report_error(iter.current,
                                   "Unexpected tag. I was expecting one of the following tags:\n"
                                   "  <timeout> <options>, <precmds> or <postcmds>.");
    }
}

// A record is put into its workspace before its content is read, so that it is freed with the
// workspace when the reading fails.
void read_targets(ZEBProject* project, XmlNode* node) {
    XmlNodeIter iter = children_of(node);
    while (XmlNode* child = next_child(&iter, "target")) {
        ZEBTarget* target = zeb_target_new(xml_parse_mustbe_attr_text(child, "name"));
        plist_append(project->targets, target);
        read_target_children(target, child);
    }
}

void read_element(ZEBProject* project, const ProjectElement& element, XmlNode* node) {
    switch (element.content) {
    case Content::uris: return read_uris(project->*element.list, node);
    case Content::uri: return replace(project->*element.text, read_uri(node));
    case Content::defines: return read_defines(project->defines, node);
    case Content::targets: return read_targets(project, node);
    }
}

const ProjectElement* find_element(const char* tag) {
    if (!tag) return nullptr;
    for (const ProjectElement& element : project_elements)
        if (std::strcmp(element.tag, tag) == 0) return &element;
    return nullptr;
}

void read_project(ZEBWorkspace* workspace, XmlNode* node) {
    ZEBProject* project = zeb_project_new(xml_parse_mustbe_attr_text(node, "name"));
    plist_append(workspace->projects, project);
    XmlNodeIter iter = children_of(node);
    while (iter.current) {
        const ProjectElement* element = find_element(xml_node_get_tag(iter.current));
        // <calculation> and <table> are accepted although the text leaves them out: callers match
        // the text as it is.
        if (!element)
            xml_parse_report_error(iter.current,
                                   "Unexpected tag. I was expecting one of the following tags:\n"
                                   "<product_mode>, <presentation>, <var_order>, <defines>, "
                                   "<includes>, <virtual_table>, <main>, <targets> or "
                                   "<fileincludes>");
        read_element(project, *element, xml_parse_mustbe(&iter, element->tag));
    }
}

void read_workspace(Reader& reader) {
    XmlNode* root = reader.document->root;
    NORVANE_ASSERT(root);
    reader.workspace = zeb_workspace_new();
    if (!str_is_equal(xml_node_get_tag(root), "zeb"))
        xml_parse_report_error(root, "Expecting a <zeb> tag");
    XmlNodeIter iter = children_of(root);
    while (XmlNode* project = xml_parse_have(&iter, "project"))
        read_project(reader.workspace, project);
    xml_parse_mustbe_empty(&iter);
}

// Frees a workspace that was never handed out, including the lists that a project leaves to its
// callers.
void delete_unreturned(ZEBWorkspace* workspace) {
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        plist_delete(project->fileincludes);
    zeb_workspace_delete(workspace);
}

} // namespace

} // namespace norvane::workspace

using namespace norvane;
using namespace norvane::workspace;

int zeb_workspace_save_fptr(ZEBWorkspace* workspace, FILE* stream) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(stream);
    XmlNode* root = xml_node_new_tag("zeb");
    for (const ZEBProject* project : items<ZEBProject>(workspace->projects))
        write_project(root, project);
    print_document(stream, "zeb.dtd", root, "zeb.xsl");
    return STATUS_SUCCESS;
}

int zeb_workspace_save(ZEBWorkspace* workspace, const char* filename) {
    NORVANE_ASSERT(workspace);
    NORVANE_ASSERT(filename);
    std::FILE* stream = std::fopen(filename, "we");
    if (!stream) {
        // Not ERR_FILE_OPEN_WRITE: callers know this failure by the name of a failed read.
        report_error(ERR_FILE_OPEN(filename));
        return STATUS_FAILURE;
    }
    bool is_incomplete = false; // closing need not fail again after a failed write
    const int closed = close_after(stream, [&] {
        zeb_workspace_save_fptr(workspace, stream);
        is_incomplete = std::ferror(stream) != 0;
    });
    if (closed != 0 || is_incomplete) NORVANE_FAIL("Could not close file '%s'", filename);
    return STATUS_SUCCESS;
}

ZEBWorkspace* zeb_workspace_load(const char* filename) {
    const CallGuard guard(__func__);
    NORVANE_ASSERT(filename);
    XmlDocument* document = xml_parse_file(filename, is_known_tag);
    if (!document) return nullptr;
    Reader reader{document, nullptr};
    ExceptionState state;
    const bool has_failed = caught(&state, [&] { read_workspace(reader); });
    xml_delete(document);
    if (!has_failed) {
        reader.workspace->filename = str_copy(filename);
        return reader.workspace;
    }
    if (reader.workspace) delete_unreturned(reader.workspace);
    if (state.kind != EXCEPT_MALFORMED_INPUT) except_rethrow(&state);
    report_error(ERR_XML_PARSER(state.message));
    return nullptr;
}
