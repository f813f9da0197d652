// The table of the requests about documents.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "requests.h"

namespace norvane::driver::lsp {
namespace {

constexpr Feature features[] = {
    {"textDocument/definition", find_definition},
    {"textDocument/references", find_references},
    {"textDocument/documentHighlight", highlight},
    {"textDocument/hover", hover},
    {"textDocument/documentSymbol", document_symbols},
    {"textDocument/foldingRange", folding_ranges},
    {"textDocument/completion", complete},
    {"textDocument/prepareRename", prepare_rename},
    {"textDocument/rename", rename, true},
    {"textDocument/codeAction", code_actions},
    {"textDocument/semanticTokens/full", semantic_tokens},
    {"textDocument/inlayHint", inlay_hints},
    {"textDocument/signatureHelp", signature_help},
};

} // namespace

const Feature* find_feature(const std::string& method) {
    const auto* found = std::ranges::find(features, std::string_view(method),
                                          [](const Feature& row) { return row.method; });
    return found == std::end(features) ? nullptr : found;
}

Json capabilities() {
    constexpr int incremental = 2;
    return {{"positionEncoding", "utf-16"},
            {"textDocumentSync",
             {{"openClose", true}, {"change", incremental}, {"save", {{"includeText", false}}}}},
            {"definitionProvider", true},
            {"referencesProvider", true},
            {"documentHighlightProvider", true},
            {"hoverProvider", true},
            {"documentSymbolProvider", true},
            {"workspaceSymbolProvider", true},
            {"foldingRangeProvider", true},
            {"completionProvider", {{"triggerCharacters", {".", "=", "\""}}}},
            {"renameProvider", {{"prepareProvider", true}}},
            {"codeActionProvider",
             {{"codeActionKinds", {"quickfix", "refactor.rewrite", "source.fixAll"}}}},
            {"semanticTokensProvider", {{"legend", semantic_token_types()}, {"full", true}}},
            {"inlayHintProvider", true},
            {"signatureHelpProvider", {{"triggerCharacters", {"(", ","}}}}};
}

} // namespace norvane::driver::lsp
