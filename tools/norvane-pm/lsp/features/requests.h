// The requests about documents, one function each.
#ifndef NORVANE_PM_LSP_REQUESTS_H
#define NORVANE_PM_LSP_REQUESTS_H

#include "context.h"

namespace norvane::driver::lsp {

Json find_definition(const Context& context);
Json find_references(const Context& context);
Json highlight(const Context& context);
Json hover(const Context& context);
Json document_symbols(const Context& context);
Json folding_ranges(const Context& context);
Json complete(const Context& context);
Json complete_calculation(const Context& context);
Json prepare_rename(const Context& context);
Json rename(const Context& context);
Json code_actions(const Context& context);
Json semantic_tokens(const Context& context);
Json semantic_token_types(); // as capabilities() tells them
Json inlay_hints(const Context& context);
Json signature_help(const Context& context);

} // namespace norvane::driver::lsp

#endif
