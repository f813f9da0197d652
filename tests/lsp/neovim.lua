-- Neovim's own client with the server, without a screen: opens each file that is given, breaks it, sees
-- diagnostics come and go; then jumps, renames and completes in the bicycle. Ends with a status.
local driver = vim.env.NORVANE_DRIVER

local function fail(what)
  io.stderr:write('failed: ' .. what .. '\n')
  vim.cmd 'cquit'
end

local function expect(holds, what)
  if not vim.wait(60000, holds, 20) then fail(what) end
end

local function open(file)
  vim.cmd('edit ' .. file)
  local buffer = vim.api.nvim_get_current_buf()
  local client = vim.lsp.start_client { name = 'norvane', cmd = { driver, 'lsp' } }
  vim.lsp.buf_attach_client(buffer, client)
  expect(function() return vim.lsp.buf_is_attached(buffer, client) and vim.lsp.get_client_by_id(client).initialized end,
    'a client of ' .. file)
  return buffer, client
end

local function count() return #vim.diagnostic.get(0) end
local function line(number) return vim.api.nvim_buf_get_lines(0, number - 1, number, false)[1] end

for _, file in ipairs(vim.v.argv) do
  if file:match('%.pm$') or file:match('%.cl$') then
    local buffer, client = open(file)
    local last = vim.api.nvim_buf_line_count(buffer)
    vim.api.nvim_buf_set_lines(buffer, last, last, false, { '?' })
    expect(function() return count() > 0 end, file .. ' is broken, and nothing is shown')
    vim.api.nvim_buf_set_lines(buffer, last, last + 1, false, {})
    expect(function() return count() == 0 end, file .. ' is right, and something is shown')
    vim.lsp.stop_client(client)
  end
end

local buffer, client = open(vim.env.NORVANE_BICYCLE)
vim.fn.search 'MAX_BAGS\\]'
vim.lsp.buf.definition()
expect(function() return vim.fn.line '.' == 7 end, 'a jump to the constant')
vim.lsp.buf.rename 'MOST_BAGS'
expect(function() return line(7):match 'MOST_BAGS' and line(15):match 'MOST_BAGS' end, 'a rename')
expect(function() return count() == 0 end, 'a model that is right after the rename')
vim.lsp.buf.hover()
local function hovered()
  for _, window in ipairs(vim.api.nvim_list_wins()) do
    local text = table.concat(vim.api.nvim_buf_get_lines(vim.api.nvim_win_get_buf(window), 0, -1, false), '\n')
    if text:match '^constant.*MOST_BAGS : 4;' then return not text:match '```' end
  end
end
expect(hovered, 'a hover without the marks of its code')
vim.fn.append('$', '  fra')
vim.fn.cursor(vim.fn.line '$', 6)
local found
vim.lsp.buf_request(0, 'textDocument/completion', vim.lsp.util.make_position_params(), function(_, items) found = items end)
expect(function()
  for _, item in ipairs(found or {}) do if item.label == 'frame' then return true end end
end, 'a completion')
vim.cmd 'qall!'
