autocmd BufNewFile,BufRead *.pm setlocal filetype=norvane_pm
autocmd BufNewFile,BufRead *.cl setlocal filetype=norvane_cl
