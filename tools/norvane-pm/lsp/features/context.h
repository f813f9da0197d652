// What a request is answered from.
#ifndef NORVANE_PM_LSP_CONTEXT_H
#define NORVANE_PM_LSP_CONTEXT_H

#include <vector>

#include "documents.h"
#include "json.h"
#include "result.h"

namespace norvane::driver::lsp {

class Unit;

// What the client can do with answers.
struct Client {
    bool takes_snippets = false; // texts with places that the user fills in
};

struct Context {
    const Documents& documents;
    const Document& document;
    const Unit& unit;                    // up to date
    const std::vector<const Unit*>& all; // also up to date where the feature needs them
    const Json& params;
    const Client& client;
};

// A request about a document.
struct Feature {
    const char* method;
    Json (*answer)(const Context&);
    bool needs_all = false; // the other models, too
};

// Null for an unknown method.
const Feature* find_feature(const std::string& method);

// Names of all units that hold the text of the query.
Json workspace_symbols(const std::vector<const Unit*>& units, const Documents& documents,
                       const std::string& query);

// What the server tells the client that it does.
Json capabilities();

} // namespace norvane::driver::lsp

#endif
